#include "app/application.h"
#include "app/mainwindow.h"
#include "app/startup.h"
#include "config/csettings.h"
#include "config/msettings.h"
#include "goldentable.h"
#include "testmain.h"

#include <QFileOpenEvent>
#include <QSettings>
#include <QSignalSpy>

class TestApp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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
        auto *application = qobject_cast<Application *>(QCoreApplication::instance());
        QVERIFY(application);
        QSignalSpy opened(application, &Application::do_open);
        QFileOpenEvent open(fileName);
        QEvent other(QEvent::User);
        QCoreApplication::sendEvent(application, fileName.isEmpty() ? &other : &open);
        QCOMPARE(opened.count(), int(!fileName.isEmpty()));
        QCOMPARE(opened.value(0).value(0).toString(), fileName);
    }

    void startUpPreparesWithoutShowing()
    {
        QSettings().clear();
        auto *application = qobject_cast<Application *>(QCoreApplication::instance());
        StartUp startUp(*application);
        QVERIFY(startUp.prepare());
        MainWindow *window = startUp.mainWindow();
        QVERIFY(window);
        QCOMPARE(window->windowTitle(), QStringLiteral("Tovrel Studio"));
        QVERIFY(!window->isVisible());
        // The configuration came up in order: the import flag is off without a flag file.
        QVERIFY(!MSettings::instance().importSettingsEnabled());
        QCOMPARE(CSettings::instance().keywords().size(), 53);
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
