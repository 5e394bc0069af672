#include "chainreader.h"

#include "config/childpriority.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentMap>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <numeric>
#include <string>

namespace {

constexpr qint64 kBlockSize = qint64(1) << 22;

bool cancelled(const std::atomic_bool *vCancel)
{
    return vCancel && vCancel->load(std::memory_order_relaxed);
}

const char *skipBlanks(const char *vFrom, const char *vEnd)
{
    while (vFrom < vEnd && (*vFrom == ' ' || *vFrom == '\t'))
        ++vFrom;
    return vFrom;
}

const char *trimBlanks(const char *vBegin, const char *vEnd)
{
    while (vEnd > vBegin && (vEnd[-1] == ' ' || vEnd[-1] == '\t' || vEnd[-1] == '\r'))
        --vEnd;
    return vEnd;
}

// The lines of one chain file, fed block by block.
class ChainParser
{
    Q_DECLARE_TR_FUNCTIONS(ChainReader)
public:
    ChainParser(const QString &vName, int vBurn, int vExpected,
                std::vector<std::vector<double>> &vColumns)
        : m_name(vName)
        , m_burn(vBurn)
        , m_expected(vExpected)
        , m_columns(vColumns)
    {
    }

    bool line(const char *vBegin, const char *vEnd)
    {
        ++m_lineNumber;
        vEnd = trimBlanks(vBegin, vEnd);
        if (skipBlanks(vBegin, vEnd) == vEnd)
            return true;
        const int fields = 1 + int(std::count(vBegin, vEnd, ','));
        if (m_fields < 0)
            start(fields);
        if (fields != m_fields)
            return fail(tr("The chain file %1 has %2 values on line %3, where its first line has "
                           "%4.")
                            .arg(m_name)
                            .arg(fields)
                            .arg(m_lineNumber)
                            .arg(m_fields));
        if (m_rows++ < m_burn)
            return true;
        const char *field = vBegin;
        for (int f = 0; f < fields; ++f) {
            const char *comma = static_cast<const char *>(std::memchr(field, ',', size_t(vEnd - field)));
            const char *end = comma ? comma : vEnd;
            if (f > 0 && !number(field, end, m_columns[size_t(f - 1)]))
                return false;
            field = end + 1;
        }
        return true;
    }

    bool finish()
    {
        if (m_fields < 0)
            return fail(tr("The chain file %1 is empty.").arg(m_name));
        if (m_fields < 2)
            return fail(tr("The chain file %1 holds no parameter columns.").arg(m_name));
        if (m_rows <= m_burn)
            return fail(tr("The chain file %1 holds %2 iterations, all within the burn-in of %3.")
                            .arg(m_name)
                            .arg(m_rows)
                            .arg(m_burn));
        return true;
    }

    QString error() const { return m_error; }

private:
    void start(int vFields)
    {
        m_fields = vFields;
        m_columns.assign(size_t(std::max(vFields - 1, 0)), {});
        for (auto &column : m_columns)
            column.reserve(size_t(std::max(m_expected, 0)));
    }

    bool number(const char *vBegin, const char *vEnd, std::vector<double> &vColumn)
    {
        const char *begin = skipBlanks(vBegin, vEnd);
        const char *end = trimBlanks(begin, vEnd);
        if (begin < end && *begin == '+')
            ++begin;
        double value = 0;
        const auto [stop, status] = std::from_chars(begin, end, value);
        if (status == std::errc::result_out_of_range && stop == end) {
            // Beyond the range of a double: as large or as small as one gets.
            value = std::strtod(std::string(begin, end).c_str(), nullptr);
        } else if (status != std::errc() || stop != end || begin == end) {
            return fail(tr("The chain file %1 holds \"%2\" on line %3, which is not a number.")
                            .arg(m_name,
                                 QString::fromUtf8(vBegin, int(vEnd - vBegin)).trimmed().left(40))
                            .arg(m_lineNumber));
        }
        vColumn.push_back(value);
        return true;
    }

    bool fail(const QString &vMessage)
    {
        m_error = vMessage;
        return false;
    }

    QString m_name;
    int m_burn;
    int m_expected;
    std::vector<std::vector<double>> &m_columns;
    QString m_error;
    int m_fields = -1;
    qint64 m_lineNumber = 0;
    qint64 m_rows = 0;
};

} // namespace

QString ChainReader::fileName(int vChain)
{
    return QStringLiteral("burn%1.csv").arg(vChain);
}

bool ChainReader::readChain(const QString &vPath, int vBurn, int vExpected,
                            std::vector<std::vector<double>> &vColumns, QString &vError,
                            const std::atomic_bool *vCancel)
{
    const QString name = QFileInfo(vPath).fileName();
    QFile file(vPath);
    if (!file.exists()) {
        vError = tr("The chain file %1 is missing.").arg(name);
        return false;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        vError = tr("The chain file %1 cannot be read: %2").arg(name, file.errorString());
        return false;
    }
    ChainParser parser(name, vBurn, vExpected, vColumns);
    std::vector<char> buffer(static_cast<size_t>(kBlockSize));
    size_t carried = 0;
    for (;;) {
        if (cancelled(vCancel))
            return false;
        if (buffer.size() - carried < size_t(kBlockSize) / 2)
            buffer.resize(buffer.size() * 2);
        const qint64 got = file.read(buffer.data() + carried, qint64(buffer.size() - carried));
        if (got < 0) {
            vError = tr("The chain file %1 cannot be read: %2").arg(name, file.errorString());
            return false;
        }
        const char *begin = buffer.data();
        const char *end = begin + carried + size_t(got);
        const char *lineStart = begin;
        for (const char *newline; (newline = static_cast<const char *>(
                                       std::memchr(lineStart, '\n', size_t(end - lineStart))));
             lineStart = newline + 1) {
            if (!parser.line(lineStart, newline)) {
                vError = parser.error();
                return false;
            }
        }
        if (got == 0) {
            // The last line may lack its line break.
            if (lineStart < end && !parser.line(lineStart, end)) {
                vError = parser.error();
                return false;
            }
            break;
        }
        carried = size_t(end - lineStart);
        std::memmove(buffer.data(), lineStart, carried);
    }
    if (!parser.finish()) {
        vError = parser.error();
        return false;
    }
    return true;
}

bool ChainReader::read(const QString &vFolder, int vChains, int vBurn, int vExpected,
                       ChainDraws &vOut, QString &vError, const std::atomic_bool *vCancel)
{
    vOut = ChainDraws();
    if (vChains < 1) {
        vError = tr("The run has no chains to read.");
        return false;
    }
    struct Chain
    {
        std::vector<std::vector<double>> columns;
        QString error;
        bool ok = false;
    };
    std::vector<Chain> chains(static_cast<size_t>(vChains));
    std::vector<int> numbers(static_cast<size_t>(vChains));
    std::iota(numbers.begin(), numbers.end(), 0);
    const QDir folder(vFolder);
    // The files are independent: read side by side, each by one thread.
    QThreadPool pool;
    pool.setMaxThreadCount(std::min(vChains, QThread::idealThreadCount()));
    QtConcurrent::blockingMap(&pool, numbers, [&](int vIndex) {
        ChildPriority::lowerCurrentThread();
        Chain &chain = chains[size_t(vIndex)];
        chain.ok = readChain(folder.filePath(fileName(vIndex + 1)), vBurn, vExpected,
                             chain.columns, chain.error, vCancel);
    });
    if (cancelled(vCancel))
        return false;
    for (const Chain &chain : chains) {
        if (!chain.ok) {
            vError = chain.error;
            return false;
        }
    }
    const auto &first = chains.front().columns;
    for (int c = 1; c < vChains; ++c) {
        const auto &other = chains[size_t(c)].columns;
        if (other.size() != first.size()) {
            vError = tr("The chain files %1 and %2 hold different numbers of parameters (%3 and "
                        "%4).")
                         .arg(fileName(1), fileName(c + 1))
                         .arg(first.size())
                         .arg(other.size());
            return false;
        }
        if (other.front().size() != first.front().size()) {
            vError = tr("The chain files %1 and %2 hold different numbers of iterations after "
                        "the burn-in (%3 and %4).")
                         .arg(fileName(1), fileName(c + 1))
                         .arg(first.front().size())
                         .arg(other.front().size());
            return false;
        }
    }
    vOut.chains = vChains;
    vOut.parameters = int(first.size());
    vOut.iterations = int(first.front().size());
    vOut.columns.reserve(size_t(vChains) * first.size());
    for (Chain &chain : chains)
        for (auto &column : chain.columns)
            vOut.columns.push_back(std::move(column));
    return true;
}
