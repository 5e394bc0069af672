#include "recoverystore.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QRandomGenerator>
#include <QSaveFile>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QUrl>

#include <algorithm>

namespace {
const QByteArray kMagic = QByteArrayLiteral("TOVREL-RECOVERY");
const QString kLockName = QStringLiteral("lock");

// Paths and names may hold any character, line breaks included: the header keeps them
// percent-encoded so that each field stays on its line, with the usual path characters left
// readable for a person opening the file.
const QByteArray kReadable = QByteArrayLiteral("/\\ :()");
QByteArray field(const QByteArray &vKey, const QByteArray &vValue)
{
    return vKey + ": " + vValue + '\n';
}

// A lock that only a dead owner gives up: no age makes a live studio's lock stale.
std::unique_ptr<QLockFile> lockFor(const QString &vFolder)
{
    auto lock = std::make_unique<QLockFile>(QDir(vFolder).filePath(kLockName));
    lock->setStaleLockTime(0);
    return lock;
}
} // namespace

const QString RecoveryStore::kSuffix = QStringLiteral(".tovrel-recovery");

RecoveryStore::RecoveryStore(const QString &vRoot, QObject *parent)
    : QObject(parent)
    , m_root(vRoot)
{ }

RecoveryStore::~RecoveryStore()
{
    releaseClaimed();
    if (m_folder.isEmpty())
        return;
    QDir folder(m_folder);
    const bool empty = folder.entryList(QDir::Files | QDir::Hidden).size()
        == (folder.exists(kLockName) ? 1 : 0);
    m_lock.reset(); // unlocks and removes the lock file
    if (empty)
        folder.removeRecursively();
}

QString RecoveryStore::defaultRoot()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
        + QStringLiteral("/recovery");
}

bool RecoveryStore::ensureFolder()
{
    if (m_lock)
        return true;
    // The process id names the folder for a person looking at it; the random part keeps a
    // reused id from meeting a dead process's folder.
    const QString folder = QDir(m_root).filePath(
        QStringLiteral("%1-%2")
            .arg(QCoreApplication::applicationPid())
            .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0')));
    if (!QDir().mkpath(folder))
        return false;
    auto lock = lockFor(folder);
    if (!lock->tryLock(0))
        return false;
    m_folder = folder;
    m_lock = std::move(lock);
    return true;
}

QString RecoveryStore::fileFor(int vKey) const
{
    return QDir(m_folder).filePath(QStringLiteral("document-%1").arg(vKey) + kSuffix);
}

bool RecoveryStore::write(int vKey, const RecoveredScript &vScript)
{
    bool written = false;
    if (ensureFolder()) {
        QSaveFile file(fileFor(vKey));
        written = file.open(QIODevice::WriteOnly) && file.write(encode(vScript)) >= 0
            && file.commit();
    }
    if (!written && !m_failureReported) {
        m_failureReported = true;
        Q_EMIT did_failWrite(m_folder.isEmpty() ? m_root : m_folder);
    }
    return written;
}

void RecoveryStore::remove(int vKey)
{
    if (!m_folder.isEmpty())
        QFile::remove(fileFor(vKey));
}

QByteArray RecoveryStore::encode(const RecoveredScript &vScript)
{
    const QByteArray text = vScript.text.toUtf8();
    const QDateTime saved = vScript.saved.isValid() ? vScript.saved : QDateTime::currentDateTimeUtc();
    return kMagic + '\n' + field("version", QByteArray::number(kFormatVersion))
        + field("path", QUrl::toPercentEncoding(vScript.path, kReadable))
        + field("name", QUrl::toPercentEncoding(vScript.name, kReadable))
        + field("cursor", QByteArray::number(vScript.cursor))
        + field("saved", saved.toUTC().toString(Qt::ISODateWithMs).toLatin1())
        + field("length", QByteArray::number(text.size())) + '\n' + text;
}

RecoveredScript RecoveryStore::decode(const QByteArray &vData)
{
    RecoveredScript script;
    const qsizetype end = vData.indexOf("\n\n");
    if (!vData.startsWith(kMagic + '\n') || end < 0) {
        script.problem = QCoreApplication::translate("RecoveryStore", "not a recovery copy");
        return script;
    }
    qint64 length = -1;
    int version = 0;
    for (const QByteArray &line : vData.left(end).split('\n')) {
        const qsizetype colon = line.indexOf(": ");
        if (colon < 0)
            continue;
        const QByteArray key = line.left(colon);
        const QByteArray value = line.mid(colon + 2);
        if (key == "version")
            version = value.toInt();
        else if (key == "path")
            script.path = QUrl::fromPercentEncoding(value);
        else if (key == "name")
            script.name = QUrl::fromPercentEncoding(value);
        else if (key == "cursor")
            script.cursor = std::max(0, value.toInt());
        else if (key == "saved")
            script.saved = QDateTime::fromString(QString::fromLatin1(value), Qt::ISODateWithMs);
        else if (key == "length")
            length = value.toLongLong();
    }
    const QByteArray body = vData.mid(end + 2);
    script.size = body.size();
    if (version < 1 || version > kFormatVersion) {
        script.problem = QCoreApplication::translate("RecoveryStore",
                                                     "written by a newer version of the studio");
        return script;
    }
    if (length != body.size()) {
        script.problem = QCoreApplication::translate("RecoveryStore", "incomplete: cut short");
        return script;
    }
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(body);
    if (utf8.hasError()) {
        script.problem = QCoreApplication::translate("RecoveryStore", "not UTF-8 text");
        return script;
    }
    script.text = std::move(text);
    return script;
}

RecoveredScript RecoveryStore::readFile(const QString &vFile)
{
    QFile file(vFile);
    RecoveredScript script;
    if (file.open(QIODevice::ReadOnly)) {
        script = decode(file.readAll());
    } else {
        script.problem = QCoreApplication::translate("RecoveryStore", "cannot be read");
    }
    script.file = vFile;
    if (script.name.isEmpty())
        script.name = QFileInfo(vFile).fileName();
    if (!script.saved.isValid())
        script.saved = QFileInfo(vFile).lastModified();
    return script;
}

QList<RecoveredScript> RecoveryStore::claimOrphans()
{
    QList<RecoveredScript> found;
    const QFileInfoList folders = QDir(m_root).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QFileInfo &folder : folders) {
        const QString path = folder.absoluteFilePath();
        if (path == QFileInfo(m_folder).absoluteFilePath())
            continue;
        if (std::any_of(m_claimed.begin(), m_claimed.end(),
                        [&](const auto &vClaimed) { return vClaimed.first == path; }))
            continue;
        auto lock = lockFor(path);
        if (!lock->tryLock(0))
            continue; // its studio still runs
        const QFileInfoList files = QDir(path).entryInfoList(QDir::Files | QDir::Hidden);
        for (const QFileInfo &file : files)
            if (file.fileName() != kLockName)
                found.append(readFile(file.absoluteFilePath()));
        m_claimed.emplace_back(path, std::move(lock));
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const RecoveredScript &a, const RecoveredScript &b) {
                         return a.saved < b.saved;
                     });
    return found;
}

void RecoveryStore::discardClaimed()
{
    for (auto &[folder, lock] : m_claimed) {
        lock.reset();
        QDir(folder).removeRecursively();
    }
    m_claimed.clear();
}

void RecoveryStore::releaseClaimed()
{
    m_claimed.clear();
}
