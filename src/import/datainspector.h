#ifndef DATAINSPECTOR_H
#define DATAINSPECTOR_H

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVector>

// Reads a delimited data file once, front to back, and tells what it holds: the separator, a
// header line, the number of columns, rows of another width, cells that are not numbers and the
// missing-value codes in use. It keeps no cells, only where each line starts, so a file of any
// size costs a few bytes a row. The scan runs in steps so a window can show the first rows at
// once and check the rest while staying responsive.
class DataInspector
{
public:
    struct Ragged
    {
        qint64 line = 0;
        int values = 0;
    };
    // One distinct text that is not a number, with where it is first seen.
    struct Cell
    {
        QString text;
        qint64 count = 0;
        qint64 firstLine = 0;
        int firstColumn = 0;
    };

    // vKnownCode is a numeric missing-value code counted besides the usual ones.
    explicit DataInspector(const QString &vPath, double vKnownCode = -99);

    // Reads the opening block: separator, header, columns; its lines are indexed at once.
    bool begin();
    // Scans about vBytes more of the file; true once the whole file has been read.
    bool step(qint64 vBytes);
    // begin() and every step, for callers that can wait.
    void inspectAll();

    QString path() const { return m_path; }
    bool finished() const { return m_finished; }
    // Share of the file read so far, 0 to 100.
    int progress() const;
    // A problem that stops the file from being read at all (empty, not text, unreadable).
    QString error() const { return m_error; }

    char separator() const { return m_separator; }
    QString separatorName() const;
    bool hasHeader() const { return m_hasHeader; }
    QStringList headerNames() const { return m_firstLineFields; }
    int columns() const { return m_columns; }

    // Every line that is not blank, the first one (a header or not) included.
    const QVector<qint64> &lineOffsets() const { return m_offsets; }
    const QVector<qint64> &lineNumbers() const { return m_lineNumbers; }
    // The figures below cover the data rows: every line but a detected header.
    // Rows whose width differs (the first ones seen) and how many.
    QList<Ragged> raggedRows() const { return m_ragged; }
    qint64 raggedCount() const { return m_raggedCount; }
    // Texts that are not numbers, in order of first appearance.
    QList<Cell> nonNumeric() const;
    // Codes seen that usually stand for a missing value ("NA", ".", -999, ...), most used first.
    QStringList missingCodes() const;
    // How many cells hold vCode: a text code, or a typical or the known numeric code.
    qint64 codeCount(const QString &vCode) const;

    // The first line's values, for reading a detected header as data after all: how many there
    // are and which of them are not numbers.
    int firstLineValues() const { return int(m_firstLineFields.size()); }
    QStringList firstLineTexts() const { return m_firstLineTexts; }

    // The values of one line, separated as the file is.
    static QList<QByteArrayView> split(QByteArrayView vLine, char vSeparator);
    // A number as the engine reads one: C notation, an optional leading "+", finite.
    static bool isNumber(QByteArrayView vText, double *vValue = nullptr);
    static bool looksLikeMissingCode(const QString &vText);

private:
    void detect(const QByteArray &vSample);
    void scanLines(const char *vBegin, const char *vEnd, bool vAtEnd);
    void scanLine(QByteArrayView vLine, qint64 vOffset);
    void countCell(QByteArrayView vCell, int vColumn);
    void fail(const QString &vMessage);

    QString m_path;
    QFile m_file;
    qint64 m_size = 0;
    qint64 m_position = 0; // file offset of m_carry's first byte
    QByteArray m_carry; // an unfinished line from the previous step
    qint64 m_lineNumber = 0;
    bool m_started = false;
    bool m_finished = false;
    QString m_error;

    char m_separator = ' ';
    bool m_hasHeader = false;
    int m_columns = 0;
    QStringList m_firstLineFields; // the first line's values, quotes taken off
    QStringList m_firstLineTexts; // those of them that are not numbers

    QVector<qint64> m_offsets;
    QVector<qint64> m_lineNumbers;
    QList<Ragged> m_ragged;
    qint64 m_raggedCount = 0;
    QHash<QByteArray, int> m_cellIndex;
    QList<Cell> m_cells;
    double m_knownCode;
    QHash<double, qint64> m_numericCodes; // cells holding a typical numeric missing code
};

#endif // DATAINSPECTOR_H
