#include "application.h"

#include "config/svgiconengine.h"

#include <QFileOpenEvent>
#include <QIcon>

Application::Application(int &argc, char **argv)
    : QApplication(argc, argv)
{
    // Lets the desktop match the windows to the installed menu entry and its icon.
    setDesktopFileName(QStringLiteral(TOVREL_APP_ID));
    setWindowIcon(SvgIconEngine::icon(QStringLiteral(":/images/iAPP")));
}

bool Application::event(QEvent *e)
{
    if (e->type() == QEvent::FileOpen)
        Q_EMIT do_open(static_cast<QFileOpenEvent *>(e)->file());
    // The file-open event is passed on as well; it is never swallowed.
    return QApplication::event(e);
}
