#ifndef DTITLEEDITOR_H
#define DTITLEEDITOR_H

#include <QDialog>
#include <QString>

#include <functional>

namespace Ui {
class DTitleEditor;
}

// Asks for one line of text. A caller-supplied check may refuse it with a message; the dialog
// then stays open and shows the message until the text is edited.
class DTitleEditor : public QDialog
{
    Q_OBJECT
public:
    // Returns why a text is refused, or an empty text to accept it.
    using Check = std::function<QString(const QString &)>;

    explicit DTitleEditor(QWidget *parent = nullptr);
    ~DTitleEditor() override;

    void setTitle(const QString &vTitle);
    QString title() const;
    void setCheck(Check vCheck) { m_check = std::move(vCheck); }

Q_SIGNALS:
    void ok(QString vTitle);
    void cancel();

public Q_SLOTS:
    void setMessageHidden();
    // Every way out without OK (Cancel, Escape, closing the window) ends here.
    void reject() override;

private Q_SLOTS:
    void on_tb_OK_clicked();
    void on_tb_Cancel_clicked();

private:
    Ui::DTitleEditor *ui;
    Check m_check;
};

#endif // DTITLEEDITOR_H
