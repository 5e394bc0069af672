#ifndef MCONVERGENCETABLE_H
#define MCONVERGENCETABLE_H

#include "convergencestats.h"

#include <QAbstractTableModel>
#include <QColor>
#include <QStringList>

#include <vector>

// Every parameter of a run with its convergence numbers, worst first: by R-hat, then by the
// smaller effective sample size. Rows past the thresholds are painted in the warning colour.
class MConvergenceTable : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Number, Parameter, Rhat, EssBulk, EssTail, Median, Sd, Q025, Q975, Mcse, Columns };
    // The parameter's index in file order (from 0), in every column.
    static constexpr int ParameterIndexRole = Qt::UserRole;
    // The plain number behind a cell, for sorting.
    static constexpr int SortRole = Qt::UserRole + 1;

    explicit MConvergenceTable(QObject *parent = nullptr);

    // vLabels are the plot titles, one per parameter in file order (a missing one is named by
    // its number).
    void setResults(const std::vector<ParameterSummary> &vSummaries, const QStringList &vLabels,
                    int vChains);
    void clear();
    // A parameter is flagged when its R-hat reaches vRhat or an effective size falls below
    // vEssPerChain times the number of chains.
    void setThresholds(double vRhat, int vEssPerChain);
    void setWarningColour(const QColor &vColour);

    bool isFlagged(int vRow) const;
    int flaggedRhat() const;
    int flaggedEss() const;
    double rhatThreshold() const { return m_rhatThreshold; }
    int essThreshold() const { return m_essPerChain * m_chains; }
    // "3 of 312 parameters have R-hat ≥ 1.01; 5 have bulk-ESS < 400".
    QString summary() const;
    // The rows (in table order) as text with a header line, fields apart by vSeparator: commas
    // for a CSV file, tabs for the clipboard.
    QString toText(const QList<int> &vRows, QChar vSeparator) const;
    QString text(int vRow, int vColumn) const;

    int rowCount(const QModelIndex &vParent = {}) const override;
    int columnCount(const QModelIndex &vParent = {}) const override;
    QVariant data(const QModelIndex &vIndex, int vRole = Qt::DisplayRole) const override;
    QVariant headerData(int vSection, Qt::Orientation vOrientation,
                        int vRole = Qt::DisplayRole) const override;

private:
    struct Row
    {
        int index;
        QString label;
        ParameterSummary s;
    };
    double value(const Row &vRow, int vColumn) const;
    bool rhatFlagged(const Row &vRow) const;
    bool essFlagged(const Row &vRow) const;

    std::vector<Row> m_rows;
    int m_chains = 0;
    double m_rhatThreshold = 1.01;
    int m_essPerChain = 100;
    QColor m_warning;
};

#endif // MCONVERGENCETABLE_H
