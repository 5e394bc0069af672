#include "config/csettings.h"
#include "modalanswerer.h"
#include "testmain.h"
#include "update/dupdate.h"
#include "update/simplescheduler.h"
#include "update/updatecheck.h"
#include "update/updater.h"

#include <QDesktopServices>
#include <QMainWindow>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextBrowser>

#include <climits>

using QtAutoUpdater::Updater;
using Mode = UpdateCheck::Mode;

namespace {

// A stand-in tool's answer to "--checkupdates": one update on offer.
const QByteArray kOneUpdate
    = R"(echo '<updates><update name="tovrel" version="4.1.0" size="1048576"/></updates>')";

// Release notes over HTTP on the loopback address: "/<version>-changelog.txt" for the versions
// it knows, 404 for the rest.
class NotesServer : public QTcpServer
{
public:
    QMap<QByteArray, QByteArray> pages;
    NotesServer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                const QByteArray request = socket->readAll();
                const QByteArray path = request.split(' ').value(1).mid(1);
                const bool known = pages.contains(path);
                const QByteArray body = pages.value(path, "missing");
                socket->write(
                    QByteArray(known ? "HTTP/1.1 200 OK\r\n" : "HTTP/1.1 404 Not Found\r\n")
                    + "Content-Type: text/plain; charset=utf-8\r\nContent-Length: "
                    + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
                socket->disconnectFromHost();
            });
        });
    }
    QString prefix() const { return QStringLiteral("http://127.0.0.1:%1/").arg(serverPort()); }
};

QByteArray readFile(const QString &vPath)
{
    QFile file(vPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestUpdater : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    NotesServer m_notes;
    QList<QUrl> m_opened;

    // A stand-in maintenance tool: vCheck answers "--checkupdates"; other calls leave their
    // arguments in "called.txt".
    QString tool(const QByteArray &vCheck, bool vExecutable = true)
    {
        static int count = 0;
        const QString path = m_dir.filePath(QStringLiteral("tool%1").arg(++count));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return QString();
        file.write("#!/bin/sh\nif [ \"$1\" = --checkupdates ]; then\n" + vCheck
                   + "\nexit 0\nfi\necho \"$@\" > '" + QFile::encodeName(called()) + "'\n");
        file.setPermissions(vExecutable ? QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
                                        : QFile::ReadOwner | QFile::WriteOwner);
        return path;
    }
    QString called() const { return m_dir.filePath(QStringLiteral("called.txt")); }

public Q_SLOTS:
    void openUrl(const QUrl &vUrl) { m_opened << vUrl; }

private Q_SLOTS:
    void initTestCase()
    {
        QDesktopServices::setUrlHandler("https", this, "openUrl");
        m_notes.pages.insert("4.1.0-changelog.txt", "Größere Änderungen\n- faster fits");
    }
    void cleanupTestCase() { QDesktopServices::unsetUrlHandler("https"); }

    void checkParsesTheAnswer_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("executable");
        QTest::addColumn<bool>("hasUpdates");
        QTest::addColumn<bool>("hasError");
        QTest::addColumn<QString>("updates");
        QTest::newRow("text around the list")
            << "echo 'Fetching...'; " + kOneUpdate + "; echo done" << true << true << false
            << R"({Name: "tovrel"; Version: 4.1.0; Size: 1048576})";
        QTest::newRow("two updates")
            << QByteArray(
                   R"(echo '<updates><update name="a" version="1.2" size="3"/><update name="b" version="2.0.1" size="0"></update></updates>')")
            << true << true << false
            << R"({Name: "a"; Version: 1.2; Size: 3} {Name: "b"; Version: 2.0.1; Size: 0})";
        QTest::newRow("an empty list")
            << QByteArray("echo '<updates></updates>'") << true << false << false << "";
        QTest::newRow("no list: no updates")
            << QByteArray("echo 'There are currently no updates available.'") << true << false
            << false << "";
        QTest::newRow("another element")
            << QByteArray(R"(echo '<updates><package name="a" version="1"/></updates>')") << true
            << false << true << "";
        QTest::newRow("malformed XML")
            << QByteArray(R"(echo '<updates><update name="a" version="1"></updates>')") << true
            << false << true << "";
        QTest::newRow("a crashing tool")
            << QByteArray("kill -SEGV $$") << true << false << true << "";
        QTest::newRow("a tool that cannot start") << kOneUpdate << false << false << true << "";
    }
    void checkParsesTheAnswer()
    {
        QFETCH(QByteArray, answer);
        QFETCH(bool, executable);
        QFETCH(bool, hasUpdates);
        QFETCH(bool, hasError);
        QFETCH(QString, updates);
        Updater updater(tool(answer, executable));
        QSignalSpy done(&updater, &Updater::checkUpdatesDone);
        QSignalSpy running(&updater, &Updater::runningChanged);
        QVERIFY(updater.checkForUpdates());
        QVERIFY(!updater.checkForUpdates()); // one check at a time
        QVERIFY(done.wait(20000));
        QTest::qWait(50); // a crash reports twice inside Qt; the result comes once
        QCOMPARE(done.count(), 1);
        QCOMPARE(done.at(0), (QVariantList {hasUpdates, hasError}));
        QCOMPARE(running.count(), 2);
        QVERIFY(!updater.isRunning());
        QStringList seen;
        for (const Updater::UpdateInfo &info : updater.updateInfo())
            QDebug(&seen.emplace_back()).nospace() << info;
        QCOMPARE(seen.join(' '), updates);
        QCOMPARE(updater.exitedNormally(), executable && !answer.contains("kill"));
    }

    void schedulerRefuses()
    {
        Updater updater(tool(kOneUpdate));
        QtAutoUpdater::SimpleScheduler scheduler;
        QTest::ignoreMessage(QtWarningMsg, "Cannot schedule update tasks for the past!");
        QCOMPARE(scheduler.startSchedule(QDateTime::currentDateTime().addSecs(-5)), 0);
        QTest::ignoreMessage(QtWarningMsg, "Time interval to big, timepoint to far in the future.");
        QCOMPARE(scheduler.startSchedule(QDateTime::currentDateTime().addDays(30)), 0);
        QTest::ignoreMessage(QtWarningMsg, "delaySeconds to big to be converted to msecs");
        QCOMPARE(updater.scheduleUpdate(INT_MAX / 1000 + 1), 0);
        QSignalSpy done(&updater, &Updater::checkUpdatesDone);
        QVERIFY(updater.scheduleUpdate(0) != 0);
        QVERIFY(done.wait(20000));
        QCOMPARE(done.at(0), (QVariantList {true, false}));
    }

    void releaseNotes_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<bool>("serverUp");
        QTest::addColumn<QString>("shown");
        QTest::newRow("served, UTF-8") << "4.1.0" << true << "Größere Änderungen\n- faster fits";
        QTest::newRow("no such page") << "4.2.0" << true << "Not Found";
        QTest::newRow("no server") << "4.1.0" << false << "refused";
    }
    void releaseNotes()
    {
        QFETCH(QString, version);
        QFETCH(bool, serverUp);
        QFETCH(QString, shown);
        QTcpServer closed;
        closed.listen(QHostAddress::LocalHost);
        const QString prefix = serverUp
            ? m_notes.prefix()
            : QStringLiteral("http://127.0.0.1:%1/").arg(closed.serverPort());
        closed.close();
        DUpdate dialog({{"tovrel", QVersionNumber::fromString(version), 1}}, prefix);
        QSignalSpy loaded(&dialog, &DUpdate::did_loadNotes);
        QVERIFY(loaded.wait(20000));
        QVERIFY2(serverUp && version == "4.1.0" ? dialog.notesText() == shown
                                                : dialog.notesText().contains(shown),
                 qPrintable(dialog.notesText()));
    }

    void handlingOfTheResult_data()
    {
        QTest::addColumn<QByteArray>("answer"); // empty: no tool installed
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<QStringList>("skipped");
        QTest::addColumn<QString>("shown"); // window title and start of its text; empty: nothing
        QTest::addColumn<QString>("click");
        QTest::addColumn<QStringList>("skippedAfter");
        QTest::addColumn<QString>("effect"); // URL opened or tool arguments
        const QStringList none {"", ""};
        const QByteArray other = R"(echo '<updates><package/></updates>')";
        const QString error
            = "Error!|Unable to connect to check for update.\nPlease manually check at www.";
        QTest::newRow("error, Open URL") << other << Mode::Automatic << none << error << "Open URL"
                                         << none << UpdateCheck::webPage();
        QTest::newRow("crash, OK")
            << QByteArray("kill -SEGV $$") << Mode::Manual << none << error << "OK" << none << "";
        QTest::newRow("manual, up to date, Open Updater")
            << QByteArray("echo '<updates/>'") << Mode::Manual << none
            << "Update Check|Tovrel is up to date!"
            << "Open Updater" << none << "--manage-packages";
        QTest::newRow("automatic, up to date: silent")
            << QByteArray("echo '<updates/>'") << Mode::Automatic << none << ""
            << "" << none << "";
        QTest::newRow("automatic, skipped version: silent")
            << kOneUpdate << Mode::Automatic << QStringList {"4.1.0", ""} << ""
            << "" << QStringList {"4.1.0", ""} << "";
        QTest::newRow("automatic, another skipped: Skip This Version")
            << kOneUpdate << Mode::Automatic << QStringList {"4.0.9", ""} << "Software Update|"
            << "Skip This Version" << QStringList {"4.1.0", ""} << "";
        QTest::newRow("manual ignores the skip record: Remind Me Later")
            << kOneUpdate << Mode::Manual << QStringList {"4.1.0", ""} << "Software Update|"
            << "Remind Me Later" << none << "";
        QTest::newRow("automatic, no tool: silent") << QByteArray() << Mode::Automatic << none << ""
                                                    << "" << none << "";
        QTest::newRow("manual, no tool: said so") << QByteArray() << Mode::Manual << none
                                                  << "Update Check|No maintenance tool is installed"
                                                  << "OK" << none << "";
    }
    void handlingOfTheResult()
    {
        QFETCH(QByteArray, answer);
        QFETCH(Mode, mode);
        QFETCH(QStringList, skipped);
        QFETCH(QString, shown);
        QFETCH(QString, click);
        QFETCH(QStringList, skippedAfter);
        QFETCH(QString, effect);
        QFile::remove(called());
        m_opened.clear();
        CSettings::instance().setPreviousVersion(skipped);

        QString seen;
        ModalAnswerer answerer([&](QWidget *vModal) {
            auto *box = qobject_cast<QMessageBox *>(vModal);
            seen = vModal->windowTitle() + '|' + (box ? box->text() : QString());
            for (QAbstractButton *button : vModal->findChildren<QAbstractButton *>())
                if (button->text().remove('&') == click)
                    return button->click();
        });
        QMainWindow window;
        const QString path = answer.isEmpty() ? m_dir.filePath("absent") : tool(answer);
        if (UpdateCheck *check = UpdateCheck::start(mode, &window, path, m_notes.prefix()))
            QVERIFY(QSignalSpy(check, &UpdateCheck::did_finish).wait(20000));
        QCOMPARE(answerer.count(), shown.isEmpty() ? 0 : 1);
        QVERIFY2(shown.isEmpty() ? seen.isEmpty() : seen.startsWith(shown), qPrintable(seen));
        QCOMPARE(CSettings::instance().previousVersion(), skippedAfter);
        if (effect.startsWith("http"))
            QCOMPARE(m_opened, QList<QUrl> {QUrl(effect)});
        else
            QCOMPARE(m_opened.size(), 0);
        if (effect.startsWith("--"))
            QTRY_VERIFY(QFile::exists(called()));
        QCOMPARE(QFile::exists(called()) ? QString(readFile(called())) : QString(),
                 effect.startsWith("--") ? effect + '\n' : QString());
    }

    // Last: it runs and ends the application's event loop.
    void acceptedUpdateRunsTheToolOnQuit()
    {
        QMainWindow window;
        ModalAnswerer answerer([](QWidget *vModal) {
            for (QAbstractButton *button : vModal->findChildren<QAbstractButton *>())
                if (button->text() == "Update")
                    return button->click();
        });
        QVERIFY(UpdateCheck::start(Mode::Automatic, &window, tool(kOneUpdate), m_notes.prefix()));
        QTimer::singleShot(30000, [] { QCoreApplication::exit(1); });
        QCOMPARE(QCoreApplication::exec(), 0);
        QTRY_VERIFY(QFile::exists(called()));
        QTRY_COMPARE(readFile(called()), QByteArray("--updater\n"));
    }
};

TOVREL_TEST_MAIN(TestUpdater)
#include "tst_updater.moc"
