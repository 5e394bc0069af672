#ifndef PLOTREQUESTS_H
#define PLOTREQUESTS_H

#include <QCoreApplication>
#include <QString>
#include <QStringList>

class QWidget;

// What a script asks of its next engine run beyond what the engine reports back: which engine
// to run (a "#!" first line), whether trace plots are wanted and how many chains there are. A
// light scan of the script's commands, not a parser of the engine's language. It shows at most
// one message box and never cancels the run.
class PlotRequests
{
    Q_DECLARE_TR_FUNCTIONS(PlotRequests)
public:
    static constexpr int kDefaultChains = 2;

    // The values a script without any requests keeps: the configured engine and the document's
    // auto-plot choice.
    PlotRequests(const QString &vEnginePath, bool vAutoPlot);

    // Scans vScript; message boxes are parented to vParent (the document window).
    void evaluate(const QString &vScript, QWidget *vParent);

    QString enginePath() const { return m_enginePath; }
    bool plotThisRun() const { return m_plotThisRun; }
    int requestedChains() const { return m_requestedChains; }

    // The engine named by a "#!" line's text: a release word or a path, "~" meaning home.
    static QString engineFromLine(const QString &vLine);
    // The engine a run of vScript starts: the one its "#!" first line names, else vConfigured.
    static QString scriptEngine(const QString &vScript, const QString &vConfigured);

    // How long a run of the script is: its BURN, ITERATIONS and CHAINS commands, or the engine's
    // defaults where the script gives none or a value that is not a count. The chain files hold
    // the burn-in iterations first, then the sampled ones.
    struct RunLength
    {
        int burn = 1000;
        int iterations = 1000;
        int chains = kDefaultChains;
    };
    static RunLength runLength(const QString &vScript);

private:
    // Each returns false when the evaluation stops at this command.
    bool plotCommand(const QStringList &vWords, QWidget *vParent);
    void chainsCommand(const QStringList &vWords);
    bool bygroupCommand(QWidget *vParent);
    void optionsCommand(const QStringList &vWords);

    QString m_startEnginePath;
    bool m_startAutoPlot = false;
    QString m_enginePath;
    bool m_plotThisRun = false;
    int m_requestedChains = kDefaultChains;
    bool m_bygroupSeen = false;
    bool m_chainsGiven = false;
};

#endif // PLOTREQUESTS_H
