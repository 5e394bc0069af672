#include "app/application.h"
#include "app/darkstyle.h"
#include "app/startup.h"
#include "config/msettings.h"
#include "testmain.h"

#include <QRegularExpression>
#include <QSettings>
#include <QStyle>

Q_DECLARE_METATYPE(QPalette::ColorRole)

class TestDarkStyle : public QObject
{
    Q_OBJECT

    static void startWithDarkMode(bool vOn)
    {
        QSettings().clear();
        MSettings().setDarkModeSet(vOn);
        StartUp startUp(*qobject_cast<Application *>(QCoreApplication::instance()));
        QVERIFY(startUp.prepare());
    }
    static QString sheet()
    {
        QFile file(":/darkstyle/darkstyle.qss");
        return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
    }

private Q_SLOTS:
    // First: nothing dark has been installed yet.
    void darkModeOffLeavesThePlatformStyle()
    {
        QStyle *style = QApplication::style();
        const QPalette palette = QApplication::palette();
        startWithDarkMode(false);
        QCOMPARE(QApplication::style(), style);
        QCOMPARE(QApplication::palette(), palette);
        QVERIFY(qApp->styleSheet().isEmpty());
    }

    void darkPalette_data()
    {
        QTest::addColumn<QPalette::ColorRole>("role");
        QTest::addColumn<QColor>("enabled");
        QTest::addColumn<QColor>("disabled");
        const QColor grey(127, 127, 127), blue(42, 130, 218), window(53, 53, 53);
        QTest::newRow("Window") << QPalette::Window << window << window;
        QTest::newRow("WindowText") << QPalette::WindowText << QColor(Qt::white) << grey;
        QTest::newRow("Base") << QPalette::Base << QColor(42, 42, 42) << QColor(42, 42, 42);
        QTest::newRow("ToolTipText") << QPalette::ToolTipText << window << window;
        QTest::newRow("Text") << QPalette::Text << QColor(Qt::white) << grey;
        QTest::newRow("BrightText") << QPalette::BrightText << QColor(Qt::red) << QColor(Qt::red);
        QTest::newRow("Highlight") << QPalette::Highlight << blue << QColor(80, 80, 80);
        QTest::newRow("HighlightedText") << QPalette::HighlightedText << QColor(Qt::white) << grey;
    }
    void darkPalette()
    {
        QFETCH(QPalette::ColorRole, role);
        QFETCH(QColor, enabled);
        QFETCH(QColor, disabled);
        QPalette palette(Qt::green); // every role another colour before
        DarkStyle().polish(palette);
        QCOMPARE(palette.color(QPalette::Inactive, role), enabled);
        QCOMPARE(palette.color(QPalette::Disabled, role), disabled);
    }

    void darkModeOnInstallsPaletteAndSheet()
    {
        startWithDarkMode(true);
        QCOMPARE(QApplication::palette().color(QPalette::Window), QColor(53, 53, 53));
        QCOMPARE(QApplication::palette().color(QPalette::Disabled, QPalette::Text),
                 QColor(127, 127, 127));
        QVERIFY(!sheet().isEmpty());
        QCOMPARE(qApp->styleSheet(), sheet());
        QStyle *style = QWidget().style();
        QVERIFY(qobject_cast<DarkStyle *>(style) || style->findChild<DarkStyle *>());
    }

    void sheetNamesItsOwnImages()
    {
        const QString text = sheet().remove(
            QRegularExpression(R"(/\*.*?\*/)", QRegularExpression::DotMatchesEverythingOption));
        QCOMPARE(text.count('{'), 81);
        QSet<QString> named;
        const QRegularExpression url(R"(url\((:/darkstyle/icon_\w+\.png)\))");
        for (const auto &match : url.globalMatch(text)) {
            QVERIFY2(!QImage(match.captured(1)).isNull(), qPrintable(match.captured(1)));
            named << match.captured(1);
        }
        QCOMPARE(named.size(), 22);
    }
};

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    Application application(argc, argv);
    TestDarkStyle tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "tst_darkstyle.moc"
