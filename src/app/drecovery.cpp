#include "drecovery.h"

#include "workspace/recoverystore.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

DRecovery::DRecovery(const QList<RecoveredScript> &vScripts, QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Recover Unsaved Scripts"));
    auto *layout = new QVBoxLayout(this);
    auto *question = new QLabel(
        tr("Tovrel Studio did not close properly. Recover these unsaved scripts?"), this);
    question->setWordWrap(true);
    layout->addWidget(question);

    m_list = new QTreeWidget(this);
    m_list->setObjectName(QStringLiteral("recoveryList"));
    m_list->setRootIsDecorated(false);
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setHeaderLabels({tr("Script"), tr("Saved"), tr("Size")});
    const QLocale locale;
    for (const RecoveredScript &script : vScripts) {
        auto *row = new QTreeWidgetItem(m_list);
        row->setText(0, describe(script));
        row->setToolTip(0, script.path.isEmpty() ? script.name
                                                 : QDir::toNativeSeparators(script.path));
        row->setText(1, locale.toString(script.saved.toLocalTime(), QLocale::ShortFormat));
        row->setText(2, locale.formattedDataSize(script.size));
        row->setTextAlignment(2, Qt::AlignRight | Qt::AlignVCenter);
        if (!script.usable())
            row->setFlags(row->flags() & ~Qt::ItemIsEnabled);
    }
    m_list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_list->header()->setStretchLastSection(false);
    m_list->resizeColumnToContents(1);
    m_list->resizeColumnToContents(2);
    layout->addWidget(m_list);

    auto *buttons = new QDialogButtonBox(this);
    QPushButton *recover = buttons->addButton(tr("&Recover"), QDialogButtonBox::AcceptRole);
    QPushButton *discard = buttons->addButton(tr("&Discard"), QDialogButtonBox::DestructiveRole);
    QPushButton *later = buttons->addButton(tr("&Later"), QDialogButtonBox::RejectRole);
    recover->setDefault(true);
    connect(recover, &QPushButton::clicked, this, [this] {
        m_choice = Choice::Recover;
        accept();
    });
    connect(discard, &QPushButton::clicked, this, [this] {
        m_choice = Choice::Discard;
        accept();
    });
    connect(later, &QPushButton::clicked, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(620, 320);
}

QString DRecovery::describe(const RecoveredScript &vScript)
{
    if (!vScript.usable())
        return tr("%1 (%2)").arg(vScript.name, vScript.problem);
    if (vScript.path.isEmpty())
        return vScript.name;
    const QFileInfo original(vScript.path);
    const QString shown = QDir::toNativeSeparators(vScript.path);
    if (original.isDir())
        return tr("%1 (now a folder: opens as a new script)").arg(shown);
    if (!original.exists())
        return tr("%1 (file gone: opens as a new script)").arg(shown);
    return shown;
}
