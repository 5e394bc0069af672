#include "wplotview.h"

#include "config/csettings.h"

#include <QGraphicsScene>
#include <QGuiApplication>
#include <QOpenGLContext>
#include <QOpenGLWidget>
#include <QResizeEvent>
#include <QSurfaceFormat>

namespace {

const int kSamples = 8;

QSurfaceFormat multisampled()
{
    QSurfaceFormat format;
    format.setSamples(kSamples);
    return format;
}

bool wantsOpenGl()
{
    return CSettings::instance().plotSettings().value(QStringLiteral("openGl")).toBool();
}

} // namespace

WPlotView::WPlotView(QWidget *parent)
    : QGraphicsView(parent)
{
    setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    setAlignment(Qt::AlignCenter);
    setOpenGl(wantsOpenGl() && openGlAvailable());
    connect(&CSettings::instance(), &CSettings::did_apply, this, &WPlotView::applySettings);
}

bool WPlotView::openGlAvailable()
{
    static const bool available = [] {
        // The offscreen and minimal platforms can hand out a context, yet a shown OpenGL widget
        // takes the process down there.
        const QString platform = QGuiApplication::platformName();
        if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal"))
            return false;
        QOpenGLContext context;
        context.setFormat(multisampled());
        return context.create();
    }();
    return available;
}

void WPlotView::applySettings()
{
    const bool openGl = wantsOpenGl() && openGlAvailable();
    if (openGl != m_openGl)
        setOpenGl(openGl);
}

void WPlotView::setOpenGl(bool vOpenGl)
{
    m_openGl = vOpenGl;
    if (vOpenGl) {
        auto *viewport = new QOpenGLWidget;
        viewport->setFormat(multisampled());
        setViewport(viewport);
        // An OpenGL surface is redrawn as a whole; partial updates only cost bookkeeping.
        setViewportUpdateMode(QGraphicsView::FullViewportUpdate);
    } else {
        setViewport(new QWidget);
        setViewportUpdateMode(QGraphicsView::MinimalViewportUpdate);
    }
}

void WPlotView::showScene(QGraphicsScene *vScene)
{
    setScene(vScene);
    fitScene();
}

void WPlotView::resizeEvent(QResizeEvent *vEvent)
{
    QGraphicsView::resizeEvent(vEvent);
    fitScene();
}

void WPlotView::fitScene()
{
    if (scene())
        fitInView(scene()->sceneRect(), Qt::KeepAspectRatio);
}
