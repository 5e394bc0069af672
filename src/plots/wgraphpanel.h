#ifndef WGRAPHPANEL_H
#define WGRAPHPANEL_H

#include <QWidget>

#include <memory>

class GraphViewer;
class PlotPager;
class SvgRender;

namespace Ui {
class WGraphPanel;
}

// The plots of a document's last run inside its graph dock: the plot view, previous and next,
// the "Plot : k of n" label, "Go to...", saving one or all plots and opening a pop-out viewer.
class WGraphPanel : public QWidget
{
    Q_OBJECT
public:
    explicit WGraphPanel(QWidget *parent = nullptr);
    ~WGraphPanel() override;

    // Shows the plots of vPlotDir from the first one. The folder is read in place: the document
    // replaces it at its next run, and the panel is given the new plots then.
    void showPlots(const QString &vPlotDir);
    // Shows the first vReady of vTotal plots still being drawn into vPlotDir; plotsArrived()
    // adds the ones that follow, the page shown stays.
    void showArrivingPlots(const QString &vPlotDir, int vReady, int vTotal);
    void plotsArrived(int vReady, int vTotal);
    // The drawing was stopped: the plots that arrived are all there will be.
    void stopArriving();
    bool isDrawing() const;
    // Shows the plot at vIndex (from 0) among those ready, as paging there would; any other
    // index changes nothing.
    void showPage(int vIndex);
    int pageCount() const;
    int currentPage() const;
    void clearPlots();
    // While plots are being made the paging and save controls are off.
    void setBusy(bool vBusy);
    // Size of PNG and JPG exports, normally the document's plot settings.
    void setImageSize(int vWidth, int vHeight);

    SvgRender *render() const;
    QString pageText() const;

public Q_SLOTS:
    void on_tb_left_clicked();
    void on_tb_right_clicked();
    void on_tb_save_plot_clicked();
    void on_tb_saveAll_plot_clicked();
    void on_tb_popout_clicked();
    void on_tb_settings_plot_clicked();
    void on_actionGo_to_triggered();

Q_SIGNALS:
    // The user asked for the document's plot settings panel.
    void do_plotSettings();
    void did_popOut(GraphViewer *vViewer);

private:
    void updateControls();

    std::unique_ptr<Ui::WGraphPanel> ui;
    PlotPager *m_pager;
    bool m_busy = false;
};

#endif // WGRAPHPANEL_H
