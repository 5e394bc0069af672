// What keeping recovery copies costs, measured in one process:
//
//   keys    a key typed into a 10,000-line script, from the key press until its events are
//           handled, in alternating rounds with the recovery copy on and off; and one write of
//           the script's copy (what runs after typing stops, and at most every 30 s while it
//           goes on).
//   start   20 copies left by studios that are no longer running: from the main window made
//           to the recovery list on screen.
//
//   bench_recovery [--keys N]

#include "mainwindowfixture.h"
#include "testmain.h"

#include "app/documentsafety.h"
#include "app/drecovery.h"
#include "workspace/recoverycopy.h"
#include "workspace/recoverystore.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

double median(std::vector<double> vValues)
{
    std::sort(vValues.begin(), vValues.end());
    return vValues.empty() ? 0 : vValues[vValues.size() / 2];
}

double percentile95(std::vector<double> vValues)
{
    std::sort(vValues.begin(), vValues.end());
    return vValues.empty() ? 0 : vValues[vValues.size() * 95 / 100];
}

QString script(int vLines)
{
    QString text;
    for (int i = 0; i < vLines; ++i)
        text += QStringLiteral("VARIABLES: y%1 x%1 w%1; # line %1 of the model\n").arg(i);
    return text;
}

double typeOne(QWidget *vEditor, QChar vKey)
{
    QElapsedTimer clock;
    clock.start();
    QTest::keyClick(vEditor, vKey.toLatin1());
    QCoreApplication::processEvents();
    return clock.nsecsElapsed() / 1e6;
}

void keys(int vCount)
{
    QTemporaryDir root;
    RecoveryStore store(root.path());
    Workspace off;
    Workspace on;
    for (Workspace *document : {&off, &on}) {
        document->on_new();
        document->editor()->setPlainText(script(10000));
        document->show();
        QTextCursor middle = document->editor()->textCursor();
        middle.setPosition(document->editor()->document()->characterCount() / 2);
        document->editor()->setTextCursor(middle);
    }
    auto *copy = new RecoveryCopy(&on, &store);
    QTest::qWait(200);
    std::vector<double> withCopy;
    std::vector<double> without;
    // Rounds of 20 keys each way, so a busy moment of the machine falls on both alike.
    for (int round = 0; round * 20 < vCount; ++round) {
        for (int i = 0; i < 20; ++i)
            without.push_back(typeOne(off.editor(), QChar('a' + i % 26)));
        for (int i = 0; i < 20; ++i)
            withCopy.push_back(typeOne(on.editor(), QChar('a' + i % 26)));
    }
    std::vector<double> writes;
    for (int i = 0; i < 15; ++i) {
        QElapsedTimer clock;
        clock.start();
        copy->writeNow();
        writes.push_back(clock.nsecsElapsed() / 1e6);
        QTest::keyClick(on.editor(), 'z');
    }
    std::printf("keys  10,000 lines, %zu keys each: recovery off median %.3f ms (p95 %.3f), "
                "on median %.3f ms (p95 %.3f); one copy written: median %.2f ms\n",
                without.size(), median(without), percentile95(without), median(withCopy),
                percentile95(withCopy), median(writes));
}

void start()
{
    // Four dead studios, five copies each, every one a 500-line script.
    const QString text = script(500);
    const QString root = RecoveryStore::defaultRoot();
    for (int studio = 0; studio < 4; ++studio) {
        const QString folder = root + QStringLiteral("/%1-dead").arg(90000 + studio);
        QDir().mkpath(folder);
        for (int i = 0; i < 5; ++i) {
            RecoveredScript copy;
            copy.name = QStringLiteral("Untitled%1").arg(studio * 5 + i);
            copy.text = text;
            QFile file(folder + QStringLiteral("/document-%1").arg(i) + RecoveryStore::kSuffix);
            file.open(QIODevice::WriteOnly);
            file.write(RecoveryStore::encode(copy));
        }
    }
    std::vector<double> times;
    for (int run = 0; run < 7; ++run) {
        QElapsedTimer clock;
        clock.start();
        auto window = freshMainWindow();
        double shown = 0;
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (auto *dialog = qobject_cast<DRecovery *>(QApplication::activeModalWidget())) {
                shown = clock.nsecsElapsed() / 1e6;
                dialog->reject(); // Later: the copies stay for the next round
            }
        });
        poll.start(0);
        window->safety()->offerRecovery();
        times.push_back(shown);
        discardMainWindow(window);
    }
    std::printf("start 20 copies of 500 lines: main window made to recovery list shown, median "
                "%.1f ms of 7\n",
                median(times));
}

} // namespace

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const int index = arguments.indexOf(QStringLiteral("--keys"));
    const int count = index >= 0 ? arguments.value(index + 1).toInt() : 400;
    keys(count);
    start();
    return 0;
}
