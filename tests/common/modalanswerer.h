#ifndef MODALANSWERER_H
#define MODALANSWERER_H

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QMetaEnum>
#include <QPointer>
#include <QTimer>

#include <functional>

// Answers the next modal window the way a user would, from the event loop the window runs: it
// polls for the active modal widget and hands it to vAnswer once. Modal message boxes and file
// dialogs are real in these tests; product code has no test-only way around them.
class ModalAnswerer : public QObject
{
public:
    explicit ModalAnswerer(std::function<void(QWidget *)> vAnswer)
        : m_answer(std::move(vAnswer))
    {
        m_poll.setInterval(10);
        QObject::connect(&m_poll, &QTimer::timeout, this, [this] {
            QWidget *modal = QApplication::activeModalWidget();
            if (!modal || modal == m_answered)
                return;
            m_answered = modal;
            ++m_count;
            m_answer(modal);
        });
        m_poll.start();
    }
    int count() const { return m_count; }

private:
    std::function<void(QWidget *)> m_answer;
    QTimer m_poll;
    QPointer<QWidget> m_answered;
    int m_count = 0;
};

// What a message box showed, and a helper that records it and clicks vButton.
struct SeenBox
{
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    bool hadParent = false;
    int count = 0;
};

inline std::function<void(QWidget *)> clickBox(QMessageBox::StandardButton vButton, SeenBox *vSeen)
{
    return [vButton, vSeen](QWidget *vModal) {
        auto *box = qobject_cast<QMessageBox *>(vModal);
        if (!box)
            return;
        ++vSeen->count;
        vSeen->title = box->windowTitle();
        vSeen->text = box->text();
        vSeen->buttons = box->standardButtons();
        vSeen->icon = box->icon();
        vSeen->hadParent = box->parentWidget() != nullptr;
        if (QAbstractButton *button = box->button(vButton))
            button->click();
        else
            box->reject();
    };
}

// Clicks the button showing vText (mnemonics aside), as a user picks a button by its label.
inline std::function<void(QWidget *)> clickButton(const QString &vText)
{
    return [vText](QWidget *vModal) {
        for (QAbstractButton *button : vModal->findChildren<QAbstractButton *>())
            if (button->text().remove(QLatin1Char('&')) == vText)
                return button->click();
    };
}

// A standard button by its name in a table: "Save", "Cancel", ...
inline QMessageBox::StandardButton buttonNamed(const QString &vName)
{
    return QMessageBox::StandardButton(
        QMetaEnum::fromType<QMessageBox::StandardButtons>().keyToValue(qPrintable(vName)));
}

// Answers message boxes with vButton (OK where a box has no such button) and file dialogs by
// typing vFile into the name field as a user would (selectFile() leaves a focused field alone),
// or Cancel when vFile is empty. vSeen gets each box's text, and each dialog's title, proposed
// file (its folder when it proposes none) and filters (joined by ";;").
inline std::function<void(QWidget *)> answerDialogs(QMessageBox::StandardButton vButton,
                                                    const QString &vFile, QStringList *vSeen)
{
    return [=](QWidget *vModal) {
        if (auto *box = qobject_cast<QMessageBox *>(vModal)) {
            *vSeen << box->text();
            box->button(box->button(vButton) ? vButton : QMessageBox::Ok)->click();
        } else if (auto *dialog = qobject_cast<QFileDialog *>(vModal)) {
            *vSeen << dialog->windowTitle()
                   << dialog->selectedFiles().value(0, dialog->directory().absolutePath())
                   << dialog->nameFilters().join(";;");
            if (vFile.isEmpty())
                return dialog->reject();
            dialog->findChild<QLineEdit *>("fileNameEdit")->setText(vFile);
            // Queued, so that a "replace?" box opens in the dialog's loop and gets answered too.
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        }
    };
}

#endif // MODALANSWERER_H
