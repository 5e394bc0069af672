#ifndef TABLECELL_H
#define TABLECELL_H

#include <QtTest>

// The current row's text in a column of a table of text columns (as the golden tables make),
// for a value the test reads once: no local copy to fetch first.
inline QString cell(const char *vColumn)
{
    return *static_cast<QString *>(QTest::qData(vColumn, QMetaType::QString));
}

// The current row's text split at "|", for columns holding a list.
inline QStringList cells(const char *vColumn)
{
    return cell(vColumn).split('|');
}

#endif // TABLECELL_H
