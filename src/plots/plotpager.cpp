#include "plotpager.h"

#include "config/csettings.h"
#include "plotexport.h"
#include "saveallwait.h"
#include "svgrender.h"
#include "wplotview.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMessageBox>

namespace {

QSize defaultImageSize()
{
    const QVariantMap plot = CSettings::instance().plotSettings();
    return {plot.value(QStringLiteral("width")).toInt(),
            plot.value(QStringLiteral("height")).toInt()};
}

QString nativePath(const QString &vFile)
{
    return QDir::toNativeSeparators(vFile);
}

} // namespace

PlotPager::PlotPager(WPlotView *vView, QWidget *vOwner)
    : QObject(vOwner)
    , m_view(vView)
    , m_owner(vOwner)
    , m_imageSize(defaultImageSize())
{ }

void PlotPager::load(const QString &vPlotDir, bool vCopy)
{
    cancelPendingSave();
    SvgRender *old = m_render;
    // The owner's widget parents the plots, so a pop-out viewer keeps its copy as long as it
    // lives.
    m_render = new SvgRender(m_owner, vPlotDir, vCopy);
    m_render->show(0);
    showScene();
    if (old)
        old->deleteLater();
    m_total = m_render->count();
    if (!m_render->isValid())
        warn(tr("Tempoary Directory couldn't be created!"));
}

void PlotPager::loadArriving(const QString &vPlotDir, int vReady, int vTotal)
{
    cancelPendingSave();
    if (m_render)
        m_render->deleteLater();
    m_render = new SvgRender(m_owner, vPlotDir, false);
    m_total = 0;
    arrive(vReady, vTotal);
}

void PlotPager::arrive(int vReady, int vTotal)
{
    if (!m_render)
        return;
    m_render->setReady(vReady);
    m_total = qMax(vTotal, m_render->count());
    // Only the first arrival changes the picture; redrawing the shown plot for every other one
    // would cost a full repaint of thousands of points each time.
    if (!m_render->scene() && m_render->count() > 0) {
        m_render->show(0);
        showScene();
    } else {
        Q_EMIT did_page();
    }
    if (!isDrawing() && !m_pendingSaveAll.isEmpty()) {
        const QString file = m_pendingSaveAll;
        cancelPendingSave();
        saveAllTo(file);
    } else if (m_pendingWait) {
        m_pendingWait->setText(tr("Waiting: %1 of %2 plots drawn").arg(count()).arg(m_total));
    }
}

void PlotPager::cancelPendingSave()
{
    m_pendingSaveAll.clear();
    if (m_pendingWait)
        m_pendingWait->deleteLater();
    m_pendingWait = nullptr;
}

void PlotPager::unload()
{
    cancelPendingSave();
    m_total = 0;
    if (m_render)
        m_render->deleteLater();
    m_render = nullptr;
    showScene();
}

int PlotPager::count() const
{
    return m_render ? m_render->count() : 0;
}

int PlotPager::current() const
{
    return m_render ? m_render->currentIndex() : 0;
}

QString PlotPager::position() const
{
    const int total = count();
    return QString::number(total > 0 ? current() + 1 : 0) + QStringLiteral(" of ")
        + QString::number(total);
}

void PlotPager::showPrevious()
{
    if (hasPrevious())
        showPage(current() - 1);
}

void PlotPager::showNext()
{
    if (hasNext())
        showPage(current() + 1);
}

void PlotPager::showPage(int vIndex)
{
    if (!m_render)
        return;
    m_render->goTo(vIndex);
    showScene();
}

void PlotPager::showScene()
{
    m_view->showScene(m_render ? m_render->scene() : nullptr);
    Q_EMIT did_page();
}

void PlotPager::askGoTo()
{
    if (count() == 0)
        return;
    bool ok = false;
    const QString prompt = tr("Viewing Parameter ") + QString::number(current() + 1)
        + QStringLiteral(" of ") + QString::number(count());
    const int page
        = QInputDialog::getInt(m_owner, tr("Go to..."), prompt, current() + 1, 1, count(), 1, &ok);
    if (ok)
        showPage(page - 1);
}

QString PlotPager::askFileName(const QString &vProposed, const QString &vFilter,
                               const QString &vSuffix)
{
    QFileDialog dialog(m_owner, tr("Save Plot"), vProposed, vFilter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    // A name typed without a suffix gets the preferred one instead of turning into an SVG copy.
    dialog.setDefaultSuffix(vSuffix);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    const QString file = dialog.selectedFiles().value(0);
    if (!file.isEmpty())
        CSettings::instance().setLastSaveFolder(QFileInfo(file).absolutePath());
    return file;
}

void PlotPager::askSavePlot()
{
    if (!m_render || !m_render->scene())
        return;
    const int type = CSettings::instance().plotSettings().value(QStringLiteral("dType")).toInt();
    const QString folder = CSettings::instance().lastSaveFolder();
    const QString file
        = askFileName(PlotExport::proposedName(folder, current(), type), PlotExport::filter(type),
                      PlotExport::preferredType(type).mid(1));
    if (file.isEmpty())
        return;
    const bool existed = QFileInfo::exists(file);
    if (PlotExport::save(*m_render, file, m_imageSize))
        return;
    QString message = tr("The plot couldn't be saved to\n%1").arg(nativePath(file));
    if (existed && PlotExport::copiesSvg(file))
        message += tr("\n\nAn SVG plot is never copied over an existing file; please choose a "
                      "new name.");
    warn(message);
}

void PlotPager::askSaveAll()
{
    if (!m_render || !m_render->scene())
        return;
    const QString folder = CSettings::instance().lastSaveFolder();
    const QString file = askFileName(PlotExport::allPlotsName(folder), PlotExport::allPlotsFilter(),
                                     QStringLiteral("pdf"));
    if (file.isEmpty())
        return;
    if (isDrawing()) {
        // Saved once the last plot is drawn; the wait window says so and counts them in.
        m_pendingSaveAll = file;
        m_pendingWait = new SaveAllWait(m_owner);
        m_pendingWait->setAttribute(Qt::WA_DeleteOnClose);
        // The user may page through the plots that are ready while the rest come in.
        m_pendingWait->setWindowModality(Qt::NonModal);
        m_pendingWait->setText(tr("Waiting: %1 of %2 plots drawn").arg(count()).arg(m_total));
        m_pendingWait->show();
        return;
    }
    saveAllTo(file);
}

void PlotPager::saveAllTo(const QString &vFile)
{
    const QString &file = vFile;
    bool saved = false;
    {
        SaveAllWait wait(m_owner);
        connect(m_render, &SvgRender::on_imageSave, &wait, &SaveAllWait::setText);
        wait.show();
        saved = m_render->saveAllPdf(file);
        wait.close();
    }
    if (!saved)
        warn(tr("The plots couldn't be saved to\n%1").arg(nativePath(file)));
}

void PlotPager::warn(const QString &vMessage)
{
    QMessageBox::warning(m_owner, tr("Warning!"), vMessage);
}
