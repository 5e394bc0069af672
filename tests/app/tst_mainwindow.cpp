#include "app/mainwindow.h"
#include "app/recentfiles.h"
#include "app/runmarks.h"
#include "app/studioextras.h"
#include "app/studioinfo.h"
#include "config/csettings.h"
#include "config/msettings.h"
#include "config/vsettings.h"
#include "editor/wlinenumberarea.h"
#include "editor/wsyntaxeditor.h"
#include "goldentable.h"
#include "mainwindowfixture.h"
#include "modalanswerer.h"
#include "tablecell.h"
#include "testfiles.h"
#include "testmain.h"
#include "workspace/outputhighlighter.h"
#include "workspace/runwatch.h"
#include "workspace/scriptlinelinks.h"
#include "workspace/workspace.h"
#include "workspace/woutputpane.h"
#include "workspace/wpsrchart.h"
#include <QAbstractTextDocumentLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QPlainTextEdit>
#include <QTabBar>
#include <QSignalSpy>
#include <QTextBlock>
#include <QToolButton>

#include <QDir>
#include <QMenu>
#include <QProcess>
#include <QScreen>
#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QShortcut>
#include <QTemporaryDir>
#include <QTextBrowser>

#include <memory>

namespace {

QAction *action(MainWindow &vWindow, const char *vName)
{
    auto *found = vWindow.findChild<QAction *>(QLatin1String(vName));
    if (!found)
        qFatal("no action %s", vName);
    return found;
}

QMenu *menu(MainWindow &vWindow, const char *vName)
{
    return vWindow.findChild<QMenu *>(QLatin1String(vName));
}

// A menu as text: entries separated by "|", a sub-menu's entries in brackets, disabled entries
// marked "~", checked ones "*".
QString describe(const QMenu *vMenu)
{
    QStringList entries;
    for (QAction *entry : vMenu->actions()) {
        QString text = entry->text();
        if (!entry->isEnabled())
            text.prepend('~');
        if (entry->isChecked())
            text.append('*');
        if (entry->menu())
            text += '[' + describe(entry->menu()) + ']';
        entries << text;
    }
    return entries.join('|');
}

void flushDeletes()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

QStringList documentNames(const MainWindow &vWindow)
{
    QStringList names;
    for (Workspace *document : vWindow.documents())
        names << QFileInfo(document->filePath()).fileName();
    return names;
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<MainWindow> m_window;

    QString script(const QString &vName, const QByteArray &vText = "DATA: x.dat;\n")
    {
        const QString path = m_dir.filePath(vName);
        QDir().mkpath(QFileInfo(path).absolutePath());
        writeFile(path, vText);
        return path;
    }
    MainWindow &window() { return *m_window; }
    StudioExtras *extras() { return m_window->findChild<StudioExtras *>(); }
    QStringList recentTexts()
    {
        QStringList texts;
        for (QAction *entry : extras()->recentMenu()->actions())
            texts << QString(entry->isEnabled() ? "" : "~")
                    + (entry->text().contains('/') ? QFileInfo(entry->text()).fileName()
                                                   : entry->text());
        return texts;
    }

private Q_SLOTS:
    void init()
    {
        m_window = freshMainWindow();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    }
    void cleanup()
    {
        discardMainWindow(m_window);
        flushDeletes();
    }

    // Opening rules: blanks trimmed, an output file stands for its script, a file open under
    // another case is activated, and a file that cannot be read leaves no document behind.
    void openingFiles()
    {
        const QString model = script("Model.imp");
        const QString other = script("other.imp");
        window().on_open("   ");
        QCOMPARE(window().documents().size(), 0);
        window().on_open("  " + m_dir.filePath("Model.TOVREL-OUT") + " ");
        QCOMPARE(documentNames(window()), QStringList({"Model.imp"}));
        window().on_open(other);
        QCOMPARE(window().activeDocument()->filePath(), other);
        window().on_open(m_dir.filePath("MODEL.IMP"));
        QCOMPARE(documentNames(window()), QStringList({"Model.imp", "other.imp"}));
        QCOMPARE(window().activeDocument()->filePath(), model);

        SeenBox seen;
        {
            ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
            window().on_open(m_dir.filePath("missing.imp"));
        }
        flushDeletes();
        QCOMPARE(seen.count, 1);
        QCOMPARE(documentNames(window()), QStringList({"Model.imp", "other.imp"}));
    }

    void goToTabMenuFollowsTheDocuments()
    {
        QMenu *tabs = menu(window(), "menuGo_to_tab");
        QCOMPARE(describe(tabs), QString());
        QVERIFY(!action(window(), "actionSave")->isEnabled());
        window().on_open(script("a.imp"));
        window().on_open(script("b.imp"));
        QCOMPARE(describe(tabs), QStringLiteral("a.imp|b.imp*"));
        QVERIFY(action(window(), "actionSave")->isEnabled());
        tabs->actions().first()->trigger();
        QCOMPARE(describe(tabs), QStringLiteral("a.imp*|b.imp"));
        QCOMPARE(window().activeDocument()->filePath(), m_dir.filePath("a.imp"));
        window().activeDocument()->editor()->insertPlainText("x");
        QCOMPARE(describe(tabs), QStringLiteral("a.imp**|b.imp")); // modified, and active
        window().activeDocument()->editor()->document()->setModified(false);
        action(window(), "actionClose_All")->trigger();
        flushDeletes();
        QCOMPARE(describe(tabs), QString());
        QVERIFY(!action(window(), "actionStart")->isEnabled());
    }

    // A first start opens on most of the screen. Save All saves every document; a refused close
    // of the second of three keeps the studio open with the first closed; the geometry is stored
    // once the studio does close, and the next start takes it.
    void saveAllAndClosing()
    {
        const QSize room = window().screen()->availableGeometry().size();
        QVERIFY(window().width() >= room.width() * 8 / 10);
        QVERIFY(window().height() >= room.height() * 8 / 10);
        for (const char *name : {"one.imp", "two.imp", "three.imp"})
            window().on_open(script(name));
        for (Workspace *document : window().documents())
            document->editor()->setPlainText("SEED: 7;");
        action(window(), "actionSave_All")->trigger();
        QCOMPARE(readFile(m_dir.filePath("one.imp")) + readFile(m_dir.filePath("three.imp")),
                 QByteArray("SEED: 7;SEED: 7;"));
        window().documents().at(1)->editor()->insertPlainText("unsaved ");
        window().setGeometry(40, 50, 900, 640);
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Cancel, &seen));
        QVERIFY(!window().close());
        flushDeletes();
        QCOMPARE(seen.count, 1);
        QCOMPARE(documentNames(window()), QStringList({"two.imp", "three.imp"}));
        QVERIFY(CSettings::instance().geometry().isEmpty());
        window().documents().at(0)->editor()->document()->setModified(false);
        QVERIFY(window().close());
        MainWindow next;
        QCOMPARE(next.size(), QSize(900, 640));
    }

    // The document's own actions and widgets never claim a key the main window uses.
    void shortcutsStayUnambiguous()
    {
        window().on_open(script("a.imp"));
        window().on_new();
        QMap<QString, QStringList> owners;
        for (QAction *found : window().findChildren<QAction *>()) {
            if (found->shortcut().isEmpty() || found->associatedObjects().isEmpty())
                continue;
            for (QObject *owner : found->associatedObjects()) {
                QObject *up = owner;
                while (up && up != &window())
                    up = up->parent();
                if (up)
                    owners[found->shortcut().toString()] << found->objectName();
            }
        }
        for (QShortcut *shortcut : window().findChildren<QShortcut *>())
            if (shortcut->isEnabled())
                owners[shortcut->key().toString()] << "QShortcut";
        for (auto it = owners.cbegin(); it != owners.cend(); ++it) {
            QStringList names = it.value();
            names.removeDuplicates();
            QVERIFY2(names.size() == 1, qPrintable(it.key() + ": " + names.join(", ")));
        }
        QCOMPARE(owners.value("Ctrl+Shift+S").value(0), "actionSave_As");
        QCOMPARE(owners.value("Ctrl+Alt+S").value(0), "actionSave_All");
    }

    // Run and Stop follow the document: a refused run leaves Run enabled, a running engine
    // enables Stop, and closing the document while it runs asks first.
    void runAndCloseFollowTheDocument()
    {
        const QString engine = script("slow.sh", "#!/bin/sh\nexec sleep 30\n");
        QFile::setPermissions(engine, QFile::permissions(engine) | QFile::ExeOwner);
        CSettings::instance().setCommandLineToolName(engine);
        QAction *run = action(window(), "actionStart"), *stop = action(window(), "actionStop");
        window().on_open(script("refused.imp", "#!" + m_dir.filePath("gone").toUtf8() + "\n"));
        run->trigger();
        QVERIFY(window().activeDocument()->outputPane()->text().contains("does not exist"));
        QVERIFY(run->isEnabled() && !stop->isEnabled());

        window().on_open(script("good.imp"));
        Workspace *document = window().activeDocument();
        run->trigger();
        QTRY_VERIFY(document->isRunning());
        QVERIFY(!run->isEnabled() && stop->isEnabled());
        const QString question("The engine is still running for good.imp. Stop it and close?");
        for (const QString answer : {"Cancel", "Stop and Close"}) {
            QString seen;
            ModalAnswerer answerer([&](QWidget *vModal) {
                seen = static_cast<QMessageBox *>(vModal)->text();
                clickButton(answer)(vModal);
            });
            action(window(), "actionClose")->trigger();
            flushDeletes();
            QCOMPARE(seen, question);
            QCOMPARE(documentNames(window()).size(), answer == "Cancel" ? 2 : 1);
        }
        QCOMPARE(window().activeDocument()->filePath(), m_dir.filePath("refused.imp"));
        QVERIFY(run->isEnabled() && !stop->isEnabled());
    }

    void actionsReachTheActiveDocument_data()
    {
        addTableRows(QFINDTESTDATA("editactions.txt"), {"name", "expected"});
    }
    void actionsReachTheActiveDocument()
    {
        window().on_open(script("a.imp", "DATA: x.dat;"));
        WSyntaxEditor *editor = window().activeDocument()->editor();
        editor->moveCursor(QTextCursor::Start);
        for (const QString &step : cell("name").split(' '))
            action(window(), qPrintable(step))->trigger();
        QTEST(editor->toPlainText(), "expected");
    }

    // Icons are read when first drawn; each must look as Qt's own reading of its resource does,
    // in every mode.
    void iconsDrawTheirResources_data() { addTableRows(QFINDTESTDATA("icons.txt"), {"resource"}); }
    void iconsDrawTheirResources()
    {
        window().on_new();
        QObject *owner = &window();
        for (const QString &name : QString::fromUtf8(QTest::currentDataTag()).split('/'))
            owner = owner ? owner->findChild<QObject *>(name) : nullptr;
        QVERIFY(owner);
        const QIcon icon = owner->property("icon").value<QIcon>();
        const QIcon reference(cell("resource"));
        QVERIFY(!reference.isNull() && !icon.isNull());
        for (QIcon::Mode mode : {QIcon::Normal, QIcon::Disabled, QIcon::Active})
            QCOMPARE(icon.pixmap(22, 22, mode).toImage(), reference.pixmap(22, 22, mode).toImage());
    }

    void runWithoutEngineOffersPreferences()
    {
        window().on_new();
        CSettings::instance().setCommandLineToolName(m_dir.filePath("no-engine"));
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        action(window(), "actionStart")->trigger();
        QCOMPARE(seen.title, QStringLiteral("Error!"));
        QCOMPARE(seen.text,
                 QStringLiteral("Cannot Find Tovrel Computational Engine.\n\nSet the path to the "
                                "engine in Preferences."));
        QCOMPARE(seen.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QVERIFY(window().preferences() && window().preferences()->isVisible());
        QVERIFY(action(window(), "actionStart")->isEnabled());
        // Asking again brings back the same window.
        VSettings *first = window().preferences();
        action(window(), "actionSettings")->trigger();
        QCOMPARE(window().preferences(), first);
    }

    void iterationHistoryShowsItsText()
    {
        window().on_new();
        QString shown;
        ModalAnswerer answerer([&shown](QWidget *vModal) {
            if (auto *viewer = vModal->findChild<QTextBrowser *>()) {
                shown = vModal->windowTitle() + ": " + viewer->toPlainText();
                QVERIFY(viewer->isReadOnly());
            }
            vModal->close();
        });
        action(window(), "actionIterations")->trigger();
        QCOMPARE(shown, QStringLiteral("Iteration History: No Iteration History"));
    }

    void examplesMenu_data()
    {
        addTableRows(QFINDTESTDATA("examplesmenu.txt"), {"folders", "expected"});
    }
    void examplesMenu()
    {
        QTemporaryDir examples;
        for (const QString &name : cells("folders"))
            QDir(examples.path()).mkpath(name);
        window().buildExamplesMenu(cell("folders") == "-" ? examples.filePath("missing")
                                                          : examples.path());
        QTEST(describe(menu(window(), "menuExamples")), "expected");
    }

    // Without a maintenance tool to start, installing examples says so and quits nothing.
    void installExamplesWithoutToolStaysOpen()
    {
        window().buildExamplesMenu(m_dir.filePath("missing"));
        window().on_new();
        window().activeDocument()->editor()->insertPlainText("unsaved");
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        menu(window(), "menuExamples")->actions().last()->trigger();
        QVERIFY2(seen.text.contains("cannot be started"), qPrintable(seen.text));
        QCOMPARE(seen.count, 1);
        QVERIFY(window().isVisible() && window().activeDocument()->isModified());
    }

    void choosingAnExampleOpensItsScript()
    {
        const QString folder = m_dir.filePath("guide");
        script("guide/2.1-One/b.imp");
        script("guide/2.1-One/a.imp");
        window().buildExamplesMenu(folder);
        QAction *entry = menu(window(), "menuExamples")->actions().at(1)->menu()->actions().first();
        QCOMPARE(entry->data().toString(), QStringLiteral("2.1-One"));
        entry->trigger();
        QCOMPARE(documentNames(window()), QStringList({"a.imp"}));
        entry->trigger(); // already open: activated, not opened twice
        QCOMPARE(window().documents().size(), 1);

        QDir(folder + "/2.1-One").removeRecursively();
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        entry->trigger();
        QCOMPARE(seen.title, QStringLiteral("Error!"));
        QCOMPARE(seen.text,
                 QStringLiteral("Cannot find selected example.\n\n Check that they have been "
                                "downloaded in the updater."));
    }

    void newVersionResets_data()
    {
        addTableRows(QFINDTESTDATA("newversion.txt"), {"stored", "reset"});
    }
    void newVersionResets()
    {
        const QString stored
            = cell("stored") == "current" ? MainWindow::versionText() : cell("stored");
        const bool reset = cell("reset") == "1";
        m_window.reset();
        CSettings &settings = CSettings::instance();
        QSettings().clear();
        if (!stored.isEmpty())
            settings.setVersion(stored);
        QVariantMap plot = settings.plotDefaults();
        plot["width"] = 123;
        settings.setPlotSettings(plot);
        settings.setDefaultCommandSet("SEED: 1;");
        settings.setCommandLineToolName("/opt/custom-engine");
        m_window = std::make_unique<MainWindow>();
        QCOMPARE(settings.version(), MainWindow::versionText());
        QCOMPARE(settings.plotSettings().value("width").toInt(), reset ? 900 : 123);
        QCOMPARE(settings.store().defaultCommandSet().startsWith("DATA: ;"), reset);
        QCOMPARE(settings.commandLineToolName(),
                 reset ? CSettings::stableEnginePath() : QStringLiteral("/opt/custom-engine"));
    }

    void engineVersion_data()
    {
        addTableRows(QFINDTESTDATA("engineversion.txt"), {"engine", "expected"});
    }
    void engineVersion()
    {
        QFETCH(QString, engine);
        writeFile(m_dir.filePath("data.txt"), "1 2 3\n");
        writeFile(m_dir.filePath("fails.sh"), "#!/bin/sh\necho broken >&2\nexit 3\n");
        QFile::setPermissions(m_dir.filePath("fails.sh"), QFile::ReadOwner | QFile::ExeOwner);
        if (engine.endsWith(".txt") || engine.endsWith(".sh"))
            engine = m_dir.filePath(engine);
        else if (engine == "demo")
            engine = qEnvironmentVariable("TOVREL_TEST_BIN_DIR") + "/tovrel";
        const QString answer = StudioInfo::engineVersion(engine);
        QVERIFY2(answer.contains(cell("expected")), qPrintable(answer));
    }

    // The real executable, started on a settings file it has never seen, one a crash or a disk
    // damaged, or one a newer version wrote: it opens its argument and keeps what it can read.
    void realStudioOpensItsArgument_data()
    {
        QTest::addColumn<QByteArray>("settings");
        // clang-format off
        QTest::newRow("first start") << QByteArray();
        QTest::newRow("damaged settings file") << QByteArray("[Tovrel]\nVerticalLayout=true\n\0\xff\xfe\x01[[[=\nDarkModeSet=maybe\n[SyntaxEditor\nFont=@Variant(\0\0\x7f\n", 88);
        QTest::newRow("settings of a newer version") << QByteArray("[General]\nVersion=99.0.0\n[Tovrel]\nVerticalLayout=true\nFutureKey=kept\n[Plot]\nSettings=@Variant(\\0\\0\\0\\x7f\\0\\0\\0\\x10NewerType)\n");
        // clang-format on
    }
    void realStudioOpensItsArgument()
    {
        QFETCH(QByteArray, settings);
        const QString bin = qEnvironmentVariable("TOVREL_TEST_BIN_DIR");
        const QString studio = bin + "/tovrel-studio";
        if (!QFileInfo::exists(studio))
            QSKIP("the studio executable has not been built");
        const QString model = script("run me.imp");
        QTemporaryDir profile;
        QDir().mkpath(profile.filePath("tovrel"));
        if (!settings.isEmpty())
            writeFile(profile.filePath("tovrel/gui.conf"), settings);
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", profile.path());
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(studio, {model, "ignored-second-argument.imp"});
        QVERIFY(process.waitForStarted());
        QByteArray log;
        QTRY_VERIFY_WITH_TIMEOUT((log += process.readAll()).contains(" ~ did_read ~ "), 20000);
        // The engine beside the studio became the stable engine on the first start (the
        // settings reach the disk once the studio's event loop runs).
        const auto engine = [&profile] {
            return QSettings(profile.filePath("tovrel/gui.conf"), QSettings::IniFormat)
                .value("Tovrel/CommandLineToolName")
                .toString();
        };
        QTRY_COMPARE_WITH_TIMEOUT(engine(), bin + "/tovrel", 10000);
        process.kill();
        process.waitForFinished();
        QVERIFY2(log.contains(QFile::encodeName(model)), log.constData());
        QVERIFY(!log.contains("ignored-second-argument"));
        const QSettings stored(profile.filePath("tovrel/gui.conf"), QSettings::IniFormat);
        QCOMPARE(stored.value("Tovrel/VerticalLayout").toString(),
                 settings.isEmpty() ? "" : "true");
        QCOMPARE(stored.value("Tovrel/FutureKey").toString(),
                 settings.contains("Future") ? "kept" : "");
    }

    // Beyond the menus: line numbers, recent files, go to line, find in the output and links
    // from the output to the script.
    void recentList_data() { addTableRows(QFINDTESTDATA("recentlist.txt"), {"steps", "expected"}); }
    void recentList()
    {
        RecentFiles recent;
        for (const QString &step : cells("steps")) {
            if (step.startsWith('*'))
                for (int i = 1; i <= step.mid(1).toInt(); ++i)
                    recent.add(m_dir.filePath(QString::number(i)));
            else if (step.startsWith('+'))
                recent.add(step.mid(1).trimmed().isEmpty() ? " " : m_dir.filePath(step.mid(1)));
            else
                recent.remove(m_dir.filePath(step.mid(1)));
        }
        QStringList names;
        for (const QString &path : recent.paths())
            names << QFileInfo(path).fileName();
        QCOMPARE(names, cells("expected"));
        // A stored list reads back the same, and a longer stored list is cut to the limit.
        QCOMPARE(RecentFiles(recent.paths()).paths(), recent.paths());
    }

    // On by default, remembered, and the View menu switches every open editor.
    void lineNumbersSettingAndGutter()
    {
        QVERIFY(MSettings().lineNumbers());
        m_window->on_open(script("a.imp", QByteArray("x\n").repeated(20)));
        WSyntaxEditor *editor = m_window->activeDocument()->editor();
        WLineNumberArea *gutter = editor->lineNumberArea();
        QVERIFY(gutter->isVisible());
        QCOMPARE(editor->viewport()->geometry().left() - editor->contentsRect().left(),
                 gutter->width());
        QCOMPARE(gutter->font().family(), editor->font().family());
        // The current line's number is drawn on the current-line colour.
        editor->goToLine(3);
        const QRectF third = editor->document()->documentLayout()->blockBoundingRect(
            editor->document()->findBlockByNumber(2));
        const QImage image = gutter->grab().toImage();
        QCOMPARE(image.pixelColor(1, int(third.center().y())), editor->lineHighlightColour());
        QVERIFY(image.pixelColor(1, int(third.center().y() + third.height()))
                != editor->lineHighlightColour());

        extras()->lineNumbersAction()->trigger();
        QVERIFY(!gutter->isVisible());
        QCOMPARE(editor->viewport()->geometry().left(), editor->contentsRect().left());
        QVERIFY(!MSettings().lineNumbers());
        WSyntaxEditor later;
        QVERIFY(!later.lineNumbersVisible());
        extras()->lineNumbersAction()->trigger();
        QVERIFY(gutter->isVisible() && MSettings().lineNumbers());
    }

    // Opening and saving fill the list; a gone file is dropped with a message; Clear empties it.
    void openRecent()
    {
        const QString a = script("a.imp"), b = script("b.imp"), c = script("c.imp");
        m_window->on_open(a);
        m_window->on_open(b);
        m_window->on_new();
        QCOMPARE(recentTexts(), QStringList({"b.imp", "a.imp", "", "Clear Recent Files"}));
        m_window->on_open(c);
        QVERIFY(m_window->activeDocument()->on_save(false));
        QCOMPARE(recentTexts().first(), "c.imp");
        QCOMPARE(CSettings::instance().recentFiles().size(), 3);

        QFile::remove(b);
        SeenBox seen;
        {
            ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
            extras()->recentMenu()->actions().at(1)->trigger();
        }
        QCOMPARE(seen.count, 1);
        QVERIFY(seen.text.contains("b.imp"));
        QCOMPARE(recentTexts(), QStringList({"c.imp", "a.imp", "", "Clear Recent Files"}));

        m_window->findChild<QAction *>("actionClose_All")->trigger();
        QCOMPARE(m_window->documents().size(), 0);
        extras()->recentMenu()->actions().at(1)->trigger();
        QCOMPARE(m_window->activeDocument()->filePath(), a);
        QCOMPARE(recentTexts().first(), "a.imp");

        m_window->findChild<QAction *>("actionClear_Recent_Files")->trigger();
        QCOMPARE(recentTexts(), QStringList({"", "~Clear Recent Files"}));
        QVERIFY(CSettings::instance().recentFiles().isEmpty());
    }

    // Go to Line asks within 1..lines and moves the cursor; the status bar follows the cursor.
    void goToLineAndStatusBar()
    {
        m_window->on_open(script("a.imp", "one\ntwo\nthree\nfour\n"));
        // On X the focus moves into the new document through the server, briefly leaving no
        // window active.
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        WSyntaxEditor *editor = m_window->activeDocument()->editor();
        int maximum = 0;
        ModalAnswerer answerer([&maximum](QWidget *vModal) {
            auto *dialog = qobject_cast<QInputDialog *>(vModal);
            maximum = dialog->intMaximum();
            dialog->setIntValue(3);
            dialog->accept();
        });
        QTest::keyClick(m_window.get(), Qt::Key_J, Qt::ControlModifier);
        QCOMPARE(answerer.count(), 1);
        QCOMPARE(maximum, 5);
        QCOMPARE(editor->textCursor().blockNumber(), 2);
        QCOMPARE(extras()->positionLabel()->text(), "Line 3, Column 1");
        QTest::keyClick(editor, Qt::Key_End);
        QCOMPARE(extras()->positionLabel()->text(), "Line 3, Column 6");
    }

    // With the output pane focused the bar finds there and cannot replace.
    void findInOutput()
    {
        m_window->on_open(script("a.imp"));
        Workspace *document = m_window->activeDocument();
        WOutputPane *pane = document->outputPane();
        pane->setText("alpha\nbeta\ngamma beta\n");
        QApplication::setActiveWindow(m_window.get());
        pane->setFocus();
        QTRY_VERIFY(pane->hasFocus());
        document->on_find();
        auto *find = document->findChild<QLineEdit *>("leFind");
        QTest::keyClicks(find, "beta");
        QCOMPARE(pane->textCursor().selectedText(), "beta");
        QCOMPARE(pane->textCursor().blockNumber(), 1);
        QVERIFY(!document->findChild<QLineEdit *>("leReplace")->isEnabled());
        document->findChild<QToolButton *>("tbFindNext")->click();
        QCOMPARE(pane->textCursor().blockNumber(), 2);
        QVERIFY(!document->editor()->textCursor().hasSelection());
        document->editor()->setFocus();
        QTRY_VERIFY(document->findChild<QLineEdit *>("leReplace")->isEnabled());
    }

    void linksFound_data() { addTableRows(QFINDTESTDATA("links.txt"), {"text", "start", "line"}); }
    void linksFound()
    {
        QFETCH(QString, text);
        const int start = cell("start").toInt(), line = cell("line").toInt();
        const QList<ScriptLineLinks::Link> links = ScriptLineLinks::find(text);
        QCOMPARE(links.size(), line > 0 ? 1 : 0);
        if (line > 0)
            QCOMPARE(ScriptLineLinks::at(text, start + 1).line, line);
    }

    // The real engine names the faulty line; clicking it puts the editor's cursor there.
    void outputLinkJumpsToTheScript()
    {
        CSettings::instance().setCommandLineToolName(qEnvironmentVariable("TOVREL_TEST_BIN_DIR")
                                                     + "/tovrel");
        m_window->on_open(script("bad.imp", "DATA: x.dat;\nVARIABLES: a b;\nMODEL: a ~ ;\n"));
        Workspace *document = m_window->activeDocument();
        QSignalSpy finished(document, &Workspace::process_finished);
        document->on_run();
        QVERIFY(!finished.isEmpty() || finished.wait(60000));
        WOutputPane *pane = document->outputPane();
        QTextBlock error = pane->document()->find("line 3").block();
        QVERIFY2(error.isValid(), qPrintable(pane->text()));
        const int column = int(error.text().indexOf("line 3"));
        QTextCursor at(error);
        at.setPosition(error.position() + column + 2);
        pane->ensureCursorVisible();
        pane->setTextCursor(at);
        QCoreApplication::processEvents();
        QVERIFY(!error.layout()->formats().isEmpty());
        QTest::mouseClick(pane->viewport(), Qt::LeftButton, {}, pane->cursorRect(at).center());
        QCOMPARE(document->editor()->textCursor().blockNumber(), 2);
        QTRY_VERIFY(document->editor()->hasFocus());
    }

    // A real run of the slow-convergence example: while it runs its tab carries the running
    // mark and the status bar counts it; afterwards the chart holds one point per row of the
    // PSR table in the output, at the row's last iteration and highest PSR.
    void runShowsItsProgressAndPsrChart()
    {
        CSettings::instance().setCommandLineToolName(qEnvironmentVariable("TOVREL_TEST_BIN_DIR")
                                                     + "/tovrel");
        const QString example = "1.1-Potential Scale Reduction";
        const QDir source(qEnvironmentVariable("TOVREL_TEST_BIN_DIR") + "/User Guide Examples/"
                          + example);
        QVERIFY2(source.exists("slow_convergence.imp"), qPrintable(source.path()));
        QDir().mkpath(m_dir.filePath(example));
        for (const QString &name : source.entryList(QDir::Files))
            QVERIFY(QFile::copy(source.filePath(name), m_dir.filePath(example + "/" + name)));
        window().on_open(m_dir.filePath(example + "/slow_convergence.imp"));
        Workspace *document = window().activeDocument();
        QVERIFY(document);
        auto *marks = window().findChild<RunMarks *>();
        const QTabBar *tabs = window().findChild<QMdiArea *>()->findChild<QTabBar *>();
        QStringList seen;
        connect(document, &Workspace::runningChanged, this, [&](bool vRunning) {
            seen << QString("%1 %2 %3 %4")
                        .arg(vRunning)
                        .arg(marks->label()->isVisibleTo(&window()))
                        .arg(marks->label()->text())
                        .arg(tabs->tabIcon(0).cacheKey() == marks->runningIcon().cacheKey());
        });
        // The pane keeps its width from the first output on: narrowing it lays out all of it again.
        const QWidget *pane = document->findChild<QPlainTextEdit *>("te_Out");
        QSet<int> widths;
        connect(document, &Workspace::output_receieved, this,
                [&] { widths << pane->width(); });
        QSignalSpy finished(document, &Workspace::process_finished);
        document->on_run();
        QVERIFY(!finished.isEmpty() || finished.wait(60000));
        QCOMPARE(seen, QStringList({"1 1 1 document running 1", "0 0 0 documents running 0"}));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        widths << pane->width();
        QCOMPARE(widths.size(), 1);
        QVERIFY(!document->runWatch()->progressLine()->isVisibleTo(document));

        static const QRegularExpression row(R"(^ +(\d+) to (\d+) +([\d.]+) +\d+ )",
                                            QRegularExpression::MultilineOption);
        QList<QPointF> rows;
        for (auto match = row.globalMatch(document->iterationHistory()); match.hasNext();) {
            const QRegularExpressionMatch found = match.next();
            rows << QPointF(found.captured(2).toDouble(), found.captured(3).toDouble());
        }
        QVERIFY(rows.size() >= 10);
        WPsrChart *chart = document->runWatch()->chart();
        QCOMPARE(chart->points(), rows);
        QVERIFY(chart->isVisibleTo(document));
    }
};

TOVREL_TEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
