// Not a timing run: shows studio widgets under the dark style (palette, style sheet and its
// indicator images) and saves the picture used in the documentation.
//
//   xvfb-run -a -s "-screen 0 1280x800x24" build/benchmarks/bench_darkstyleshot docs
//
// writes docs/dark-style.png.

#include "app/darkstyle.h"
#include "editor/wlisteditor.h"
#include "editor/wsyntaxeditor.h"
#include "editor/wtextfinder.h"
#include "screenshots.h"
#include "testmain.h"

#include <QCheckBox>
#include <QDockWidget>
#include <QGroupBox>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QRadioButton>
#include <QStatusBar>
#include <QTabWidget>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

const char *const kScript = R"(#! STABLE
# Two-level model of math achievement with missing predictors.
DATA: "examples/achievement.dat";
VARIABLES: school student math ses female iq;
MISSING: -99;
CLUSTERID: school;
MODEL: math ~ ses female iq | ses;
CENTER: groupmean = ses;
BURN: 5000;
ITERATIONS: 10000;
CHAINS: 2;
PLOT: traceplot;
)";

QWidget *optionsPanel(QWidget *vParent)
{
    auto *panel = new QWidget(vParent);
    auto *layout = new QVBoxLayout(panel);
    auto *checks = new QGroupBox(QStringLiteral("Plots"), panel);
    auto *checksLayout = new QVBoxLayout(checks);
    const struct { const char *text; Qt::CheckState state; bool enabled; } boxes[] = {
        {"Auto show plot", Qt::Checked, true},     {"OpenGL viewport", Qt::Unchecked, true},
        {"Some chains", Qt::PartiallyChecked, true}, {"Save with output", Qt::Checked, false},
        {"Export all", Qt::Unchecked, false}};
    for (const auto &box : boxes) {
        auto *check = new QCheckBox(QString::fromLatin1(box.text), checks);
        check->setTristate(box.state == Qt::PartiallyChecked);
        check->setCheckState(box.state);
        check->setEnabled(box.enabled);
        checksLayout->addWidget(check);
    }
    auto *radios = new QGroupBox(QStringLiteral("Layout"), panel);
    auto *radiosLayout = new QVBoxLayout(radios);
    for (const char *text : {"Vertical", "Horizontal"})
        radiosLayout->addWidget(new QRadioButton(QString::fromLatin1(text), radios));
    radios->findChildren<QRadioButton *>().first()->setChecked(true);
    auto *disabled = new QRadioButton(QStringLiteral("Tabbed"), radios);
    disabled->setEnabled(false);
    radiosLayout->addWidget(disabled);
    auto *tree = new QTreeWidget(panel);
    tree->setHeaderLabel(QStringLiteral("Examples"));
    for (const char *category : {"Regression Models", "Multilevel Models"}) {
        auto *item = new QTreeWidgetItem(tree, {QString::fromLatin1(category)});
        for (const char *example : {"Linear regression", "Random slopes"})
            new QTreeWidgetItem(item, {QString::fromLatin1(example)});
    }
    tree->expandItem(tree->topLevelItem(0));
    layout->addWidget(checks);
    layout->addWidget(radios);
    layout->addWidget(tree, 1);
    return panel;
}

} // namespace

int main(int argc, char *argv[])
{
    drawOnTheDisplay();
    TestEnvironment environment;
    QApplication app(argc, argv);
    QApplication::setStyle(new DarkStyle);
    const QDir folder = shotFolder(argc, argv);

    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Tovrel Studio"));
    window.resize(1000, 760);
    for (const char *menu : {"File", "Edit", "Run", "Plot", "View", "Help"})
        window.menuBar()->addMenu(QString::fromLatin1(menu));
    QToolBar *tools = window.addToolBar(QStringLiteral("Main"));
    tools->addAction(QIcon(":/images/iPLOT_SAVE"), QStringLiteral("Save Plot"));
    tools->addAction(QIcon(":/images/iPLOT_SAVEALL"), QStringLiteral("Save All Plots"));
    tools->addSeparator();
    tools->addAction(QIcon(":/images/iPLOT_POPOUT"), QStringLiteral("Plot Popout"));
    tools->addAction(QIcon(":/images/iPLOT_SETTINGS"), QStringLiteral("Plot Settings"));

    auto *tabs = new QTabWidget(&window);
    auto *page = new QWidget(tabs);
    auto *pageLayout = new QVBoxLayout(page);
    pageLayout->setContentsMargins(0, 0, 0, 0);
    auto *editor = new WSyntaxEditor(page);
    auto *finder = new WTextFinder(page);
    finder->setEditor(editor);
    editor->setPlainText(QString::fromUtf8(kScript));
    pageLayout->addWidget(editor);
    pageLayout->addWidget(finder);
    tabs->addTab(page, QStringLiteral("achievement.imp"));
    tabs->addTab(new QWidget(tabs), QStringLiteral("growth.imp"));
    window.setCentralWidget(tabs);

    auto *variables = new QDockWidget(QStringLiteral("Variables"), &window);
    auto *list = new WListEditor(variables);
    list->setItems({"school", "student", "math", "ses", "female", "iq"});
    variables->setWidget(list);
    window.addDockWidget(Qt::RightDockWidgetArea, variables);
    auto *options = new QDockWidget(QStringLiteral("Options"), &window);
    options->setWidget(optionsPanel(options));
    window.addDockWidget(Qt::RightDockWidgetArea, options);
    window.statusBar()->showMessage(QStringLiteral("Ready"));
    window.show();
    QCoreApplication::processEvents();
    QTest::keyClicks(finder->findChild<QLineEdit *>("leFind"), "ses");
    finder->findNext();
    QTest::qWait(200);

    return saveShot(window, folder.filePath("dark-style.png")) ? 0 : 1;
}
