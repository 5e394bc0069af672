#ifndef STUDIOEXTRAS_H
#define STUDIOEXTRAS_H

#include <QObject>
#include <QPointer>

class MainWindow;
class QAction;
class QLabel;
class QMenu;
class QTextEdit;
class Workspace;

// The main window's conveniences around its documents: "Open Recent" in the File menu,
// "Go to Line..." in the Edit menu, "Line Numbers" in the View menu and the cursor's line and
// column in the status bar. Recent files open through MainWindow::on_open like every other file.
class StudioExtras : public QObject
{
    Q_OBJECT
public:
    explicit StudioExtras(MainWindow *vWindow);

    // Follows vDocument so that its script joins the recent files when it is read or saved.
    void watch(Workspace *vDocument);
    void remember(const QString &vPath);
    // Opens vPath, or drops it from the list with a short message when it has gone.
    void openRecent(const QString &vPath);
    void clearRecent();
    // Asks for a line of the active document's script and puts the cursor there.
    void goToLine();
    // Shows the line and column of vDocument's cursor (none: nothing) in the status bar.
    void follow(Workspace *vDocument);

    QMenu *recentMenu() const { return m_recentMenu; }
    QAction *goToLineAction() const { return m_goToLine; }
    QAction *lineNumbersAction() const { return m_lineNumbers; }
    QLabel *positionLabel() const { return m_position; }

private:
    void rebuildRecentMenu();
    void showPosition();

    MainWindow *m_window;
    QMenu *m_recentMenu = nullptr;
    QAction *m_goToLine = nullptr;
    QAction *m_lineNumbers = nullptr;
    QLabel *m_position = nullptr;
    QPointer<QTextEdit> m_editor;
};

#endif // STUDIOEXTRAS_H
