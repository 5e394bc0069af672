#include "plotscript.h"

#include <QStringList>

namespace {

// Eight chain colours that readers with the common colour-vision deficiencies tell apart (the
// yellow last: it is faint on white).
const char *const kChainColours[] = {"#0072B2", "#D55E00", "#009E73", "#CC79A7",
                                     "#E69F00", "#56B4E9", "#000000", "#F0E442"};

} // namespace

PlotScript::PlotScript(int vChains)
    : m_chains(vChains)
{ }

void PlotScript::setSize(int vWidth, int vHeight)
{
    m_width = vWidth;
    m_height = vHeight;
}

void PlotScript::setRange(int vStart, int vStop, int vFirst, int vLast)
{
    m_start = vStart;
    m_stop = vStop;
    m_first = vFirst;
    m_last = vLast;
}

void PlotScript::setBurnIn(int vBurn)
{
    m_burn = qMax(0, vBurn);
}

QString PlotScript::quoted(const QString &vText)
{
    QString text = vText;
    text.replace(u'\\', QStringLiteral("\\\\"))
        .replace(u'"', QStringLiteral("\\\""))
        .replace(u'\n', QStringLiteral("\\n"))
        .remove(u'\r');
    return u'"' + text + u'"';
}

QString PlotScript::script(const QString &vLabel, const QString &vDataFile,
                           const QString &vSvgFile) const
{
    // A reset first: the same gnuplot draws many plots and none may inherit from the one before.
    QString text = QStringLiteral("reset\n")
        + QStringLiteral("set encoding utf8\n")
        + QStringLiteral("set terminal svg size %1,%2 dynamic background rgb 'white'\n")
              .arg(m_width)
              .arg(m_height)
        + QStringLiteral("set output ") + quoted(vSvgFile) + u'\n'
        // The label's line break puts "Parameter n" on a line of its own.
        + QStringLiteral("set title ") + quoted(vLabel) + QStringLiteral(" noenhanced\n")
        + QStringLiteral("set ylabel 'Estimate'; set xlabel 'Iterations'\n")
        + QStringLiteral("set grid\n") + chainStyle() + burnInShade();

    QString every;
    if (m_start == 1) {
        text += QStringLiteral("set xrange[1:]; set xtics add\n");
    }
    if (m_start != 1 || m_stop != -1) {
        // A ranged plot is bounded by what the user asked for, even where the data is shorter.
        every = QStringLiteral("every ::") + QString::number(m_first - 1);
        if (m_last != -1)
            every += QStringLiteral("::") + QString::number(m_last - 1);
    }
    // Closing the output completes the SVG file before gnuplot reads on.
    return text + plotCommand(every, vDataFile) + QStringLiteral("\nset output\n");
}

QString PlotScript::chainStyle() const
{
    if (m_chains < 2)
        return QStringLiteral("set key off\n");
    QString text = QStringLiteral("set key top right horizontal samplen 1 spacing 0.8 font ',8' "
                                  "opaque box lc rgb '#c0c0c0'\n");
    text += QStringLiteral("set linetype cycle 8\n");
    for (int i = 0; i < 8; ++i)
        text += QStringLiteral("set linetype %1 lc rgb '%2'\n")
                    .arg(i + 1)
                    .arg(QLatin1String(kChainColours[i]));
    return text;
}

QString PlotScript::burnInShade() const
{
    // Shaded only where burn-in iterations are drawn at all.
    if (m_burn < 1 || m_start > m_burn)
        return {};
    return QStringLiteral("set object 1 rect from graph 0, graph 0 to first %1, graph 1 behind "
                          "fillcolor rgb '#e4e4e4' fillstyle solid noborder\n"
                          "set label 1 'burn-in' at graph 0, graph 1 offset 0.5,-0.8 font ',8' "
                          "textcolor rgb '#707070'\n")
        .arg(m_burn);
}

QString PlotScript::plotCommand(const QString &vEvery, const QString &vDataFile) const
{
    const QString range = vEvery.isEmpty() ? QString() : vEvery + QLatin1Char(' ');
    // One chain is drawn as a thick black line; several get a colour each and a legend.
    if (m_chains < 2)
        return QStringLiteral("plot ") + quoted(vDataFile) + u' ' + range
            + QStringLiteral("using 1:2 with lines lw 2 lt -1");
    return QStringLiteral("plot for [i=1:") + QString::number(m_chains) + QStringLiteral("] ")
        + quoted(vDataFile) + u' ' + range
        + QStringLiteral("using 1:i+1 with lines lw 1 lt i title 'Chain '.i");
}
