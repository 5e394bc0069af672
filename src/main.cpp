#include "app/application.h"
#include "app/commandline.h"
#include "app/startup.h"

#include <cstdio>

int main(int argc, char **argv)
{
    // Answered before the application object exists: no display, window or settings needed.
    const CommandLine commandLine(CommandLine::fromArgv(argc, argv));
    if (commandLine.request() != CommandLine::Request::Start) {
        std::fputs(commandLine.answer().toLocal8Bit().constData(), stdout);
        return 0;
    }

    Application application(argc, argv);
    StartUp startUp(application);
    if (!startUp.prepare())
        return 0; // a running studio took the file over
    return startUp.exec();
}
