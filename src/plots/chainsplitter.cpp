#include "chainsplitter.h"

#include <QByteArray>
#include <QFile>

#include <cstring>
#include <limits>

using Field = std::pair<const char *, std::size_t>;

namespace {

constexpr quint32 kNoField = std::numeric_limits<quint32>::max();

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

} // namespace

// One chain's file, mapped when it can be (else read whole), and where its fields start: one
// row of offsets per data line, the iteration column first, kNoField where a row is short.
struct ChainSplitter::Chain
{
    QFile file;
    QByteArray contents; // only when mapping failed (an empty file cannot be mapped)
    const char *data = nullptr;
    qint64 size = 0;
    qint64 scanned = 0;
    std::vector<quint32> offsets;
    int rows = 0;

    bool load(const QString &vPath)
    {
        file.setFileName(vPath);
        if (!file.open(QIODevice::ReadOnly))
            return false;
        size = file.size();
        // Offsets are 32-bit: four gigabytes of one chain is beyond any trace plot.
        if (size >= qint64(kNoField))
            return false;
        if (size > 0)
            data = reinterpret_cast<const char *>(file.map(0, size));
        if (!data) {
            contents = file.readAll();
            data = contents.constData();
            size = contents.size();
        }
        return true;
    }

    // Indexes one line; false at the end of the file.
    bool indexLine(int vStride)
    {
        if (scanned >= size)
            return false;
        const char *begin = data + scanned;
        const char *newline
            = static_cast<const char *>(std::memchr(begin, '\n', std::size_t(size - scanned)));
        const char *end = newline ? newline : data + size;
        scanned = (newline ? newline + 1 : end) - data;
        const char *first = begin;
        while (first < end && isBlank(*first))
            ++first;
        if (first == end)
            return true; // a blank line is no row
        const std::size_t row = offsets.size();
        offsets.resize(row + std::size_t(vStride), kNoField);
        quint32 *fields = offsets.data() + row;
        int field = 0;
        fields[field++] = quint32(begin - data);
        for (const char *c = begin; c < end && field < vStride; ++c) {
            if (*c == ',')
                fields[field++] = quint32(c + 1 - data);
        }
        ++rows;
        return true;
    }

    // From vAt on, the next data line's first field and field vColumn; vAt moves past it. Both
    // empty at the end.
    std::pair<Field, Field> nextLine(qint64 &vAt, int vColumn) const
    {
        while (vAt < size) {
            const char *begin = data + vAt;
            const char *newline
                = static_cast<const char *>(std::memchr(begin, '\n', std::size_t(size - vAt)));
            const char *end = newline ? newline : data + size;
            vAt = (newline ? newline + 1 : end) - data;
            const char *first = begin;
            while (first < end && isBlank(*first))
                ++first;
            if (first == end)
                continue;
            const char *at = begin;
            for (int k = 0; k < vColumn && at; ++k) {
                at = static_cast<const char *>(std::memchr(at, ',', std::size_t(end - at)));
                at = at ? at + 1 : nullptr;
            }
            return {field(quint32(begin - data)),
                    at ? field(quint32(at - data)) : Field()};
        }
        return {};
    }

    // The field at vOffset with surrounding blanks trimmed; empty when there is none.
    Field field(quint32 vOffset) const
    {
        if (vOffset == kNoField)
            return {nullptr, 0};
        const char *begin = data + vOffset;
        const char *stop = data + size;
        while (begin < stop && (*begin == ' ' || *begin == '\t'))
            ++begin;
        const char *end = begin;
        while (end < stop && *end != ',' && *end != '\n' && *end != '\r')
            ++end;
        while (end > begin && isBlank(end[-1]))
            --end;
        return {begin, std::size_t(end - begin)};
    }
};

ChainSplitter::ChainSplitter() = default;
ChainSplitter::~ChainSplitter() = default;

bool ChainSplitter::open(const QString &vBase, int vChains, int vParameters)
{
    m_chains.clear();
    m_parameters = qMax(0, vParameters);
    m_lines = 0;
    m_rows = 0;
    for (int c = 1; c <= qMax(1, vChains); ++c) {
        auto chain = std::make_unique<Chain>();
        const bool loaded = chain->load(vBase + QString::number(c) + QStringLiteral(".csv"));
        if (!loaded && c == 1)
            return false;
        m_chains.push_back(std::move(chain));
    }
    const Chain &first = *m_chains.front();
    const char *end = first.data + first.size;
    for (const char *c = first.data; c < end; ++c)
        m_lines += *c == '\n';
    if (first.size > 0 && end[-1] != '\n')
        ++m_lines;
    // One growth per chain instead of one per row: chains are as long as the first, as a rule.
    for (auto &chain : m_chains)
        chain->offsets.reserve(std::size_t(m_lines) * std::size_t(m_parameters + 1));
    return true;
}

bool ChainSplitter::index(int vRows)
{
    const int stride = m_parameters + 1;
    bool done = true;
    for (auto &chain : m_chains) {
        for (int k = 0; k < vRows && chain->indexLine(stride); ++k) { }
        done = done && chain->scanned >= chain->size;
        m_rows = qMax(m_rows, chain->rows);
    }
    return done;
}

bool ChainSplitter::indexed() const
{
    for (const auto &chain : m_chains)
        if (chain->scanned < chain->size)
            return false;
    return true;
}

bool ChainSplitter::write(int vParameter, const QString &vPath)
{
    if (vParameter < 0 || vParameter >= m_parameters)
        return false;
    if (!indexed())
        return writeScanning(vParameter, vPath);
    const std::size_t stride = std::size_t(m_parameters) + 1;
    const std::size_t column = std::size_t(vParameter) + 1;
    m_buffer.clear();
    for (int r = 0; r < m_rows; ++r) {
        const std::size_t row = std::size_t(r) * stride;
        // The iteration from the first chain that has this row.
        Field iteration;
        for (const auto &chain : m_chains) {
            if (r < chain->rows && (iteration = chain->field(chain->offsets[row])).second > 0)
                break;
        }
        appendRow(r, iteration);
        for (const auto &chain : m_chains)
            appendValue(r < chain->rows ? chain->field(chain->offsets[row + column]) : Field());
        m_buffer += '\n';
    }
    return save(vPath);
}

bool ChainSplitter::writeScanning(int vParameter, const QString &vPath)
{
    // Before the index exists (the first plot, which should not wait for it) each chain is read
    // line by line, skipping to the one field wanted.
    std::vector<qint64> at(m_chains.size(), 0);
    std::vector<std::pair<Field, Field>> line(m_chains.size());
    m_buffer.clear();
    for (int r = 0;; ++r) {
        bool any = false;
        Field iteration;
        for (std::size_t c = 0; c < m_chains.size(); ++c) {
            line[c] = m_chains[c]->nextLine(at[c], vParameter + 1);
            any = any || line[c].first.first;
            if (iteration.second == 0)
                iteration = line[c].first;
        }
        if (!any)
            break;
        appendRow(r, iteration);
        for (const auto &chainLine : line)
            appendValue(chainLine.second);
        m_buffer += '\n';
    }
    return save(vPath);
}

void ChainSplitter::appendRow(int vRow, const Field &vIteration)
{
    if (vIteration.second > 0)
        m_buffer.append(vIteration.first, vIteration.second);
    else
        m_buffer += std::to_string(vRow + 1);
}

void ChainSplitter::appendValue(const Field &vValue)
{
    m_buffer += ' ';
    if (vValue.second > 0)
        m_buffer.append(vValue.first, vValue.second);
    else
        m_buffer += "NaN";
}

bool ChainSplitter::save(const QString &vPath) const
{
    QFile file(vPath);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        && file.write(m_buffer.data(), qint64(m_buffer.size())) == qint64(m_buffer.size());
}
