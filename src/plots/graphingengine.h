#ifndef GRAPHINGENGINE_H
#define GRAPHINGENGINE_H

#include <QDir>
#include <QList>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>

class PlotSettings;

// Turns the engine's per-chain trace files in one folder into one SVG per parameter
// ("plot1.svg", "plot2.svg", ...) by running gnuplot once per parameter, one run after
// another. Made for a single request: the owner creates a new one for each plotting.
class GraphingEngine : public QObject
{
    Q_OBJECT
public:
    GraphingEngine(QObject *parent, const QString &dirPath);
    ~GraphingEngine() override;

    // Plots every parameter of the chain files vFileBase + "1.csv", ... with the iterations,
    // chains and size chosen in vSettings; vChains is the number of chains the script asked
    // for. Returns 1 when the runs were started (or there was nothing to plot), 0 otherwise.
    int plot(const QString &vFileBase, int vChains, const PlotSettings *vSettings);
    // The plain form: 900 by 400 pixels, all iterations, vChains chains.
    int plotDefault(const QString &vFileBase, int vChains);

    const QStringList &labels() const { return m_labels; }
    const QStringList &scripts() const { return m_scripts; }
    bool isBusy() const { return m_busy; }

Q_SIGNALS:
    void did_sendErr(QString vData);
    void did_finish(int exitCode);

public Q_SLOTS:
    void sendErr(QString vMessage);
    void finished(int exitCode);

private:
    // The chain files' common path, or empty when busy or (with the message sent) when it
    // cannot be used.
    QString acceptRequest(const QString &vFileBase);
    // Starts the first of the scripts; returns 1, the answer to a request taken.
    int startRuns();
    void runNext();
    void onProcessError(QProcess::ProcessError vError);
    // Names the plots whose gnuplot run failed.
    QString failureReport() const;

    QProcess *m_process = nullptr;
    QDir m_dir;
    QStringList m_labels;
    bool m_busy = false;
    QStringList m_scripts;
    int m_next = 0;
    // Runs (1-based) that ended in an error or a crash.
    QList<int> m_failed;
    QString m_gnuplot;
};

#endif // GRAPHINGENGINE_H
