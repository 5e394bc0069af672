// Not a timing run: renders the script editor holding a sample script, with its find bar, in the
// light and the dark colour scheme, and saves the pictures used in the documentation. It lives
// with the benchmarks because it is built with the project and never run by the tests.
//
//   xvfb-run -a -s "-screen 0 1280x800x24" build/benchmarks/bench_editorscreenshots docs
//
// writes docs/editor-light.png and docs/editor-dark.png, and reports how long each took.

#include "editor/wsyntaxeditor.h"
#include "editor/wtextfinder.h"
#include "screenshots.h"
#include "shotsession.h"
#include "testmain.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPalette>
#include <QStyle>
#include <QVBoxLayout>

#include <cstdio>

namespace {

const char *const kSampleScript = R"(#! STABLE
# Two-level model of math achievement with missing predictors.
DATA: "examples/achievement.dat";
VARIABLES: school student math ses female iq;
MISSING: -99;
CLUSTERID: school;
ORDINAL: female;
MODEL: math ~ ses female iq@0.5 | ses;
    # random slope for ses, centred within schools
CENTER: groupmean = ses;
FIXED: female;
SEED: 90291;
BURN: 5000;
ITERATIONS: 10000;
CHAINS: 2;
NIMPS: 20;
PLOT: traceplot;
OPTIONS: savepred hov;
SAVE: stacked = "imps # all.dat";
SIMPLE: ses | iq (-1.25, 0, 1.25);
myweights: w1 -> w2 <- w3 and w4;
)";

bool shoot(const QString &vFile, const QPalette &vPalette)
{
    QElapsedTimer timer;
    timer.start();
    QApplication::setPalette(vPalette);

    QWidget window;
    window.resize(760, 560);
    auto *layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto *editor = new WSyntaxEditor(&window);
    auto *finder = new WTextFinder(&window);
    layout->addWidget(editor);
    layout->addWidget(finder);
    finder->setEditor(editor);
    editor->setPlainText(QString::fromUtf8(kSampleScript));
    window.show();
    QCoreApplication::processEvents();

    // A search hit shows the selection colour over text that keeps its syntax colours.
    QTest::keyClicks(finder->findChild<QLineEdit *>("leFind"), "ses");
    finder->findNext();
    QCoreApplication::processEvents();

    const bool saved = window.grab().save(vFile);
    std::printf("%-40s %s in %.1f ms\n", qPrintable(vFile), saved ? "written" : "NOT written",
                timer.nsecsElapsed() / 1e6);
    return saved;
}

} // namespace

int main(int argc, char *argv[])
{
    const ShotSession session(argc, argv);
    const QDir folder = shotFolder(argc, argv);
    const QPalette light = QApplication::style()->standardPalette();
    const bool ok = shoot(folder.filePath("editor-light.png"), light)
        && shoot(folder.filePath("editor-dark.png"), studioDarkPalette());
    return ok ? 0 : 1;
}
