// Measures the studio's start-up: from starting a process to its main window being shown with an
// example script open, headless, beside a bare QMainWindow started the same way in the same run.
// The process under test runs the same start-up as the studio's main().
#include "app/application.h"
#include "app/mainwindow.h"
#include "app/startup.h"
#include "testmain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMainWindow>
#include <QProcess>
#include <QSettings>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

// Prints "shown" and the processor time the process has used once the event loop has processed
// the window's show. Processor time is what a loaded machine does not stretch.
void reportShownAndQuit(QCoreApplication &vApplication)
{
    QTimer::singleShot(0, &vApplication, [] {
        timespec used {};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
        std::printf("shown %.3f\n", used.tv_sec * 1e3 + used.tv_nsec / 1e6);
        std::fflush(stdout);
        QCoreApplication::quit();
    });
}

QString binDir()
{
    return QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("../bin"));
}

int runBareWindowAndReportShown(int argc, char **argv)
{
    QApplication application(argc, argv);
    QMainWindow window;
    window.resize(1024, 720);
    window.show();
    reportShownAndQuit(application);
    return application.exec();
}

int runStudioAndReportShown(int argc, char **argv)
{
    Application application(argc, argv);
    // A returning user: the bundled engine chosen and this version seen before, so the start
    // measured is the everyday one (no engine-missing dialog, no first-start resets).
    QSettings profile(qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/tovrel/gui.conf"),
                      QSettings::IniFormat);
    profile.setValue(QStringLiteral("Tovrel/CommandLineToolName"),
                     binDir() + QStringLiteral("/tovrel"));
    profile.setValue(QStringLiteral("Version"), MainWindow::versionText());
    profile.sync();
    StartUp startUp(application);
    if (!startUp.prepare())
        return 0;
    reportShownAndQuit(application);
    return startUp.exec();
}

struct Measure
{
    double wallMs = 0;
    double cpuMs = 0;
};

Measure measureOnce(const QString &vProgram, const QString &vMode, const QStringList &vArguments)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QElapsedTimer timer;
    timer.start();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TOVREL_BENCH_CHILD"), vMode);
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("*.debug=false"));
    child.setProcessEnvironment(environment);
    child.start(vProgram, vArguments);
    QByteArray said;
    while (child.waitForReadyRead(10000)) {
        said += child.readAll();
        if (said.contains("shown") && said.endsWith('\n'))
            break;
    }
    Measure measure;
    measure.wallMs = timer.nsecsElapsed() / 1e6;
    measure.cpuMs = said.mid(said.indexOf("shown") + 6).trimmed().toDouble();
    child.waitForFinished(10000);
    return measure;
}

} // namespace

int main(int argc, char **argv)
{
    TestEnvironment environment; // never touch the user's settings
    const QByteArray mode = qgetenv("TOVREL_BENCH_CHILD");
    if (mode == "bare")
        return runBareWindowAndReportShown(argc, argv);
    if (mode == "studio")
        return runStudioAndReportShown(argc, argv);

    QCoreApplication application(argc, argv);
    const QString self = QCoreApplication::applicationFilePath();
    const QString example = binDir()
        + QStringLiteral("/User Guide Examples/1.1-Potential Scale Reduction/slow_convergence.imp");
    if (!QFileInfo::exists(example)) {
        std::fprintf(stderr, "the example %s is missing: build the studio first\n",
                     qPrintable(example));
        return 1;
    }
    const int runs = 11;
    QList<double> studio, bare, studioCpu, bareCpu;
    measureOnce(self, QStringLiteral("studio"), {example}); // warm the file cache
    measureOnce(self, QStringLiteral("bare"), {});
    // Alternating rounds, so a busy moment of the machine hits both alike.
    for (int i = 0; i < runs; ++i) {
        const Measure withExample = measureOnce(self, QStringLiteral("studio"), {example});
        const Measure window = measureOnce(self, QStringLiteral("bare"), {});
        studio.append(withExample.wallMs);
        studioCpu.append(withExample.cpuMs);
        bare.append(window.wallMs);
        bareCpu.append(window.cpuMs);
    }
    for (QList<double> *values : {&studio, &bare, &studioCpu, &bareCpu})
        std::sort(values->begin(), values->end());
    const double studioMedian = studio.at(runs / 2);
    const double bareMedian = bare.at(runs / 2);
    std::printf("start-up to main window shown (offscreen), %d runs each, median (min-max):\n"
                "  studio with an example open: %.1f ms (%.1f-%.1f), %.1f ms of processor time\n"
                "  bare QMainWindow:            %.1f ms (%.1f-%.1f), %.1f ms of processor time\n"
                "  ratio: %.2f on the clock, %.2f in processor time\n",
                runs, studioMedian, studio.first(), studio.last(), studioCpu.at(runs / 2),
                bareMedian, bare.first(), bare.last(), bareCpu.at(runs / 2),
                studioMedian / bareMedian, studioCpu.at(runs / 2) / bareCpu.at(runs / 2));
    return 0;
}
