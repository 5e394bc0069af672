#include "wconvergencepanel.h"

#include "config/csettings.h"
#include "convergencejob.h"
#include "mconvergencetable.h"

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QSaveFile>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

WConvergencePanel::WConvergencePanel(QWidget *parent)
    : QWidget(parent)
    , m_job(new ConvergenceJob(this))
    , m_model(new MConvergenceTable(this))
    , m_proxy(new QSortFilterProxyModel(this))
    , m_view(new QTableView(this))
    , m_status(new QLabel(this))
    , m_filter(new QLineEdit(this))
    , m_copy(new QToolButton(this))
    , m_export(new QToolButton(this))
{
    setObjectName(QStringLiteral("convergencePanel"));
    m_status->setObjectName(QStringLiteral("lb_convergenceStatus"));
    m_status->setWordWrap(true);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_filter->setObjectName(QStringLiteral("le_convergenceFilter"));
    m_filter->setPlaceholderText(tr("Filter parameters"));
    m_filter->setClearButtonEnabled(true);
    m_copy->setText(tr("Copy"));
    m_copy->setToolTip(tr("Copy the selected rows"));
    m_export->setText(tr("Export CSV..."));
    m_export->setToolTip(tr("Save the whole table as a CSV file"));

    m_proxy->setSourceModel(m_model);
    m_proxy->setFilterKeyColumn(MConvergenceTable::Parameter);
    m_proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_proxy->setSortRole(MConvergenceTable::SortRole);
    m_view->setModel(m_proxy);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->verticalHeader()->hide();
    m_view->verticalHeader()->setDefaultSectionSize(m_view->fontMetrics().height() + 6);
    // Numbers take little room; the titles take what is left and can be widened.
    QHeaderView *header = m_view->horizontalHeader();
    header->setMinimumSectionSize(30);
    header->setDefaultSectionSize(m_view->fontMetrics().horizontalAdvance(QStringLiteral("Bulk-ESS"))
                                  + 24);
    header->resizeSection(MConvergenceTable::Number, m_view->fontMetrics().horizontalAdvance(QStringLiteral("0000")) + 12);
    header->resizeSection(MConvergenceTable::Parameter, m_view->fontMetrics().horizontalAdvance(QLatin1Char('x')) * 34);
    header->setStretchLastSection(true);
    // Worst first until the user sorts by a column of their own choice.
    m_view->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    m_view->setSortingEnabled(true);
    m_view->setWordWrap(false);

    // Copy keys are caught in the table itself: an action's shortcut would compete with the
    // main window's Copy.
    m_view->installEventFilter(this);

    auto *bar = new QHBoxLayout;
    bar->addWidget(m_filter, 1);
    bar->addWidget(m_copy);
    bar->addWidget(m_export);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(m_status);
    layout->addLayout(bar);
    layout->addWidget(m_view, 1);

    connect(m_filter, &QLineEdit::textChanged, m_proxy,
            &QSortFilterProxyModel::setFilterFixedString);
    connect(m_copy, &QToolButton::clicked, this, &WConvergencePanel::copySelection);
    connect(m_export, &QToolButton::clicked, this, &WConvergencePanel::exportCsv);
    connect(m_job, &ConvergenceJob::did_finish, this, &WConvergencePanel::showReport);
    connect(m_view->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex &vCurrent) {
                if (vCurrent.isValid())
                    Q_EMIT do_showParameter(
                        vCurrent.data(MConvergenceTable::ParameterIndexRole).toInt());
            });
    connect(&CSettings::instance(), &CSettings::did_apply, this,
            &WConvergencePanel::applySettings);
    applySettings();
    clear();
}

WConvergencePanel::~WConvergencePanel() = default;

void WConvergencePanel::start(const QString &vFolder, int vChains, int vBurn, int vIterations,
                              const QStringList &vLabels)
{
    clear();
    m_labels = vLabels;
    m_status->setText(tr("Checking convergence..."));
    m_job->start(vFolder, vChains, vBurn, vIterations);
}

void WConvergencePanel::clear()
{
    m_job->cancel();
    m_model->clear();
    m_status->setText(tr("Run the script to check its convergence."));
    m_copy->setEnabled(false);
    m_export->setEnabled(false);
}

bool WConvergencePanel::isComputing() const
{
    return m_job->isRunning();
}

bool WConvergencePanel::eventFilter(QObject *vWatched, QEvent *vEvent)
{
    if (vWatched == m_view && vEvent->type() == QEvent::KeyPress
        && static_cast<QKeyEvent *>(vEvent)->matches(QKeySequence::Copy)) {
        copySelection();
        return true;
    }
    return QWidget::eventFilter(vWatched, vEvent);
}

bool WConvergencePanel::hasFlagged() const
{
    for (int row = 0; row < m_model->rowCount(); ++row)
        if (m_model->isFlagged(row))
            return true;
    return false;
}

QString WConvergencePanel::statusText() const
{
    return m_status->text();
}

void WConvergencePanel::applySettings()
{
    const CSettings &settings = CSettings::instance();
    const QVariantMap colours
        = settings.darkModeSet() ? settings.highlightColorsDark() : settings.highlightColors();
    m_model->setWarningColour(colours.value(QStringLiteral("warning")).value<QColor>());
    m_model->setThresholds(settings.rhatThreshold(), settings.essPerChainThreshold());
    updateSummary();
}

void WConvergencePanel::showReport(const ConvergenceReport &vReport)
{
    if (!vReport.error.isEmpty()) {
        m_model->clear();
        m_status->setText(tr("No convergence table: %1").arg(vReport.error));
        Q_EMIT did_fill(false);
        return;
    }
    m_model->setResults(vReport.parameters, m_labels, vReport.chains);
    m_copy->setEnabled(true);
    m_export->setEnabled(true);
    updateSummary();
    Q_EMIT did_fill(true);
}

void WConvergencePanel::updateSummary()
{
    if (m_model->rowCount() > 0)
        m_status->setText(m_model->summary());
}

QList<int> WConvergencePanel::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex &index : m_view->selectionModel()->selectedRows())
        rows << index.row();
    std::sort(rows.begin(), rows.end());
    QList<int> source;
    for (int row : rows)
        source << m_proxy->mapToSource(m_proxy->index(row, 0)).row();
    return source;
}

void WConvergencePanel::copySelection()
{
    const QList<int> rows = selectedRows();
    if (!rows.isEmpty())
        QApplication::clipboard()->setText(m_model->toText(rows, QLatin1Char('\t')));
}

void WConvergencePanel::exportCsv()
{
    if (m_model->rowCount() == 0)
        return;
    CSettings &settings = CSettings::instance();
    const QString path = QFileDialog::getSaveFileName(
        this, tr("Export Convergence Table"),
        settings.lastSaveFolder() + QStringLiteral("/convergence.csv"), tr("CSV files (*.csv)"));
    if (path.isEmpty())
        return;
    // Every row, worst first, whatever the filter hides.
    QList<int> rows;
    for (int row = 0; row < m_proxy->sourceModel()->rowCount(); ++row)
        rows << row;
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        file.write(m_model->toText(rows, QLatin1Char(',')).toUtf8());
        if (file.commit())
            return;
    }
    QMessageBox::warning(this, tr("Warning"),
                         tr("The table could not be saved to %1:\n%2").arg(path, file.errorString()));
}
