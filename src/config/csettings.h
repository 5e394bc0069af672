#ifndef CSETTINGS_H
#define CSETTINGS_H

#include "msettings.h"

#include <QFont>
#include <QObject>
#include <QStringList>

// The one controller between the settings store and the rest of the studio: caches what is read
// often, applies settings (broadcast through did_apply) and locates the engine.
class CSettings : public QObject
{
    Q_OBJECT
public:
    explicit CSettings(MSettings &vStore, QObject *parent = nullptr);
    ~CSettings() override;

    // The process-wide controller: the first CSettings made, or one created on first use.
    static CSettings &instance();
    MSettings &store() const { return m_store; }

    // Fonts are stored as (family, point size). Parsing succeeds whenever there are exactly two
    // entries: a blank family or a size that is not a number leaves that part of vFont as it was.
    static bool parseFont(const QStringList &vList, QFont &vFont);

    // Cached values, refreshed by loadSettings().
    QFont editorFont() const { return m_editorFont; }
    QFont outputFont() const { return m_outputFont; }
    QStringList keywords() const { return m_keywords; }
    QStringList mplusKeywords() const { return m_mplusKeywords; }
    QString comment() const { return m_comment; }
    bool casesensetive() const { return m_casesensetive; }
    QString defaultCommandSet() const { return m_defaultCommandSet; }
    bool cleanBeforeRun() const { return m_cleanBeforeRun; }
    QString dataCommand() const { return m_dataCommand; }
    QString variablesCommand() const { return m_variablesCommand; }
    QString missingCommand() const { return m_missingCommand; }
    QString variablesSeparator() const { return m_variablesSeparator; }
    bool variablesCasesensetive() const { return m_variablesCasesensetive; }
    int missingValue() const { return m_missingValue; }
    bool missingAsDefault() const { return m_missingAsDefault; }

    // Engine location.
    static QString stableEnginePath();
    static QString previewEnginePath();
    bool stableEngineExists() const;
    bool previewEngineExists() const;
    bool isStableEngineSelected() const;
    bool isPreviewEngineSelected() const;
    bool engineExists() const;
    bool hasEnginePath() const;
    void resetCommandLineTool();
    void resetDefaultCommandSet();

    // Font setters: store the font only if it parses; the application font also takes effect.
    void setApplicationFont(const QString &vFamily, int vSize);
    void setEditorFont(const QString &vFamily, int vSize);
    void setOutputFont(const QString &vFamily, int vSize);

    // Everything else goes straight to the store.
    QString commandLineToolName() const { return m_store.commandLineToolName(); }
    void setCommandLineToolName(const QString &v) { m_store.setCommandLineToolName(v); }
    bool commandLineToolNameDontAsk() const { return m_store.commandLineToolNameDontAsk(); }
    void setCommandLineToolNameDontAsk(bool v) { m_store.setCommandLineToolNameDontAsk(v); }
    QStringList commandLineToolParams() const { return m_store.commandLineToolParams(); }
    void setCommandLineToolParams(const QStringList &v) { m_store.setCommandLineToolParams(v); }
    QString commandsFileKeyword() const { return m_store.commandsFileKeyword(); }
    void setCommandsFileKeyword(const QString &v) { m_store.setCommandsFileKeyword(v); }
    QString outputExtension() const { return m_store.outputExtension(); }
    void setOutputExtension(const QString &v) { m_store.setOutputExtension(v); }
    QStringList applicationFont() const { return m_store.applicationFont(); }
    void setKeywords(const QStringList &v) { m_store.setKeywords(v); }
    bool verticalLayout() const { return m_store.verticalLayout(); }
    void setVerticalLayout(bool v) { m_store.setVerticalLayout(v); }
    QByteArray geometry() const { return m_store.geometry(); }
    void setGeometry(const QByteArray &v) { m_store.setGeometry(v); }
    bool darkModeSet() const { return m_store.darkModeSet(); }
    void setDarkModeSet(bool v) { m_store.setDarkModeSet(v); }
    QStringList previousVersion() const { return m_store.previousVersion(); }
    void setPreviousVersion(const QStringList &v) { m_store.setPreviousVersion(v); }
    QVariantMap plotSettings() const { return m_store.plotSettings(); }
    void setPlotSettings(const QVariantMap &v) { m_store.setPlotSettings(v); }
    QVariantMap plotDefaults() const { return MSettings::plotDefaults(); }
    QString version() const { return m_store.version(); }
    void setVersion(const QString &v) { m_store.setVersion(v); }
    void setComment(const QString &v) { m_store.setComment(v); }
    void setCasesensetive(bool v) { m_store.setCasesensetive(v); }
    bool advanceHighlight() const { return m_store.advanceHighlight(); }
    void setAdvanceHighlight(bool v) { m_store.setAdvanceHighlight(v); }
    void setCleanBeforeRun(bool v) { m_store.setCleanBeforeRun(v); }
    QString lastOpenFolder() const { return m_store.lastOpenFolder(); }
    void setLastOpenFolder(const QString &v) { m_store.setLastOpenFolder(v); }
    QString lastSaveFolder() const { return m_store.lastSaveFolder(); }
    void setLastSaveFolder(const QString &v) { m_store.setLastSaveFolder(v); }
    void setDefaultCommandSet(const QString &v) { m_store.setDefaultCommandSet(v); }
    QVariantMap highlightColors() const { return m_store.highlightColors(); }
    void setHighlightColors(const QVariantMap &v) { m_store.setHighlightColors(v); }
    QVariantMap highlightColorsDark() const { return m_store.highlightColorsDark(); }
    void setHighlightColorsDark(const QVariantMap &v) { m_store.setHighlightColorsDark(v); }
    QString mplusToolName() const { return m_store.mplusToolName(); }
    void setMplusToolName(const QString &v) { m_store.setMplusToolName(v); }
    bool autoCheck() const { return m_store.autoCheck(); }
    void setAutoCheck(bool v) { m_store.setAutoCheck(v); }
    void setDataCommand(const QString &v) { m_store.setImportDataCommand(v); }
    void setVariablesCommand(const QString &v) { m_store.setImportVariablesCommand(v); }
    void setVariablesSeparator(const QString &v) { m_store.setImportVariablesSeparator(v); }
    void setVariablesCasesensetive(bool v) { m_store.setImportVariablesCasesensetive(v); }
    void setMissingCommand(const QString &v) { m_store.setMissingCommand(v); }
    void setMissingValue(int v) { m_store.setMissingValue(v); }
    void setMissingAsDefault(bool v) { m_store.setImportMissingAsDefault(v); }
    bool lineNumbers() const { return m_store.lineNumbers(); }
    // Stores the choice and tells every open editor at once, without a full settings apply.
    void setLineNumbers(bool v)
    {
        m_store.setLineNumbers(v);
        Q_EMIT did_changeLineNumbers(v);
    }
    QStringList recentFiles() const { return m_store.recentFiles(); }
    void setRecentFiles(const QStringList &v) { m_store.setRecentFiles(v); }
    QVariantList trustedEngines() const { return m_store.trustedEngines(); }
    void setTrustedEngines(const QVariantList &v) { m_store.setTrustedEngines(v); }
    bool reopenSession() const { return m_store.reopenSession(); }
    void setReopenSession(bool v) { m_store.setReopenSession(v); }
    double rhatThreshold() const { return m_store.rhatThreshold(); }
    void setRhatThreshold(double v) { m_store.setRhatThreshold(v); }
    int essPerChainThreshold() const { return m_store.essPerChainThreshold(); }
    void setEssPerChainThreshold(int v) { m_store.setEssPerChainThreshold(v); }

Q_SIGNALS:
    void do_apply();
    void did_apply();
    void do_checkCommandLineTool();
    void notifyTovrelCheckFailed();
    void did_changeLineNumbers(bool vVisible);

public Q_SLOTS:
    void checkCommandLineTool(bool vCheckDefault = false);
    void loadSettings();
    void apply();

private:
    // Parses a stored font list; falls back to the application font when the list is malformed.
    static QFont fontFromList(const QStringList &vList);
    bool storeFont(const QString &vFamily, int vSize,
                   void (MSettings::*vSetter)(const QStringList &));

    MSettings &m_store;
    QFont m_editorFont;
    QFont m_outputFont;
    QStringList m_keywords;
    QStringList m_mplusKeywords;
    QString m_comment;
    bool m_casesensetive = false;
    QString m_defaultCommandSet;
    bool m_cleanBeforeRun = true;
    QString m_dataCommand;
    QString m_variablesCommand;
    QString m_missingCommand;
    QString m_variablesSeparator;
    bool m_variablesCasesensetive = false;
    int m_missingValue = -99;
    bool m_missingAsDefault = false;
};

#endif // CSETTINGS_H
