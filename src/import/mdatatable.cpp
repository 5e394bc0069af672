#include "mdatatable.h"

#include "datainspector.h"

#include <QBrush>

namespace {
constexpr int kBlockRows = 128;
constexpr int kMaxBlocks = 16;
} // namespace

MDataTable::MDataTable(QObject *parent)
    : QAbstractTableModel(parent)
{
    resetNames();
}

QString MDataTable::defaultName(int vColumn)
{
    return QStringLiteral("Var%1").arg(vColumn + 1);
}

void MDataTable::resetNames()
{
    m_names.clear();
    for (int column = 0; column < std::max(1, m_columns); ++column)
        m_names.append(defaultName(column));
}

void MDataTable::clear()
{
    beginResetModel();
    m_inspector = nullptr;
    m_file.close();
    m_blocks.clear();
    m_rows = 0;
    m_columns = 0;
    resetNames();
    endResetModel();
}

void MDataTable::setSource(const DataInspector *vInspector, bool vHeader)
{
    beginResetModel();
    m_inspector = vInspector;
    m_blocks.clear();
    m_file.close();
    m_file.setFileName(vInspector->path());
    m_file.open(QIODevice::ReadOnly);
    m_first = vHeader ? 1 : 0;
    m_columns = vInspector->columns();
    m_rows = std::max(0, int(vInspector->lineOffsets().size()) - m_first);
    resetNames();
    endResetModel();
}

void MDataTable::refreshRows()
{
    if (!m_inspector)
        return;
    const int rows = std::max(0, int(m_inspector->lineOffsets().size()) - m_first);
    if (rows <= m_rows)
        return;
    // The last block may have been read while it was still short.
    m_blocks.remove(m_rows / kBlockRows);
    beginInsertRows(QModelIndex(), m_rows, rows - 1);
    m_rows = rows;
    endInsertRows();
}

QString MDataTable::setHeaders(const QStringList &vNames)
{
    if (vNames.size() != m_names.size())
        return QStringLiteral("Number Of Names Provided Doesn't Matche The Number Of Columns");
    m_names = vNames;
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, int(m_names.size()) - 1);
    return {};
}

void MDataTable::setName(int vColumn, const QString &vName)
{
    if (vColumn < 0 || vColumn >= m_names.size())
        return;
    m_names[vColumn] = vName;
    Q_EMIT headerDataChanged(Qt::Horizontal, vColumn, vColumn);
}

void MDataTable::setMissingCode(const QString &vCode)
{
    m_missingCode = vCode;
    if (m_rows > 0)
        Q_EMIT dataChanged(index(0, 0), index(m_rows - 1, columnCount() - 1), {Qt::ForegroundRole});
}

qint64 MDataTable::lineNumber(int vRow) const
{
    if (!m_inspector || vRow < 0 || vRow >= m_rows)
        return 0;
    return m_inspector->lineNumbers().at(m_first + vRow);
}

int MDataTable::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid())
        return 0;
    return m_inspector ? m_rows : 1;
}

int MDataTable::columnCount(const QModelIndex &parent) const
{
    if (parent.isValid())
        return 0;
    return int(m_names.size());
}

const QStringList &MDataTable::row(int vRow) const
{
    static const QStringList none;
    const int block = vRow / kBlockRows;
    auto found = m_blocks.find(block);
    if (found == m_blocks.end()) {
        if (m_blocks.size() >= kMaxBlocks)
            m_blocks.clear();
        QVector<QStringList> rows;
        const QVector<qint64> &offsets = m_inspector->lineOffsets();
        const int from = m_first + block * kBlockRows;
        const int to = std::min(int(offsets.size()), from + kBlockRows);
        if (from < to && m_file.seek(offsets.at(from))) {
            // Up to the start of the line after the block, or the end of the file.
            const qint64 end = to < offsets.size() ? offsets.at(to) : m_file.size();
            const QByteArray text = m_file.read(end - offsets.at(from));
            for (int line = from; line < to; ++line) {
                const qint64 start = offsets.at(line) - offsets.at(from);
                qsizetype stop = text.indexOf('\n', start);
                if (stop < 0)
                    stop = text.size();
                QStringList cells;
                const QByteArrayView view(text.constData() + start, stop - start);
                for (QByteArrayView cell : DataInspector::split(view, m_inspector->separator()))
                    cells.append(QString::fromUtf8(cell));
                rows.append(cells);
            }
        }
        found = m_blocks.insert(block, rows);
    }
    const int index = vRow % kBlockRows;
    return index < found->size() ? found->at(index) : none;
}

QVariant MDataTable::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    if (!m_inspector) {
        if (role == Qt::DisplayRole && index.row() == 0 && index.column() == 0)
            return QStringLiteral("<NO DATA>");
        return {};
    }
    if (role != Qt::DisplayRole && role != Qt::ForegroundRole)
        return {};
    const QStringList &cells = row(index.row());
    if (index.column() >= cells.size())
        return role == Qt::DisplayRole ? QVariant() : QVariant(QBrush(Qt::red));
    if (role == Qt::ForegroundRole) {
        // Missing values recede; cells the engine cannot read as numbers stand out.
        const QString &cell = cells.at(index.column());
        if (cell == m_missingCode)
            return QBrush(Qt::gray);
        if (!DataInspector::isNumber(cell.toUtf8()))
            return QBrush(Qt::red);
        return {};
    }
    return cells.at(index.column());
}

QVariant MDataTable::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Horizontal)
        return section < m_names.size() ? QVariant(m_names.at(section)) : QVariant();
    const qint64 line = lineNumber(section);
    return line > 0 ? QVariant(line) : QVariant(section + 1);
}
