// Opens a generated 1,000,000-row, 12-column CSV (about 100 MB) in the import window and reports
// the time until the first rows are painted, how long the whole file takes to check, the longest
// the event loop went without running (the window's worst stall), the time to show the last row
// and the peak memory. Also times the inspector alone. Run under QT_QPA_PLATFORM=offscreen.
#include "testmain.h"
#include "timingapplication.h"

#include "import/cimport.h"
#include "import/datainspector.h"
#include "import/vimport.h"

#include <QElapsedTimer>
#include <QTableView>

#include <cstdio>
#include <random>

namespace {

constexpr int kRows = 1000000;
constexpr int kColumns = 12;

bool writeData(const QString &vPath)
{
    QFile file(vPath);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    std::mt19937 random(2026);
    std::normal_distribution<double> value(0.0, 20.0);
    QByteArray block;
    for (int column = 1; column <= kColumns; ++column)
        block += "v" + QByteArray::number(column) + (column < kColumns ? "," : "\n");
    char cell[32];
    for (int row = 0; row < kRows; ++row) {
        for (int column = 0; column < kColumns; ++column) {
            // Three columns measured more finely bring a row to about 100 bytes.
            const int length = std::snprintf(cell, sizeof cell, "%.*f%c", column < 3 ? 5 : 4,
                                             value(random), column + 1 < kColumns ? ',' : '\n');
            block.append(cell, length);
        }
        if (block.size() > (1 << 20)) {
            file.write(block);
            block.clear();
        }
    }
    file.write(block);
    return true;
}

// Resident memory now and at its peak, in MiB; clearing resets the peak (Linux).
// MiB of a field of /proc/self/status.
double memory(const char *vField)
{
    return double(memoryKiB(vField)) / 1024.0;
}

void resetPeak()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (clear.open(QIODevice::WriteOnly))
        clear.write("5");
}

} // namespace

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication app(argc, argv);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("large.csv"));
    if (!writeData(path))
        return 1;
    const double megabytes = QFileInfo(path).size() / (1024.0 * 1024.0);
    std::printf("file: %d rows x %d columns, %.1f MB (%.1f MiB)\n", kRows, kColumns,
                QFileInfo(path).size() / 1e6, megabytes);

    {
        QElapsedTimer clock;
        clock.start();
        DataInspector inspector(path);
        inspector.inspectAll();
        std::printf("inspector alone, whole file: %lld ms (%lld lines, error \"%s\")\n",
                    clock.elapsed(), qint64(inspector.lineOffsets().size()),
                    qPrintable(inspector.error()));
    }

    VImport window;
    window.show();
    QCoreApplication::processEvents();
    const double before = memory("VmRSS:");
    resetPeak();

    QElapsedTimer clock;
    clock.start();
    window.openFile(path);
    window.table()->viewport()->repaint();
    const qint64 firstRows = clock.elapsed();
    std::printf("first rows shown: %lld ms (%d rows indexed by then)\n", firstRows,
                window.table()->model()->rowCount());

    // The longest pause between two runs of a 5 ms timer is the worst the window stalls.
    qint64 last = clock.elapsed();
    qint64 worst = 0;
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [&] {
        worst = std::max(worst, clock.elapsed() - last);
        last = clock.elapsed();
    });
    tick.start(5);
    QEventLoop loop;
    QObject::connect(window.controller(), &CImport::did_finish, &loop, &QEventLoop::quit);
    if (window.controller()->scanning())
        loop.exec();
    tick.stop();
    std::printf("whole file checked: %lld ms; longest stall of the event loop: %lld ms\n",
                clock.elapsed(), worst);

    clock.restart();
    window.table()->scrollToBottom();
    window.table()->viewport()->repaint();
    std::printf("scrolled to row %d and painted: %lld ms\n", window.table()->model()->rowCount(),
                clock.elapsed());
    const double peak = memory("VmHWM:");
    std::printf("memory: %.1f MiB before opening, peak %.1f MiB (%.1f MiB more, %.2fx the "
                "file)\n",
                before, peak, peak - before, (peak - before) / megabytes);
    std::printf("problem: \"%s\"\n", qPrintable(window.controller()->problem()));
    return 0;
}
