#include "wplotview.h"

#include "config/csettings.h"

#include <QGraphicsScene>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
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
        QOffscreenSurface surface;
        surface.setFormat(context.format());
        surface.create();
        if (!context.create() || !context.makeCurrent(&surface))
            return false;
        // With one OpenGL widget in it the whole window is composed through OpenGL: a software
        // renderer (a virtual machine, a remote or virtual X display) then paints everything,
        // the streaming output included, several times slower than plain painting.
        const QString renderer = QString::fromLatin1(reinterpret_cast<const char *>(
            context.functions()->glGetString(GL_RENDERER)));
        context.doneCurrent();
        static const QStringList software {QStringLiteral("llvmpipe"), QStringLiteral("softpipe"),
                                           QStringLiteral("swrast"), QStringLiteral("Software")};
        for (const QString &name : software)
            if (renderer.contains(name, Qt::CaseInsensitive))
                return false;
        return !renderer.isEmpty();
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
