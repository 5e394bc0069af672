#include "vimport.h"

#include "cimport.h"
#include "config/csettings.h"
#include "datainspector.h"
#include "editor/dtitleeditor.h"
#include "mdatatable.h"
#include "workspace/filehandling.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileSystemWatcher>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

VImport::VImport(QWidget *parent)
    : QWidget(parent, Qt::Window)
    , m_control(new CImport(this))
    , m_chooser(new FileHandling(this))
    , m_watcher(new QFileSystemWatcher(this))
    , m_fileField(new QLineEdit(this))
    , m_header(new QCheckBox(QStringLiteral("First line holds variable names"), this))
    , m_separator(new QLabel(this))
    , m_missing(new QComboBox(this))
    , m_names(new QLineEdit(this))
    , m_table(new QTableView(this))
    , m_status(new QLabel(this))
    , m_create(new QPushButton(QStringLiteral("Create Script"), this))
{
    setObjectName(QStringLiteral("VImport"));
    setWindowTitle(QStringLiteral("Import Data"));
    resize(900, 600);
    m_chooser->setOpenDialog(QStringLiteral("Select Data File to Open"),
                             QStringLiteral("*.dat *.csv *.data *.txt"));

    m_fileField->setObjectName(QStringLiteral("le_File"));
    m_fileField->setReadOnly(true);
    m_fileField->setPlaceholderText(QStringLiteral("No data file chosen"));
    auto *browse = new QPushButton(QStringLiteral("Browse..."), this);
    browse->setObjectName(QStringLiteral("pb_Browse"));
    m_header->setObjectName(QStringLiteral("cb_Header"));
    m_missing->setObjectName(QStringLiteral("cb_Missing"));
    m_missing->setEditable(true);
    m_missing->setToolTip(QStringLiteral("The value that marks a missing observation"));
    m_names->setObjectName(QStringLiteral("le_Names"));
    m_names->setToolTip(QStringLiteral("One name per column; press Return to apply"));
    m_table->setObjectName(QStringLiteral("tv_Data"));
    m_table->setModel(m_control->model());
    m_table->horizontalHeader()->setToolTip(QStringLiteral("Double-click a heading to rename it"));
    m_status->setObjectName(QStringLiteral("lbl_Status"));
    m_status->setWordWrap(true);
    m_status->setTextFormat(Qt::RichText);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_create->setObjectName(QStringLiteral("pb_Create"));
    m_create->setDefault(true);
    auto *close = new QPushButton(QStringLiteral("Close"), this);

    auto *form = new QGridLayout;
    form->addWidget(new QLabel(QStringLiteral("Data file:"), this), 0, 0);
    form->addWidget(m_fileField, 0, 1, 1, 3);
    form->addWidget(browse, 0, 4);
    form->addWidget(m_header, 1, 1);
    form->addWidget(m_separator, 1, 2);
    form->addWidget(new QLabel(QStringLiteral("Missing-value code:"), this), 1, 3,
                    Qt::AlignRight);
    form->addWidget(m_missing, 1, 4);
    form->addWidget(new QLabel(QStringLiteral("Variables:"), this), 2, 0);
    form->addWidget(m_names, 2, 1, 1, 4);
    form->setColumnStretch(1, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_status, 1);
    buttons->addWidget(m_create);
    buttons->addWidget(close);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(m_table, 1);
    layout->addLayout(buttons);

    connect(browse, &QPushButton::clicked, this, &VImport::on_browse);
    connect(m_create, &QPushButton::clicked, this, &VImport::on_createScript);
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    connect(m_header, &QCheckBox::toggled, this, [this](bool vChecked) {
        m_control->setHeader(vChecked);
        showNames();
        showStatus();
    });
    connect(m_missing, &QComboBox::currentTextChanged, this, [this](const QString &vCode) {
        m_control->setMissingCode(vCode);
        showStatus();
    });
    connect(m_names, &QLineEdit::editingFinished, this, [this] {
        const QString refused = m_control->setNames(
            m_names->text().split(namesSeparator(), Qt::SkipEmptyParts));
        showNames();
        showStatus();
        if (!refused.isEmpty())
            m_status->setText(refused);
    });
    connect(m_table->horizontalHeader(), &QHeaderView::sectionDoubleClicked, this,
            &VImport::renameColumn);
    connect(m_control, &CImport::did_scan, this, &VImport::showStatus);
    connect(m_control, &CImport::did_finish, this, &VImport::showStatus);
    connect(m_control, &CImport::do_import, this, &VImport::do_import);
    connect(m_watcher, &QFileSystemWatcher::fileChanged, this, &VImport::showStatus);
    showFile();
}

QString VImport::namesSeparator() const
{
    const QString separator = CSettings::instance().variablesSeparator();
    return separator.isEmpty() ? QStringLiteral(" ") : separator;
}

void VImport::on_browse()
{
    bool chosen = false;
    const QString path = m_chooser->openWithDialog(chosen);
    if (chosen)
        openFile(path);
}

bool VImport::openFile(const QString &vPath)
{
    if (!m_watcher->files().isEmpty())
        m_watcher->removePaths(m_watcher->files());
    const bool opened = m_control->open(vPath);
    if (opened)
        m_watcher->addPath(vPath);
    showFile();
    if (!opened)
        QMessageBox::warning(this, QStringLiteral("Warning!"), m_control->problem());
    return opened;
}

void VImport::showFile()
{
    const DataInspector *data = m_control->inspector();
    const bool readable = data && data->error().isEmpty() && !data->lineOffsets().isEmpty();
    m_fileField->setText(data ? QDir::toNativeSeparators(data->path()) : QString());
    m_header->blockSignals(true);
    m_header->setChecked(m_control->header());
    m_header->blockSignals(false);
    m_header->setEnabled(readable);
    m_separator->setText(readable ? QStringLiteral("Values separated by %1")
                                        .arg(data->separatorName())
                                  : QString());
    m_missing->blockSignals(true);
    m_missing->clear();
    QStringList codes {QString::number(CSettings::instance().missingValue())};
    if (readable)
        for (const QString &code : data->missingCodes())
            if (!codes.contains(code))
                codes.append(code);
    m_missing->addItems(codes);
    m_missing->setCurrentText(m_control->missingCode());
    m_missing->blockSignals(false);
    m_names->setEnabled(readable);
    m_create->setEnabled(readable);
    showNames();
    showStatus();
}

void VImport::showNames()
{
    m_names->setText(m_control->model()->headers().join(namesSeparator()));
}

void VImport::showStatus()
{
    const DataInspector *data = m_control->inspector();
    if (!data) {
        m_status->setText(QStringLiteral("Choose a data file with Browse..."));
        return;
    }
    // A problem first, in red; then what the data holds.
    const QString problem = m_control->problem();
    QStringList notes;
    if (!problem.isEmpty())
        notes.append(problem);
    else if (m_control->scanning())
        notes.append(QStringLiteral("Checking the data: %1%, %2 rows so far.")
                         .arg(data->progress())
                         .arg(m_control->model()->rowCount()));
    else
        notes.append(QStringLiteral("%1 rows of %2 values.")
                         .arg(m_control->model()->rowCount())
                         .arg(data->columns()));
    if (m_control->header() && data->headerNames().size() != data->columns())
        notes.append(QStringLiteral("Line %1: Number Of Names Provided Doesn't Matche The Number "
                                    "Of Columns.")
                         .arg(data->lineNumbers().value(0)));
    const QStringList codes = data->missingCodes();
    if (problem.isEmpty() && !codes.isEmpty())
        notes.append(QStringLiteral("Possible missing-value codes: %1.")
                         .arg(codes.join(QStringLiteral(", "))));
    for (QString &note : notes)
        note = note.toHtmlEscaped();
    if (!problem.isEmpty())
        notes.first() = QStringLiteral("<span style=\"color:#c00000\">%1</span>").arg(notes.first());
    m_status->setText(notes.join(QLatin1Char(' ')));
}

void VImport::renameColumn(int vColumn)
{
    if (!m_control->inspector() || m_control->inspector()->lineOffsets().isEmpty())
        return;
    DTitleEditor editor(this);
    editor.setWindowTitle(QStringLiteral("Rename Variable %1").arg(vColumn + 1));
    editor.setTitle(m_control->model()->headers().value(vColumn));
    editor.setCheck([this, vColumn](const QString &vName) {
        return m_control->checkName(vColumn, vName);
    });
    if (editor.exec() != QDialog::Accepted)
        return;
    m_control->model()->setName(vColumn, editor.title().trimmed());
    showNames();
    showStatus();
}

void VImport::on_createScript()
{
    if (m_control->createScript(this))
        close();
    else
        showStatus();
}
