#ifndef TRACEPLOTS_H
#define TRACEPLOTS_H

#include "config/executablepath.h"
#include "plots/chainsplitter.h"
#include "plots/plotscript.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSize>
#include <QString>
#include <QTextStream>

#include <random>
#include <vector>

// Real plots for tests and benchmarks: trace files shaped like the engine's ("burn<c>.csv", one
// line per iteration, the iteration number then one column per parameter) and one gnuplot SVG
// per parameter ("plot<k>.svg"), made by running gnuplot just as the studio does.
namespace TracePlots {

// Each parameter wanders around its own mean as a sampler's draws do (an autoregressive
// series), every chain from its own seed, so a plot shows overlapping chains.
inline bool writeTraces(const QString &vDir, int vParameters, int vChains, int vIterations)
{
    for (int chain = 1; chain <= vChains; ++chain) {
        QFile file(QDir(vDir).filePath(QStringLiteral("burn%1.csv").arg(chain)));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
            return false;
        std::mt19937 random(7919u * unsigned(chain));
        std::normal_distribution<double> shock(0.0, 0.25);
        std::vector<double> value(std::size_t(vParameters), 0.0);
        for (int p = 0; p < vParameters; ++p)
            value[std::size_t(p)] = 0.1 * p + (chain - 1) * 0.4; // dispersed starting values
        QTextStream out(&file);
        for (int iteration = 1; iteration <= vIterations; ++iteration) {
            out << iteration;
            for (int p = 0; p < vParameters; ++p) {
                double &x = value[std::size_t(p)];
                const double mean = 0.1 * p;
                x = mean + 0.8 * (x - mean) + shock(random);
                out << ',' << x;
            }
            out << '\n';
        }
    }
    return true;
}

// Draws parameter vParameter with the studio's own script and data split, writing
// "plot<vParameter>.svg".
inline bool plot(const QString &vDir, int vParameter, int vChains, const QSize &vSize)
{
    const QDir dir(vDir);
    const QString data = dir.filePath(QStringLiteral("trace%1.dat").arg(vParameter));
    ChainSplitter splitter;
    if (!splitter.open(dir.filePath(QStringLiteral("burn")), vChains, vParameter))
        return false;
    while (!splitter.index(1 << 20)) { }
    if (!splitter.write(vParameter - 1, data))
        return false;
    PlotScript script(vChains);
    script.setSize(vSize.width(), vSize.height());
    QProcess gnuplot;
    gnuplot.start(ExecutablePath::find(QStringLiteral("gnuplot")), QStringList());
    gnuplot.write(script
                      .script(QStringLiteral("Parameter %1").arg(vParameter), data,
                              dir.filePath(QStringLiteral("plot%1.svg").arg(vParameter)))
                      .toUtf8());
    gnuplot.closeWriteChannel();
    const bool drawn = gnuplot.waitForFinished(60000)
        && gnuplot.exitStatus() == QProcess::NormalExit && gnuplot.exitCode() == 0;
    QFile::remove(data);
    return drawn;
}

// Gives "plot<k>.svg" the modification time vBase + vStepSeconds * k, so the order by age is
// known whatever the speed of the machine.
inline bool stamp(const QString &vDir, int vParameter, const QDateTime &vBase, int vStepSeconds)
{
    QFile file(QDir(vDir).filePath(QStringLiteral("plot%1.svg").arg(vParameter)));
    return file.open(QIODevice::ReadWrite)
        && file.setFileTime(vBase.addSecs(qint64(vStepSeconds) * vParameter),
                            QFileDevice::FileModificationTime);
}

} // namespace TracePlots

#endif // TRACEPLOTS_H
