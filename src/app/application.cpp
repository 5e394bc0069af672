#include "application.h"

#include <QFileOpenEvent>

Application::Application(int &argc, char **argv)
    : QApplication(argc, argv)
{ }

bool Application::event(QEvent *e)
{
    if (e->type() == QEvent::FileOpen)
        Q_EMIT do_open(static_cast<QFileOpenEvent *>(e)->file());
    // The file-open event is passed on as well; it is never swallowed.
    return QApplication::event(e);
}
