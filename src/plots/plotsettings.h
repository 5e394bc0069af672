#ifndef PLOTSETTINGS_H
#define PLOTSETTINGS_H

#include <QList>
#include <QVariantMap>
#include <QWidget>

class QLineEdit;
namespace Ui {
class PlotSettings;
}

// One document's trace-plot choices: iterations, chains and image size. The rows stay empty
// and show the current values as placeholders; OK checks what was typed and applies it.
class PlotSettings : public QWidget
{
    Q_OBJECT
public:
    // vValues holds the starting values under "bIter", "eIter", "nchain", "width", "height"
    // and "shadeBurnIn".
    explicit PlotSettings(QWidget *parent = nullptr, const QVariantMap &vValues = QVariantMap());
    ~PlotSettings() override;

    // -1 in eIter or nchain means "Max".
    int bIter() const { return m_bIter; }
    int eIter() const { return m_eIter; }
    int nchain() const { return m_nchain; }
    // The plot image's size in pixels. These hide the widget's own width() and height() on
    // purpose: through a PlotSettings pointer the plot size is what callers want.
    int width() const { return m_width; }
    int height() const { return m_height; }
    // Whether each plot shades the run's burn-in iterations.
    bool shadeBurnIn() const { return m_shadeBurnIn; }

Q_SIGNALS:
    void needs_Render();

private Q_SLOTS:
    void on_pb_Reset_clicked();
    void on_pb_Close_clicked();
    void on_pb_OK_clicked();

private:
    // The five rows in layout order.
    QList<QLineEdit *> rows() const;
    void setValues(const QVariantMap &vValues);
    void showPlaceholders();
    void showError(const QString &vMessage);
    // Reports a bad row: clears it and puts the cursor there.
    void reject(QLineEdit *vRow, const QString &vMessage);
    bool checkPositiveRows();
    bool checkMaxRows();
    bool checkOrder();
    bool apply();

    Ui::PlotSettings *ui;
    int m_bIter = 1;
    int m_eIter = -1;
    int m_nchain = -1;
    int m_width = 900;
    int m_height = 400;
    bool m_shadeBurnIn = true;
    // Set when Reset changed a value, so the next OK remakes the plots.
    bool m_resetChanged = false;
};

#endif // PLOTSETTINGS_H
