#include "saveallwait.h"
#include "ui_saveallwait.h"

SaveAllWait::SaveAllWait(QWidget *parent)
    : QWidget(parent, Qt::Dialog)
    , ui(new Ui::SaveAllWait)
{
    ui->setupUi(this);
    // The export blocks the event loop except between pages: keep the user from paging or
    // closing the plots being written meanwhile.
    setWindowModality(Qt::ApplicationModal);
    QPalette white = palette();
    white.setColor(QPalette::Window, Qt::white);
    white.setColor(QPalette::WindowText, Qt::black);
    setPalette(white);
    setAutoFillBackground(true);
}

SaveAllWait::~SaveAllWait() = default;

QString SaveAllWait::text() const
{
    return ui->lb_count->text();
}

void SaveAllWait::setText(const QString &vText)
{
    ui->lb_count->setText(vText);
}
