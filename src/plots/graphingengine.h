#ifndef GRAPHINGENGINE_H
#define GRAPHINGENGINE_H

#include <QDir>
#include <QList>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <deque>
#include <memory>
#include <vector>

class ChainSplitter;
class PlotSettings;
class PlotScript;

// Turns the engine's per-chain trace files in one folder into one SVG per parameter
// ("plot1.svg", "plot2.svg", ...). The chain files are split once into one small data file per
// parameter, and one or two long-lived gnuplot processes draw plot after plot from their
// standard input, each plot reported as soon as its file is complete. Made for a single
// request: the owner creates a new one for each plotting.
class GraphingEngine : public QObject
{
    Q_OBJECT
public:
    GraphingEngine(QObject *parent, const QString &dirPath);
    ~GraphingEngine() override;

    // Plots every parameter of the chain files vFileBase + "1.csv", ... with the iterations,
    // chains and size chosen in vSettings; vChains is the number of chains the script asked
    // for. Returns 1 when the plotting was started (or there was nothing to plot), 0 otherwise.
    int plot(const QString &vFileBase, int vChains, const PlotSettings *vSettings);
    // The plain form: 900 by 400 pixels, all iterations, vChains chains.
    int plotDefault(const QString &vFileBase, int vChains);
    // The iterations the run spent on burn-in, shaded in each plot; 0 shades none.
    void setBurnIn(int vBurn) { m_burnIn = vBurn; }
    // At most this many gnuplot processes at once (normally one per core, up to two).
    void setParallel(int vProcesses) { m_parallel = qMax(1, vProcesses); }

    const QStringList &labels() const { return m_labels; }
    const QStringList &scripts() const { return m_scripts; }
    bool isBusy() const { return m_busy; }
    // Plots 1 to readyCount() are complete (drawn, or failed and reported at the end).
    int readyCount() const { return m_ready; }

Q_SIGNALS:
    void did_sendErr(QString vData);
    // The first vReady of vTotal plots are complete; sent each time that number grows.
    void did_ready(int vReady, int vTotal);
    // Sent once, after the last plot, with 0 when it was drawn.
    void did_finish(int exitCode);

public Q_SLOTS:
    void sendErr(QString vMessage);

private:
    struct Worker;

    // The chain files' common path, or empty when busy or (with the message sent) when it
    // cannot be used.
    QString acceptRequest(const QString &vFileBase);
    int start(const PlotScript &vBuilder);
    // Does a slice of the work (indexing, data files, handing plots out) and comes back later.
    void step();
    void writeAhead();
    void dispatch();
    Worker *startWorker(bool vSingle);
    void readMarkers(Worker *vWorker);
    void workerEnded(Worker *vWorker);
    void complete(int vPlot);
    void finish();
    void stopWorkers();
    void fail(const QString &vMessage);
    QString dataFile(int vPlot) const;
    QString svgFile(int vPlot) const;
    // Names the plots gnuplot could not draw.
    QString failureReport() const;

    QDir m_dir;
    QStringList m_labels;
    bool m_busy = false;
    QStringList m_scripts;
    QString m_gnuplot;
    int m_burnIn = 0;
    int m_parallel = 2;
    std::unique_ptr<ChainSplitter> m_splitter;
    std::vector<std::unique_ptr<Worker>> m_workers;
    // After a long-lived gnuplot died, every plot gets a process of its own.
    bool m_single = false;
    bool m_stepQueued = false;
    int m_written = 0; // data files written, plots 1..m_written
    std::deque<int> m_queue; // plots with data, not yet handed to gnuplot (0-based)
    std::vector<char> m_done;
    int m_ready = 0;
    QList<int> m_failed; // 1-based
    int m_lastExit = 0;
};

#endif // GRAPHINGENGINE_H
