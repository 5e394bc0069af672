#ifndef DOCUMENTSAFETY_H
#define DOCUMENTSAFETY_H

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class MainWindow;
class RecoveryStore;
class Workspace;
struct RecoveredScript;

// Makes sure nothing the user typed is lost with the studio: every document keeps a recovery
// copy while it has unsaved changes, the next start offers the copies a studio that did not
// close properly left behind, and a clean quit remembers the open scripts for the next start.
class DocumentSafety : public QObject
{
    Q_OBJECT
public:
    explicit DocumentSafety(MainWindow *vWindow, RecoveryStore *vStore = nullptr);

    RecoveryStore *store() const { return m_store; }
    // Gives vDocument its recovery copy and follows its closing for the session.
    void watch(Workspace *vDocument);

    // The main window is closing: remember the documents as they are closed one by one...
    void beginQuit(const QList<Workspace *> &vDocuments, Workspace *vCurrent);
    // ...and, once all have closed, store them as the session.
    void finishQuit();
    // Reopens the last session's scripts (when the user wants that); files that have gone are
    // named in one short message.
    void restoreSession();
    // Lists the copies of studios that are no longer running and acts on the user's answer.
    void offerRecovery();
    // Opens vScript's text as a modified document over its file, or as a new untitled one.
    Workspace *recover(const RecoveredScript &vScript);

private:
    struct Closing
    {
        QPointer<Workspace> document;
        QString path;
        int cursor = 0;
    };
    Workspace *documentFor(const QString &vPath) const;
    void record(Workspace *vDocument);

    MainWindow *m_window;
    RecoveryStore *m_store;
    QList<Closing> m_closing;
    QPointer<Workspace> m_current;
    bool m_quitting = false;
};

#endif // DOCUMENTSAFETY_H
