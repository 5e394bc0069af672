// Not a timing run: shows the import window over an example data set, with its variables named
// and its missing-value code chosen, and saves the picture used in the documentation. It lives
// with the benchmarks because it is built with the project and never run by the tests.
//
//   xvfb-run -a -s "-screen 0 1280x800x24" build/benchmarks/bench_importshot docs examples
//
// writes docs/import-window.png from "2.4-Multiple Imputation/incomplete.dat" under examples.

#include "import/vimport.h"
#include "testmain.h"

#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QScopeGuard>

#include <cstdio>

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s <output folder> <examples folder>\n", argv[0]);
        return 2;
    }
    // A copy under a plain folder name, so the picture shows no build machine's paths.
    const QString data = QDir::temp().filePath("Survey/incomplete.dat");
    QDir::temp().mkpath("Survey");
    QFile::remove(data);
    QFile::copy(QDir(QString::fromLocal8Bit(argv[2])).filePath("2.4-Multiple Imputation/incomplete.dat"),
                data);
    const auto removeCopy = qScopeGuard([&data] {
        QFile::remove(data);
        QDir::temp().rmdir("Survey");
    });
    VImport window;
    window.resize(820, 560);
    window.show();
    if (!window.openFile(data))
        return 1;
    window.findChild<QComboBox *>("cb_Missing")->setCurrentText("999");
    auto *names = window.findChild<QLineEdit *>("le_Names");
    names->setText("y x1 x2 x3");
    QTest::keyClick(names, Qt::Key_Return);
    QTest::qWait(300);
    const QString target = QDir(QString::fromLocal8Bit(argv[1])).filePath("import-window.png");
    if (!window.grab().save(target))
        return 1;
    std::printf("wrote %s\n", qPrintable(target));
    return 0;
}
