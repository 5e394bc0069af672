#include "plotsettings.h"
#include "ui_plotsettings.h"

#include "config/csettings.h"

#include <QLineEdit>
#include <QMessageBox>

#include <algorithm>
#include <iterator>

namespace {

bool isMax(const QString &vText)
{
    return vText.compare(QLatin1String("max"), Qt::CaseInsensitive) == 0;
}

QString placeholder(int vValue, bool vMaxAllowed)
{
    return vMaxAllowed && vValue == -1 ? QStringLiteral("MAX") : QString::number(vValue);
}

} // namespace

PlotSettings::PlotSettings(QWidget *parent, const QVariantMap &vValues)
    : QWidget(parent, Qt::Tool)
    , ui(new Ui::PlotSettings)
{
    ui->setupUi(this);
    // Return in any row means the same as OK.
    for (QLineEdit *row : rows())
        connect(row, &QLineEdit::returnPressed, this, &PlotSettings::on_pb_OK_clicked);
    setValues(vValues.isEmpty() ? MSettings::plotDefaults() : vValues);
    showPlaceholders();
}

PlotSettings::~PlotSettings()
{
    delete ui;
}

QList<QLineEdit *> PlotSettings::rows() const
{
    return {ui->le_begin, ui->le_end, ui->le_nchain, ui->le_width, ui->le_height};
}

void PlotSettings::setValues(const QVariantMap &vValues)
{
    m_bIter = vValues.value(QStringLiteral("bIter"), m_bIter).toInt();
    m_eIter = vValues.value(QStringLiteral("eIter"), m_eIter).toInt();
    m_nchain = vValues.value(QStringLiteral("nchain"), m_nchain).toInt();
    m_width = vValues.value(QStringLiteral("width"), m_width).toInt();
    m_height = vValues.value(QStringLiteral("height"), m_height).toInt();
    m_shadeBurnIn = vValues.value(QStringLiteral("shadeBurnIn"), m_shadeBurnIn).toBool();
}

void PlotSettings::showPlaceholders()
{
    ui->le_begin->setPlaceholderText(placeholder(m_bIter, false));
    ui->le_end->setPlaceholderText(placeholder(m_eIter, true));
    ui->le_nchain->setPlaceholderText(placeholder(m_nchain, true));
    ui->le_width->setPlaceholderText(placeholder(m_width, false));
    ui->le_height->setPlaceholderText(placeholder(m_height, false));
    ui->cb_shadeBurnIn->setChecked(m_shadeBurnIn);
}

void PlotSettings::on_pb_Reset_clicked()
{
    const int before[] = {m_bIter, m_eIter, m_nchain, m_width, m_height, m_shadeBurnIn};
    setValues(CSettings::instance().plotSettings());
    const int after[] = {m_bIter, m_eIter, m_nchain, m_width, m_height, m_shadeBurnIn};
    m_resetChanged = m_resetChanged || !std::equal(std::begin(before), std::end(before), after);
    for (QLineEdit *row : rows())
        row->clear();
    showPlaceholders();
}

void PlotSettings::on_pb_Close_clicked()
{
    close();
}

void PlotSettings::on_pb_OK_clicked()
{
    if (!checkPositiveRows() || !checkMaxRows() || !checkOrder())
        return;
    if (apply() || m_resetChanged) {
        m_resetChanged = false;
        Q_EMIT needs_Render();
    }
    close();
}

void PlotSettings::showError(const QString &vMessage)
{
    QMessageBox box(QMessageBox::Critical, QStringLiteral("Error!"), vMessage, QMessageBox::Ok,
                    this);
    box.exec();
}

void PlotSettings::reject(QLineEdit *vRow, const QString &vMessage)
{
    showError(vMessage);
    vRow->clear();
    vRow->setFocus();
}

bool PlotSettings::checkPositiveRows()
{
    for (QLineEdit *row : {ui->le_begin, ui->le_width, ui->le_height}) {
        const QString text = row->text();
        if (text.isEmpty())
            continue;
        bool ok = false;
        const int value = text.toInt(&ok);
        if (!ok) {
            reject(row,
                   isMax(text) ? QStringLiteral("Max is only allowed for number of chains and stop "
                                                "iteration!")
                               : QStringLiteral("Non-numeric value given!"));
            return false;
        }
        // Cleared and reported, but the other rows still count: the row just reads as unset.
        if (value < 1)
            reject(row, QStringLiteral("All values must be greater than zero."));
    }
    return true;
}

bool PlotSettings::checkMaxRows()
{
    for (QLineEdit *row : {ui->le_end, ui->le_nchain}) {
        const QString text = row->text();
        if (text.isEmpty() || isMax(text))
            continue;
        bool ok = false;
        const int value = text.toInt(&ok);
        if (!ok) {
            reject(row, QStringLiteral("Non-numeric value given!"));
            return false;
        }
        if (value < 1) {
            reject(row, QStringLiteral("All values must be greater than zero."));
            return false;
        }
    }
    return true;
}

bool PlotSettings::checkOrder()
{
    const QString start
        = ui->le_begin->text().isEmpty() ? QString::number(m_bIter) : ui->le_begin->text();
    const QString stop
        = ui->le_end->text().isEmpty() ? placeholder(m_eIter, true) : ui->le_end->text();
    if (isMax(stop) || start.toInt() < stop.toInt())
        return true;
    showError(QStringLiteral("Start Iterations must be less than Stop Iterations."));
    ui->le_begin->clear();
    ui->le_end->clear();
    ui->le_begin->setFocus();
    return false;
}

bool PlotSettings::apply()
{
    struct Row
    {
        QLineEdit *edit;
        int *value;
    };
    const Row rows[] = {{ui->le_begin, &m_bIter},
                        {ui->le_end, &m_eIter},
                        {ui->le_nchain, &m_nchain},
                        {ui->le_width, &m_width},
                        {ui->le_height, &m_height}};
    bool changed = false;
    for (const Row &row : rows) {
        const QString text = row.edit->text();
        row.edit->clear();
        if (text.isEmpty())
            continue;
        // Only the stop and chains rows can hold "max" by now.
        const int value = isMax(text) ? -1 : text.toInt();
        if (value != *row.value) {
            *row.value = value;
            changed = true;
        }
    }
    if (ui->cb_shadeBurnIn->isChecked() != m_shadeBurnIn) {
        m_shadeBurnIn = ui->cb_shadeBurnIn->isChecked();
        changed = true;
    }
    showPlaceholders();
    return changed;
}
