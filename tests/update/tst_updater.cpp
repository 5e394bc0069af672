#include "config/csettings.h"
#include "goldentable.h"
#include "modalanswerer.h"
#include "tablecell.h"
#include "testfiles.h"
#include "testmain.h"
#include "update/dupdate.h"
#include "update/simplescheduler.h"
#include "update/updatecheck.h"
#include "update/updater.h"

#include <QCloseEvent>
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
        addTableRows(QFINDTESTDATA("toolanswers.txt"), {"answer", "result"});
    }
    void checkParsesTheAnswer()
    {
        const QByteArray answer = cell("answer").toUtf8();
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
        QTEST(seen, "result");
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
        addTableRows(QFINDTESTDATA("updatecheck.txt"),
                     {"answer", "mode", "skipped", "shown", "click", "after"});
    }
    void handlingOfTheResult()
    {
        const QByteArray answer = cell("answer").toUtf8();
        const QString shown = cell("shown"), click = cell("click");
        const Mode mode = cell("mode") == "manual" ? Mode::Manual : Mode::Automatic;
        const QString after = cell("after").replace("<web page>", UpdateCheck::webPage());
        QFile::remove(called());
        m_opened.clear();
        CSettings::instance().setPreviousVersion(cell("skipped").split(','));

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

    // An accepted update quits as Quit does: a window that keeps a document open keeps the
    // studio, and the tool is not run.
    void acceptedUpdateWaitsForTheDocuments()
    {
        struct KeptOpen : QMainWindow
        {
            void closeEvent(QCloseEvent *vEvent) override { vEvent->ignore(); }
        } window;
        ModalAnswerer answerer(clickButton("Update"));
        UpdateCheck *check
            = UpdateCheck::start(Mode::Automatic, &window, tool(kOneUpdate), m_notes.prefix());
        QVERIFY(check && QSignalSpy(check, &UpdateCheck::did_finish).wait(20000));
        QCOMPARE(answerer.count(), 1);
        QVERIFY(!QFile::exists(called()));
    }

    // Last: it runs and ends the application's event loop.
    void acceptedUpdateRunsTheToolOnQuit()
    {
        QMainWindow window;
        ModalAnswerer answerer(clickButton("Update"));
        QVERIFY(UpdateCheck::start(Mode::Automatic, &window, tool(kOneUpdate), m_notes.prefix()));
        QTimer::singleShot(30000, [] { QCoreApplication::exit(1); });
        QCOMPARE(QCoreApplication::exec(), 0);
        QTRY_VERIFY(QFile::exists(called()));
        QTRY_COMPARE(readFile(called()), QByteArray("--updater\n"));
    }
};

TOVREL_TEST_MAIN(TestUpdater)
#include "tst_updater.moc"
