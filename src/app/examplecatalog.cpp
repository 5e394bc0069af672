#include "examplecatalog.h"

#include "workspace/filetypes.h"

#include <QCollator>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>

#include <algorithm>

namespace {
// Numeric collation needs a real locale; the C locale compares plain code points.
QCollator numericCollator()
{
    QLocale locale;
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}
} // namespace

const QStringList &ExampleCatalog::categoryTitles()
{
    static const QStringList titles {QStringLiteral("Convergence Diagnostics"),
                                     QStringLiteral("Regression Models"),
                                     QStringLiteral("Path Analysis and Latent Variable Models"),
                                     QStringLiteral("Multilevel Models"),
                                     QStringLiteral("Missing Not at Random Processes"),
                                     QStringLiteral("Simulating Data")};
    return titles;
}

QString ExampleCatalog::defaultFolder()
{
    return FileTypes::examplesFolder();
}

ExampleCatalog::ExampleCatalog(const QString &vFolder)
    : m_folder(vFolder)
{ }

bool ExampleCatalog::exists() const
{
    return QFileInfo(m_folder).isDir();
}

QStringList ExampleCatalog::folderNames() const
{
    QStringList names = QDir(m_folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    const QCollator collator = numericCollator();
    std::sort(names.begin(), names.end(), collator);
    return names;
}

int ExampleCatalog::categoryOf(const QString &vFolderName)
{
    bool isNumber = false;
    const int number = vFolderName.section(QLatin1Char('.'), 0, 0).trimmed().toInt(&isNumber);
    return isNumber && number >= 1 && number <= categoryTitles().size() ? number - 1 : -1;
}

QString ExampleCatalog::titleOf(const QString &vFolderName)
{
    const int dash = vFolderName.indexOf(QLatin1Char('-'));
    return dash < 0 ? vFolderName : vFolderName.mid(dash + 1).trimmed();
}

QList<QList<ExampleCatalog::Example>> ExampleCatalog::byCategory() const
{
    QList<QList<Example>> groups(categoryTitles().size() + 1);
    for (const QString &name : folderNames()) {
        const int category = categoryOf(name);
        groups[category < 0 ? groups.size() - 1 : category].append({name, titleOf(name)});
    }
    return groups;
}

bool ExampleCatalog::hasExample(const QString &vFolderName) const
{
    return !vFolderName.isEmpty() && QFileInfo(QDir(m_folder).filePath(vFolderName)).isDir();
}

QString ExampleCatalog::scriptOf(const QString &vFolderName) const
{
    const QDir example(QDir(m_folder).filePath(vFolderName));
    const QStringList scripts
        = example.entryList({QStringLiteral("*.imp")}, QDir::Files, QDir::Name);
    return scripts.isEmpty() ? QString() : example.filePath(scripts.first());
}

QString ExampleCatalog::runnableScriptOf(const QString &vFolderName) const
{
    const QString script = scriptOf(vFolderName);
    if (script.isEmpty() || QFileInfo(QFileInfo(script).absolutePath()).isWritable())
        return script;
    const QString copy = copyTo(vFolderName, userCopyFolder());
    return copy.isEmpty() ? script : copy;
}

QString ExampleCatalog::copyTo(const QString &vFolderName, const QString &vRoot) const
{
    const QDir source(QDir(m_folder).filePath(vFolderName));
    const QDir target(QDir(vRoot).filePath(vFolderName));
    QDirIterator files(source.path(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString from = files.next();
        const QString to = target.filePath(source.relativeFilePath(from));
        if (QFileInfo::exists(to))
            continue;
        if (!QDir().mkpath(QFileInfo(to).absolutePath()) || !QFile::copy(from, to))
            return {};
        // Copies of read-only files stay editable.
        QFile::setPermissions(to, QFile::permissions(to) | QFile::ReadOwner | QFile::WriteOwner);
    }
    return ExampleCatalog(vRoot).scriptOf(vFolderName);
}

QString ExampleCatalog::userCopyFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QLatin1Char('/')
        + FileTypes::examplesFolderName();
}
