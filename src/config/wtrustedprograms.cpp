#include "wtrustedprograms.h"

#include "csettings.h"

#include <QDir>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

WTrustedPrograms::WTrustedPrograms(QWidget *parent)
    : QGroupBox(tr("Programs Scripts May Run"), parent)
    , m_list(new QTreeWidget(this))
    , m_forget(new QPushButton(tr("Forget"), this))
    , m_forgetAll(new QPushButton(tr("Forget all"), this))
{
    setObjectName(QStringLiteral("gbTrustedPrograms"));
    m_list->setObjectName(QStringLiteral("tw_TrustedPrograms"));
    m_forget->setObjectName(QStringLiteral("pb_Forget"));
    m_forgetAll->setObjectName(QStringLiteral("pb_ForgetAll"));
    m_list->setHeaderLabels({tr("Script"), tr("Program")});
    m_list->setRootIsDecorated(false);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    // Both paths in view, long ones shortened in the middle; the tooltips hold them whole.
    m_list->header()->setSectionResizeMode(QHeaderView::Stretch);
    m_list->setTextElideMode(Qt::ElideMiddle);
    m_list->setToolTip(tr("A script's \"#!\" line starts the program listed beside it without "
                          "asking, as long as the program file stays as it was."));

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_forget);
    buttons->addWidget(m_forgetAll);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_list);
    layout->addLayout(buttons);

    connect(m_forget, &QPushButton::clicked, this, &WTrustedPrograms::forgetSelected);
    connect(m_forgetAll, &QPushButton::clicked, this, &WTrustedPrograms::forgetAll);
    connect(m_list, &QTreeWidget::itemSelectionChanged, this, &WTrustedPrograms::updateButtons);
    updateButtons();
}

void WTrustedPrograms::load()
{
    m_grants = EngineTrust(CSettings::instance()).grants();
    m_list->clear();
    for (const EngineTrust::Grant &grant : std::as_const(m_grants)) {
        auto *item = new QTreeWidgetItem(
            m_list,
            {QDir::toNativeSeparators(grant.script), QDir::toNativeSeparators(grant.program)});
        item->setToolTip(0, item->text(0));
        item->setToolTip(1, item->text(1));
    }
    updateButtons();
}

void WTrustedPrograms::store() const
{
    EngineTrust(CSettings::instance()).setGrants(m_grants);
}

void WTrustedPrograms::forgetSelected()
{
    // From the bottom up, so the rows still to go keep their numbers.
    for (int row = m_list->topLevelItemCount() - 1; row >= 0; --row) {
        if (m_list->topLevelItem(row)->isSelected()) {
            delete m_list->takeTopLevelItem(row);
            m_grants.removeAt(row);
        }
    }
    updateButtons();
}

void WTrustedPrograms::forgetAll()
{
    m_list->clear();
    m_grants.clear();
    updateButtons();
}

void WTrustedPrograms::updateButtons()
{
    m_forget->setEnabled(!m_list->selectedItems().isEmpty());
    m_forgetAll->setEnabled(m_list->topLevelItemCount() > 0);
}
