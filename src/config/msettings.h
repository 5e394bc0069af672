#ifndef MSETTINGS_H
#define MSETTINGS_H

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

class QSettings;

// The persistent user preferences: every key, its default, the colour tables and the built-in
// texts. Values are written through at once; the platform settings store is the only cache.
class MSettings : public QObject
{
    Q_OBJECT
public:
    explicit MSettings(QObject *parent = nullptr);
    ~MSettings() override;

    // The process-wide store: the first MSettings made, or one created on first use.
    static MSettings &instance();

    // Resource paths of the built-in texts.
    static const QString kDefaultCommandSetResource;
    static const QString kDefaultKeywordsResource;
    static const QString kMplusKeywordsResource;
    static const QString kProjectInformationResource;
    static const QString kOutputExtension;

    static QVariantMap lightColors();
    static QVariantMap darkColors();
    static QVariantMap plotDefaults();

    // Lets the import-related keys take effect; while off they always read as their defaults.
    void setImportSettingsEnabled(bool vEnabled) { m_importSettingsEnabled = vEnabled; }
    bool importSettingsEnabled() const { return m_importSettingsEnabled; }

    QString commandLineToolName() const;
    void setCommandLineToolName(const QString &vValue);
    bool commandLineToolNameDontAsk() const;
    void setCommandLineToolNameDontAsk(bool vValue);
    // The stored argument list, with the commands-file keyword put in front when it is missing.
    QStringList commandLineToolParams() const;
    void setCommandLineToolParams(const QStringList &vValue);
    QString commandsFileKeyword() const;
    void setCommandsFileKeyword(const QString &vValue);
    // Output is always saved with the built-in extension; the stored key is never read.
    QString outputExtension() const { return kOutputExtension; }
    void setOutputExtension(const QString &vValue);
    bool verticalLayout() const;
    void setVerticalLayout(bool vValue);
    QByteArray geometry() const;
    void setGeometry(const QByteArray &vValue);
    bool darkModeSet() const;
    void setDarkModeSet(bool vValue);
    QStringList applicationFont() const;
    void setApplicationFont(const QStringList &vValue);
    QStringList previousVersion() const;
    void setPreviousVersion(const QStringList &vValue);
    QVariantMap plotSettings() const;
    void setPlotSettings(const QVariantMap &vValue);
    QString version() const;
    void setVersion(const QString &vValue);

    QString importDataCommand() const;
    void setImportDataCommand(const QString &vValue);
    QString importVariablesCommand() const;
    void setImportVariablesCommand(const QString &vValue);
    QString importVariablesSeparator() const;
    void setImportVariablesSeparator(const QString &vValue);
    bool importVariablesCasesensetive() const;
    void setImportVariablesCasesensetive(bool vValue);
    bool importMissingAsDefault() const;
    void setImportMissingAsDefault(bool vValue);
    QString missingCommand() const;
    void setMissingCommand(const QString &vValue);
    int missingValue() const;
    void setMissingValue(int vValue);

    QStringList editorFont() const;
    void setEditorFont(const QStringList &vValue);
    // Always the built-in engine keywords: the stored list is read and deliberately ignored.
    QStringList keywords() const;
    void setKeywords(const QStringList &vValue);
    QStringList defaultKeywords() const;
    QStringList mplusKeywords() const;
    QString comment() const;
    void setComment(const QString &vValue);
    bool casesensetive() const;
    void setCasesensetive(bool vValue);
    QStringList outLogFont() const;
    void setOutLogFont(const QStringList &vValue);
    bool advanceHighlight() const;
    void setAdvanceHighlight(bool vValue);
    bool cleanBeforeRun() const;
    void setCleanBeforeRun(bool vValue);
    QString lastOpenFolder() const;
    void setLastOpenFolder(const QString &vValue);
    QString lastSaveFolder() const;
    void setLastSaveFolder(const QString &vValue);
    QString defaultCommandSet(bool vReset = false) const;
    void setDefaultCommandSet(const QString &vValue);
    QVariantMap highlightColors() const;
    void setHighlightColors(const QVariantMap &vValue);
    QVariantMap highlightColorsDark() const;
    void setHighlightColorsDark(const QVariantMap &vValue);
    QString mplusToolName() const;
    void setMplusToolName(const QString &vValue);
    bool autoCheck() const;
    void setAutoCheck(bool vValue);
    // Beyond the original key set: the editor's line-number gutter and the recent-files list.
    bool lineNumbers() const;
    void setLineNumbers(bool vValue);
    QStringList recentFiles() const;
    void setRecentFiles(const QStringList &vValue);
    // Programs the user lets a script's "#!" line start: a list of maps, read by EngineTrust.
    QVariantList trustedEngines() const;
    void setTrustedEngines(const QVariantList &vValue);
    // The scripts open at the last clean quit, in tab order, with each cursor and the current one.
    bool reopenSession() const;
    void setReopenSession(bool vValue);
    QStringList sessionFiles() const;
    void setSessionFiles(const QStringList &vValue);
    QList<int> sessionCursors() const;
    void setSessionCursors(const QList<int> &vValue);
    int sessionCurrent() const;
    void setSessionCurrent(int vValue);
    // Convergence thresholds: a parameter is flagged from this R-hat up, or below this effective
    // sample size per chain. Unusable stored values read as the defaults (1.01 and 100).
    double rhatThreshold() const;
    void setRhatThreshold(double vValue);
    int essPerChainThreshold() const;
    void setEssPerChainThreshold(int vValue);

    // Reads a built-in text resource; a missing resource gives an empty text.
    static QString resourceText(const QString &vPath);
    // Reads a built-in list resource: one trimmed entry a line.
    static QStringList resourceLines(const QString &vPath);

private:
    static bool usable(const QVariant &vStored, const QVariant &vDefault);
    QVariant read(const QString &vKey, const QVariant &vDefault = {}) const;
    QVariant readImport(const QString &vKey, const QVariant &vDefault) const;
    void write(const QString &vKey, const QVariant &vValue);

    const QString kCommandLineToolName = QStringLiteral("Tovrel/CommandLineToolName");
    const QString kCommandLineToolNameDontAsk = QStringLiteral("Tovrel/CommandLineToolNameDontAsk");
    const QString kCommandLineToolParams = QStringLiteral("Tovrel/CommandLineToolParams");
    const QString kCommandsFileKeyword = QStringLiteral("Tovrel/CommandsFileKeyword");
    const QString kOutputExtensionKey = QStringLiteral("Tovrel/OutputExtension");
    const QString kVerticalLayout = QStringLiteral("Tovrel/VerticalLayout");
    const QString kGeometry = QStringLiteral("Tovrel/Geometry");
    const QString kDarkModeSet = QStringLiteral("Tovrel/DarkModeSet");
    const QString kApplicationFont = QStringLiteral("Application/Font");
    const QString kPreviousVersion = QStringLiteral("Updater/PreviousVersion");
    const QString kPlotSettings = QStringLiteral("Plot/Settings");
    const QString kVersion = QStringLiteral("Version");
    const QString kDataCommand = QStringLiteral("ImportData/DataCommand");
    const QString kVariablesCommand = QStringLiteral("ImportData/VariablesCommand");
    const QString kVariablesSeparator = QStringLiteral("ImportData/VariablesSeparator");
    const QString kVariablesCasesensetive = QStringLiteral("ImportData/VariablesCasesensetive");
    const QString kMissingAsDefault = QStringLiteral("ImportData/MissingAsDefault");
    const QString kMissingCommand = QStringLiteral("SyntaxEditor/MissingCommand");
    const QString kMissingValue = QStringLiteral("SyntaxEditor/MissingValue");
    const QString kEditorFont = QStringLiteral("SyntaxEditor/Font");
    const QString kKeywords = QStringLiteral("SyntaxEditor/Keywords");
    const QString kComment = QStringLiteral("SyntaxEditor/Comment");
    const QString kCasesensetive = QStringLiteral("SyntaxEditor/Casesensetive");
    const QString kOutLogFont = QStringLiteral("SyntaxEditor/OutLogFont");
    const QString kAdvanceHighlight = QStringLiteral("SyntaxEditor/AdvanceHighlight");
    const QString kCleanBeforeRun = QStringLiteral("SyntaxEditor/CleanBeforeRun");
    const QString kLastOpenFolder = QStringLiteral("SyntaxEditor/LastOpenFolder");
    const QString kLastSaveFolder = QStringLiteral("SyntaxEditor/LastSaveFolder");
    const QString kDefaultCommandSet = QStringLiteral("SyntaxEditor/DefaultCommandSet");
    const QString kHighlightColor = QStringLiteral("SyntaxEditor/HighlightColor");
    const QString kHighlightColorDark = QStringLiteral("SyntaxEditor/HighlightColorDark");
    const QString kMplusToolName = QStringLiteral("Misc/MplusToolName");
    const QString kAutoCheck = QStringLiteral("Updater/AutoCheck");
    const QString kLineNumbers = QStringLiteral("SyntaxEditor/LineNumbers");
    const QString kRecentFiles = QStringLiteral("SyntaxEditor/RecentFiles");
    const QString kTrustedEngines = QStringLiteral("Tovrel/TrustedScriptEngines");
    const QString kReopenSession = QStringLiteral("Session/Reopen");
    const QString kSessionFiles = QStringLiteral("Session/Files");
    const QString kSessionCursors = QStringLiteral("Session/Cursors");
    const QString kSessionCurrent = QStringLiteral("Session/Current");
    const QString kRhatThreshold = QStringLiteral("Diagnostics/RhatThreshold");
    const QString kEssPerChainThreshold = QStringLiteral("Diagnostics/EssPerChainThreshold");

    QString m_desktopFolder;
    bool m_importSettingsEnabled = false;
    QSettings *m_settings = nullptr;
};

#endif // MSETTINGS_H
