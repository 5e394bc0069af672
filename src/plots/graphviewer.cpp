#include "graphviewer.h"
#include "ui_graphviewer.h"

#include "plotpager.h"
#include "svgrender.h"

#include <QIntValidator>

GraphViewer::GraphViewer(QWidget *parent, const QString &vPlotDir)
    : QWidget(parent, Qt::Window)
    , ui(new Ui::GraphViewer)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    addAction(ui->actionGo_to_parameter);
    ui->tb_goto->setDefaultAction(ui->actionGo_to_parameter);
    m_pageRange = new QIntValidator(1, 1, ui->le_page);
    ui->le_page->setValidator(m_pageRange);

    m_pager = new PlotPager(ui->graphicsView, this);
    connect(m_pager, &PlotPager::did_page, this, &GraphViewer::updateControls);
    m_pager->load(vPlotDir, true);
    // Keyboard paging starts at once; a focused page field would take Ctrl+Left/Right as word
    // moves.
    ui->graphicsView->setFocus();

    // Room for the plot at the size it was made, plus the controls below it.
    const QSize plot = m_pager->imageSize();
    if (plot.isValid())
        resize(plot.width() + 24, plot.height() + 72);
}

GraphViewer::~GraphViewer() = default;

SvgRender *GraphViewer::render() const
{
    return m_pager->render();
}

void GraphViewer::goTo(int vIndex)
{
    m_pager->showPage(vIndex);
}

void GraphViewer::on_pb_left_clicked()
{
    m_pager->showPrevious();
}

void GraphViewer::on_pb_right_clicked()
{
    m_pager->showNext();
}

void GraphViewer::on_pb_save_clicked()
{
    m_pager->askSavePlot();
}

void GraphViewer::on_pb_saveAll_plot_clicked()
{
    m_pager->askSaveAll();
}

void GraphViewer::on_actionGo_to_parameter_triggered()
{
    m_pager->askGoTo();
}

void GraphViewer::on_le_page_editingFinished()
{
    const int page = ui->le_page->text().toInt();
    if (page >= 1 && page <= m_pager->count() && page != m_pager->current() + 1)
        m_pager->showPage(page - 1);
    else
        updateControls(); // puts the shown page back into the field
}

void GraphViewer::updateControls()
{
    const int count = m_pager->count();
    setWindowTitle(tr("Parameter ") + m_pager->position());
    ui->pb_left->setEnabled(m_pager->hasPrevious());
    ui->pb_right->setEnabled(m_pager->hasNext());
    ui->le_page->setEnabled(count > 0);
    ui->le_page->setText(count > 0 ? QString::number(m_pager->current() + 1) : QString());
    m_pageRange->setRange(1, qMax(1, count));
    ui->lb_total->setText(tr("of ") + QString::number(count));
    ui->pb_save->setEnabled(count > 0);
    ui->pb_saveAll_plot->setEnabled(count > 0);
    ui->actionGo_to_parameter->setEnabled(count > 0);
}
