#ifndef MDATATABLE_H
#define MDATATABLE_H

#include <QAbstractTableModel>
#include <QFile>
#include <QHash>
#include <QStringList>
#include <QVector>

class DataInspector;

// Shows a delimited data file as a table without loading it: rows are read from the file when
// the view asks for them, a block at a time, through the line index the inspector builds. Without
// a file it holds one cell, "<NO DATA>". Columns are named "Var1", "Var2", ... until names are set.
class MDataTable : public QAbstractTableModel
{
    Q_OBJECT
public:
    explicit MDataTable(QObject *parent = nullptr);

    // Shows the rows vInspector has indexed so far; with vHeader the first line is left out.
    void setSource(const DataInspector *vInspector, bool vHeader);
    void clear();
    // Adds the rows the inspector indexed since the last call.
    void refreshRows();

    static QString defaultName(int vColumn);
    // An empty text when the names were taken, otherwise why not.
    QString setHeaders(const QStringList &vNames);
    void setName(int vColumn, const QString &vName);
    QStringList headers() const { return m_names; }
    // Cells holding vCode are shown as missing values.
    void setMissingCode(const QString &vCode);
    // The file line a row comes from.
    qint64 lineNumber(int vRow) const;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    const QStringList &row(int vRow) const;
    void resetNames();

    const DataInspector *m_inspector = nullptr;
    int m_first = 0; // index of the first shown line among the inspector's lines
    int m_rows = 0;
    int m_columns = 0;
    QStringList m_names;
    QString m_missingCode;
    mutable QFile m_file;
    // Recently read blocks of rows, by block number.
    mutable QHash<int, QVector<QStringList>> m_blocks;
};

#endif // MDATATABLE_H
