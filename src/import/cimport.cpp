#include "cimport.h"

#include "config/csettings.h"
#include "datainspector.h"
#include "mdatatable.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTimer>

namespace {
// One step of the background scan: a few milliseconds of work between two events.
constexpr qint64 kStepBytes = 1024 * 1024;
constexpr qint64 kCopyBytes = 1024 * 1024;

QString values(qint64 vCount)
{
    return vCount == 1 ? QStringLiteral("1 value") : QStringLiteral("%1 values").arg(vCount);
}
} // namespace

CImport::CImport(QObject *parent)
    : QObject(parent)
    , m_model(new MDataTable(this))
    , m_timer(new QTimer(this))
{
    m_timer->setInterval(0);
    connect(m_timer, &QTimer::timeout, this, &CImport::scanStep);
    m_missingCode = QString::number(CSettings::instance().missingValue());
}

CImport::~CImport() = default;

QString CImport::fileName() const
{
    return m_inspector ? m_inspector->path() : QString();
}

bool CImport::open(const QString &vPath)
{
    m_timer->stop();
    m_model->clear();
    m_openError.clear();
    const int knownCode = CSettings::instance().missingValue();
    // The script may be saved anywhere: it must name the data by its full path.
    const QFileInfo info(vPath);
    m_inspector = std::make_unique<DataInspector>(info.absoluteFilePath(), knownCode);
    m_size = info.size();
    m_modified = info.lastModified();
    if (!info.isFile())
        m_openError = QStringLiteral("The data file \"%1\" does not exist.")
                          .arg(QDir::toNativeSeparators(info.absoluteFilePath()));
    else if (!m_inspector->begin())
        m_openError = m_inspector->error();
    if (!m_openError.isEmpty()) {
        Q_EMIT did_open();
        return false;
    }
    setHeader(m_inspector->hasHeader());
    // A text code such as "NA" keeps every row with it from being read: when the file uses one
    // and not the usual code, it is the better guess.
    m_missingCode = QString::number(knownCode);
    const QStringList codes = m_inspector->missingCodes();
    if (m_inspector->codeCount(m_missingCode) == 0)
        for (const QString &code : codes)
            if (!DataInspector::isNumber(code.toUtf8())) {
                m_missingCode = code;
                break;
            }
    m_model->setMissingCode(m_missingCode);
    Q_EMIT did_open();
    if (m_inspector->finished())
        Q_EMIT did_finish();
    else
        m_timer->start();
    return true;
}

void CImport::setMissingCode(const QString &vCode)
{
    m_missingCode = vCode.trimmed();
    m_model->setMissingCode(m_missingCode);
}

void CImport::scanStep()
{
    if (!m_inspector)
        return;
    const bool done = m_inspector->step(kStepBytes);
    m_model->refreshRows();
    Q_EMIT did_scan(m_inspector->progress());
    if (done) {
        m_timer->stop();
        Q_EMIT did_finish();
    }
}

void CImport::finishScan()
{
    if (!scanning())
        return;
    m_timer->stop();
    while (!m_inspector->step(4 * kStepBytes)) { }
    m_model->refreshRows();
    Q_EMIT did_scan(100);
    Q_EMIT did_finish();
}

bool CImport::scanning() const
{
    return m_inspector && m_openError.isEmpty() && !m_inspector->finished();
}

void CImport::setHeader(bool vHeader)
{
    if (!m_inspector || !m_openError.isEmpty())
        return;
    m_header = vHeader;
    m_model->setSource(m_inspector.get(), vHeader);
    if (vHeader)
        m_model->setHeaders(m_inspector->headerNames());
}

QString CImport::setNames(const QStringList &vNames)
{
    return m_model->setHeaders(vNames);
}

QString CImport::checkName(int vColumn, const QString &vName) const
{
    const QString name = vName.trimmed();
    if (name.isEmpty())
        return QStringLiteral("A variable needs a name.");
    static const QRegularExpression valid(QStringLiteral("^[\\p{L}_][\\p{L}\\p{N}_.]*$"));
    if (!valid.match(name).hasMatch())
        return QStringLiteral("\"%1\" is not a valid variable name: begin with a letter, then use "
                              "letters, digits, \"_\" or \".\".")
            .arg(name);
    const Qt::CaseSensitivity cs = CSettings::instance().variablesCasesensetive()
        ? Qt::CaseSensitive
        : Qt::CaseInsensitive;
    const QStringList names = m_model->headers();
    for (int column = 0; column < names.size(); ++column)
        if (column != vColumn && names.at(column).compare(name, cs) == 0)
            return QStringLiteral("\"%1\" already names column %2.").arg(name).arg(column + 1);
    return {};
}

QString CImport::namesProblem() const
{
    const QStringList names = m_model->headers();
    for (int column = 0; column < names.size(); ++column) {
        const QString problem = checkName(column, names.at(column));
        if (!problem.isEmpty())
            return QStringLiteral("Column %1: %2 Double-click its heading to rename it.")
                .arg(column + 1)
                .arg(problem);
    }
    return {};
}

QString CImport::unchangedProblem() const
{
    const QFileInfo info(m_inspector->path());
    if (!info.exists())
        return QStringLiteral("The data file \"%1\" was removed or renamed after it was opened; "
                              "open it again.")
            .arg(QDir::toNativeSeparators(m_inspector->path()));
    if (info.size() != m_size || info.lastModified() != m_modified)
        return QStringLiteral("The data file \"%1\" changed after it was opened; open it again "
                              "so it is checked anew.")
            .arg(QDir::toNativeSeparators(m_inspector->path()));
    return {};
}

QString CImport::problem() const
{
    if (!m_inspector)
        return QStringLiteral("Choose a data file first.");
    if (!m_openError.isEmpty())
        return m_openError;
    if (!m_inspector->error().isEmpty())
        return m_inspector->error();
    if (const QString changed = unchangedProblem(); !changed.isEmpty())
        return changed;
    const DataInspector &data = *m_inspector;
    const qint64 firstLine = data.lineNumbers().value(0);
    const int columns = data.columns();
    if (m_header && data.finished() && data.lineOffsets().size() < 2)
        return QStringLiteral("Line %1 is a header line and no data follows it.").arg(firstLine);
    if (!m_header && data.hasHeader()) {
        if (data.firstLineValues() != columns)
            return QStringLiteral("Line %1 has %2, but the data has %3 columns.")
                .arg(firstLine)
                .arg(values(data.firstLineValues()))
                .arg(columns);
        for (const QString &text : data.firstLineTexts())
            if (text != m_missingCode)
                return QStringLiteral("Line %1: \"%2\" is not a number. If the line names the "
                                      "variables, tick \"First line holds variable names\".")
                    .arg(firstLine)
                    .arg(text);
    }
    // A first line taken for names although it looked like data leaves the checks.
    QList<DataInspector::Ragged> ragged = data.raggedRows();
    qint64 raggedCount = data.raggedCount();
    if (m_header && !data.hasHeader() && !ragged.isEmpty() && ragged.first().line == firstLine) {
        ragged.removeFirst();
        --raggedCount;
    }
    if (!ragged.isEmpty()) {
        const DataInspector::Ragged first = ragged.first();
        return QStringLiteral("Line %1 has %2, but the data has %3 columns (%4 rows differ).")
            .arg(first.line)
            .arg(values(first.values))
            .arg(columns)
            .arg(raggedCount);
    }
    for (const DataInspector::Cell &cell : data.nonNumeric()) {
        if (cell.text == m_missingCode)
            continue;
        if (cell.text.isEmpty())
            return QStringLiteral("Line %1, column %2 is empty (%3 empty cells). Write the "
                                  "missing-value code where a value is missing.")
                .arg(cell.firstLine)
                .arg(cell.firstColumn)
                .arg(cell.count);
        return QStringLiteral("Line %1, column %2: \"%3\" is not a number and not the "
                              "missing-value code \"%4\" (%5 such cells).")
            .arg(cell.firstLine)
            .arg(cell.firstColumn)
            .arg(cell.text, m_missingCode)
            .arg(cell.count);
    }
    return namesProblem();
}

QString CImport::headerFreeName(const QString &vPath)
{
    const QFileInfo info(vPath);
    QString name = info.completeBaseName() + QStringLiteral("-noheader");
    if (!info.suffix().isEmpty())
        name += QLatin1Char('.') + info.suffix();
    return info.dir().filePath(name);
}

bool CImport::writeHeaderFree(const QString &vTarget, QString *vError) const
{
    QFile source(m_inspector->path());
    QSaveFile target(vTarget);
    if (!source.open(QIODevice::ReadOnly) || !source.seek(m_inspector->lineOffsets().at(1))) {
        *vError = source.errorString();
        return false;
    }
    if (!target.open(QIODevice::WriteOnly)) {
        *vError = target.errorString();
        return false;
    }
    // The data lines go across byte for byte: only the header line and what precedes it stay.
    while (!source.atEnd()) {
        const QByteArray chunk = source.read(kCopyBytes);
        if (chunk.isEmpty() || target.write(chunk) != chunk.size()) {
            *vError = chunk.isEmpty() ? source.errorString() : target.errorString();
            target.cancelWriting();
            return false;
        }
    }
    if (!target.commit()) {
        *vError = target.errorString();
        return false;
    }
    return true;
}

bool CImport::createScript(QWidget *vParent)
{
    finishScan();
    const QString refused = problem();
    if (!refused.isEmpty()) {
        QMessageBox::warning(vParent, QStringLiteral("Warning!"), refused);
        return false;
    }
    QString dataFile = m_inspector->path();
    if (m_header) {
        const auto answer = QMessageBox::question(
            vParent, QStringLiteral("Warning!"),
            QStringLiteral("Data file contains header information.\nHeader will be remove from "
                           "data file.\nDo you want to Continue?"),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
        if (answer != QMessageBox::Yes)
            return false;
        const QString target = headerFreeName(dataFile);
        QString error;
        if (!writeHeaderFree(target, &error)) {
            QMessageBox::warning(vParent, QStringLiteral("Warning!"),
                                 QStringLiteral("The data without its header could not be "
                                                "written to \"%1\": %2.")
                                     .arg(QDir::toNativeSeparators(target), error));
            return false;
        }
        dataFile = target;
    }
    QString separator = CSettings::instance().variablesSeparator();
    if (separator.isEmpty())
        separator = QStringLiteral(" ");
    Q_EMIT do_import(QDir::toNativeSeparators(dataFile), m_model->headers().join(separator),
                     m_missingCode);
    return true;
}
