#ifndef PLOTEXPORT_H
#define PLOTEXPORT_H

#include <QSize>
#include <QString>
#include <QStringList>

class SvgRender;

// The file types a plot can be saved as, the save dialog's filter and proposed names, and the
// choice of export by the chosen file's suffix.
class PlotExport
{
public:
    // ".pdf", ".png", ".jpg", ".svg": the order the "dType" setting indexes.
    static QStringList types();
    // The preferred type for a "dType" value; an index outside the list falls back to ".pdf".
    static QString preferredType(int vType);
    // "Images ( *" + preferred type + " *" + each other type + ")".
    static QString filter(int vType);
    // vFolder + "/plot" + (vIndex + 1) + preferred type.
    static QString proposedName(const QString &vFolder, int vIndex, int vType);
    static QString allPlotsFilter();
    static QString allPlotsName(const QString &vFolder);

    // Whether saving to vFile copies the SVG file rather than rendering it.
    static bool copiesSvg(const QString &vFile);
    // Saves the shown plot by the suffix of vFile: a one-page PDF, a PNG or JPG of vImageSize,
    // or, for anything else, a copy of the SVG file.
    static bool save(const SvgRender &vRender, const QString &vFile, const QSize &vImageSize);
};

#endif // PLOTEXPORT_H
