// The plot settings panel: whatever is typed in its five rows, then OK. Input: the rows'
// texts separated by line feeds.
#include "fuzzapp.h"
#include "plots/plotsettings.h"

#include <QLineEdit>
#include <QPushButton>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::application();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *vData, size_t vSize)
{
    static PlotSettings *panel = new PlotSettings(nullptr, QVariantMap());
    static const QList<QLineEdit *> rows = [] {
        QList<QLineEdit *> found;
        for (const char *name : {"le_begin", "le_end", "le_nchain", "le_width", "le_height"})
            found << panel->findChild<QLineEdit *>(QLatin1String(name));
        return found;
    }();
    static QPushButton *ok = panel->findChild<QPushButton *>(QStringLiteral("pb_OK"));
    const QStringList texts = fuzz::text(vData, vSize).split(QLatin1Char('\n'));
    for (int i = 0; i < rows.size(); ++i)
        rows.at(i)->setText(i < texts.size() ? texts.at(i) : QString());
    ok->click();
    // Whatever was accepted stays usable: a start before the stop, sizes above zero.
    if (panel->bIter() < 1 || panel->width() < 1 || panel->height() < 1)
        abort();
    if (panel->eIter() != -1 && panel->bIter() >= panel->eIter())
        abort();
    if (panel->nchain() != -1 && panel->nchain() < 1)
        abort();
    return 0;
}
