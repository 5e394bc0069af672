#ifndef MAINWINDOWFIXTURE_H
#define MAINWINDOWFIXTURE_H

#include "app/mainwindow.h"
#include "config/csettings.h"
#include "editor/wsyntaxeditor.h"
#include "workspace/workspace.h"

#include <QSettings>
#include <QTextDocument>

#include <memory>

// A shown main window on empty settings of this version, so no new-version resets run.
inline std::unique_ptr<MainWindow> freshMainWindow()
{
    QSettings().clear();
    CSettings::instance().setVersion(MainWindow::versionText());
    CSettings::instance().loadSettings();
    auto window = std::make_unique<MainWindow>();
    window->show();
    return window;
}

// Closes vWindow without any unsaved-changes question.
inline void discardMainWindow(std::unique_ptr<MainWindow> &vWindow)
{
    for (Workspace *document : vWindow->documents())
        document->editor()->document()->setModified(false);
    vWindow.reset();
}

#endif // MAINWINDOWFIXTURE_H
