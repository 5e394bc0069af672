#include "runmonitor.h"

#include <QLocale>
#include <QRegularExpression>

#include <cmath>
#include <limits>

namespace {

// A longer line is not one of the short lines progress is read from.
constexpr qsizetype kMaxLineChars = 4096;

QString count(qint64 vValue)
{
    // Grouped the same way whatever the desktop's language, as in the engine's own output.
    static const QLocale english(QLocale::English, QLocale::UnitedStates);
    return english.toString(vValue);
}

// The next run of non-blank characters from *vAt on; *vAt moves past it.
QStringView nextWord(QStringView vLine, qsizetype *vAt)
{
    qsizetype at = *vAt;
    while (at < vLine.size() && vLine.at(at).isSpace())
        ++at;
    const qsizetype start = at;
    while (at < vLine.size() && !vLine.at(at).isSpace())
        ++at;
    *vAt = at;
    return vLine.mid(start, at - start);
}

bool readCount(QStringView vWord, qint64 *vValue)
{
    if (vWord.isEmpty() || !vWord.front().isDigit())
        return false;
    bool ok = false;
    *vValue = vWord.toLongLong(&ok);
    return ok;
}

// A number as the engine prints it, "n/a" and "inf" included.
bool readPsr(QStringView vWord, double *vValue)
{
    if (vWord == u"n/a") {
        *vValue = std::numeric_limits<double>::quiet_NaN();
        return true;
    }
    if (vWord == u"inf") {
        *vValue = std::numeric_limits<double>::infinity();
        return true;
    }
    bool ok = false;
    *vValue = vWord.toDouble(&ok);
    return ok;
}

// Where the line starting at vFrom ends (its line feed or, when vCr, carriage return), or -1.
qsizetype lineEnd(QStringView vText, qsizetype vFrom, bool vCr)
{
    const qsizetype feed = vText.indexOf(u'\n', vFrom);
    if (!vCr)
        return feed;
    const QStringView line = vText.mid(vFrom, feed < 0 ? vText.size() - vFrom : feed - vFrom);
    const qsizetype cr = line.indexOf(u'\r');
    return cr < 0 ? feed : vFrom + cr;
}

// Whether vLine starts as a PSR row does, with a count and "to": a plain scan, no words made.
bool startsLikePsrRow(QStringView vLine)
{
    const qsizetype size = vLine.size();
    qsizetype at = 0;
    while (at < size && vLine.at(at).isSpace())
        ++at;
    const qsizetype digits = at;
    while (at < size && vLine.at(at).unicode() >= u'0' && vLine.at(at).unicode() <= u'9')
        ++at;
    if (at == digits || at == size || !vLine.at(at).isSpace())
        return false;
    while (at < size && vLine.at(at).isSpace())
        ++at;
    return at + 2 < size && vLine.at(at) == u't' && vLine.at(at + 1) == u'o'
        && vLine.at(at + 2).isSpace();
}

QStringView trimmedStart(QStringView vLine)
{
    qsizetype at = 0;
    while (at < vLine.size() && vLine.at(at).isSpace())
        ++at;
    return vLine.mid(at);
}

} // namespace

void RunMonitor::start(const Totals &vTotals, qint64 vNowMs)
{
    *this = RunMonitor();
    m_phase = Phase::Starting;
    m_totals = vTotals;
    m_startMs = vNowMs;
}

void RunMonitor::feed(QStringView vText, qint64 vNowMs)
{
    if (!isRunning())
        return;
    qsizetype from = 0;
    // A line ends at a line feed or a carriage return (CR LF counting once), so a counter the
    // engine rewrites in place is read as it changes.
    if (m_afterCr && vText.startsWith(u'\n'))
        from = 1;
    m_afterCr = false;
    // Looked for once: most output has no carriage returns at all.
    const bool cr = vText.contains(u'\r');
    for (qsizetype end = lineEnd(vText, from, cr); end >= 0; end = lineEnd(vText, from, cr)) {
        const QStringView piece = vText.mid(from, end - from);
        from = end + 1;
        if (vText.at(end) == u'\r') {
            if (from == vText.size())
                m_afterCr = true;
            else if (vText.at(from) == u'\n')
                ++from;
        }
        if (m_skipping) {
            m_skipping = false;
        } else if (m_partial.isEmpty()) {
            readLine(piece, vNowMs);
        } else {
            m_partial += piece;
            readLine(m_partial, vNowMs);
            m_partial.resize(0); // keeps its room for the next piece's unfinished line
        }
    }
    if (m_skipping || from == vText.size())
        return;
    m_partial += vText.mid(from);
    if (m_partial.size() > kMaxLineChars) {
        m_partial.clear();
        m_skipping = true;
    }
}

void RunMonitor::finish(qint64 vNowMs, bool vStopped)
{
    if (!isRunning())
        return;
    if (!vStopped && !m_partial.isEmpty())
        readLine(m_partial, vNowMs);
    m_partial.clear();
    m_phase = vStopped ? Phase::Stopped : Phase::Finished;
    m_endMs = vNowMs;
}

bool RunMonitor::isRunning() const
{
    return m_phase != Phase::Idle && m_phase != Phase::Finished && m_phase != Phase::Stopped;
}

qint64 RunMonitor::total() const
{
    if (m_counterTotal > 0)
        return m_counterTotal;
    if (m_totals.burn < 0 || m_totals.iterations < 0)
        return -1;
    return m_totals.burn + m_totals.iterations;
}

qint64 RunMonitor::elapsedMs(qint64 vNowMs) const
{
    if (m_phase == Phase::Idle)
        return 0;
    return (m_endMs >= 0 ? m_endMs : vNowMs) - m_startMs;
}

qint64 RunMonitor::leftMs(qint64 vNowMs) const
{
    const qint64 all = total();
    if (!isRunning() || m_phase == Phase::Writing || all < 0 || m_done <= m_firstDone
        || m_lastAt <= m_firstAt)
        return -1;
    const double perIteration = double(m_lastAt - m_firstAt) / double(m_done - m_firstDone);
    const double left = perIteration * double(all - m_done) - double(vNowMs - m_lastAt);
    return left > 0 ? qint64(std::llround(left)) : -1;
}

QString RunMonitor::summary(qint64 vNowMs) const
{
    const QString elapsed = clock(elapsedMs(vNowMs));
    switch (m_phase) {
    case Phase::Idle:
        return QString();
    case Phase::Finished:
        return tr("Finished in %1").arg(elapsed);
    case Phase::Stopped:
        return tr("Stopped after %1").arg(elapsed);
    default:
        break;
    }
    if (!m_hasProgress)
        return tr("Running · %1 elapsed · no progress information").arg(elapsed);

    const qint64 burn = m_totals.burn;
    const qint64 done = qMax<qint64>(m_done, 0);
    QString where;
    if (m_phase == Phase::Writing) {
        where = tr("Writing results");
    } else if (m_phase == Phase::BurnIn) {
        where = burn >= 0
            ? tr("Burn-in: %1 of %2 iterations").arg(count(qMin(done, burn)), count(burn))
            : tr("Burn-in: %1 iterations").arg(count(done));
    } else if (m_phase == Phase::Sampling && burn >= 0 && m_totals.iterations >= 0) {
        where = done > burn
            ? tr("Sampling: %1 of %2 iterations")
                  .arg(count(qMin(done - burn, m_totals.iterations)), count(m_totals.iterations))
            : tr("Sampling: %1 iterations").arg(count(m_totals.iterations));
    } else {
        where = total() > 0 ? tr("Running: %1 of %2 iterations").arg(count(done), count(total()))
                            : tr("Running: %1 iterations").arg(count(done));
    }
    QString line = tr("%1 · %2 elapsed").arg(where, elapsed);
    const qint64 left = leftMs(vNowMs);
    if (left >= 0)
        line += tr(" · about %1 left").arg(clock(left));
    return line;
}

QString RunMonitor::clock(qint64 vMs)
{
    const qint64 seconds = qMax<qint64>(vMs, 0) / 1000;
    const auto two = [](qint64 vValue) {
        return QStringLiteral("%1").arg(vValue, 2, 10, QLatin1Char('0'));
    };
    if (seconds >= 3600)
        return QStringLiteral("%1:%2:%3")
            .arg(seconds / 3600)
            .arg(two(seconds / 60 % 60), two(seconds % 60));
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(two(seconds % 60));
}

bool RunMonitor::readPsrRow(QStringView vLine, PsrRow *vRow)
{
    // "  1001 to 2000   1.234   7  b1": the cheap test first, as most lines fail it (a flood
    // of iteration rows passes through here).
    if (!startsLikePsrRow(vLine))
        return false;
    qsizetype at = 0;
    const QStringView first = nextWord(vLine, &at);
    nextWord(vLine, &at); // "to"
    PsrRow row;
    qint64 parameter = 0;
    if (!readCount(first, &row.first) || !readCount(nextWord(vLine, &at), &row.last)
        || !readPsr(nextWord(vLine, &at), &row.psr) || !readCount(nextWord(vLine, &at), &parameter)
        || row.last < row.first)
        return false;
    row.parameter = int(parameter);
    row.name = vLine.mid(at).trimmed().toString();
    *vRow = row;
    return true;
}

void RunMonitor::readLine(QStringView vLine, qint64 vNowMs)
{
    const QStringView text = trimmedStart(vLine);
    if (text.isEmpty()) {
        if (m_phase == Phase::BurnIn && !m_series.isEmpty())
            m_phase = Phase::Sampling; // the table ends when the burn-in does
        return;
    }
    const QChar first = text.front();
    if (first.isDigit()) {
        PsrRow row;
        if (readPsrRow(text, &row)) {
            m_series.append(row);
            const bool burnInOver = m_totals.burn >= 0 && row.last >= m_totals.burn;
            m_phase = burnInOver ? Phase::Sampling : Phase::BurnIn;
            observe(row.last, vNowMs);
            return;
        }
    }
    if (m_phase == Phase::BurnIn && !m_series.isEmpty())
        m_phase = Phase::Sampling;
    if ((first == u'I' || first == u'i') && readCounter(text, vNowMs))
        return;
    if (first == u'N' && text.startsWith(u"Number of ")) {
        // The engine's own account of the run's length beats the script's.
        const qsizetype colon = text.indexOf(u':');
        qint64 value = 0;
        qsizetype at = colon + 1;
        if (colon < 0 || !readCount(nextWord(text, &at), &value))
            return;
        const QStringView what = text.mid(10, colon - 10);
        if (what == u"burn-in iterations")
            m_totals.burn = value;
        else if (what == u"post-burn-in iterations")
            m_totals.iterations = value;
        else if (what == u"chains")
            m_totals.chains = int(value);
        return;
    }
    // The searches below only where they can matter: most lines are tables of numbers.
    if (m_phase == Phase::Starting) {
        if (first.isUpper() && text.contains(u"POTENTIAL SCALE REDUCTION")) {
            m_phase = Phase::BurnIn;
            m_hasProgress = true;
        }
    } else if (m_phase == Phase::Sampling) {
        if (vLine.front() == first && isSectionHeading(text))
            m_phase = Phase::Writing;
    } else if (m_phase == Phase::Writing && text.contains(u"PSR")) {
        readWarning(text);
    }
}

bool RunMonitor::readCounter(QStringView vLine, qint64 vNowMs)
{
    // "Iteration 1200", "Iteration: 1200 of 5000", "Iterations 1,200/5,000". A wide gap before
    // the number is a table of options ("Iterations          10000"), not a counter.
    static const QRegularExpression counter(
        QStringLiteral(
            "^iter(?:ation)?s?\\s{0,2}[:#]?\\s{0,2}(\\d[\\d,]*)(?:\\s*(?:of|/)\\s*(\\d[\\d,]*))?"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = counter.match(vLine);
    if (!match.hasMatch())
        return false;
    const qint64 done = match.captured(1).remove(u',').toLongLong();
    if (match.hasCaptured(2))
        m_counterTotal = match.captured(2).remove(u',').toLongLong();
    if (m_totals.burn >= 0)
        m_phase = done <= m_totals.burn ? Phase::BurnIn : Phase::Sampling;
    observe(done, vNowMs);
    return true;
}

void RunMonitor::readWarning(QStringView vLine)
{
    // "... PSR ... is above 1.05 for ..."
    const qsizetype above = vLine.indexOf(u" above ");
    if (above < 0)
        return;
    qsizetype at = above + 7;
    QStringView word = nextWord(vLine, &at);
    while (!word.isEmpty() && !word.back().isDigit())
        word.chop(1);
    double value = 0;
    if (readPsr(word, &value) && value > 1.0 && value < 10.0)
        m_warningPsr = value;
}

void RunMonitor::observe(qint64 vDone, qint64 vNowMs)
{
    m_hasProgress = true;
    m_done = vDone;
    m_lastAt = vNowMs;
    if (m_firstDone < 0 || vDone < m_firstDone) {
        m_firstDone = vDone;
        m_firstAt = vNowMs;
    }
}

bool RunMonitor::isSectionHeading(QStringView vLine)
{
    // "OUTCOME MODEL ESTIMATES:" at the start of a line, in capitals.
    if (vLine.size() < 6 || !vLine.endsWith(u':'))
        return false;
    for (QChar c : vLine.chopped(1))
        if (!(c.isUpper() || c.isDigit() || c == u' ' || c == u'-' || c == u'(' || c == u')'))
            return false;
    return true;
}
