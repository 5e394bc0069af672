#ifndef PARAMETERLABELS_H
#define PARAMETERLABELS_H

#include <QString>
#include <QStringList>

// Turns the engine's "labels.dat" codes into readable plot titles such as
// "Y regressed on X\nParameter 2". The wording is the vocabulary of the engine's model
// parameters, so the rules are kept word for word.
class ParameterLabels
{
public:
    // One title per record of vPath (the first line is a header), in file order. A file that
    // cannot be opened gives no titles.
    static QStringList read(const QString &vPath);

    // The quoted fields of one record, with blanks between the quotes dropped.
    static QStringList fields(const QString &vLine);

    // The full title of one record: the readable text, a line feed and "Parameter n".
    static QString label(const QString &vLine, int vNumber);

    // The readable text alone, before white space is tidied.
    static QString text(const QStringList &vFields);

private:
    static QString levelText(const QString &vOwner, const QString &vType, const QString &vArg);
    static QString varianceText(const QString &vType, const QString &vArg);
};

#endif // PARAMETERLABELS_H
