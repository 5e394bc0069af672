#ifndef RECOVERYSTORE_H
#define RECOVERYSTORE_H

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>
#include <vector>

class QLockFile;

// One recovery copy as read back from disk. A copy that cannot be trusted keeps its file and
// says why in problem; its text is then empty.
struct RecoveredScript
{
    QString file;     // the copy itself
    QString path;     // the script it belongs to; empty for an untitled document
    QString name;     // what the user saw in the tab: the file name or "Untitled" and a number
    int cursor = 0;
    QDateTime saved;
    qint64 size = 0;  // bytes of text
    QString text;
    QString problem;

    bool usable() const { return problem.isEmpty(); }
};

// Keeps a copy of every unsaved document on disk so that a crash, a kill or a power cut loses
// nothing typed. Each studio process writes into a folder of its own, held by a lock file; a
// folder whose lock is free belongs to a studio that is no longer running and may be taken
// over by the next one, while the folders of studios still running are never touched.
class RecoveryStore : public QObject
{
    Q_OBJECT
public:
    static constexpr int kFormatVersion = 1;
    static const QString kSuffix;

    explicit RecoveryStore(const QString &vRoot = defaultRoot(), QObject *parent = nullptr);
    // A clean end: this process's folder goes when no copy is left in it.
    ~RecoveryStore() override;

    // "recovery" under the user's application data folder.
    static QString defaultRoot();
    QString root() const { return m_root; }
    // This process's folder; empty until the first copy is written.
    QString folder() const { return m_folder; }

    // A key for one document's copy, unique within this process.
    int newKey() { return ++m_lastKey; }
    // Writes the copy atomically: a crash while writing leaves the previous copy whole.
    bool write(int vKey, const RecoveredScript &vScript);
    void remove(int vKey);

    // Locks the folders of studios that are no longer running and reads their copies, oldest
    // first. The folders stay locked until they are discarded or released.
    QList<RecoveredScript> claimOrphans();
    // Deletes the claimed folders with everything in them (after Recover or Discard).
    void discardClaimed();
    // Unlocks the claimed folders and leaves them for the next start (Later).
    void releaseClaimed();

    static QByteArray encode(const RecoveredScript &vScript);
    // Reads one copy; a foreign, cut short, newer or undecodable file comes back with a problem.
    static RecoveredScript decode(const QByteArray &vData);
    static RecoveredScript readFile(const QString &vFile);

Q_SIGNALS:
    // The first copy that could not be written, and no more after it: the user learns once
    // that unsaved text is not protected, instead of at every keystroke pause.
    void did_failWrite(const QString &vFolder);

private:
    bool ensureFolder();
    QString fileFor(int vKey) const;

    QString m_root;
    QString m_folder;
    std::unique_ptr<QLockFile> m_lock;
    std::vector<std::pair<QString, std::unique_ptr<QLockFile>>> m_claimed;
    int m_lastKey = 0;
    bool m_failureReported = false;
};

#endif // RECOVERYSTORE_H
