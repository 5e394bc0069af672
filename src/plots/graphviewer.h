#ifndef GRAPHVIEWER_H
#define GRAPHVIEWER_H

#include <QWidget>

#include <memory>

class PlotPager;
class QIntValidator;
class SvgRender;

namespace Ui {
class GraphViewer;
}

// A window of its own that pages through a private copy of a run's plots, so it keeps showing
// them while the document runs again.
class GraphViewer : public QWidget
{
    Q_OBJECT
public:
    GraphViewer(QWidget *parent, const QString &vPlotDir);
    ~GraphViewer() override;

    SvgRender *render() const;
    void goTo(int vIndex);

private Q_SLOTS:
    void on_pb_left_clicked();
    void on_pb_right_clicked();
    void on_pb_save_clicked();
    void on_pb_saveAll_plot_clicked();
    void on_actionGo_to_parameter_triggered();
    void on_le_page_editingFinished();
    void updateControls();

private:
    std::unique_ptr<Ui::GraphViewer> ui;
    PlotPager *m_pager;
    QIntValidator *m_pageRange;
};

#endif // GRAPHVIEWER_H
