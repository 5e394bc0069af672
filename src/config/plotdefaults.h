#ifndef PLOTDEFAULTS_H
#define PLOTDEFAULTS_H

#include <QString>
#include <QStringList>
#include <QVariantMap>

// The five numeric default plot settings as the Preferences dialog edits them: typed text in the
// order start iteration, stop iteration, chains, width, height.
namespace PlotDefaults {

// The map entries the five fields fill, in field order.
QStringList fieldKeys();

// The text a field shows for a stored value: "MAX" for the maximum marker where it is allowed.
QString display(const QString &vKey, int vValue);

// Checks the typed fields in order and stops at the first problem, returning its message (empty
// when all are valid). On success vValues receives the five numbers, -1 standing for "max".
QString check(const QStringList &vFields, QVariantMap &vValues);

} // namespace PlotDefaults

#endif // PLOTDEFAULTS_H
