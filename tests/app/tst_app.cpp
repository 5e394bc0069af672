#include "app/application.h"
#include "app/darkstyle.h"
#include "app/mainwindow.h"
#include "app/startup.h"
#include "config/csettings.h"
#include "config/msettings.h"
#include "goldentable.h"
#include "testmain.h"

#include <QFileOpenEvent>
#include <QMetaEnum>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QStyle>

// The application object, start-up, and the dark style start-up installs.
class TestApp : public QObject
{
    Q_OBJECT

    static Application *application() { return qobject_cast<Application *>(qApp); }
    static QString sheet()
    {
        QFile file(":/darkstyle/darkstyle.qss");
        return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
    }

private Q_SLOTS:
    // First, while nothing dark has been installed: start-up readies the main window without
    // showing it, and with dark mode off leaves the platform's look alone.
    void startUpWithDarkModeOff()
    {
        QStyle *style = QApplication::style();
        const QPalette palette = QApplication::palette();
        QSettings().clear();
        MSettings().setDarkModeSet(false);
        StartUp startUp(*application());
        QVERIFY(startUp.prepare());
        QVERIFY(startUp.mainWindow() && !startUp.mainWindow()->isVisible());
        QCOMPARE(startUp.mainWindow()->windowTitle(), QStringLiteral("Tovrel Studio"));
        // The configuration came up in order: the import flag is off without a flag file.
        QVERIFY(!MSettings::instance().importSettingsEnabled());
        QCOMPARE(CSettings::instance().keywords().size(), 53);
        QCOMPARE(QApplication::style(), style);
        QCOMPARE(QApplication::palette(), palette);
        QVERIFY(qApp->styleSheet().isEmpty());
    }

    void fileOpenEventBecomesDoOpen_data()
    {
        QTest::addColumn<QString>("fileName"); // none: some other event
        row("plain", QString("/tmp/model.imp"));
        row("blanks", QString("/tmp/my models/model one.imp"));
        row("another event opens nothing", QString());
    }
    void fileOpenEventBecomesDoOpen()
    {
        QFETCH(QString, fileName);
        QSignalSpy opened(application(), &Application::do_open);
        QFileOpenEvent open(fileName);
        QEvent other(QEvent::User);
        QCoreApplication::sendEvent(application(), fileName.isEmpty() ? &other : &open);
        QCOMPARE(opened.count(), int(!fileName.isEmpty()));
        QCOMPARE(opened.value(0).value(0).toString(), fileName);
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
        QSettings().clear();
        MSettings().setDarkModeSet(true);
        QVERIFY(StartUp(*application()).prepare());
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
    TestApp tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "tst_app.moc"
