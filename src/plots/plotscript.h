#ifndef PLOTSCRIPT_H
#define PLOTSCRIPT_H

#include <QString>

// Writes the gnuplot script that draws one parameter's trace from the per-chain files
// base + "1.csv", base + "2.csv", ... The text is exact down to the blanks: gnuplot reads it
// as one "-e" command line and the studio's plots depend on every piece of it.
class PlotScript
{
public:
    // vBase is the chain files' path without the chain number and ".csv".
    PlotScript(const QString &vBase, int vChains);

    void setSize(int vWidth, int vHeight);
    // vStart and vStop choose the form of the plot (1 and -1 mean the whole run, -1 "Max");
    // vFirst and vLast are the user's own iteration choices that bound a ranged plot.
    void setRange(int vStart, int vStop, int vFirst, int vLast);

    // The script of the parameter titled vLabel, read from data column vColumn.
    QString script(const QString &vLabel, int vColumn) const;
    // The plain form: fixed size, all iterations.
    QString defaultScript(const QString &vLabel, int vColumn) const;

private:
    QString plotCommand(const QString &vEvery, int vColumn) const;

    QString m_base;
    int m_chains = 1;
    int m_width = 900;
    int m_height = 400;
    int m_start = 1;
    int m_stop = -1;
    int m_first = 1;
    int m_last = -1;
};

#endif // PLOTSCRIPT_H
