#include "mconvergencetable.h"

#include <QBrush>
#include <QCoreApplication>
#include <QFont>

#include <algorithm>
#include <cmath>

namespace {
// A smaller effective size is worse; an unavailable one says nothing and sorts last.
double worstEss(const ParameterSummary &vSummary)
{
    const double ess = std::fmin(vSummary.essBulk, vSummary.essTail);
    return std::isnan(ess) ? INFINITY : ess;
}

QString number(double vValue, int vColumn)
{
    if (std::isnan(vValue))
        return QCoreApplication::translate("MConvergenceTable", "n/a");
    if (std::isinf(vValue))
        return vValue > 0 ? QStringLiteral("inf") : QStringLiteral("-inf");
    switch (vColumn) {
    case MConvergenceTable::Rhat:
        return QString::number(vValue, 'f', 3);
    case MConvergenceTable::EssBulk:
    case MConvergenceTable::EssTail:
        return QString::number(std::round(vValue), 'f', 0);
    default:
        return QString::number(vValue, 'g', 4);
    }
}
} // namespace

MConvergenceTable::MConvergenceTable(QObject *parent)
    : QAbstractTableModel(parent)
{
}

void MConvergenceTable::setResults(const std::vector<ParameterSummary> &vSummaries,
                                   const QStringList &vLabels, int vChains)
{
    beginResetModel();
    m_chains = vChains;
    m_rows.clear();
    m_rows.reserve(vSummaries.size());
    for (size_t i = 0; i < vSummaries.size(); ++i) {
        // The plot title's first line; its second only repeats the number.
        const QString title = vLabels.value(int(i)).section(QLatin1Char('\n'), 0, 0);
        m_rows.push_back({int(i), title, vSummaries[i]});
    }
    std::stable_sort(m_rows.begin(), m_rows.end(), [](const Row &l, const Row &r) {
        const double lr = std::isnan(l.s.rhat) ? -INFINITY : l.s.rhat;
        const double rr = std::isnan(r.s.rhat) ? -INFINITY : r.s.rhat;
        if (lr != rr)
            return lr > rr;
        return worstEss(l.s) < worstEss(r.s);
    });
    endResetModel();
}

void MConvergenceTable::clear()
{
    setResults({}, {}, 0);
}

void MConvergenceTable::setThresholds(double vRhat, int vEssPerChain)
{
    m_rhatThreshold = vRhat;
    m_essPerChain = vEssPerChain;
    if (!m_rows.empty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, Columns - 1));
}

void MConvergenceTable::setWarningColour(const QColor &vColour)
{
    m_warning = vColour;
    if (!m_rows.empty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, Columns - 1));
}

bool MConvergenceTable::rhatFlagged(const Row &vRow) const
{
    return vRow.s.rhat >= m_rhatThreshold;
}

bool MConvergenceTable::essFlagged(const Row &vRow) const
{
    const double limit = double(essThreshold());
    return vRow.s.essBulk < limit || vRow.s.essTail < limit;
}

bool MConvergenceTable::isFlagged(int vRow) const
{
    const Row &row = m_rows.at(size_t(vRow));
    return rhatFlagged(row) || essFlagged(row);
}

int MConvergenceTable::flaggedRhat() const
{
    return int(std::count_if(m_rows.begin(), m_rows.end(),
                             [this](const Row &r) { return rhatFlagged(r); }));
}

int MConvergenceTable::flaggedEss() const
{
    const double limit = double(essThreshold());
    return int(std::count_if(m_rows.begin(), m_rows.end(),
                             [limit](const Row &r) { return r.s.essBulk < limit; }));
}

QString MConvergenceTable::summary() const
{
    return tr("%1 of %2 parameters have R-hat ≥ %3; %4 have bulk-ESS < %5")
        .arg(flaggedRhat())
        .arg(rowCount())
        .arg(QString::number(m_rhatThreshold, 'g', 10))
        .arg(flaggedEss())
        .arg(essThreshold());
}

double MConvergenceTable::value(const Row &vRow, int vColumn) const
{
    switch (vColumn) {
    case Number:
        return vRow.index + 1;
    case Rhat:
        return vRow.s.rhat;
    case EssBulk:
        return vRow.s.essBulk;
    case EssTail:
        return vRow.s.essTail;
    case Median:
        return vRow.s.median;
    case Sd:
        return vRow.s.sd;
    case Q025:
        return vRow.s.q025;
    case Q975:
        return vRow.s.q975;
    case Mcse:
        return vRow.s.mcseMean;
    default:
        return 0;
    }
}

QString MConvergenceTable::text(int vRow, int vColumn) const
{
    const Row &row = m_rows.at(size_t(vRow));
    if (vColumn == Parameter)
        return row.label.isEmpty() ? tr("Parameter %1").arg(row.index + 1) : row.label;
    if (vColumn == Number)
        return QString::number(row.index + 1);
    return number(value(row, vColumn), vColumn);
}

int MConvergenceTable::rowCount(const QModelIndex &vParent) const
{
    return vParent.isValid() ? 0 : int(m_rows.size());
}

int MConvergenceTable::columnCount(const QModelIndex &vParent) const
{
    return vParent.isValid() ? 0 : Columns;
}

QVariant MConvergenceTable::data(const QModelIndex &vIndex, int vRole) const
{
    if (!vIndex.isValid() || vIndex.row() >= rowCount())
        return {};
    const Row &row = m_rows.at(size_t(vIndex.row()));
    const int column = vIndex.column();
    switch (vRole) {
    case Qt::DisplayRole:
        return text(vIndex.row(), column);
    case Qt::ToolTipRole:
        return column == Parameter ? text(vIndex.row(), column) : QVariant();
    case Qt::TextAlignmentRole:
        return column == Parameter ? QVariant(Qt::AlignLeft | Qt::AlignVCenter)
                                   : QVariant(Qt::AlignRight | Qt::AlignVCenter);
    case Qt::BackgroundRole:
        if (m_warning.isValid() && isFlagged(vIndex.row())) {
            QColor tint = m_warning;
            tint.setAlpha(110);
            return QBrush(tint);
        }
        return {};
    case Qt::FontRole: {
        // The numbers past a threshold stand out within a flagged row.
        const bool past = (column == Rhat && rhatFlagged(row))
            || (column == EssBulk && row.s.essBulk < essThreshold())
            || (column == EssTail && row.s.essTail < essThreshold());
        if (!past)
            return {};
        QFont font;
        font.setBold(true);
        return font;
    }
    case ParameterIndexRole:
        return row.index;
    case SortRole:
        if (column == Parameter)
            return text(vIndex.row(), column);
        return value(row, column);
    default:
        return {};
    }
}

QVariant MConvergenceTable::headerData(int vSection, Qt::Orientation vOrientation,
                                       int vRole) const
{
    if (vOrientation != Qt::Horizontal || vRole != Qt::DisplayRole)
        return QAbstractTableModel::headerData(vSection, vOrientation, vRole);
    static const char *const names[Columns]
        = {"#",  QT_TR_NOOP("Parameter"), QT_TR_NOOP("R-hat"), QT_TR_NOOP("Bulk-ESS"),
           QT_TR_NOOP("Tail-ESS"), QT_TR_NOOP("Median"), QT_TR_NOOP("SD"), "2.5%", "97.5%",
           QT_TR_NOOP("MCSE")};
    return vSection >= 0 && vSection < Columns ? tr(names[vSection]) : QVariant();
}

QString MConvergenceTable::toText(const QList<int> &vRows, QChar vSeparator) const
{
    auto quoted = [vSeparator](QString vText) {
        if (vText.contains(vSeparator) || vText.contains(QLatin1Char('"')))
            vText = QLatin1Char('"') + vText.replace(QLatin1String("\""), QLatin1String("\"\""))
                + QLatin1Char('"');
        return vText;
    };
    QStringList lines;
    QStringList header;
    for (int c = 0; c < Columns; ++c)
        header << quoted(headerData(c, Qt::Horizontal).toString());
    lines << header.join(vSeparator);
    for (int r : vRows) {
        const Row &row = m_rows.at(size_t(r));
        QStringList fields;
        for (int c = 0; c < Columns; ++c) {
            if (c == Parameter || c == Number) {
                fields << quoted(text(r, c));
                continue;
            }
            // Full precision in the file; "NA" where there is no number.
            const double v = value(row, c);
            fields << (std::isnan(v) ? QStringLiteral("NA") : QString::number(v, 'g', 10));
        }
        lines << fields.join(vSeparator);
    }
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}
