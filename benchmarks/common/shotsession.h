#ifndef SHOTSESSION_H
#define SHOTSESSION_H

#include "screenshots.h"
#include "testmain.h"

#include <QApplication>
#include <QStyleFactory>

// The start every program taking pictures for docs/ shares: drawn on the display when there is
// one, settings of its own, the Fusion style. Lives as long as the program's main().
class ShotSession
{
public:
    ShotSession(int &argc, char *argv[])
        : m_onDisplay((drawOnTheDisplay(), true))
        , m_app(argc, argv)
    {
        QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    }

private:
    bool m_onDisplay; // first: the platform is chosen before the application is made
    TestEnvironment m_environment;
    QApplication m_app;
};

#endif // SHOTSESSION_H
