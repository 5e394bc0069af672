#include "mconfiguration.h"

#include <QCoreApplication>
#include <QSettings>

namespace {
MConfiguration *s_instance = nullptr;

struct FlagKey
{
    int number;
    const char *key;
};

// In the order they are read; a later read of the same number would replace an earlier one.
constexpr FlagKey kFlagKeys[] = {
    {MConfiguration::ImportDataEditable, "ImportData.Data.Editable"},
    {MConfiguration::ImportSettingsVisible, "Settings.ImportData.Visible"},
    {MConfiguration::CleanBeforeRunVisible, "Syntax.CleanBeforeRun.Visible"},
    {MConfiguration::AboutChangeLogVisible, "About.ChangeLog.Visible"},
};
// Only "true" (any case) and non-zero numbers switch a flag on. Words such as "yes" or "on"
// leave it off, so a distributor's typo never enables a feature by accident.
bool isSet(const QVariant &vValue)
{
    const QString text = vValue.toString().trimmed();
    bool isNumber = false;
    const long long number = text.toLongLong(&isNumber);
    if (isNumber)
        return number != 0;
    return text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
}
} // namespace

MConfiguration::MConfiguration(QObject *parent)
    : QObject(parent)
{
    if (!s_instance)
        s_instance = this;
}

MConfiguration::~MConfiguration()
{
    if (s_instance == this)
        s_instance = nullptr;
}

MConfiguration &MConfiguration::instance()
{
    if (!s_instance)
        new MConfiguration(QCoreApplication::instance());
    return *s_instance;
}

QString MConfiguration::defaultFilePath()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/tovrel.conf");
}

void MConfiguration::load()
{
    load(defaultFilePath());
}

void MConfiguration::load(const QString &vFilePath)
{
    m_file = std::make_unique<QSettings>(vFilePath, QSettings::IniFormat);
    for (const FlagKey &flag : kFlagKeys)
        m_values.insert(flag.number, isSet(m_file->value(QLatin1String(flag.key), false)));
}

QVariant MConfiguration::value(int vNumber) const
{
    return m_values.value(vNumber);
}
