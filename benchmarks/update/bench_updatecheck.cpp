// Measures what the automatic update check costs start-up on a machine without a maintenance
// tool (any copy built from source): the check must return at once, starting no process.

#include "testmain.h"
#include "update/updatecheck.h"

#include <QElapsedTimer>
#include <QMainWindow>

#include <algorithm>
#include <cstdio>

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication app(argc, argv);
    QMainWindow window;
    const QString missing = UpdateCheck::toolPath();
    if (QFileInfo::exists(missing)) {
        std::printf("a maintenance tool exists at %s: nothing to measure\n", qPrintable(missing));
        return 1;
    }
    const int runs = 11;
    const int callsPerRun = 10000;
    QList<double> perCall;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < callsPerRun; ++i)
            if (UpdateCheck::start(UpdateCheck::Mode::Automatic, &window))
                return 1;
        perCall.append(timer.nsecsElapsed() / 1e3 / callsPerRun);
    }
    std::sort(perCall.begin(), perCall.end());
    std::printf("automatic update check without a maintenance tool, %d runs of %d calls: "
                "median %.2f us a call, min %.2f us, max %.2f us\n",
                runs, callsPerRun, perCall.at(runs / 2), perCall.first(), perCall.last());
    return 0;
}
