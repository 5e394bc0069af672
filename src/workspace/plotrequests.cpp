#include "plotrequests.h"

#include "config/csettings.h"

#include <QDir>
#include <QMessageBox>
#include <QRegularExpression>

namespace {
bool isWord(const QString &vWord, std::initializer_list<const char *> vChoices)
{
    for (const char *choice : vChoices) {
        if (vWord.compare(QLatin1String(choice), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

void showError(const QString &vText, QWidget *vParent)
{
    QMessageBox box(QMessageBox::Critical, PlotRequests::tr("Error!"), vText, QMessageBox::Ok,
                    vParent);
    box.exec();
}

// Tabs read as blanks and every colon gets a blank after it, so "plots:traceplot" and
// "plots: traceplot" read alike.
QString prepared(const QString &vScript)
{
    QString text = vScript;
    text.replace(QLatin1Char('\t'), QLatin1Char(' '));
    text.replace(QLatin1Char(':'), QStringLiteral(": "));
    return text;
}

QStringList commands(QString vText)
{
    static const QRegularExpression comment(QStringLiteral("#.+\n"));
    vText.replace(comment, QStringLiteral(" "));
    vText.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return vText.split(QLatin1Char(';'), Qt::KeepEmptyParts, Qt::CaseSensitive);
}
} // namespace

PlotRequests::PlotRequests(const QString &vEnginePath, bool vAutoPlot)
    : m_startEnginePath(vEnginePath)
    , m_startAutoPlot(vAutoPlot)
    , m_enginePath(vEnginePath)
    , m_plotThisRun(vAutoPlot)
{ }

QString PlotRequests::engineFromLine(const QString &vLine)
{
    const QString line = vLine.trimmed();
    const QString word = line.toUpper();
    if (word == QLatin1String("BASE") || word == QLatin1String("STABLE"))
        return CSettings::stableEnginePath();
    if (word == QLatin1String("PREVIEW") || word == QLatin1String("BETA"))
        return CSettings::previewEnginePath();
    if (line == QLatin1String("~") || line.startsWith(QLatin1String("~/")))
        return QDir::homePath() + line.mid(1);
    return line;
}

QString PlotRequests::scriptEngine(const QString &vScript, const QString &vConfigured)
{
    // The engine line is read after the colons got their blanks, so a path written "C:/x" is
    // used as "C: /x"; scripts in use depend on this reading.
    const QString text = prepared(vScript);
    if (!text.startsWith(QLatin1String("#!")))
        return vConfigured;
    const qsizetype end = text.indexOf(QLatin1Char('\n'));
    return engineFromLine(text.mid(2, end < 0 ? -1 : end - 2));
}

void PlotRequests::evaluate(const QString &vScript, QWidget *vParent)
{
    const QString text = prepared(vScript);
    m_enginePath = scriptEngine(vScript, m_startEnginePath);
    const QStringList parts = commands(text);
    m_plotThisRun = m_startAutoPlot;
    m_requestedChains = kDefaultChains;
    m_bygroupSeen = false;
    m_chainsGiven = false;

    for (const QString &part : parts) {
        const QStringList words
            = part.simplified().split(QLatin1Char(' '), Qt::KeepEmptyParts, Qt::CaseSensitive);
        const QString &first = words.first();
        if (isWord(first, {"plots:", "plot:"})) {
            if (!plotCommand(words, vParent))
                return;
        } else if (isWord(first, {"chains:", "chain:"})) {
            chainsCommand(words);
        } else if (isWord(first, {"bygroup:"})) {
            if (!bygroupCommand(vParent))
                return;
        } else if (isWord(first, {"options:"})) {
            optionsCommand(words);
        }
    }
}

bool PlotRequests::plotCommand(const QStringList &vWords, QWidget *vParent)
{
    if (m_bygroupSeen) {
        showError(tr("The PLOT command is unavaiable with the BYGROUP command."), vParent);
        return false;
    }
    for (const QString &word : vWords) {
        if (isWord(word, {"plots:", "plot:"}))
            continue;
        if (isWord(word, {"traceplot", "traceplots"})) {
            m_plotThisRun = true;
            continue;
        }
        showError(tr("Plot keyword not recognized.\nOffending specification: \"") + word
                      + QLatin1Char('"'),
                  vParent);
        return false;
    }
    return true;
}

void PlotRequests::chainsCommand(const QStringList &vWords)
{
    // The message does not match what happens (the count is left alone); both are long-standing.
    if (vWords.size() < 2)
        qDebug("Cannot parse chains - setting to 1");
    else
        m_requestedChains = vWords.at(1).toInt(nullptr, 10);
    m_chainsGiven = true;
}

bool PlotRequests::bygroupCommand(QWidget *vParent)
{
    if (m_plotThisRun) {
        QMessageBox box(QMessageBox::Warning, tr("Warning!"),
                        tr("The PLOT command is unavaiable with the BYGROUP command.\nContinue "
                           "without plotting?"),
                        QMessageBox::Ok | QMessageBox::Cancel, vParent);
        if (box.exec() != QMessageBox::Ok)
            return false;
        m_plotThisRun = false;
    }
    m_bygroupSeen = true;
    return true;
}

void PlotRequests::optionsCommand(const QStringList &vWords)
{
    for (qsizetype i = 1; i < vWords.size(); ++i) {
        if (isWord(vWords.at(i), {"psr"}) && !m_chainsGiven)
            m_requestedChains = kDefaultChains;
    }
}

PlotRequests::RunLength PlotRequests::runLength(const QString &vScript)
{
    RunLength length;
    const auto countIn = [](const QStringList &vWords, int vLeast, int *vCount) {
        bool ok = false;
        const int value = vWords.size() < 2 ? 0 : vWords.at(1).toInt(&ok, 10);
        if (ok && value >= vLeast)
            *vCount = value;
    };
    for (const QString &part : commands(prepared(vScript))) {
        const QStringList words = part.simplified().split(QLatin1Char(' '));
        const QString &first = words.first();
        if (isWord(first, {"burn:"}))
            countIn(words, 0, &length.burn);
        else if (isWord(first, {"iterations:", "niterations:", "iter:", "niter:"}))
            countIn(words, 1, &length.iterations);
        else if (isWord(first, {"chains:", "chain:"}))
            countIn(words, 1, &length.chains);
    }
    return length;
}
