#include "plotscript.h"

PlotScript::PlotScript(const QString &vBase, int vChains)
    : m_base(vBase)
    , m_chains(vChains)
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

QString PlotScript::script(const QString &vLabel, int vColumn) const
{
    QString text = QStringLiteral("set datafile separator ','; ")
        + QStringLiteral("set encoding utf8;")
        + QStringLiteral("set terminal svg size %1,%2 dynamic background rgb 'white'; ")
              .arg(m_width)
              .arg(m_height)
        // The title goes in unescaped: its line feed is what puts "Parameter n" on a line of
        // its own.
        + QStringLiteral("set title '") + vLabel + QStringLiteral("' noenhanced;")
        + QStringLiteral("set ylabel 'Estimate'; set xlabel 'Iterations'; ")
        + QStringLiteral("set key off; set grid; ");

    if (m_start == 1) {
        text += QStringLiteral("set xrange[1:]; set xtics add; ");
        if (m_stop == -1)
            return text + plotCommand(QString(), vColumn);
    }
    // A ranged plot is bounded by what the user asked for, even where the data is shorter.
    QString every = QStringLiteral("every ::") + QString::number(m_first - 1);
    if (m_last != -1)
        every += QStringLiteral("::") + QString::number(m_last - 1);
    return text + plotCommand(every, vColumn);
}

QString PlotScript::defaultScript(const QString &vLabel, int vColumn) const
{
    return QStringLiteral("set datafile separator ',';") + QStringLiteral("set encoding utf8;")
        + QStringLiteral("set terminal svg size 900,400 dynamic background rgb 'white';")
        + QStringLiteral("set title '") + vLabel + QStringLiteral("' noenhanced;")
        + QStringLiteral("set ylabel 'Estimate'; set xlabel 'Iterations';")
        + QStringLiteral("set key off; set grid;") + plotCommand(QString(), vColumn);
}

QString PlotScript::plotCommand(const QString &vEvery, int vColumn) const
{
    const QString range = vEvery.isEmpty() ? QString() : vEvery + QLatin1Char(' ');
    // One chain is drawn as a thick black line; several get gnuplot's own line types.
    if (m_chains < 2)
        return QStringLiteral("plot '") + m_base + QStringLiteral("1.csv' ") + range
            + QStringLiteral("using 1:") + QString::number(vColumn)
            + QStringLiteral(" with lines lw 2 lt -1");
    return QStringLiteral("plot for [i=1:") + QString::number(m_chains) + QStringLiteral("] '")
        + m_base + QStringLiteral("'.i.'.csv' ") + range + QStringLiteral("using 1:")
        + QString::number(vColumn) + QStringLiteral(" with lines lw 1 lt i title 'Chain '.i;");
}
