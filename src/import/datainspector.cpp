#include "datainspector.h"

#include <QStringDecoder>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {
// Enough lines to judge the separator and the header, small enough to read at once.
constexpr qint64 kSampleBytes = 64 * 1024;
// Distinct non-numeric texts and differing rows kept for messages; later ones are only counted.
constexpr int kMaxCells = 1000;
constexpr int kMaxRagged = 100;

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

QByteArrayView trimmed(QByteArrayView vText)
{
    qsizetype begin = 0;
    qsizetype end = vText.size();
    while (begin < end && isBlank(vText[begin]))
        ++begin;
    while (end > begin && isBlank(vText[end - 1]))
        --end;
    return vText.sliced(begin, end - begin);
}

QString unquoted(QByteArrayView vText)
{
    if (vText.size() >= 2 && vText.front() == '"' && vText.back() == '"')
        vText = vText.sliced(1, vText.size() - 2);
    return QString::fromUtf8(vText).trimmed();
}

bool isValidUtf8(QByteArrayView vText)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(vText);
    Q_UNUSED(text);
    return !decoder.hasError();
}

// Values that data sets often use for "not observed": 9, 99, 999, ... with either sign.
bool isTypicalNumericCode(double vValue)
{
    const double size = std::fabs(vValue);
    return size == 99 || size == 999 || size == 9999 || size == 99999 || vValue == -9;
}

QString numberText(double vValue)
{
    return QString::number(vValue, 'g', 15);
}
} // namespace

DataInspector::DataInspector(const QString &vPath, double vKnownCode)
    : m_path(vPath)
    , m_file(vPath)
    , m_knownCode(vKnownCode)
{ }

QList<QByteArrayView> DataInspector::split(QByteArrayView vLine, char vSeparator)
{
    QList<QByteArrayView> fields;
    if (vSeparator == ' ') {
        qsizetype i = 0;
        const qsizetype n = vLine.size();
        while (i < n) {
            while (i < n && isBlank(vLine[i]))
                ++i;
            const qsizetype start = i;
            while (i < n && !isBlank(vLine[i]))
                ++i;
            if (i > start)
                fields.append(vLine.sliced(start, i - start));
        }
        return fields;
    }
    qsizetype start = 0;
    for (;;) {
        const qsizetype at = vLine.indexOf(vSeparator, start);
        const qsizetype end = at < 0 ? vLine.size() : at;
        fields.append(trimmed(vLine.sliced(start, end - start)));
        if (at < 0)
            return fields;
        start = at + 1;
    }
}

bool DataInspector::isNumber(QByteArrayView vText, double *vValue)
{
    if (!vText.isEmpty() && vText.front() == '+')
        vText = vText.sliced(1);
    if (vText.isEmpty())
        return false;
    double value = 0;
    const char *end = vText.data() + vText.size();
    const auto result = std::from_chars(vText.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(value))
        return false;
    if (vValue)
        *vValue = value;
    return true;
}

bool DataInspector::looksLikeMissingCode(const QString &vText)
{
    static const QStringList codes {QStringLiteral("."),    QStringLiteral("NA"),
                                    QStringLiteral("N/A"),  QStringLiteral("NaN"),
                                    QStringLiteral("?"),    QStringLiteral("*"),
                                    QStringLiteral("-"),    QStringLiteral("NULL"),
                                    QStringLiteral("missing")};
    return codes.contains(vText, Qt::CaseInsensitive);
}

void DataInspector::fail(const QString &vMessage)
{
    m_error = vMessage;
    m_finished = true;
    m_carry.clear();
    m_file.close();
}

bool DataInspector::begin()
{
    if (m_started)
        return m_error.isEmpty();
    m_started = true;
    if (!m_file.open(QIODevice::ReadOnly)) {
        fail(QStringLiteral("The data file cannot be read: %1.").arg(m_file.errorString()));
        return false;
    }
    m_size = m_file.size();
    QByteArray sample = m_file.read(kSampleBytes);
    const qsizetype zero = sample.indexOf('\0');
    if (zero >= 0) {
        fail(QStringLiteral("This is not a text file: line %1 holds a zero byte.")
                 .arg(sample.left(zero).count('\n') + 1));
        return false;
    }
    if (sample.trimmed().isEmpty() && m_file.atEnd()) {
        fail(QStringLiteral("The data file is empty: it holds no lines of data."));
        return false;
    }
    if (sample.startsWith("\xEF\xBB\xBF")) {
        sample.remove(0, 3);
        m_position = 3;
    }
    detect(sample);
    if (!m_error.isEmpty())
        return false;
    m_carry = sample;
    scanLines(m_carry.constData(), m_carry.constData() + m_carry.size(), m_file.atEnd());
    if (m_file.atEnd())
        step(0);
    return m_error.isEmpty();
}

void DataInspector::detect(const QByteArray &vSample)
{
    // Whole lines only: the sample may end inside one.
    QList<QByteArrayView> lines;
    const bool whole = m_file.atEnd();
    qsizetype start = 0;
    int lineNumber = 0;
    while (start < vSample.size()) {
        qsizetype end = vSample.indexOf('\n', start);
        if (end < 0 && !whole)
            break;
        if (end < 0)
            end = vSample.size();
        ++lineNumber;
        const QByteArrayView line(vSample.constData() + start, end - start);
        if (!isValidUtf8(line)) {
            fail(QStringLiteral("This is not a text file: line %1 is not readable text.")
                     .arg(lineNumber));
            return;
        }
        if (!trimmed(line).isEmpty())
            lines.append(line);
        start = end + 1;
    }
    if (lines.isEmpty())
        lines.append(QByteArrayView(vSample));

    // The separator found on the most lines wins; a semicolon beats a comma found on as many
    // lines, since semicolon files write decimal commas.
    int best = 0;
    m_separator = ' ';
    for (char candidate : {'\t', ';', ','}) {
        const int count = int(std::count_if(lines.cbegin(), lines.cend(), [candidate](auto l) {
            return l.contains(candidate);
        }));
        if (count > best && 2 * count > lines.size()) {
            best = count;
            m_separator = candidate;
        }
    }

    const auto textCount = [this](QByteArrayView vLine, QStringList *vTexts) {
        int count = 0;
        for (QByteArrayView field : split(vLine, m_separator)) {
            const QString text = unquoted(field);
            if (!text.isEmpty() && !isNumber(field) && !looksLikeMissingCode(text)) {
                ++count;
                if (vTexts)
                    vTexts->append(text);
            }
        }
        return count;
    };
    for (QByteArrayView field : split(lines.first(), m_separator))
        m_firstLineFields.append(unquoted(field));
    const int firstTexts = textCount(lines.first(), &m_firstLineTexts);
    m_hasHeader = firstTexts > 0 && (lines.size() < 2 || textCount(lines.at(1), nullptr) < firstTexts);

    // The width most data rows of the sample have, the earliest on a tie; rows of any other
    // width are reported.
    QList<int> widths;
    QHash<int, int> counts;
    for (qsizetype i = m_hasHeader ? 1 : 0; i < lines.size(); ++i)
        ++counts[widths.emplace_back(int(split(lines.at(i), m_separator).size()))];
    m_columns = int(m_firstLineFields.size());
    int most = 0;
    for (int width : std::as_const(widths))
        if (counts.value(width) > most) {
            most = counts.value(width);
            m_columns = width;
        }
}

bool DataInspector::step(qint64 vBytes)
{
    if (m_finished)
        return true;
    if (!m_started && !begin())
        return true;
    const QByteArray chunk = vBytes > 0 ? m_file.read(vBytes) : QByteArray();
    if (vBytes > 0 && chunk.isEmpty() && !m_file.atEnd()) {
        fail(QStringLiteral("Reading the data file failed after line %1: %2.")
                 .arg(m_lineNumber)
                 .arg(m_file.errorString()));
        return true;
    }
    m_carry.append(chunk);
    const bool atEnd = m_file.atEnd();
    scanLines(m_carry.constData(), m_carry.constData() + m_carry.size(), atEnd);
    if (atEnd && m_error.isEmpty()) {
        m_finished = true;
        m_file.close();
        if (m_offsets.isEmpty())
            fail(QStringLiteral("The data file is empty: it holds no lines of data."));
    }
    return m_finished;
}

void DataInspector::scanLines(const char *vBegin, const char *vEnd, bool vAtEnd)
{
    const char *line = vBegin;
    while (line < vEnd && m_error.isEmpty()) {
        const char *newline = static_cast<const char *>(std::memchr(line, '\n', size_t(vEnd - line)));
        if (!newline && !vAtEnd)
            break;
        const char *end = newline ? newline : vEnd;
        ++m_lineNumber;
        scanLine(QByteArrayView(line, end - line), m_position + (line - vBegin));
        line = newline ? newline + 1 : vEnd;
    }
    m_position += line - vBegin;
    m_carry.remove(0, line - vBegin);
}

void DataInspector::scanLine(QByteArrayView vLine, qint64 vOffset)
{
    if (trimmed(vLine).isEmpty())
        return;
    if (vLine.contains('\0')) {
        fail(QStringLiteral("This is not a text file: line %1 holds a zero byte.").arg(m_lineNumber));
        return;
    }
    m_offsets.append(vOffset);
    m_lineNumbers.append(m_lineNumber);
    if (m_offsets.size() == 1 && m_hasHeader)
        return; // names, not data
    const QList<QByteArrayView> fields = split(vLine, m_separator);
    if (fields.size() != m_columns) {
        if (m_ragged.size() < kMaxRagged)
            m_ragged.append({m_lineNumber, int(fields.size())});
        ++m_raggedCount;
    }
    for (int column = 0; column < fields.size(); ++column)
        countCell(fields.at(column), column + 1);
}

void DataInspector::countCell(QByteArrayView vCell, int vColumn)
{
    double value = 0;
    if (isNumber(vCell, &value)) {
        if (isTypicalNumericCode(value) || value == m_knownCode)
            ++m_numericCodes[value];
        return;
    }
    const QByteArray key = QByteArray::fromRawData(vCell.data(), vCell.size());
    const auto found = m_cellIndex.constFind(key);
    if (found != m_cellIndex.cend()) {
        ++m_cells[found.value()].count;
        return;
    }
    if (m_cells.size() >= kMaxCells)
        return;
    m_cellIndex.insert(QByteArray(vCell.data(), vCell.size()), int(m_cells.size()));
    m_cells.append({QString::fromUtf8(vCell), 1, m_lineNumber, vColumn});
}

int DataInspector::progress() const
{
    if (m_finished || m_size <= 0)
        return 100;
    return int(std::min<qint64>(99, m_position * 100 / m_size));
}

QString DataInspector::separatorName() const
{
    switch (m_separator) {
    case ',':
        return QStringLiteral("comma");
    case ';':
        return QStringLiteral("semicolon");
    case '\t':
        return QStringLiteral("tab");
    default:
        return QStringLiteral("blanks");
    }
}

QList<DataInspector::Cell> DataInspector::nonNumeric() const
{
    return m_cells;
}

QStringList DataInspector::missingCodes() const
{
    QList<QPair<qint64, QString>> seen;
    for (const Cell &cell : m_cells)
        if (looksLikeMissingCode(cell.text))
            seen.append({cell.count, cell.text});
    for (auto it = m_numericCodes.cbegin(); it != m_numericCodes.cend(); ++it)
        seen.append({it.value(), numberText(it.key())});
    std::stable_sort(seen.begin(), seen.end(),
                     [](const auto &a, const auto &b) { return a.first > b.first; });
    QStringList codes;
    for (const auto &code : seen)
        codes.append(code.second);
    return codes;
}

qint64 DataInspector::codeCount(const QString &vCode) const
{
    const QByteArray code = vCode.trimmed().toUtf8();
    double value = 0;
    if (isNumber(code, &value))
        return m_numericCodes.value(value);
    const auto found = m_cellIndex.constFind(code);
    return found == m_cellIndex.cend() ? 0 : m_cells.at(found.value()).count;
}

void DataInspector::inspectAll()
{
    if (!begin())
        return;
    while (!step(4 * 1024 * 1024)) { }
}
