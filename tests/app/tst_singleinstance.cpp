#include "app/singleinstance.h"
#include "goldentable.h"
#include "tablecell.h"
#include "testmain.h"

#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>

#include <memory>

// A real studio process; its debug log is collected as it runs.
struct Studio
{
    QProcess process;
    QString log;

    explicit Studio(const QStringList &vArguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_LOGGING_RULES", "default.debug=true");
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        QObject::connect(&process, &QProcess::readyRead,
                         [this] { log += QString::fromUtf8(process.readAll()); });
        QString folder = qEnvironmentVariable("TOVREL_TEST_BIN_DIR");
        process.start(
            (folder.isEmpty() ? QCoreApplication::applicationDirPath() + "/../bin" : folder)
                + "/tovrel-studio",
            vArguments);
    }
    ~Studio()
    {
        process.kill();
        process.waitForFinished();
    }
    // Waits for vText in the log, giving up early when the process has ended.
    bool waitFor(const QString &vText)
    {
        QDeadlineTimer deadline(60000);
        while (!log.contains(vText) && !deadline.hasExpired()
               && process.state() != QProcess::NotRunning)
            QTest::qWait(20);
        return log.contains(vText);
    }
    bool endsAlone()
    {
        return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit
            && process.exitCode() == 0;
    }
};

static QString received(const QString &vName)
{
    return QStringLiteral("Message received :  \"%1\"").arg(vName);
}

class TestSingleInstance : public QObject
{
    Q_OBJECT
    std::unique_ptr<Studio> m_first;

private Q_SLOTS:
    void initTestCase()
    {
        m_first = std::make_unique<Studio>(QStringList {"first.imp"});
        QVERIFY2(m_first->waitFor("start listening"), qPrintable(m_first->log));
#ifdef Q_OS_UNIX // no other account may connect
        const QFileInfo socket(QDir::temp().filePath(SingleInstance::serverName));
        QCOMPARE(socket.permissions()
                     & (QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup
                        | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther),
                 QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
#endif
    }

    void secondStartHandsOver_data()
    {
        addTableRows(QFINDTESTDATA("handover.txt"), {"arguments", "delivered"});
    }
    void secondStartHandsOver()
    {
        Studio second(cell("arguments").split('|', Qt::SkipEmptyParts));
        // It ends by itself, successfully, before any window: a first studio never ends alone.
        QVERIFY2(second.endsAlone(), qPrintable(second.log));
        QVERIFY(second.log.contains("Another Instance Running"));
        QVERIFY2(m_first->waitFor(received(cell("delivered"))), qPrintable(m_first->log));
    }

    void crashedStudioDoesNotBlockTheNext()
    {
        m_first->process.kill(); // no chance to remove its socket
        QVERIFY(m_first->process.waitForFinished());
        QVERIFY(QFileInfo::exists(QDir::temp().filePath(SingleInstance::serverName)));
        Studio next({"after-crash.imp"});
        QVERIFY2(next.waitFor("start listening"), qPrintable(next.log));
        QVERIFY(Studio({"later.imp"}).endsAlone());
        QVERIFY2(next.waitFor(received("later.imp")), qPrintable(next.log));
    }

    // In one process: of two connections made before either is read only the newer one is
    // served, and the start-up check routes names to the owner's function.
    void serverServesTheNewestConnection()
    {
        const QString name
            = QStringLiteral("tovrel-test-%1").arg(QCoreApplication::applicationPid());
        QObject owner;
        QStringList opened;
        const auto open = [&opened](const QString &v) {
            opened << v;
        };
        SingleInstance server(&owner);
        server.listen(name);
        QSignalSpy connections(&server, &SingleInstance::newConnection);
        connect(&server, &SingleInstance::readyRead, &owner, open);
        QLocalSocket older, newer;
        older.connectToServer(name);
        newer.connectToServer(name);
        QTRY_COMPARE(connections.count(), 2);
        older.write("old.imp");
        newer.write("new.imp");
        QVERIFY(older.waitForBytesWritten(5000) && newer.waitForBytesWritten(5000));
        QTest::qWait(100);
        QCOMPARE(opened, QStringList {"new.imp"});

        QObject secondOwner;
        QVERIFY(!SingleInstance::handOverOrServe("first.imp", &owner, open));
        QVERIFY(SingleInstance::handOverOrServe("ü,x.imp", &secondOwner, open));
        // Latin-1 out, UTF-8 in: a non-ASCII name arrives altered, as it always has.
        QTRY_COMPARE(opened.size(), 2);
        QCOMPARE(opened.last(), QString::fromUtf8(QString("ü,x.imp").toLatin1()));
    }
};

TOVREL_TEST_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
