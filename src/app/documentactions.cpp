#include "documentactions.h"

#include "workspace/workspace.h"

#include <QAction>
#include <QMdiArea>
#include <QMdiSubWindow>

DocumentActions::DocumentActions(QMdiArea *vArea)
    : QObject(vArea)
    , m_area(vArea)
{
    connect(m_area, &QMdiArea::subWindowActivated, this, &DocumentActions::follow);
}

void DocumentActions::bind(QAction *vAction, Call vCall, Test vEnabled, Test vChecked)
{
    m_rows.append({vAction, vCall, std::move(vEnabled), std::move(vChecked)});
    if (vCall)
        connect(vAction, &QAction::triggered, this, [this, vCall](bool vChecked) {
            if (Workspace *document = m_current)
                vCall(*document, vChecked);
            // A checkable action shows the document's state, not merely the click.
            refresh();
        });
    refresh();
}

void DocumentActions::makeCurrent(Workspace *vDocument)
{
    for (QMdiSubWindow *sub : m_area->subWindowList())
        if (sub->widget() == vDocument)
            m_area->setActiveSubWindow(sub);
    bindTo(vDocument);
}

void DocumentActions::follow()
{
    QMdiSubWindow *sub = m_area->currentSubWindow();
    bindTo(sub ? qobject_cast<Workspace *>(sub->widget()) : nullptr);
}

void DocumentActions::bindTo(Workspace *vDocument)
{
    if (vDocument && vDocument == m_current) {
        refresh();
        return;
    }
    disconnect(m_stateConnection);
    m_current = vDocument;
    if (vDocument)
        m_stateConnection
            = connect(vDocument, &Workspace::stateChanged, this, &DocumentActions::refresh);
    refresh();
    Q_EMIT currentChanged(vDocument);
}

void DocumentActions::refresh()
{
    const Workspace *document = m_current;
    for (const Row &row : std::as_const(m_rows)) {
        row.action->setEnabled(document && (!row.enabled || row.enabled(*document)));
        if (row.checked)
            row.action->setChecked(document && row.checked(*document));
    }
}
