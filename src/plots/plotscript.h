#ifndef PLOTSCRIPT_H
#define PLOTSCRIPT_H

#include <QString>

// Writes the gnuplot commands that draw one parameter's trace into one SVG file, from that
// parameter's own data file (the iteration, then one column per chain). The commands are one
// per line and leave nothing behind them, so one gnuplot reading its standard input can draw
// plot after plot.
class PlotScript
{
public:
    explicit PlotScript(int vChains);

    void setSize(int vWidth, int vHeight);
    // vStart and vStop choose the form of the plot (1 and -1 mean the whole run, -1 "Max");
    // vFirst and vLast are the user's own iteration choices that bound a ranged plot.
    void setRange(int vStart, int vStop, int vFirst, int vLast);
    // The first vBurn iterations are shaded as burn-in; 0 shades nothing.
    void setBurnIn(int vBurn);

    // The commands that draw the parameter titled vLabel from vDataFile into vSvgFile.
    QString script(const QString &vLabel, const QString &vDataFile, const QString &vSvgFile) const;

    // vText as a gnuplot string: in double quotes, with its line breaks, quotes and
    // backslashes escaped, so any label or path survives as it is.
    static QString quoted(const QString &vText);

private:
    QString plotCommand(const QString &vEvery, const QString &vDataFile) const;
    QString chainStyle() const;
    QString burnInShade() const;

    int m_chains = 1;
    int m_width = 900;
    int m_height = 400;
    int m_start = 1;
    int m_stop = -1;
    int m_first = 1;
    int m_last = -1;
    int m_burn = 0;
};

#endif // PLOTSCRIPT_H
