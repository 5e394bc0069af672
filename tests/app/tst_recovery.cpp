#include "app/documentsafety.h"
#include "app/drecovery.h"
#include "config/csettings.h"
#include "config/msettings.h"
#include "goldentable.h"
#include "mainwindowfixture.h"
#include "modalanswerer.h"
#include "testmain.h"
#include "workspace/recoverystore.h"

#include <QDirIterator>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTreeWidget>

// Real studios on a real X display (Xvfb with a window manager), typed into with xdotool.
class XServer
{
public:
    XServer()
    {
        for (const char *tool : {"Xvfb", "openbox", "xdotool"})
            if (QStandardPaths::findExecutable(tool).isEmpty())
                return;
        m_server.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"});
        if (!m_server.waitForReadyRead(10000))
            return;
        m_name = ":" + QString::fromLatin1(m_server.readLine()).trimmed();
        m_manager.setProcessEnvironment(environment());
        m_manager.start("openbox", {});
        m_manager.waitForStarted();
    }
    ~XServer()
    {
        m_manager.kill();
        m_manager.waitForFinished();
        m_server.kill();
        m_server.waitForFinished();
    }
    bool isUp() const { return !m_name.isEmpty(); }
    QProcessEnvironment environment(const QString &vTemp = {}) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DISPLAY", m_name);
        environment.insert("QT_QPA_PLATFORM", "xcb");
        // Under the address checker an X client leaks inside the system's X and GL libraries,
        // unwound too shallowly to suppress; the studio's own code is leak-checked offscreen.
        environment.insert("ASAN_OPTIONS", environment.value("ASAN_OPTIONS") + ":detect_leaks=0");
        if (!vTemp.isEmpty()) // a second studio must not find the first one's socket
            environment.insert("TMPDIR", vTemp);
        return environment;
    }
    // Runs xdotool; gives its output, or a null string when it failed.
    QString xdotool(const QStringList &vArguments) const
    {
        QProcess tool;
        tool.setProcessEnvironment(environment());
        tool.start("xdotool", vArguments);
        if (!tool.waitForFinished(20000) || tool.exitCode() != 0) {
            tool.kill();
            return {};
        }
        return QString::fromLatin1(tool.readAllStandardOutput()).trimmed() + QLatin1String("");
    }
    // Starts a studio and makes its main window the active one.
    bool start(QProcess &vStudio, const QStringList &vArguments, const QString &vTemp = {})
    {
        vStudio.setProcessEnvironment(environment(vTemp));
        vStudio.start(qEnvironmentVariable("TOVREL_TEST_BIN_DIR") + "/tovrel-studio", vArguments);
        const QString window = xdotool({"search", "--sync", "--onlyvisible", "--pid",
                                        QString::number(vStudio.processId()), "--name",
                                        "^Tovrel Studio$"})
                                   .section('\n', 0, 0);
        return !window.isEmpty() && !xdotool({"windowactivate", "--sync", window}).isNull();
    }
    void type(const QString &vText) const { xdotool({"type", "--delay", "15", vText}); }
    void key(const QString &vKeys) const { xdotool(QStringList {"key"} + vKeys.split(' ')); }

private:
    QProcess m_server;
    QProcess m_manager;
    QString m_name;
};

static QStringList copiesIn(const QString &vRoot)
{
    QStringList found;
    QDirIterator it(vRoot, {"*" + RecoveryStore::kSuffix}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        found << it.next();
    return found;
}

static QByteArray readAll(const QString &vPath)
{
    QFile file(vPath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class TestRecovery : public QObject
{
    Q_OBJECT
    std::unique_ptr<XServer> m_display;
    std::unique_ptr<MainWindow> m_window;
    QTemporaryDir m_files;
    QString m_root;

    // Settings shared with the studios started here: this version, and an engine, so that no
    // Preferences window comes up to take the typing.
    void freshWindow()
    {
        if (m_window)
            discardMainWindow(m_window);
        m_window = freshMainWindow();
        CSettings::instance().store().setCommandLineToolName(QStandardPaths::findExecutable("true"));
        QSettings().sync();
    }

    // Answers the recovery list with vButton and gives back what it listed.
    QStringList answerList(const QString &vButton)
    {
        QStringList rows;
        ModalAnswerer answerer([&](QWidget *vModal) {
            auto *dialog = qobject_cast<DRecovery *>(vModal);
            if (!dialog)
                return;
            for (int i = 0; i < dialog->list()->topLevelItemCount(); ++i) {
                const QTreeWidgetItem *row = dialog->list()->topLevelItem(i);
                rows << row->text(0) + (row->flags() & Qt::ItemIsEnabled ? "" : " [off]");
            }
            for (QAbstractButton *button : dialog->findChildren<QAbstractButton *>())
                if (button->text().remove('&') == vButton)
                    button->click();
        });
        m_window->safety()->offerRecovery();
        return rows;
    }

private Q_SLOTS:
    void initTestCase()
    {
        freshWindow();
        m_root = RecoveryStore::defaultRoot();
    }
    void cleanup()
    {
        freshWindow();
        QDir(m_root).removeRecursively();
    }

    void killedStudioGivesBackEveryScript()
    {
        m_display = std::make_unique<XServer>();
        if (!m_display->isUp())
            QSKIP("needs Xvfb, openbox and xdotool");
        const QString script = m_files.filePath("model.imp");
        const QByteArray original = "DATA: model.dat;\n";
        QFile file(script);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(original) == original.size());
        file.close();

        QProcess first;
        QVERIFY(m_display->start(first, {script}));
        m_display->key("ctrl+End");
        m_display->type("ANALYSIS: fast; # typed");
        m_display->key("ctrl+n");
        m_display->key("ctrl+a");
        m_display->type("untitled & unsaved");
        QTRY_COMPARE_WITH_TIMEOUT(copiesIn(m_root).size(), 2, 15000);

        // A second studio beside the first neither offers nor touches the first one's copies.
        QProcess second;
        QTemporaryDir secondTemp;
        QVERIFY(m_display->start(second, {}, secondTemp.path()));
        QTest::qWait(1500);
        QVERIFY(m_display->xdotool({"search", "--name", "Recover Unsaved Scripts"}).isNull());
        QCOMPARE(copiesIn(m_root).size(), 2);
        QCOMPARE(answerList("Recover"), QStringList()); // both still run: nothing to offer
        second.kill();
        second.waitForFinished();

        first.kill(); // SIGKILL: no destructor, no clean-up
        QVERIFY(first.waitForFinished());
        freshWindow();
        const QStringList rows = answerList("Recover");
        QCOMPARE(rows.size(), 2);
        QVERIFY2(rows.contains(QDir::toNativeSeparators(script)), qPrintable(rows.join('|')));
        QCOMPARE(readAll(script), original); // untouched until the user saves
        QStringList texts;
        for (Workspace *document : m_window->documents()) {
            QVERIFY(document->isModified());
            texts << document->filePath() + "=" + document->editor()->toPlainText();
        }
        QCOMPARE(texts, QStringList({script + "=" + original + "ANALYSIS: fast; # typed",
                                     "=untitled & unsaved"}));
        m_window->documents().first()->on_save(false);
        QCOMPARE(readAll(script), original + "ANALYSIS: fast; # typed");
        QTRY_COMPARE(copiesIn(m_root).size(), 1); // the untitled one keeps its copy
    }

    void cleanQuitLeavesNoCopiesAndReopensTheSession()
    {
        if (!m_display || !m_display->isUp())
            QSKIP("needs Xvfb, openbox and xdotool");
        const QString script = m_files.filePath("session.imp");
        QFile file(script);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("DATA: a;\nNAMES: b;\n") > 0);
        file.close();
        QProcess studio;
        QVERIFY(m_display->start(studio, {script}));
        m_display->key("ctrl+End");
        m_display->type("x");
        QTRY_COMPARE_WITH_TIMEOUT(copiesIn(m_root).size(), 1, 15000);
        m_display->key("ctrl+q");
        QTest::qWait(1000);
        m_display->key("Tab space"); // Save, Discard, Cancel: Discard
        QVERIFY(studio.waitForFinished(15000));
        QCOMPARE(studio.exitCode(), 0);
        QCOMPARE(copiesIn(m_root), QStringList());
        QVERIFY(QDir(m_root).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot));

        QSettings().sync(); // the studio wrote the settings file behind this process's back
        MSettings &settings = CSettings::instance().store();
        QCOMPARE(settings.sessionFiles(), QStringList {script});
        QCOMPARE(settings.sessionCursors(), QList<int> {20});
        settings.setSessionFiles({m_files.filePath("gone.imp"), script});
        settings.setSessionCursors({3, 7});
        m_window->safety()->restoreSession();
        QCOMPARE(m_window->documents().size(), 1);
        QCOMPARE(m_window->documents().first()->editor()->textCursor().position(), 7);
        QVERIFY(m_window->statusBar()->currentMessage().contains("gone.imp"));
    }

    void unwritableCopiesAreReportedOnce()
    {
        QVERIFY(QDir().mkpath(QFileInfo(m_root).absolutePath()));
        QFile blocker(m_root); // a file where the recovery folder belongs
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        m_window->on_new();
        QTest::keyClick(m_window->documents().first()->editor(), 'x');
        QTRY_VERIFY(m_window->statusBar()->currentMessage().contains("cannot be kept"));
        QVERIFY(blocker.remove());
    }

    void badCopiesAreShownAndLaterKeepsThem_data()
    {
        addTableRows(QFINDTESTDATA("recoverycopies.txt"), {"content", "listed"});
    }
    void badCopiesAreShownAndLaterKeepsThem()
    {
        QFETCH(QString, content);
        QFETCH(QString, listed);
        listed.replace("{dir}", QDir::toNativeSeparators(m_files.path()));
        // A folder whose lock names a process that is not running.
        const QString folder = m_root + "/4242-dead";
        QVERIFY(QDir().mkpath(folder));
        QFile lock(folder + "/lock");
        QVERIFY(lock.open(QIODevice::WriteOnly) && lock.write("999999\ntovrel-studio\n\n") > 0);
        lock.close();
        QFile copy(folder + "/document-1" + RecoveryStore::kSuffix);
        QVERIFY(copy.open(QIODevice::WriteOnly));
        copy.write(content.replace("{dir}", m_files.path()).toUtf8().replace("\\xff", "\xff"));
        copy.close();

        QCOMPARE(answerList("Later"), QStringList {listed});
        QCOMPARE(copiesIn(m_root).size(), 1);
        QCOMPARE(answerList("Recover"), QStringList {listed});
        QCOMPARE(m_window->documents().size(), listed.endsWith("[off]") ? 0 : 1);
        QVERIFY(!QDir(folder).exists());
    }
};

TOVREL_TEST_MAIN(TestRecovery)
#include "tst_recovery.moc"
