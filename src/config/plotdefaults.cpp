#include "plotdefaults.h"

namespace PlotDefaults {

namespace {
// Only the stop iteration and the chains may be "max", stored as -1.
bool maxAllowed(const QString &vKey)
{
    return vKey == QLatin1String("eIter") || vKey == QLatin1String("nchain");
}
const QString kPrefix = QStringLiteral("Default Plot Settings Error\n");
} // namespace

QStringList fieldKeys()
{
    return {QStringLiteral("bIter"), QStringLiteral("eIter"), QStringLiteral("nchain"),
            QStringLiteral("width"), QStringLiteral("height")};
}

QString display(const QString &vKey, int vValue)
{
    return maxAllowed(vKey) && vValue == -1 ? QStringLiteral("MAX") : QString::number(vValue);
}

QString check(const QStringList &vFields, QVariantMap &vValues)
{
    const QStringList keys = fieldKeys();
    QVariantMap values;
    for (int i = 0; i < keys.size(); ++i) {
        const QString text = vFields.value(i).trimmed();
        bool isNumber = false;
        const int value = text.toInt(&isNumber);
        if (!isNumber) {
            if (text.compare(QLatin1String("max"), Qt::CaseInsensitive) != 0)
                return kPrefix + QStringLiteral("Non-numeric value given!");
            if (!maxAllowed(keys.at(i)))
                return kPrefix
                    + QStringLiteral("Max is only allowed for numberof chains and stop iteration!");
            values.insert(keys.at(i), -1);
            continue;
        }
        if (value < 1)
            return kPrefix + QStringLiteral("All values must be greater than zero.");
        values.insert(keys.at(i), value);
    }
    const int start = values.value(keys.at(0)).toInt();
    const int stop = values.value(keys.at(1)).toInt();
    if (stop != -1 && start >= stop)
        return QStringLiteral("Start Iterations must be less than Stop Iterations.");
    vValues = values;
    return {};
}

} // namespace PlotDefaults
