#ifndef WCONVERGENCEPANEL_H
#define WCONVERGENCEPANEL_H

#include <QStringList>
#include <QWidget>

class ConvergenceJob;
class MConvergenceTable;
class QLabel;
class QLineEdit;
class QSortFilterProxyModel;
class QTableView;
class QToolButton;
struct ConvergenceReport;

// The "Convergence" view of a document: every parameter of the last run with its R-hat and
// effective sample sizes, worst first, flagged rows in the warning colour, a summary line, a
// text filter, copying and CSV export. The numbers are computed off the GUI thread.
class WConvergencePanel : public QWidget
{
    Q_OBJECT
public:
    explicit WConvergencePanel(QWidget *parent = nullptr);
    ~WConvergencePanel() override;

    // Starts summarising the chain files in vFolder; vLabels title the parameters in file order.
    void start(const QString &vFolder, int vChains, int vBurn, int vIterations,
               const QStringList &vLabels);
    // Drops the table and any work under way.
    void clear();
    bool isComputing() const;
    // Some parameter is past a threshold.
    bool hasFlagged() const;

    MConvergenceTable *model() const { return m_model; }
    QTableView *view() const { return m_view; }
    // The summary, or what went wrong, or what is going on.
    QString statusText() const;

public Q_SLOTS:
    // Thresholds and warning colour from the settings.
    void applySettings();
    void copySelection();
    void exportCsv();

Q_SIGNALS:
    // The user picked a parameter (index in file order, from 0).
    void do_showParameter(int vIndex);
    // The table has been filled, or the files were refused.
    void did_fill(bool vOk);

protected:
    bool eventFilter(QObject *vWatched, QEvent *vEvent) override;

private:
    void showReport(const ConvergenceReport &vReport);
    void updateSummary();
    QList<int> selectedRows() const;

    ConvergenceJob *m_job;
    MConvergenceTable *m_model;
    QSortFilterProxyModel *m_proxy;
    QTableView *m_view;
    QLabel *m_status;
    QLineEdit *m_filter;
    QToolButton *m_copy;
    QToolButton *m_export;
    QStringList m_labels;
};

#endif // WCONVERGENCEPANEL_H
