#include "wgraphpanel.h"
#include "ui_wgraphpanel.h"

#include "config/svgiconengine.h"
#include "graphviewer.h"
#include "plotpager.h"
#include "svgrender.h"

WGraphPanel::WGraphPanel(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::WGraphPanel)
{
    ui->setupUi(this);
    // Set here rather than in the form, so each is read only when first drawn.
    SvgIconEngine::setIcons({
        {ui->tb_left, ":/images/iLEFT"},
        {ui->tb_right, ":/images/iRIGHT"},
        {ui->tb_settings_plot, ":/images/iPLOT_SETTINGS"},
        {ui->tb_popout, ":/images/iPLOT_POPOUT"},
        {ui->tb_save_plot, ":/images/iPLOT_SAVE"},
        {ui->tb_saveAll_plot, ":/images/iPLOT_SAVEALL"},
    });
    SvgIconEngine::setIcons({{ui->actionGo_to, ":/images/iPLOT_GOTO"}});
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

void WGraphPanel::showArrivingPlots(const QString &vPlotDir, int vReady, int vTotal)
{
    m_pager->loadArriving(vPlotDir, vReady, vTotal);
}

void WGraphPanel::plotsArrived(int vReady, int vTotal)
{
    m_pager->arrive(vReady, vTotal);
}

void WGraphPanel::stopArriving()
{
    if (isDrawing())
        m_pager->arrive(m_pager->count(), m_pager->count());
}

bool WGraphPanel::isDrawing() const
{
    return m_pager->isDrawing();
}

void WGraphPanel::showPage(int vIndex)
{
    if (vIndex >= 0 && vIndex < m_pager->count())
        m_pager->showPage(vIndex);
}

int WGraphPanel::pageCount() const
{
    return m_pager->count();
}

int WGraphPanel::currentPage() const
{
    return m_pager->current();
}

void WGraphPanel::clearPlots()
{
    m_pager->unload();
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
    if (!render() || render()->count() == 0 || isDrawing())
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
    // Busy only until the first plot arrives: the user pages through those ready meanwhile.
    const bool drawing = m_pager->isDrawing();
    const bool busy = m_busy && m_pager->count() == 0;
    const bool plots = !busy && m_pager->count() > 0;
    QString page = tr("Plot : ") + m_pager->position();
    if (drawing)
        page += tr(" (%1 being drawn)").arg(m_pager->total());
    ui->lb_page->setText(page);
    ui->tb_left->setEnabled(!busy && m_pager->hasPrevious());
    ui->tb_right->setEnabled(!busy && m_pager->hasNext());
    ui->actionGo_to->setEnabled(plots);
    ui->tb_save_plot->setEnabled(plots);
    ui->tb_saveAll_plot->setEnabled(plots);
    // A pop-out copies the folder, which would catch plots half drawn.
    ui->tb_popout->setEnabled(plots && !drawing);
}
