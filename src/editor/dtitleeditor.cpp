#include "dtitleeditor.h"
#include "ui_dtitleeditor.h"

#include <QFontMetrics>

DTitleEditor::DTitleEditor(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::DTitleEditor)
{
    ui->setupUi(this);
    ui->lblMessage->hide();
    connect(ui->le_Title, &QLineEdit::textChanged, this, &DTitleEditor::setMessageHidden);
    // The buttons are tool buttons, which a dialog never presses on Return; the field does.
    connect(ui->le_Title, &QLineEdit::returnPressed, this, &DTitleEditor::on_tb_OK_clicked);
}

DTitleEditor::~DTitleEditor()
{
    delete ui;
}

void DTitleEditor::setTitle(const QString &vTitle)
{
    ui->le_Title->setMinimumWidth(
        QFontMetrics(ui->le_Title->font()).horizontalAdvance(vTitle + QStringLiteral("__")));
    ui->le_Title->setText(vTitle);
}

QString DTitleEditor::title() const
{
    return ui->le_Title->text();
}

void DTitleEditor::setMessageHidden()
{
    ui->lblMessage->hide();
}

void DTitleEditor::on_tb_OK_clicked()
{
    const QString text = ui->le_Title->text();
    const QString message = m_check ? m_check(text) : QString();
    if (!message.isEmpty()) {
        ui->lblMessage->setText(message);
        ui->lblMessage->show();
        return;
    }
    Q_EMIT ok(text);
    accept();
}

void DTitleEditor::on_tb_Cancel_clicked()
{
    reject();
}

void DTitleEditor::reject()
{
    setMessageHidden();
    Q_EMIT cancel();
    QDialog::reject();
}
