#ifndef RECOVERYCOPY_H
#define RECOVERYCOPY_H

#include <QObject>
#include <QPointer>
#include <QTimer>

class RecoveryStore;
class Workspace;

// Keeps one document's recovery copy up to date: written a moment after typing stops, and at
// least every half minute during long stretches of typing, never on the keystroke itself. The
// copy goes when the document is saved, undone back to its saved text, or closed.
class RecoveryCopy : public QObject
{
    Q_OBJECT
public:
    static constexpr int kIdleMs = 2000;
    static constexpr int kLongestMs = 30000;

    RecoveryCopy(Workspace *vDocument, RecoveryStore *vStore);

    void writeNow();
    void discard();
    bool isPending() const { return m_idle.isActive(); }

private:
    void changed();
    void modificationChanged(bool vModified);

    Workspace *m_document;
    QPointer<RecoveryStore> m_store;
    int m_key;
    bool m_closed = false;
    QTimer m_idle;
    QTimer m_longest;
};

#endif // RECOVERYCOPY_H
