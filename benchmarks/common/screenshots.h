#ifndef SCREENSHOTS_H
#define SCREENSHOTS_H

#include "app/darkstyle.h"

#include <QApplication>
#include <QDir>
#include <QPalette>
#include <QString>
#include <QWidget>

#include <cstdio>

// The programs that take the pictures in docs/ share these steps.

// Under a virtual X server draw through it, as the studio does on a desktop; call before the
// application object is made.
inline void drawOnTheDisplay()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "xcb");
}

// Where the pictures go: the first argument, else the current folder.
inline QDir shotFolder(int argc, char *argv[])
{
    return QDir(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("."));
}

// Writes the widget's picture and says whether it was written.
inline bool saveShot(QWidget &vWidget, const QString &vFile)
{
    const bool saved = vWidget.grab().save(vFile);
    std::printf("%-40s %s\n", qPrintable(vFile), saved ? "written" : "NOT written");
    return saved;
}

// The studio's own dark palette, the one its dark style installs at start-up.
inline QPalette studioDarkPalette()
{
    QPalette palette = QApplication::style()->standardPalette();
    DarkStyle().polish(palette);
    return palette;
}

#endif // SCREENSHOTS_H
