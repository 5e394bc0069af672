#include "csettings.h"

#include "executablepath.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QGuiApplication>

namespace {
CSettings *s_instance = nullptr;
}

CSettings::CSettings(MSettings &vStore, QObject *parent)
    : QObject(parent)
    , m_store(vStore)
{
    if (!s_instance)
        s_instance = this;
    // Other parts ask for work by emitting these signals rather than calling in.
    connect(this, &CSettings::do_apply, this, &CSettings::apply);
    connect(this, &CSettings::do_checkCommandLineTool, this, [this] { checkCommandLineTool(); });
    loadSettings();
}

CSettings::~CSettings()
{
    if (s_instance == this)
        s_instance = nullptr;
}

CSettings &CSettings::instance()
{
    if (!s_instance)
        new CSettings(MSettings::instance(), QCoreApplication::instance());
    return *s_instance;
}

bool CSettings::parseFont(const QStringList &vList, QFont &vFont)
{
    if (vList.size() != 2)
        return false;
    const QString family = vList.at(0).trimmed();
    if (!family.isEmpty())
        vFont.setFamily(family);
    bool isNumber = false;
    const int size = vList.at(1).trimmed().toInt(&isNumber, 10);
    if (isNumber)
        vFont.setPointSize(size);
    return true;
}

QFont CSettings::fontFromList(const QStringList &vList)
{
    QFont font = QGuiApplication::font();
    return parseFont(vList, font) ? font : QGuiApplication::font();
}

QString CSettings::stableEnginePath()
{
    return ExecutablePath::besideApplication(QStringLiteral("tovrel"));
}

QString CSettings::previewEnginePath()
{
    return ExecutablePath::besideApplication(QStringLiteral("tovrel-beta"));
}

bool CSettings::stableEngineExists() const
{
    return QFileInfo::exists(stableEnginePath());
}
bool CSettings::previewEngineExists() const
{
    return QFileInfo::exists(previewEnginePath());
}

bool CSettings::isStableEngineSelected() const
{
    return m_store.commandLineToolName() == stableEnginePath();
}

bool CSettings::isPreviewEngineSelected() const
{
    return m_store.commandLineToolName() == previewEnginePath();
}

bool CSettings::engineExists() const
{
    const QFileInfo engine(m_store.commandLineToolName());
    return !engine.filePath().isEmpty() && engine.isFile();
}

bool CSettings::hasEnginePath() const
{
    return !m_store.commandLineToolName().trimmed().isEmpty();
}

void CSettings::resetCommandLineTool()
{
    if (!isStableEngineSelected() && !isPreviewEngineSelected())
        m_store.setCommandLineToolName(stableEnginePath());
}

void CSettings::resetDefaultCommandSet()
{
    m_store.setDefaultCommandSet(m_store.defaultCommandSet(true));
}

bool CSettings::storeFont(const QString &vFamily, int vSize,
                          void (MSettings::*vSetter)(const QStringList &))
{
    const QStringList list {vFamily, QString::number(vSize, 10)};
    QFont font = QGuiApplication::font();
    if (!parseFont(list, font))
        return false;
    (m_store.*vSetter)(list);
    return true;
}

void CSettings::setApplicationFont(const QString &vFamily, int vSize)
{
    if (storeFont(vFamily, vSize, &MSettings::setApplicationFont))
        QGuiApplication::setFont(fontFromList(m_store.applicationFont()));
}

void CSettings::setEditorFont(const QString &vFamily, int vSize)
{
    storeFont(vFamily, vSize, &MSettings::setEditorFont);
}

void CSettings::setOutputFont(const QString &vFamily, int vSize)
{
    storeFont(vFamily, vSize, &MSettings::setOutLogFont);
}

void CSettings::checkCommandLineTool(bool vCheckDefault)
{
    if (engineExists() && !vCheckDefault)
        return; // the user's choice stands
    if (!stableEngineExists()) {
        Q_EMIT notifyTovrelCheckFailed();
        return;
    }
    m_store.setCommandLineToolName(stableEnginePath());
}

void CSettings::loadSettings()
{
    QFont applicationFont = QGuiApplication::font();
    if (parseFont(m_store.applicationFont(), applicationFont))
        QGuiApplication::setFont(applicationFont);
    m_editorFont = fontFromList(m_store.editorFont());
    m_outputFont = fontFromList(m_store.outLogFont());
    m_keywords = m_store.keywords();
    m_mplusKeywords = m_store.mplusKeywords();
    m_comment = m_store.comment();
    m_casesensetive = m_store.casesensetive();
    m_defaultCommandSet = m_store.defaultCommandSet();
    m_cleanBeforeRun = m_store.cleanBeforeRun();
    m_dataCommand = m_store.importDataCommand();
    m_variablesCommand = m_store.importVariablesCommand();
    m_missingCommand = m_store.missingCommand();
    m_variablesSeparator = m_store.importVariablesSeparator();
    m_variablesCasesensetive = m_store.importVariablesCasesensetive();
    m_missingValue = m_store.missingValue();
    m_missingAsDefault = m_store.importMissingAsDefault();
}

void CSettings::apply()
{
    loadSettings();
    Q_EMIT did_apply();
}
