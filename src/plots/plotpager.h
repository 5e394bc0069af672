#ifndef PLOTPAGER_H
#define PLOTPAGER_H

#include <QObject>
#include <QPointer>
#include <QSize>
#include <QString>

class SvgRender;
class WPlotView;
class QWidget;

// Pages through the plots of one folder in a plot view and runs the "Go to...", save plot and
// save all dialogs for its owner widget (the document's graph panel or a pop-out viewer).
class PlotPager : public QObject
{
    Q_OBJECT
public:
    PlotPager(WPlotView *vView, QWidget *vOwner);

    // Replaces the plots by those of vPlotDir, in a private copy when vCopy is set, and shows
    // the first one.
    void load(const QString &vPlotDir, bool vCopy);
    void unload();

    SvgRender *render() const { return m_render; }
    int count() const;
    int current() const;
    bool hasPrevious() const { return count() > 0 && current() != 0; }
    bool hasNext() const { return count() > 0 && current() != count() - 1; }
    // "k of n", counting from 1; "0 of 0" without plots.
    QString position() const;

    QSize imageSize() const { return m_imageSize; }
    void setImageSize(const QSize &vSize) { m_imageSize = vSize; }

public Q_SLOTS:
    void showPrevious();
    void showNext();
    void showPage(int vIndex);
    void askGoTo();
    void askSavePlot();
    void askSaveAll();

Q_SIGNALS:
    // The plot shown or the set of plots changed.
    void did_page();

private:
    void showScene();
    QString askFileName(const QString &vProposed, const QString &vFilter, const QString &vSuffix);
    void warn(const QString &vMessage);

    WPlotView *m_view;
    QWidget *m_owner;
    QPointer<SvgRender> m_render;
    QSize m_imageSize;
};

#endif // PLOTPAGER_H
