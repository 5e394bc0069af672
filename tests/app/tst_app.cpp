#include "app/application.h"
#include "app/mainwindow.h"
#include "app/startup.h"
#include "config/csettings.h"
#include "config/msettings.h"
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
        QTest::addColumn<QString>("fileName");
        QTest::newRow("plain") << "/tmp/model.imp";
        QTest::newRow("blanks") << "/tmp/my models/model one.imp";
    }
    void fileOpenEventBecomesDoOpen()
    {
        QFETCH(QString, fileName);
        auto *application = qobject_cast<Application *>(QCoreApplication::instance());
        QVERIFY(application);
        QSignalSpy opened(application, &Application::do_open);
        QFileOpenEvent event(fileName);
        QCoreApplication::sendEvent(application, &event);
        QCOMPARE(opened.count(), 1);
        QCOMPARE(opened.at(0).at(0).toString(), fileName);
    }

    void otherEventsDoNotOpen()
    {
        auto *application = qobject_cast<Application *>(QCoreApplication::instance());
        QSignalSpy opened(application, &Application::do_open);
        QEvent event(QEvent::User);
        QCoreApplication::sendEvent(application, &event);
        QCOMPARE(opened.count(), 0);
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
