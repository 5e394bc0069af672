#include "msettings.h"

#include <QColor>
#include <QCoreApplication>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTextStream>

#include <algorithm>

namespace {
MSettings *s_instance = nullptr;

constexpr int kVersionMajor = TOVREL_VERSION_MAJOR;
constexpr int kVersionMinor = TOVREL_VERSION_MINOR;
constexpr int kVersionPatch = TOVREL_VERSION_PATCH;

QVariantMap colorTable(const char *const (&roles)[11], const char *const (&names)[11])
{
    QVariantMap table;
    for (int i = 0; i < 11; ++i)
        table.insert(QLatin1String(roles[i]), QColor(QLatin1String(names[i])));
    return table;
}

constexpr const char *kColorRoles[11]
    = {"number",  "function", "comment", "quotes",   "lineHi",  "selected",
       "warning", "error",    "heading", "constant", "operator"};

// Names the project information resource's lines so the constructor reads like the file.
enum ProjectInformationLine {
    OrganizationName,
    OrganizationDomain,
    ApplicationName,
    VersionCaption
};
} // namespace

const QString MSettings::kDefaultCommandSetResource
    = QStringLiteral(":/strings/sDefaultCommandSet");
const QString MSettings::kDefaultKeywordsResource = QStringLiteral(":/strings/sDefaultKeyowrds");
const QString MSettings::kMplusKeywordsResource = QStringLiteral(":/strings/sMplusKeywords");
const QString MSettings::kProjectInformationResource
    = QStringLiteral(":/strings/sProjectInformation");
const QString MSettings::kOutputExtension = QStringLiteral("tovrel-out");

MSettings::MSettings(QObject *parent)
    : QObject(parent)
    , m_desktopFolder(QStandardPaths::writableLocation(QStandardPaths::DesktopLocation))
{
    const QStringList info = resourceLines(kProjectInformationResource);
    auto line = [&info](int vIndex) {
        return vIndex < info.size() ? info.at(vIndex) : QString();
    };
    if (!line(OrganizationName).isEmpty())
        QCoreApplication::setOrganizationName(line(OrganizationName));
    if (!line(OrganizationDomain).isEmpty())
        QCoreApplication::setOrganizationDomain(line(OrganizationDomain));
    if (!line(ApplicationName).isEmpty())
        QCoreApplication::setApplicationName(line(ApplicationName));
    QCoreApplication::setApplicationVersion(
        line(VersionCaption)
        + QStringLiteral(" %1.%2.%3").arg(kVersionMajor).arg(kVersionMinor).arg(kVersionPatch));

    // Made only now: it takes the organisation and application names set above.
    m_settings = new QSettings(this);

    if (!s_instance)
        s_instance = this;
}

MSettings::~MSettings()
{
    if (s_instance == this)
        s_instance = nullptr;
}

MSettings &MSettings::instance()
{
    if (!s_instance)
        new MSettings(QCoreApplication::instance());
    return *s_instance;
}

QVariantMap MSettings::lightColors()
{
    // "constant" repeats "selected", and "operator" is an invalid colour: light mode paints
    // operators in the default text colour.
    static constexpr const char *names[11]
        = {"#800080", "#0000ff", "#808080", "#008000", "#F0F5FA", "#77a8f7",
           "#CCCC00", "#800000", "#808080", "#77a8f7", ""};
    return colorTable(kColorRoles, names);
}

QVariantMap MSettings::darkColors()
{
    static constexpr const char *names[11]
        = {"#AE81FF", "#A6E22E", "#75715E", "#E6DB74", "#333333", "#444444",
           "#FFC400", "#F9355A", "#808080", "#3da17e", "#F92672"};
    return colorTable(kColorRoles, names);
}

QVariantMap MSettings::plotDefaults()
{
    return {
        {QStringLiteral("openGl"), true}, {QStringLiteral("autoPlot"), true},
        {QStringLiteral("bIter"), 1},     {QStringLiteral("eIter"), -1},
        {QStringLiteral("nchain"), -1},   {QStringLiteral("width"), 900},
        {QStringLiteral("height"), 400},  {QStringLiteral("dType"), 0},
        {QStringLiteral("shadeBurnIn"), true},
    };
}

QString MSettings::resourceText(const QString &vPath)
{
    QFile file(vPath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

QStringList MSettings::resourceLines(const QString &vPath)
{
    QStringList lines;
    QFile file(vPath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return lines;
    QTextStream stream(&file);
    while (!stream.atEnd())
        lines.append(stream.readLine().trimmed());
    return lines;
}

// A value a damaged file or another version of the studio left in a form this version cannot
// use reads as unset, so the default applies to it alone and every other setting is kept.
bool MSettings::usable(const QVariant &vStored, const QVariant &vDefault)
{
    if (!vStored.isValid())
        return false;
    switch (vDefault.typeId()) {
    case QMetaType::Bool: {
        if (vStored.typeId() == QMetaType::Bool)
            return true;
        const QString text = vStored.toString().toLower();
        return text == QLatin1String("true") || text == QLatin1String("false")
            || text == QLatin1String("1") || text == QLatin1String("0");
    }
    case QMetaType::Int: {
        bool ok = false;
        vStored.toInt(&ok);
        return ok;
    }
    case QMetaType::QVariantMap:
        return vStored.typeId() == QMetaType::QVariantMap;
    default:
        return true;
    }
}

QVariant MSettings::read(const QString &vKey, const QVariant &vDefault) const
{
    const QVariant stored = m_settings->value(vKey);
    return usable(stored, vDefault) ? stored : vDefault;
}

QVariant MSettings::readImport(const QString &vKey, const QVariant &vDefault) const
{
    const QVariant stored = m_settings->value(vKey);
    return m_importSettingsEnabled && usable(stored, vDefault) ? stored : vDefault;
}

void MSettings::write(const QString &vKey, const QVariant &vValue)
{
    m_settings->setValue(vKey, vValue);
}

QString MSettings::commandLineToolName() const
{
    return read(kCommandLineToolName).toString();
}
void MSettings::setCommandLineToolName(const QString &vValue)
{
    write(kCommandLineToolName, vValue);
}

bool MSettings::commandLineToolNameDontAsk() const
{
    return read(kCommandLineToolNameDontAsk, false).toBool();
}
void MSettings::setCommandLineToolNameDontAsk(bool vValue)
{
    write(kCommandLineToolNameDontAsk, vValue);
}

QStringList MSettings::commandLineToolParams() const
{
    QStringList params = read(kCommandLineToolParams).toStringList();
    const QString keyword = commandsFileKeyword();
    if (!params.contains(keyword, Qt::CaseSensitive))
        params.prepend(keyword);
    return params;
}
void MSettings::setCommandLineToolParams(const QStringList &vValue)
{
    write(kCommandLineToolParams, vValue);
}

QString MSettings::commandsFileKeyword() const
{
    return read(kCommandsFileKeyword, QStringLiteral("$COMMANDS")).toString();
}
void MSettings::setCommandsFileKeyword(const QString &vValue)
{
    write(kCommandsFileKeyword, vValue);
}

void MSettings::setOutputExtension(const QString &vValue)
{
    write(kOutputExtensionKey, vValue);
}

bool MSettings::verticalLayout() const
{
    return read(kVerticalLayout, false).toBool();
}
void MSettings::setVerticalLayout(bool vValue)
{
    write(kVerticalLayout, vValue);
}

QByteArray MSettings::geometry() const
{
    return read(kGeometry).toByteArray();
}
void MSettings::setGeometry(const QByteArray &vValue)
{
    write(kGeometry, vValue);
}

bool MSettings::darkModeSet() const
{
    return read(kDarkModeSet, true).toBool();
}
void MSettings::setDarkModeSet(bool vValue)
{
    write(kDarkModeSet, vValue);
}

QStringList MSettings::applicationFont() const
{
    return read(kApplicationFont, QStringList {QStringLiteral("Arial"), QStringLiteral("12")})
        .toStringList();
}
void MSettings::setApplicationFont(const QStringList &vValue)
{
    write(kApplicationFont, vValue);
}

QStringList MSettings::previousVersion() const
{
    return read(kPreviousVersion, QStringList {QString(), QString()}).toStringList();
}
void MSettings::setPreviousVersion(const QStringList &vValue)
{
    write(kPreviousVersion, vValue);
}

QVariantMap MSettings::plotSettings() const
{
    return read(kPlotSettings, plotDefaults()).toMap();
}
void MSettings::setPlotSettings(const QVariantMap &vValue)
{
    write(kPlotSettings, vValue);
}

QString MSettings::version() const
{
    return read(kVersion, QStringLiteral("0.0.0")).toString();
}
void MSettings::setVersion(const QString &vValue)
{
    write(kVersion, vValue);
}

QString MSettings::importDataCommand() const
{
    return readImport(kDataCommand, QStringLiteral("DATA")).toString();
}
void MSettings::setImportDataCommand(const QString &vValue)
{
    write(kDataCommand, vValue);
}

QString MSettings::importVariablesCommand() const
{
    return readImport(kVariablesCommand, QStringLiteral("VARIABLES")).toString();
}
void MSettings::setImportVariablesCommand(const QString &vValue)
{
    write(kVariablesCommand, vValue);
}

QString MSettings::importVariablesSeparator() const
{
    return readImport(kVariablesSeparator, QStringLiteral(" ")).toString();
}
void MSettings::setImportVariablesSeparator(const QString &vValue)
{
    write(kVariablesSeparator, vValue);
}

bool MSettings::importVariablesCasesensetive() const
{
    return readImport(kVariablesCasesensetive, false).toBool();
}
void MSettings::setImportVariablesCasesensetive(bool vValue)
{
    write(kVariablesCasesensetive, vValue);
}

bool MSettings::importMissingAsDefault() const
{
    return readImport(kMissingAsDefault, false).toBool();
}
void MSettings::setImportMissingAsDefault(bool vValue)
{
    write(kMissingAsDefault, vValue);
}

QString MSettings::missingCommand() const
{
    return readImport(kMissingCommand, QStringLiteral("MISSING")).toString();
}
void MSettings::setMissingCommand(const QString &vValue)
{
    write(kMissingCommand, vValue);
}

int MSettings::missingValue() const
{
    return readImport(kMissingValue, -99).toInt();
}
void MSettings::setMissingValue(int vValue)
{
    write(kMissingValue, vValue);
}

QStringList MSettings::editorFont() const
{
    return read(kEditorFont, QStringList {QStringLiteral("Courier New"), QStringLiteral("12")})
        .toStringList();
}
void MSettings::setEditorFont(const QStringList &vValue)
{
    write(kEditorFont, vValue);
}

QStringList MSettings::keywords() const
{
    // The stored list is read but never used: highlighting relies on the built-in list.
    const QStringList ignored = read(kKeywords, defaultKeywords()).toStringList();
    Q_UNUSED(ignored)
    return defaultKeywords();
}
void MSettings::setKeywords(const QStringList &vValue)
{
    write(kKeywords, vValue);
}

QStringList MSettings::defaultKeywords() const
{
    return resourceLines(kDefaultKeywordsResource);
}
QStringList MSettings::mplusKeywords() const
{
    return resourceLines(kMplusKeywordsResource);
}

QString MSettings::comment() const
{
    return read(kComment, QStringLiteral("#")).toString();
}
void MSettings::setComment(const QString &vValue)
{
    write(kComment, vValue);
}

bool MSettings::casesensetive() const
{
    return read(kCasesensetive, false).toBool();
}
void MSettings::setCasesensetive(bool vValue)
{
    write(kCasesensetive, vValue);
}

QStringList MSettings::outLogFont() const
{
    return read(kOutLogFont, QStringList {QStringLiteral("Courier New"), QStringLiteral("12")})
        .toStringList();
}
void MSettings::setOutLogFont(const QStringList &vValue)
{
    write(kOutLogFont, vValue);
}

bool MSettings::advanceHighlight() const
{
    return read(kAdvanceHighlight, true).toBool();
}
void MSettings::setAdvanceHighlight(bool vValue)
{
    write(kAdvanceHighlight, vValue);
}

bool MSettings::cleanBeforeRun() const
{
    return read(kCleanBeforeRun, true).toBool();
}
void MSettings::setCleanBeforeRun(bool vValue)
{
    write(kCleanBeforeRun, vValue);
}

QString MSettings::lastOpenFolder() const
{
    return read(kLastOpenFolder, m_desktopFolder).toString();
}
void MSettings::setLastOpenFolder(const QString &vValue)
{
    write(kLastOpenFolder, vValue);
}

QString MSettings::lastSaveFolder() const
{
    return read(kLastSaveFolder, m_desktopFolder).toString();
}
void MSettings::setLastSaveFolder(const QString &vValue)
{
    write(kLastSaveFolder, vValue);
}

QString MSettings::defaultCommandSet(bool vReset) const
{
    if (!vReset) {
        const QVariant stored = read(kDefaultCommandSet);
        const QString text = stored.toString().trimmed();
        if (stored.isValid() && !text.isEmpty())
            return text;
    }
    return resourceText(kDefaultCommandSetResource);
}
void MSettings::setDefaultCommandSet(const QString &vValue)
{
    write(kDefaultCommandSet, vValue);
}

QVariantMap MSettings::highlightColors() const
{
    return read(kHighlightColor, lightColors()).toMap();
}
void MSettings::setHighlightColors(const QVariantMap &vValue)
{
    write(kHighlightColor, vValue);
}

QVariantMap MSettings::highlightColorsDark() const
{
    return read(kHighlightColorDark, darkColors()).toMap();
}
void MSettings::setHighlightColorsDark(const QVariantMap &vValue)
{
    write(kHighlightColorDark, vValue);
}

QString MSettings::mplusToolName() const
{
    return read(kMplusToolName).toString();
}
void MSettings::setMplusToolName(const QString &vValue)
{
    write(kMplusToolName, vValue);
}

bool MSettings::autoCheck() const
{
    return read(kAutoCheck, true).toBool();
}
void MSettings::setAutoCheck(bool vValue)
{
    write(kAutoCheck, vValue);
}

bool MSettings::lineNumbers() const
{
    return read(kLineNumbers, true).toBool();
}
void MSettings::setLineNumbers(bool vValue)
{
    write(kLineNumbers, vValue);
}

QStringList MSettings::recentFiles() const
{
    return read(kRecentFiles).toStringList();
}
void MSettings::setRecentFiles(const QStringList &vValue)
{
    write(kRecentFiles, vValue);
}

QVariantList MSettings::trustedEngines() const
{
    return read(kTrustedEngines).toList();
}
void MSettings::setTrustedEngines(const QVariantList &vValue)
{
    write(kTrustedEngines, vValue);
}

bool MSettings::reopenSession() const
{
    return read(kReopenSession, true).toBool();
}
void MSettings::setReopenSession(bool vValue)
{
    write(kReopenSession, vValue);
}

QStringList MSettings::sessionFiles() const
{
    return read(kSessionFiles).toStringList();
}
void MSettings::setSessionFiles(const QStringList &vValue)
{
    write(kSessionFiles, vValue);
}

// Stored as text so that the native store keeps them readable; an unreadable entry is 0.
QList<int> MSettings::sessionCursors() const
{
    QList<int> cursors;
    for (const QString &entry : read(kSessionCursors).toStringList())
        cursors.append(std::max(0, entry.toInt()));
    return cursors;
}
void MSettings::setSessionCursors(const QList<int> &vValue)
{
    QStringList entries;
    for (int cursor : vValue)
        entries.append(QString::number(cursor));
    write(kSessionCursors, entries);
}

int MSettings::sessionCurrent() const
{
    return read(kSessionCurrent, -1).toInt();
}
void MSettings::setSessionCurrent(int vValue)
{
    write(kSessionCurrent, vValue);
}

double MSettings::rhatThreshold() const
{
    const double value = read(kRhatThreshold, 1.01).toDouble();
    return value > 1 && value < 10 ? value : 1.01;
}
void MSettings::setRhatThreshold(double vValue)
{
    write(kRhatThreshold, vValue);
}

int MSettings::essPerChainThreshold() const
{
    const int value = read(kEssPerChainThreshold, 100).toInt();
    return value > 0 ? value : 100;
}
void MSettings::setEssPerChainThreshold(int vValue)
{
    write(kEssPerChainThreshold, vValue);
}
