#include "filehandling.h"

#include "cerror.h"
#include "config/csettings.h"
#include "filetypes.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTextStream>

namespace {
// Lines 2 to 21 of a data file are the sample for separator detection; line 1 may be a header.
constexpr int kSeparatorSampleLines = 20;
} // namespace

FileHandling::FileHandling(QObject *parent)
    : QObject(parent)
    , m_openCaption(tr("Select file to open"))
    , m_saveCaption(tr("Enter file name to save"))
    , m_filterTemplate(tr("Files (%1)"))
{ }

void FileHandling::clear()
{
    m_valid = false;
    m_fileName.clear();
    m_folder = CSettings::instance().lastSaveFolder();
    m_lines.clear();
}

bool FileHandling::isValid(bool vReport)
{
    if (!m_valid && vReport)
        CError().warning(tr("Error : %1").arg(QStringLiteral("isValid")));
    return m_valid;
}

bool FileHandling::hasFileName() const
{
    return !m_fileName.trimmed().isEmpty();
}

QFileInfo FileHandling::fileInfo() const
{
    return QFileInfo(m_fileName);
}

QString FileHandling::filter() const
{
    return m_filterTemplate.arg(m_patterns);
}

void FileHandling::setOpenDialog(const QString &vCaption, const QString &vPatterns)
{
    m_openCaption = vCaption;
    m_patterns = vPatterns;
}

bool FileHandling::open(const QString &vPath)
{
    m_valid = !vPath.isEmpty() && QFileInfo::exists(vPath);
    if (!m_valid) {
        m_fileName.clear();
        return false;
    }
    m_fileName = vPath;
    m_folder = QFileInfo(vPath).absolutePath();
    Q_EMIT did_open();
    qDebug(" ~ did_open ~ ");
    return true;
}

bool FileHandling::openDialog()
{
    const QString chosen
        = QFileDialog::getOpenFileName(nullptr, m_openCaption, m_folder, filter()).trimmed();
    if (!chosen.isEmpty())
        CSettings::instance().setLastOpenFolder(QFileInfo(chosen).absolutePath());
    // A cancelled dialog still goes through open(): it leaves the handler without a file.
    return open(chosen);
}

QString FileHandling::openWithDialog(bool &vOk)
{
    vOk = openDialog();
    m_folder = m_fileName.isEmpty() ? QString() : QFileInfo(m_fileName).absolutePath();
    return m_fileName;
}

bool FileHandling::read()
{
    if (!isValid(true))
        return false;
    QFile file(m_fileName);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        m_lines.clear();
        return false;
    }
    setLines(QString::fromUtf8(file.readAll()));
    file.close();
    rememberStamp();
    Q_EMIT did_read();
    qDebug(" ~ did_read ~ ");
    return true;
}

void FileHandling::setLines(const QString &vText)
{
    m_lines = vText.split(m_lineBreak, Qt::KeepEmptyParts, Qt::CaseSensitive);
}

bool FileHandling::save(const QString &vText)
{
    if (!isValid(true))
        return false;
    const auto write = [&vText](QFileDevice &vFile) {
        QTextStream stream(&vFile);
        stream << vText;
        stream.flush();
        return stream.status() == QTextStream::Ok;
    };
    // Written beside the file and renamed over it only when complete, so a failed or interrupted
    // save leaves the previous file whole.
    m_saveError.clear();
    if (QFileInfo(m_fileName).isDir()) {
        m_saveError = tr("A folder of that name is in the way.");
        return false;
    }
    QSaveFile atomic(m_fileName);
    if (atomic.open(QIODevice::WriteOnly | QIODevice::Text)) {
        if (!write(atomic) || !atomic.commit()) {
            m_saveError = atomic.errorString();
            return false;
        }
    } else {
        // No temporary file can be made in the folder (one the user may not write in, holding a
        // file the user may): the file itself is rewritten instead.
        QFile inPlace(m_fileName);
        if (!inPlace.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
            m_saveError = inPlace.errorString();
            return false;
        }
        const bool written = write(inPlace) && inPlace.flush();
        inPlace.close();
        if (!written || inPlace.error() != QFileDevice::NoError) {
            m_saveError = inPlace.errorString();
            return false;
        }
    }
    rememberStamp();
    setLines(vText);
    Q_EMIT did_save();
    qDebug(" ~ did_save ~ ");
    return true;
}

QString FileHandling::startPath(const QString &vName) const
{
    // Before any folder is known the dialog starts where it would on its own, not at the root.
    if (m_folder.isEmpty())
        return vName;
    return m_folder + QLatin1Char('/') + vName;
}

bool FileHandling::saveWithDialog(const QString &vText, const QString &vFilter,
                                  const QString &vStartName)
{
    const QString chosen
        = QFileDialog::getSaveFileName(nullptr, m_saveCaption, startPath(vStartName), vFilter)
              .trimmed();
    if (chosen.isEmpty())
        return false;
    m_valid = true;
    m_fileName = chosen;
    CSettings::instance().setLastSaveFolder(QFileInfo(chosen).absolutePath());
    return save(vText);
}

bool FileHandling::saveAs(const QString &vText, const QString &vSuggestedName)
{
    const QString startName = vSuggestedName.isEmpty() ? fileInfo().fileName() : vSuggestedName;
    return saveWithDialog(vText, filter(), startName);
}

bool FileHandling::saveAsText(const QString &vText)
{
    return saveWithDialog(vText, tr("Text files (*.txt)"), fileInfo().fileName());
}

bool FileHandling::saveAsText(const QString &vSuggestedName, const QString &vText)
{
    return saveWithDialog(vText, tr("Text files (*.txt)"), vSuggestedName);
}

bool FileHandling::isExample() const
{
    QDir chapter = fileInfo().absoluteDir();
    if (!chapter.cdUp())
        return false;
    return chapter == QDir(FileTypes::examplesFolder());
}

QString FileHandling::headerLine(bool &vFound) const
{
    vFound = false;
    if (m_lines.isEmpty())
        return {};
    // This class is not a valid expression (a range next to \d), so no header is ever found;
    // the data importer has always behaved so and its users rely on it.
    const QRegularExpression notNumeric(QStringLiteral("[^\\d-+.e%1]").arg(m_separator));
    if (notNumeric.isValid())
        vFound = notNumeric.match(m_lines.first()).hasMatch();
    return vFound ? m_lines.first().simplified() : QString();
}

bool FileHandling::checkSeparator()
{
    QString sample = m_lines.mid(1, kSeparatorSampleLines).join(QString());
    // Not a valid expression either (see headerLine): digits stay in the sample, which is why
    // numbers with any visible separator between them are reported as inconsistent.
    const QRegularExpression numeric(QStringLiteral("[+-\\d.e]"));
    if (numeric.isValid())
        sample.remove(numeric);
    sample.remove(QLatin1Char(' '), Qt::CaseSensitive);
    if (sample.isEmpty()) {
        m_separator = QLatin1Char(' ');
        return true;
    }
    m_separator = sample.at(0);
    sample.remove(m_separator);
    if (!sample.isEmpty()) {
        CError().warning(tr("Not a consistent separator"));
        return false;
    }
    return true;
}

bool FileHandling::removeFirstLine()
{
    if (!m_lines.isEmpty())
        m_lines.removeFirst();
    return save(m_lines.join(m_lineBreak));
}

void FileHandling::rememberStamp()
{
    const QFileInfo info(m_fileName);
    m_stampTime = info.lastModified();
    m_stampSize = info.size();
}

bool FileHandling::changedOnDisk() const
{
    if (m_fileName.isEmpty() || m_stampSize < 0)
        return false;
    const QFileInfo info(m_fileName);
    return info.isFile() && (info.lastModified() != m_stampTime || info.size() != m_stampSize);
}
