#include "wgraphpanel.h"
#include "ui_wgraphpanel.h"

#include "graphviewer.h"
#include "plotpager.h"
#include "svgrender.h"

WGraphPanel::WGraphPanel(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::WGraphPanel)
{
    ui->setupUi(this);
    addAction(ui->actionGo_to);
    ui->tb_goto->setDefaultAction(ui->actionGo_to);
    m_pager = new PlotPager(ui->graphicsView, this);
    connect(m_pager, &PlotPager::did_page, this, &WGraphPanel::updateControls);
    updateControls();
}

WGraphPanel::~WGraphPanel() = default;

void WGraphPanel::showPlots(const QString &vPlotDir)
{
    m_pager->load(vPlotDir, false);
}

void WGraphPanel::clearPlots()
{
    m_pager->unload();
}

void WGraphPanel::showPlot(int vIndex)
{
    if (vIndex >= 0 && vIndex < m_pager->count())
        m_pager->showPage(vIndex);
}

void WGraphPanel::setBusy(bool vBusy)
{
    m_busy = vBusy;
    updateControls();
}

void WGraphPanel::setImageSize(int vWidth, int vHeight)
{
    m_pager->setImageSize(QSize(vWidth, vHeight));
}

SvgRender *WGraphPanel::render() const
{
    return m_pager->render();
}

QString WGraphPanel::pageText() const
{
    return ui->lb_page->text();
}

void WGraphPanel::on_tb_left_clicked()
{
    m_pager->showPrevious();
}

void WGraphPanel::on_tb_right_clicked()
{
    m_pager->showNext();
}

void WGraphPanel::on_tb_save_plot_clicked()
{
    m_pager->askSavePlot();
}

void WGraphPanel::on_tb_saveAll_plot_clicked()
{
    m_pager->askSaveAll();
}

void WGraphPanel::on_tb_popout_clicked()
{
    if (!render() || render()->count() == 0)
        return;
    auto *viewer = new GraphViewer(this, render()->folder());
    // The viewer opens on the plot the user is looking at.
    viewer->goTo(m_pager->current());
    viewer->show();
    Q_EMIT did_popOut(viewer);
}

void WGraphPanel::on_tb_settings_plot_clicked()
{
    Q_EMIT do_plotSettings();
}

void WGraphPanel::on_actionGo_to_triggered()
{
    m_pager->askGoTo();
}

void WGraphPanel::updateControls()
{
    const bool plots = !m_busy && m_pager->count() > 0;
    ui->lb_page->setText(tr("Plot : ") + m_pager->position());
    ui->tb_left->setEnabled(!m_busy && m_pager->hasPrevious());
    ui->tb_right->setEnabled(!m_busy && m_pager->hasNext());
    ui->actionGo_to->setEnabled(plots);
    ui->tb_save_plot->setEnabled(plots);
    ui->tb_saveAll_plot->setEnabled(plots);
    ui->tb_popout->setEnabled(plots);
}
