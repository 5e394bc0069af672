#ifndef PLOTPAGER_H
#define PLOTPAGER_H

#include <QObject>
#include <QPointer>
#include <QSize>
#include <QString>

class SaveAllWait;
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
    // Pages through the first vReady of vTotal plots being drawn into vPlotDir; arrive() tells
    // of more. The first plot is shown as soon as there is one.
    void loadArriving(const QString &vPlotDir, int vReady, int vTotal);
    void arrive(int vReady, int vTotal);
    // Plots are still being drawn.
    bool isDrawing() const { return m_total > count(); }
    int total() const { return m_total; }
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
    void saveAllTo(const QString &vFile);
    void cancelPendingSave();
    QString askFileName(const QString &vProposed, const QString &vFilter, const QString &vSuffix);
    void warn(const QString &vMessage);

    WPlotView *m_view;
    QWidget *m_owner;
    QPointer<SvgRender> m_render;
    QSize m_imageSize;
    int m_total = 0;
    // Save All chosen while plots were drawn: done when the last arrives.
    QString m_pendingSaveAll;
    QPointer<SaveAllWait> m_pendingWait;
};

#endif // PLOTPAGER_H
