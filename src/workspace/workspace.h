#ifndef WORKSPACE_H
#define WORKSPACE_H

#include <QDateTime>
#include <QFuture>
#include <QMainWindow>
#include <QPointer>
#include <QProcess>
#include <QString>

#include <memory>
#include <utility>

class FileHandling;
class GraphingEngine;
class PlotSettings;
class QDockWidget;
class ProcessHandling;
class RunWatch;
class QAction;
class QCloseEvent;
class QResizeEvent;
class QTemporaryDir;
class WaitingSpinnerWidget;
class WConvergencePanel;
class WGraphPanel;
class WOutputPane;
class WSyntaxEditor;
class WTextFinder;

namespace Ui {
class Workspace;
}

// One document: a script bound to its engine run, the streamed output and the trace plots of
// the run. The main window owns the visible menus and shortcuts and forwards its actions to the
// slots below; the document's own actions are never placed in a menu or tool bar, so their
// shortcuts stay inert and cannot compete with the main window's.
class Workspace : public QMainWindow
{
    Q_OBJECT
public:
    // What the document is doing: a run wins over plotting, which may still be under way from
    // the previous run.
    enum class RunState { Idle, Running, Plotting };

    explicit Workspace(QWidget *parent = nullptr);
    ~Workspace() override;

    int documentNumber() const { return m_documentNumber; }
    void setDocumentNumber(int vNumber);
    // The script's path; empty for a document that has never been saved.
    QString filePath() const;
    // Where the engine's output file of this script lives ("tovrel-out" beside the script, or
    // ".out" for an Mplus input).
    QString outputPath() const;
    // Everything the last run streamed into the output pane, iteration history included.
    QString iterationHistory() const { return QString::fromUtf8(m_fullOutput); }
    bool isModified() const;
    // The script's file name, or "Untitled" and the document number for a new one.
    QString displayName() const;
    bool isRunning() const;
    bool isPlotting() const;
    RunState runState() const;
    bool canUndo() const;
    bool canRedo() const;
    bool plotsAvailable() const { return m_plotsAvailable; }

    WSyntaxEditor *editor() const;
    WOutputPane *outputPane() const;
    WGraphPanel *graphPanel() const { return m_graphPanel; }
    PlotSettings *plotSettings() const { return m_plotSettings; }
    WConvergencePanel *convergencePanel(); // made on first use
    QDockWidget *convergenceDock() const { return m_convergenceDock; }
    RunWatch *runWatch() const { return m_runWatch; }

    // The document's own actions behind the states the main window mirrors: Run and Stop
    // enabled, output and plot panes shown, auto plot and the find bar checked. stateChanged()
    // follows any change of them, of the run state, of the modified state and of undo and redo.
    QAction *runAction() const;
    QAction *stopAction() const;
    QAction *outputAction() const;
    QAction *plotAction() const;
    QAction *autoPlotAction() const;
    QAction *findAction() const;

Q_SIGNALS:
    void did_open();
    void did_read();
    void did_save();
    void graphs_done(Workspace *window);
    void disable_plot();
    void process_finished();
    void output_receieved();
    void stateChanged();
    // The document agreed to close: its changes were saved or knowingly discarded.
    void did_close();
    // A run began or ended (stopped, finished or failed).
    void runningChanged(bool vRunning);

public Q_SLOTS:
    void on_new();
    void on_import(const QString &vDataFileName, const QString &vDataHeaders,
                   const QString &vMissingValue);
    bool on_open(const QString &vImpFile);
    bool on_save(bool vSaveAs);
    bool on_close();
    void on_selectAll();
    void on_cut();
    void on_copy();
    void on_paste();
    void on_undo();
    void on_redo();
    void on_clear();
    void graphs_finished();
    void on_selectLine();
    void on_indent();
    void on_unindent();
    void on_comment();
    void on_duplicate();
    void on_stop();
    void on_run();
    void on_output(bool checked);
    void on_plot(bool checked);
    void on_find();
    void on_tb_save_plot_clicked();
    void on_tb_saveAll_plot_clicked();
    void on_tb_left_clicked();
    void on_tb_right_clicked();
    void on_tb_popout_clicked();
    void on_tb_settings_plot_clicked();
    void on_actionGo_to_triggered();
    void documentWasModified();
    void processStarted();
    void processSendOut(const QString &vData);
    void processSendErr(const QString &vData);
    void processFinished(int exitCode);
    void processErrorOccured(QProcess::ProcessError error);
    void setOutLogFont();
    void update_orientation();
    void on_actionNew_triggered();
    void on_actionOpen_triggered();
    void on_actionSave_triggered();
    void on_actionSaveAs_triggered();
    void on_actionClose_triggered();
    void on_actionSelect_All_triggered();
    void on_actionCut_triggered();
    void on_actionCopy_triggered();
    void on_actionPaste_triggered();
    void on_actionUndo_triggered();
    void on_actionRedo_triggered();
    void on_actionClear_triggered();
    void on_actionFind_Replace_triggered(bool vChecked);
    // Forwarded by the main window as well.
    void on_zoomIn();
    void on_zoomOut();
    void on_autoPlot(bool checked);

protected:
    void closeEvent(QCloseEvent *vEvent) override;
    bool eventFilter(QObject *vWatched, QEvent *vEvent) override;
    void resizeEvent(QResizeEvent *vEvent) override;

private:
    bool maybeSave(bool vAllowDiscard);
    // Asks before a close stops a running engine; true when nothing runs or the user agrees.
    bool maybeStopRun();
    bool saveOutputAs();
    void saveOutput(const QByteArray &vText);
    void evaluatePlotRequests();
    void makePlots();
    void endPlotting();
    // Plots shown as they are drawn; the dock opens with the first.
    void plotsArrived(int vReady, int vTotal);
    void revealGraphDock();
    void setPlotControlsEnabled(bool vEnabled);
    void renewTemporaryFolder();
    // Stops the engine and gnuplot and removes the temporary folder, without any report.
    void shutDown();
    void loadScript(const QString &vText, bool vMplus);
    void updateTitle();
    void applyPlotDefaults();
    // The convergence view: made once, filled after every successful run with chain files.
    void setUpConvergence();
    void checkConvergence();

    std::unique_ptr<Ui::Workspace> ui;
    int m_documentNumber = 0;
    // Kept as UTF-8, shared with the output pane while it still shows the stream.
    QByteArray m_fullOutput;
    QString m_executable;
    FileHandling *m_file = nullptr;
    ProcessHandling *m_runner = nullptr;
    QString m_scriptPath;
    // The output file's time and size before the run (invalid and -1 when there was none).
    std::pair<QDateTime, qint64> m_outputBefore;
    // The stream being saved as the run's output, off the interface's thread.
    QFuture<bool> m_outputSaving;
    bool m_modifiedByUser = false;
    bool m_examplePromptPending = true;
    bool m_stoppedByUser = false;
    bool m_running = false;
    bool m_lastRunMplus = false;
    bool m_verticalLayout = true;
    bool m_orientationApplied = false;
    bool m_autoPlot = false;
    bool m_plotsAvailable = false;
    bool m_plotsMade = false;
    int m_requestedChains = 2;
    int m_burnIn = 0; // the run's burn-in iterations, shaded in its plots
    std::unique_ptr<QTemporaryDir> m_tempDir;
    QPointer<WaitingSpinnerWidget> m_spinner;
    QPointer<WaitingSpinnerWidget> m_plotSpinner;
    QPointer<GraphingEngine> m_graphing;
    WGraphPanel *m_graphPanel = nullptr;
    PlotSettings *m_plotSettings = nullptr;
    WConvergencePanel *m_convergence = nullptr;
    QDockWidget *m_convergenceDock = nullptr;
    bool m_closeConfirmed = false;
    RunWatch *m_runWatch = nullptr;
};

#endif // WORKSPACE_H
