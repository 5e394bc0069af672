#ifndef SVGRENDER_H
#define SVGRENDER_H

#include <QDir>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class QGraphicsScene;
class QPainter;
class QPrinter;
class QSvgRenderer;
class QTemporaryDir;

// The SVG plots of one plotting run, shown one at a time as a graphics scene and saved as SVG,
// raster image, one-page PDF or one PDF of all plots.
class SvgRender : public QObject
{
    Q_OBJECT
public:
    // With vCopy the plots are copied into a private folder first, so that they outlive the
    // next run that rewrites vPlotDir.
    SvgRender(QObject *parent, const QString &vPlotDir, bool vCopy);
    ~SvgRender() override;

    // While plots are still being drawn into the folder: shows the plots "plot1.svg" up to
    // "plot<vReady>.svg", those known to be complete, and no other.
    void setReady(int vReady);

    // Shows the plot at vIndex; an index outside the plots changes nothing. Returns the scene
    // of the plot now shown (none while nothing has been shown).
    QGraphicsScene *show(int vIndex);
    QGraphicsScene *previous();
    QGraphicsScene *next();
    QGraphicsScene *goTo(int vIndex);

    int count() const { return m_files.size(); }
    int currentIndex() const { return m_current; }
    QGraphicsScene *scene() const { return m_scene; }
    QStringList fileNames() const { return m_files; }
    QString folder() const { return m_dir.path(); }
    // False when a private copy was asked for and its folder could not be made.
    bool isValid() const { return m_valid; }

    bool saveSvg(const QString &vTarget) const;
    bool saveImage(const QString &vTarget, int vWidth, int vHeight) const;
    bool savePdf(const QString &vTarget) const;
    bool saveAllPdf(const QString &vTarget);

Q_SIGNALS:
    // Progress of saveAllPdf: "k of n".
    void on_imageSave(QString data);

private:
    bool copyPlots(const QString &vPlotDir);
    // Sets vPrinter to a PDF page the size of the shown plot and begins vPainter on it.
    bool beginPdf(QPrinter &vPrinter, QPainter &vPainter, const QString &vTarget) const;

    qint32 m_current = 0;
    QStringList m_files;
    QSvgRenderer *m_renderer = nullptr;
    QDir m_dir;
    QGraphicsScene *m_scene = nullptr;
    std::unique_ptr<QTemporaryDir> m_ownCopy;
    bool m_valid = true;
    int m_ready = -1; // plots known complete; -1 until setReady is first called
};

#endif // SVGRENDER_H
