#include "plotexport.h"

#include "svgrender.h"

#include <QFileInfo>

QStringList PlotExport::types()
{
    return {QStringLiteral(".pdf"), QStringLiteral(".png"), QStringLiteral(".jpg"),
            QStringLiteral(".svg")};
}

QString PlotExport::preferredType(int vType)
{
    const QStringList all = types();
    return all.value(vType, all.first());
}

QString PlotExport::filter(int vType)
{
    const QString preferred = preferredType(vType);
    QString filter = QStringLiteral("Images ( *") + preferred;
    for (const QString &type : types()) {
        if (type != preferred)
            filter += QStringLiteral(" *") + type;
    }
    return filter + QLatin1Char(')');
}

QString PlotExport::proposedName(const QString &vFolder, int vIndex, int vType)
{
    return vFolder + QStringLiteral("/plot") + QString::number(vIndex + 1) + preferredType(vType);
}

QString PlotExport::allPlotsFilter()
{
    return QStringLiteral("Images ( *.pdf)");
}

QString PlotExport::allPlotsName(const QString &vFolder)
{
    return vFolder + QStringLiteral("/plots.pdf");
}

namespace {

// Users type "PLOT.PNG" as often as "plot.png"; both mean an image.
QString suffixOf(const QString &vFile)
{
    return QFileInfo(vFile).suffix().toLower();
}

bool isImage(const QString &vSuffix)
{
    return vSuffix == QLatin1String("png") || vSuffix == QLatin1String("jpg");
}

} // namespace

bool PlotExport::copiesSvg(const QString &vFile)
{
    const QString suffix = suffixOf(vFile);
    return suffix != QLatin1String("pdf") && !isImage(suffix);
}

bool PlotExport::save(const SvgRender &vRender, const QString &vFile, const QSize &vImageSize)
{
    const QString suffix = suffixOf(vFile);
    if (suffix == QLatin1String("pdf"))
        return vRender.savePdf(vFile);
    if (isImage(suffix))
        return vRender.saveImage(vFile, vImageSize.width(), vImageSize.height());
    return vRender.saveSvg(vFile);
}
