#ifndef GOLDENTABLE_H
#define GOLDENTABLE_H

#include <QFile>
#include <QStringList>
#include <QtTest>

// The rows of a data-driven test kept in a text file beside the test, one row a line: fields
// apart by blanks, the first naming the row. A field holding blanks, or nothing, is written in
// double quotes, inside which \n, \r, \t, \" and \\ stand for a line break, a carriage return,
// a tab, a quote and a backslash. Lines starting with "#" and blank lines are comments.
inline QList<QStringList> readTable(const QString &vPath)
{
    QFile file(vPath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {};
    QList<QStringList> rows;
    const QStringList lines = QString::fromUtf8(file.readAll()).split('\n');
    for (const QString &line : lines) {
        if (line.trimmed().isEmpty() || line.startsWith('#'))
            continue;
        QStringList fields;
        for (qsizetype i = 0; i < line.size();) {
            if (line.at(i) == ' ') {
                ++i;
                continue;
            }
            QString field;
            if (line.at(i) != '"') {
                while (i < line.size() && line.at(i) != ' ')
                    field += line.at(i++);
            } else {
                for (++i; i < line.size() && line.at(i) != '"'; ++i) {
                    if (line.at(i) == '\\' && i + 1 < line.size()) {
                        const QChar c = line.at(++i);
                        field += c == 'n' ? QChar('\n')
                            : c == 'r'   ? QChar('\r')
                            : c == 't'   ? QChar('\t')
                                         : c;
                    } else {
                        field += line.at(i);
                    }
                }
                ++i;
            }
            fields << field;
        }
        rows << fields;
    }
    return rows;
}

// Adds one text column per name (kept by the test table, so literals) and one row per line of
// the table file.
inline void addTableRows(const QString &vPath, std::initializer_list<const char *> vColumns)
{
    for (const char *column : vColumns)
        QTest::addColumn<QString>(column);
    const QList<QStringList> rows = readTable(vPath);
    QVERIFY2(!rows.isEmpty(), qPrintable("no rows in " + vPath));
    for (const QStringList &row : rows) {
        QVERIFY2(row.size() == qsizetype(vColumns.size()) + 1, qPrintable(row.join(' ')));
        QTestData &data = QTest::newRow(row.first().toUtf8().constData());
        for (qsizetype i = 1; i < row.size(); ++i)
            data << row.at(i);
    }
}

// A row of a table written in the test: its name, then one value per column.
template<typename... T>
void row(const char *vName, const T &...vValues)
{
    (QTest::newRow(vName) << ... << vValues);
}

#endif // GOLDENTABLE_H
