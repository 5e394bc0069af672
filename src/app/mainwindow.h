#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include <QMainWindow>
#include <QPointer>

class QCloseEvent;
class QMdiSubWindow;
class RunMarks;
class StudioExtras;
class VSettings;
class Workspace;

namespace Ui {
class MainWindow;
}

// The studio's only top-level window: one tab per open document, the menus, tool bar and every
// action, which it forwards to the active document and keeps in step with it. Every file the
// studio is asked to open, from the command line, the operating system, a second instance or a
// dialog, arrives through on_open, which never opens one file twice.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    // True when another studio is already running and has been handed vFileName; this process
    // should then end. False when this process is the first one.
    bool handOverToRunningInstance(const QString &vFileName);

    Workspace *activeDocument() const;
    QList<Workspace *> documents() const;
    VSettings *preferences() const;
    // Fills the "Examples" menu from an examples folder (by default the one beside the studio).
    void buildExamplesMenu(const QString &vFolder = QString());
    // " 4.0.1": the version as stored under "Version" to spot the first start of a new version.
    static QString versionText();

Q_SIGNALS:
    void do_new();
    void do_open(QString vImpFile);

public Q_SLOTS:
    void updateButtons(Workspace *window);
    void disablePlotButtons();
    void checkOutput();
    void on_new();
    void on_open(const QString &vImpFile);
    void on_saveAll();
    void on_about();
    void on_changelog();
    void on_changelogBase();
    void on_help();
    void on_settings();
    void on_notifyTovrelCheckFailed();
    void on_subWindowActivated(QMdiSubWindow *vMdiSubWindow);

    void on_actionAbout_triggered();
    void on_actionHelp_triggered();
    void on_actionNew_triggered();
    void on_actionSettings_triggered();
    void on_actionOpen_triggered();
    void on_actionQuit_triggered();
    void on_actionSave_All_triggered();
    void on_actionClose_All_triggered();
    void on_actionChangelog_triggered();
    void on_actionUndo_triggered();
    void on_actionRedo_triggered();
    void on_actionCut_triggered();
    void on_actionCopy_triggered();
    void on_actionPaste_triggered();
    void on_actionSelect_All_triggered();
    void on_actionSelect_Line_triggered();
    void on_actionFind_and_Replace_triggered(bool checked);
    void on_actionStart_triggered();
    void on_actionStop_triggered();
    void on_actionAuto_Plot_triggered(bool checked);
    void on_actionPrevious_triggered();
    void on_actionNext_triggered();
    void on_actionGo_to_triggered();
    void on_actionPlot_Popout_triggered();
    void on_actionPlot_Settings_triggered();
    void on_actionZoom_In_triggered();
    void on_actionZoom_Out_triggered();
    void on_actionOutput_triggered(bool checked);
    void on_actionPlot_triggered(bool checked);
    void on_actionSave_triggered();
    void on_actionSave_As_triggered();
    void on_actionClose_triggered();
    void on_actionIndent_triggered();
    void on_actionUnindent_triggered();
    void on_actionToggle_Comment_triggered();
    void on_actionDuplicate_triggered();
    void on_actionSave_Current_Plot_triggered();
    void on_actionSave_All_Plots_triggered();
    void on_actionBase_Changelog_triggered();
    void on_actionIterations_triggered();
    void on_actionCheckUpdate_triggered();

protected:
    void closeEvent(QCloseEvent *vEvent) override;

private:
    QMdiSubWindow *addDocument(Workspace *vDocument);
    void applyNewVersionResets();
    void openExample();
    void installExamples();
    void rebuildTabMenu();
    // Copies the active document's run, stop, output and plot states into the window's actions.
    void syncDocumentActions();
    void showText(const QString &vTitle, const QString &vText, bool vMarkdown);
    QList<QAction *> documentActions() const;

    Ui::MainWindow *ui;
    StudioExtras *m_extras = nullptr;
    RunMarks *m_runMarks = nullptr;
    QPointer<VSettings> m_preferences;
    QPointer<Workspace> m_active;
    int m_documentCount = 0;
    bool m_tearingDown = false;
};

#endif // MAINWINDOW_H
