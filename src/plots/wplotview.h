#ifndef WPLOTVIEW_H
#define WPLOTVIEW_H

#include <QGraphicsView>

class QGraphicsScene;
class QResizeEvent;

// A view that shows one plot scaled to fit, drawn through OpenGL when the "openGl" plot setting
// is on and the platform can make an OpenGL context, through a plain widget otherwise.
class WPlotView : public QGraphicsView
{
    Q_OBJECT
public:
    explicit WPlotView(QWidget *parent = nullptr);

    void showScene(QGraphicsScene *vScene);
    bool usesOpenGl() const { return m_openGl; }

    // Whether an OpenGL viewport can be shown on this platform; decided once per process.
    static bool openGlAvailable();

public Q_SLOTS:
    // Re-reads the "openGl" plot setting and swaps the viewport when it changed.
    void applySettings();

protected:
    void resizeEvent(QResizeEvent *vEvent) override;

private:
    void setOpenGl(bool vOpenGl);
    void fitScene();

    bool m_openGl = false;
};

#endif // WPLOTVIEW_H
