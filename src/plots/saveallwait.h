#ifndef SAVEALLWAIT_H
#define SAVEALLWAIT_H

#include <QWidget>

#include <memory>

namespace Ui {
class SaveAllWait;
}

// The small window that counts the pages while all plots are written into one PDF.
class SaveAllWait : public QWidget
{
    Q_OBJECT
public:
    explicit SaveAllWait(QWidget *parent = nullptr);
    ~SaveAllWait() override;

    QString text() const;

public Q_SLOTS:
    void setText(const QString &vText);

private:
    std::unique_ptr<Ui::SaveAllWait> ui;
};

#endif // SAVEALLWAIT_H
