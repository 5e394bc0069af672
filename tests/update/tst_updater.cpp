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
    // arguments in "called.txt", which appears only once written whole.
    QString tool(const QByteArray &vCheck, bool vExecutable = true)
    {
        static int count = 0;
        const QString path = m_dir.filePath(QStringLiteral("tool%1").arg(++count));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return QString();
        file.write("#!/bin/sh\nif [ \"$1\" = --checkupdates ]; then\n" + vCheck
                   + "\nexit 0\nfi\necho \"$@\" > \"$0.out\" && mv \"$0.out\" '"
                   + QFile::encodeName(called()) + "'\n");
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
        QTest::addColumn<QByteArray>("answer"); // empty: a tool that cannot be started
        QTest::addColumn<QString>("result"); // hasUpdates hasError exitedNormally updates
        QTest::newRow("text around the list")
            << "echo 'Fetching...'; " + kOneUpdate + "; echo done"
            << R"(1 0 1 {Name: "tovrel"; Version: 4.1.0; Size: 1048576})";
        QTest::newRow("two updates")
            << QByteArray(R"(echo '<updates><update name="a" version="1.2" )"
                          R"(size="3"/><update name="b" version="2.0.1"/></updates>')")
            << R"(1 0 1 {Name: "a"; Version: 1.2; Size: 3}{Name: "b"; Version: 2.0.1; Size: 0})";
        QTest::newRow("an empty list") << QByteArray("echo '<updates></updates>'") << "0 0 1 ";
        QTest::newRow("no list: no updates")
            << QByteArray("echo 'No updates available.'") << "0 0 1 ";
        QTest::newRow("another element")
            << QByteArray("echo '<updates><package/></updates>'") << "0 1 1 ";
        QTest::newRow("malformed XML")
            << QByteArray("echo '<updates><update></updates>'") << "0 1 1 ";
        QTest::newRow("a crashing tool") << QByteArray("kill -SEGV $$") << "0 1 0 ";
        QTest::newRow("a tool that cannot start") << QByteArray() << "0 1 0 ";
    }
    void checkParsesTheAnswer()
    {
        QFETCH(QByteArray, answer);
        QFETCH(QString, result);
        Updater updater(tool(answer, !answer.isEmpty()));
        QSignalSpy done(&updater, &Updater::checkUpdatesDone);
        QSignalSpy running(&updater, &Updater::runningChanged);
        QVERIFY(updater.checkForUpdates());
        QVERIFY(!updater.checkForUpdates()); // one check at a time
        QVERIFY(done.wait(20000));
        QTest::qWait(50); // a crash is reported twice inside Qt; the result comes once
        QCOMPARE(done.count(), 1);
        QCOMPARE(running.count(), 2);
        QString seen;
        QDebug(&seen).nospace() << done.at(0).at(0).toInt() << ' ' << done.at(0).at(1).toInt()
                                << ' ' << int(updater.exitedNormally()) << ' ';
        for (const Updater::UpdateInfo &info : updater.updateInfo())
            QDebug(&seen).nospace() << info;
        QCOMPARE(seen, result);
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

    void handlingOfTheResult_data()
    {
        QTest::addColumn<QByteArray>("answer"); // empty: no tool installed
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<QString>("skipped"); // the skip record, joined with ","
        QTest::addColumn<QString>("shown"); // "title|start of text" of the one window; "": none
        QTest::addColumn<QString>("click");
        QTest::addColumn<QString>("after"); // the skip record, then the URL or tool arguments
        const auto row
            = [](const char *vName, const QByteArray &vAnswer, Mode vMode, const char *vSkipped,
                 const QString &vShown, const char *vClick, const QString &vAfter) {
                  QTest::newRow(vName) << vAnswer << vMode << QString(vSkipped) << vShown
                                       << QString(vClick) << vAfter;
              };
        const QByteArray other = "echo '<updates><package/></updates>'", none = "echo '<updates/>'";
        const QByteArray later
            = R"(echo '<updates><update name="tovrel" version="4.2.0"/></updates>')";
        const QString error
            = "Error!|Unable to connect to check for update.\nPlease manually check at www.";
        // The update dialog shows the release notes, or why they could not be fetched.
        const QString update = "Software Update|Größere Änderungen\n- faster fits";
        row("error, Open URL", other, Mode::Automatic, ",", error, "Open URL",
            ", " + UpdateCheck::webPage());
        row("crash, OK", "kill -SEGV $$", Mode::Manual, ",", error, "OK", ", ");
        row("manual, up to date, Open Updater", none, Mode::Manual, ",",
            "Update Check|Tovrel is up to date!", "Open Updater", ", --manage-packages");
        row("automatic, up to date: silent", none, Mode::Automatic, ",", "", "", ", ");
        row("automatic, skipped version: silent", kOneUpdate, Mode::Automatic, "4.1.0,", "", "",
            "4.1.0, ");
        row("automatic, another skipped: Skip This Version", kOneUpdate, Mode::Automatic, "4.0.9,",
            update, "Skip This Version", "4.1.0, ");
        row("manual ignores the skip record: Remind Me Later", kOneUpdate, Mode::Manual, "4.1.0,",
            update, "Remind Me Later", ", ");
        row("notes not found: Remind Me Later", later, Mode::Manual, ",",
            "Software Update|Error transferring", "Remind Me Later", ", ");
        row("automatic, no tool: silent", "", Mode::Automatic, ",", "", "", ", ");
        row("manual, no tool: said so", "", Mode::Manual, ",",
            "Update Check|No maintenance tool is installed", "OK", ", ");
    }
    void handlingOfTheResult()
    {
        QFETCH(QByteArray, answer);
        QFETCH(Mode, mode);
        QFETCH(QString, skipped);
        QFETCH(QString, shown);
        QFETCH(QString, click);
        QFETCH(QString, after);
        QFile::remove(called());
        m_opened.clear();
        CSettings::instance().setPreviousVersion(skipped.split(','));

        QString seen;
        ModalAnswerer answerer([&](QWidget *vModal) {
            auto *box = qobject_cast<QMessageBox *>(vModal);
            auto *dialog = qobject_cast<DUpdate *>(vModal);
            // The dialog is answered once its notes are in.
            const bool ready = !dialog
                || QTest::qWaitFor([dialog] { return !dialog->notesText().startsWith("Loading"); });
            seen = vModal->windowTitle() + '|'
                + (box                   ? box->text()
                       : ready && dialog ? dialog->notesText()
                                         : QString());
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
        if (after.contains("--"))
            QTRY_VERIFY(QFile::exists(called()));
        QStringList effects;
        for (const QUrl &url : qAsConst(m_opened))
            effects << url.toString();
        effects << QString::fromUtf8(readFile(called())).trimmed();
        QCOMPARE(CSettings::instance().previousVersion().join(',') + ' ' + effects.join(""), after);
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
