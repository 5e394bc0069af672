#include "runmarks.h"

#include "workspace/workspace.h"

#include <QApplication>
#include <QLabel>
#include <QMdiSubWindow>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QPointer>
#include <QStatusBar>

namespace {
// A "play" triangle in the palette's highlight colour, drawn here so it follows the style.
QIcon playIcon()
{
    QIcon icon;
    for (int size : {16, 32}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QApplication::palette().color(QPalette::Highlight));
        const double s = size;
        painter.drawPolygon(QPolygonF({QPointF(s * 0.22, s * 0.15), QPointF(s * 0.85, s * 0.5),
                                       QPointF(s * 0.22, s * 0.85)}));
        icon.addPixmap(pixmap);
    }
    return icon;
}
} // namespace

RunMarks::RunMarks(QStatusBar *vStatusBar, QObject *parent)
    : QObject(parent)
    , m_label(new QLabel(vStatusBar))
    , m_icon(playIcon())
{
    m_label->setObjectName(QStringLiteral("lblRunning"));
    vStatusBar->addPermanentWidget(m_label);
    m_label->hide();
}

void RunMarks::watch(Workspace *vDocument, QMdiSubWindow *vSubWindow)
{
    QPointer<QMdiSubWindow> sub(vSubWindow);
    connect(vDocument, &Workspace::runningChanged, this,
            [this, vDocument, sub](bool vRunning) { mark(vDocument, sub, vRunning); });
    connect(vDocument, &QObject::destroyed, this, [this](QObject *vGone) {
        m_running.remove(vGone);
        showCount();
    });
}

void RunMarks::mark(Workspace *vDocument, QMdiSubWindow *vSubWindow, bool vRunning)
{
    if (vRunning)
        m_running.insert(vDocument);
    else
        m_running.remove(vDocument);
    // The tab shows the sub-window's icon; without one of its own it shows the usual one.
    if (vSubWindow)
        vSubWindow->setWindowIcon(vRunning ? m_icon : QIcon());
    showCount();
}

void RunMarks::showCount()
{
    const int count = runningCount();
    m_label->setText(count == 1 ? tr("1 document running") : tr("%1 documents running").arg(count));
    m_label->setVisible(count > 0);
}
