// Measures the studio's start-up: from starting a process to its main window being shown and
// painted once with an example script open, headless, beside two plain windows started the same
// way in the same run: a bare QMainWindow, and a QMainWindow with a menu bar, a status bar and
// some text (which, like any window with text, loads the fonts). The process under test runs the
// same start-up as the studio's main().
//
// Instruction counts, which a loaded machine does not disturb, come from running one child under
// callgrind and cutting the count where the child reports:
//   TOVREL_BENCH_CHILD=studio valgrind --tool=callgrind --dump-before='*reportPaintedAndQuit*'
//   benchmarks/bench_startup "bin/User Guide Examples/.../slow_convergence.imp"
// (TOVREL_BENCH_CHILD=bare or =window for the plain windows); the count up to the report is in
// the file ending ".1".
#include "app/application.h"
#include "app/mainwindow.h"
#include "app/startup.h"
#include "testmain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProcess>
#include <QSettings>
#include <QStatusBar>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {

// Prints "shown" and the processor time the process has used, then quits. Processor time is what
// a loaded machine does not stretch.
void reportPaintedAndQuit()
{
    timespec used {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    std::printf("shown %.3f\n", used.tv_sec * 1e3 + used.tv_nsec / 1e6);
    std::fflush(stdout);
    QCoreApplication::quit();
}

// Reports once the first top-level window has been painted and the event loop has come round.
class FirstPaint : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *vObject, QEvent *vEvent) override
    {
        if (vEvent->type() == QEvent::Paint && vObject->isWidgetType()
            && static_cast<QWidget *>(vObject)->isWindow()) {
            QCoreApplication::instance()->removeEventFilter(this);
            QTimer::singleShot(0, QCoreApplication::instance(), &reportPaintedAndQuit);
        }
        return false;
    }
};

void reportWhenPainted(QCoreApplication &vApplication)
{
    vApplication.installEventFilter(new FirstPaint(&vApplication));
}

QString binDir()
{
    return QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("../bin"));
}

int runBareWindowAndReportShown(int argc, char **argv)
{
    QApplication application(argc, argv);
    reportWhenPainted(application);
    QMainWindow window;
    window.resize(1024, 720);
    window.show();
    return application.exec();
}

// A window as plain as a studio could be: menus, a status line and a script to read.
int runPlainWindowAndReportShown(int argc, char **argv, const QString &vScript)
{
    QApplication application(argc, argv);
    reportWhenPainted(application);
    QMainWindow window;
    for (const char *title : {"&File", "&Edit", "&Run", "&Plot", "&View", "&Help"}) {
        QMenu *menu = window.menuBar()->addMenu(QString::fromLatin1(title));
        menu->addAction(QStringLiteral("New"));
        menu->addAction(QStringLiteral("Open..."));
    }
    auto *text = new QPlainTextEdit(&window);
    QFile script(vScript);
    if (script.open(QIODevice::ReadOnly))
        text->setPlainText(QString::fromUtf8(script.readAll()));
    window.setCentralWidget(text);
    window.statusBar()->addPermanentWidget(new QLabel(QStringLiteral("Line 1, Column 1")));
    window.resize(1024, 720);
    window.show();
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
    reportWhenPainted(application);
    StartUp startUp(application);
    if (!startUp.prepare())
        return 0;
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

struct Series
{
    const char *label;
    QString mode;
    QStringList arguments;
    QList<double> wallMs;
    QList<double> cpuMs;

    double wallMedian() const { return median(wallMs); }
    double cpuMedian() const { return median(cpuMs); }
    static double median(QList<double> vValues)
    {
        std::sort(vValues.begin(), vValues.end());
        return vValues.at(vValues.size() / 2);
    }
};

} // namespace

int main(int argc, char **argv)
{
    TestEnvironment environment; // never touch the user's settings
    const QByteArray mode = qgetenv("TOVREL_BENCH_CHILD");
    if (mode == "bare")
        return runBareWindowAndReportShown(argc, argv);
    if (mode == "window")
        return runPlainWindowAndReportShown(argc, argv, QString::fromLocal8Bit(argv[argc - 1]));
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
    QList<Series> series {
        {"studio with an example open", QStringLiteral("studio"), {example}, {}, {}},
        {"bare QMainWindow", QStringLiteral("bare"), {}, {}, {}},
        {"QMainWindow, menus and text", QStringLiteral("window"), {example}, {}, {}},
    };
    for (const Series &each : series) // warm the file cache
        measureOnce(self, each.mode, each.arguments);
    // Alternating rounds, so a busy moment of the machine hits all alike.
    for (int i = 0; i < runs; ++i) {
        for (Series &each : series) {
            const Measure measure = measureOnce(self, each.mode, each.arguments);
            each.wallMs.append(measure.wallMs);
            each.cpuMs.append(measure.cpuMs);
        }
    }
    std::printf("start-up to main window shown and painted (offscreen), %d runs each, "
                "median (min-max):\n",
                runs);
    for (const Series &each : series) {
        std::printf("  %-28s %6.1f ms (%.1f-%.1f), %.1f ms of processor time\n", each.label,
                    each.wallMedian(), *std::min_element(each.wallMs.begin(), each.wallMs.end()),
                    *std::max_element(each.wallMs.begin(), each.wallMs.end()), each.cpuMedian());
    }
    const Series &studio = series.at(0);
    for (int i = 1; i < series.size(); ++i) {
        std::printf("  ratio to the %s: %.2f on the clock, %.2f in processor time\n",
                    series.at(i).label, studio.wallMedian() / series.at(i).wallMedian(),
                    studio.cpuMedian() / series.at(i).cpuMedian());
    }
    return 0;
}
