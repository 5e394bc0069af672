#include "app/singleinstance.h"
#include "testmain.h"

#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>

#include <memory>

// A studio process of the real executable, its debug log collected as it runs.
class Studio
{
public:
    explicit Studio(const QStringList &vArguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_LOGGING_RULES"),
                           QStringLiteral("default.debug=true"));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        QObject::connect(&m_process, &QProcess::readyRead,
                         [this] { m_log += m_process.readAll(); });
        QString folder = qEnvironmentVariable("TOVREL_TEST_BIN_DIR");
        if (folder.isEmpty()) // run by hand from the build folder's tests
            folder = QCoreApplication::applicationDirPath() + "/../bin";
        m_process.start(folder + "/tovrel-studio", vArguments);
    }
    ~Studio()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    bool logHas(const QString &vText) const { return QString::fromUtf8(m_log).contains(vText); }
    // Waits for vText in the log; gives up early when the process has ended.
    bool waitForLog(const QString &vText, int vMsecs = 60000)
    {
        QDeadlineTimer deadline(vMsecs);
        while (!logHas(vText) && !deadline.hasExpired()) {
            if (m_process.state() == QProcess::NotRunning)
                return logHas(vText);
            QTest::qWait(20);
        }
        return logHas(vText);
    }
    QProcess &process() { return m_process; }
    QString log() const { return QString::fromUtf8(m_log); }

private:
    QProcess m_process;
    QByteArray m_log;
};

static QString received(const QString &vName)
{
    return QStringLiteral("Message received :  \"%1\"").arg(vName);
}

static QString socketPath()
{
    return QDir::temp().filePath(SingleInstance::serverName);
}

class TestSingleInstance : public QObject
{
    Q_OBJECT
    std::unique_ptr<Studio> m_first;

private Q_SLOTS:
    void initTestCase()
    {
        m_first = std::make_unique<Studio>(QStringList {"first.imp"});
        QVERIFY2(m_first->waitForLog("start listening"), qPrintable(m_first->log()));
    }

    void socketAdmitsOnlyItsUser()
    {
#ifndef Q_OS_UNIX
        QSKIP("socket file permissions exist on Unix only");
#endif
        const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup
            | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
        const QFile::Permissions permissions = QFileInfo(socketPath()).permissions();
        QVERIFY(permissions & QFile::WriteOwner);
        QCOMPARE(permissions & others, QFile::Permissions());
    }

    void secondStartHandsOver_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("delivered");
        QTest::newRow("a file") << QStringList {"/data/model.imp"} << "/data/model.imp";
        QTest::newRow("no argument: the empty name") << QStringList() << "";
        QTest::newRow("a comma stays inside the one name") << QStringList {"a,b.imp"} << "a,b.imp";
        QTest::newRow("only the first argument") << QStringList {"one.imp", "two.imp"} << "one.imp";
    }
    void secondStartHandsOver()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, delivered);
        Studio second(arguments);
        // It ends by itself, successfully, before any window: a first studio never ends alone.
        QVERIFY(second.process().waitForFinished(60000));
        QCOMPARE(second.process().exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.process().exitCode(), 0);
        QVERIFY2(second.logHas("Another Instance Running"), qPrintable(second.log()));
        QVERIFY2(m_first->waitForLog(received(delivered)), qPrintable(m_first->log()));
    }

    void crashedStudioDoesNotBlockTheNext()
    {
        m_first->process().kill(); // no chance to remove its socket
        QVERIFY(m_first->process().waitForFinished());
        QVERIFY(QFileInfo::exists(socketPath()));

        Studio next({"after-crash.imp"});
        QVERIFY2(next.waitForLog("start listening"), qPrintable(next.log()));
        QCOMPARE(next.process().state(), QProcess::Running);
        Studio later({"later.imp"});
        QVERIFY(later.process().waitForFinished(60000));
        QCOMPARE(later.process().exitCode(), 0);
        QVERIFY2(next.waitForLog(received("later.imp")), qPrintable(next.log()));
    }

    // In one process: names reach the owner's slot, and of two connections made before either
    // is read only the newer one is served.
    void serverRoutesOnlyTheNewestConnection()
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
        QVERIFY(older.waitForConnected(5000) && newer.waitForConnected(5000));
        QTRY_COMPARE(connections.count(), 2);
        older.write("old.imp");
        newer.write("new.imp");
        QVERIFY(older.waitForBytesWritten(5000) && newer.waitForBytesWritten(5000));
        QTRY_COMPARE(opened, QStringList {"new.imp"});
        QTest::qWait(100);
        QCOMPARE(opened, QStringList {"new.imp"});

        // The start-up check from a second "process": handed over, and delivered to vOpen.
        QObject secondOwner;
        QVERIFY(!SingleInstance::handOverOrServe("first.imp", &owner, open));
        QVERIFY(SingleInstance::handOverOrServe("ü,x.imp", &secondOwner, open));
        // Latin-1 out, UTF-8 in: a non-ASCII name arrives altered, as it always has.
        QTRY_COMPARE(opened.size(), 2);
        QCOMPARE(opened.last(), QString::fromUtf8(QString("ü,x.imp").toLatin1()));
    }
};

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    QApplication application(argc, argv);
    TestSingleInstance tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "tst_singleinstance.moc"
