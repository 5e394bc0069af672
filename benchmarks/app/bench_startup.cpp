// Measures the studio's start-up: from starting a process to its main window being shown,
// headless. The process under test runs the same start-up as the studio's main().
#include "app/application.h"
#include "app/mainwindow.h"
#include "app/startup.h"
#include "testmain.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

int runStudioAndReportShown(int argc, char **argv)
{
    Application application(argc, argv);
    StartUp startUp(application);
    if (!startUp.prepare())
        return 0;
    // The single-shot fires once the window's show has been processed by the event loop.
    QTimer::singleShot(0, &application, [] {
        std::printf("shown\n");
        std::fflush(stdout);
        QCoreApplication::quit();
    });
    return startUp.exec();
}

double measureOnce(const QString &vProgram)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QElapsedTimer timer;
    timer.start();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TOVREL_BENCH_CHILD"), QStringLiteral("1"));
    child.setProcessEnvironment(environment);
    child.start(vProgram, {});
    while (child.waitForReadyRead(10000)) {
        if (child.readAll().contains("shown"))
            break;
    }
    const double elapsed = timer.nsecsElapsed() / 1e6;
    child.waitForFinished(10000);
    return elapsed;
}

} // namespace

int main(int argc, char **argv)
{
    TestEnvironment environment; // never touch the user's settings
    if (qEnvironmentVariableIsSet("TOVREL_BENCH_CHILD"))
        return runStudioAndReportShown(argc, argv);

    QCoreApplication application(argc, argv);
    const int runs = 11;
    QList<double> times;
    measureOnce(QCoreApplication::applicationFilePath()); // warm the file cache
    for (int i = 0; i < runs; ++i)
        times.append(measureOnce(QCoreApplication::applicationFilePath()));
    std::sort(times.begin(), times.end());
    std::printf("start-up to main window shown (offscreen), %d runs: median %.1f ms, min %.1f ms, "
                "max %.1f ms\n",
                runs, times.at(runs / 2), times.first(), times.last());
    return 0;
}
