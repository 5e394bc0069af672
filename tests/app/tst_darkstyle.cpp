#include "app/application.h"
#include "app/darkstyle.h"
#include "app/startup.h"
#include "config/msettings.h"
#include "goldentable.h"
#include "testmain.h"

#include <QMetaEnum>
#include <QRegularExpression>
#include <QSettings>
#include <QStyle>

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
        addTableRows(QFINDTESTDATA("darkpalette.txt"), {"enabled", "disabled"});
    }
    void darkPalette()
    {
        const auto role = QPalette::ColorRole(
            QMetaEnum::fromType<QPalette::ColorRole>().keyToValue(QTest::currentDataTag()));
        QPalette palette(Qt::green); // every role another colour before
        DarkStyle().polish(palette);
        QTEST(palette.color(QPalette::Inactive, role).name(), "enabled");
        QTEST(palette.color(QPalette::Disabled, role).name(), "disabled");
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
