#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include <QMainWindow>
#include <QPointer>

class DocumentSafety;
class DocumentActions;
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
// action, bound to the current document through one table (DocumentActions). Every file the
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

    // The current document: the one the actions work on.
    Workspace *activeDocument() const;
    QList<Workspace *> documents() const;
    VSettings *preferences() const;
    // Recovery copies of unsaved documents, the recovery offer and the remembered session.
    DocumentSafety *safety() const { return m_safety; }
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
    void on_actionBase_Changelog_triggered();
    void on_actionCheckUpdate_triggered();

protected:
    void closeEvent(QCloseEvent *vEvent) override;

private:
    QMdiSubWindow *addDocument(Workspace *vDocument);
    // The table of what each document action calls and which document state it shows.
    void bindDocumentActions();
    void run(Workspace &vDocument);
    void showIterationHistory(const Workspace &vDocument);
    // Closes every document in turn, as quitting does; false when one of them stays open.
    bool closeDocuments();
    // Starts the maintenance tool with vArguments once every document has closed, then quits;
    // stays open, saying why, when the tool cannot be started.
    void quitForMaintenanceTool(const QStringList &vArguments);
    void applyNewVersionResets();
    void openExample();
    void installExamples();
    void rebuildTabMenu();
    void showText(const QString &vTitle, const QString &vText, bool vMarkdown);
    // A first start opens large: most of the screen.
    void openLarge();

    Ui::MainWindow *ui;
    StudioExtras *m_extras = nullptr;
    DocumentSafety *m_safety = nullptr;
    RunMarks *m_runMarks = nullptr;
    QPointer<VSettings> m_preferences;
    DocumentActions *m_actions = nullptr;
    int m_documentCount = 0;
    bool m_tearingDown = false;
    bool m_quitPrepared = false;
};

#endif // MAINWINDOW_H
