#ifndef MODALANSWERER_H
#define MODALANSWERER_H

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
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

#endif // MODALANSWERER_H
