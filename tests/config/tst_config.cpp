#include "config/csettings.h"
#include "config/mconfiguration.h"
#include "config/msettings.h"
#include "config/svgiconengine.h"
#include "fileguard.h"
#include "goldentable.h"
#include "tablecell.h"
#include "testfiles.h"
#include "testmain.h"

#include <QColor>
#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QPixmap>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace {

QString resolveEngine(const QString &vName)
{
    if (vName == "stable")
        return CSettings::stableEnginePath();
    return vName == "preview" ? CSettings::previewEnginePath() : vName;
}

} // namespace

class TestConfig : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { QSettings().clear(); }

    // The names the studio's files go by: its settings store, the engines beside the program.
    void namesOnDisk()
    {
        MSettings settings;
        QCOMPARE(QCoreApplication::organizationDomain(), QStringLiteral("tovrel"));
        QCOMPARE(QCoreApplication::applicationVersion(),
                 QStringLiteral("Tovrel Studio Version 4.0.1"));
        // The store, named after the organisation and the application, lands in the per-test
        // folder, never in the user's real profile.
        QVERIFY(QSettings().fileName().startsWith(qEnvironmentVariable("XDG_CONFIG_HOME")));
        QVERIFY(QSettings().fileName().endsWith(QStringLiteral("tovrel/gui.conf")));
        const QString dir = QCoreApplication::applicationDirPath();
#ifdef Q_OS_WIN
        const QString suffix = ".exe";
#else
        const QString suffix;
#endif
        QCOMPARE(CSettings::stableEnginePath(), dir + "/tovrel" + suffix);
        QCOMPARE(CSettings::previewEnginePath(), dir + "/tovrel-beta" + suffix);
    }

    void resources_data()
    {
        addTableRows(QFINDTESTDATA("resources.txt"), {"path", "count", "first", "last"});
    }
    void resources()
    {
        QFETCH(QString, path);
        const int lines = cell("count").toInt();
        const QString text = MSettings::resourceText(path);
        // Every line, the last included, ends in CR LF, and there are no bare line feeds.
        QCOMPARE(text.count(QStringLiteral("\r\n")), lines);
        QCOMPARE(text.count(QLatin1Char('\n')), lines);
        const QStringList entries = MSettings::resourceLines(path);
        QCOMPARE(entries.size(), lines);
        QTEST(entries.first(), "first");
        QTEST(entries.last(), "last");
    }

    // A name with no resource behind it is no icon, as for a QIcon made from the name.
    void missingIconResource()
    {
        const QIcon icon = SvgIconEngine::icon(QStringLiteral(":/images/iNO_SUCH_ICON"));
        QVERIFY(icon.isNull());
        QVERIFY(icon.pixmap(16, 16).isNull());
        QVERIFY(!SvgIconEngine::icon(QStringLiteral(":/images/iRESET")).isNull());
    }

    void freshProfileDefaults()
    {
        MSettings s;
        QCOMPARE(s.darkModeSet(), true);
        QCOMPARE(s.autoCheck(), true);
        QCOMPARE(s.cleanBeforeRun(), true);
        QCOMPARE(s.advanceHighlight(), true);
        QCOMPARE(s.verticalLayout(), false);
        QCOMPARE(s.commandsFileKeyword(), QStringLiteral("$COMMANDS"));
        QCOMPARE(s.commandLineToolName(), QString());
        QCOMPARE(s.comment(), QStringLiteral("#"));
        QCOMPARE(s.version(), QStringLiteral("0.0.0"));
        QCOMPARE(s.applicationFont(), QStringList({"Arial", "12"}));
        QCOMPARE(s.editorFont(), QStringList({"Courier New", "12"}));
        QCOMPARE(s.outLogFont(), QStringList({"Courier New", "12"}));
        QCOMPARE(s.previousVersion(), QStringList({"", ""}));
        QCOMPARE(s.missingValue(), -99);
        QCOMPARE(s.missingCommand(), QStringLiteral("MISSING"));
        QCOMPARE(s.importVariablesSeparator(), QStringLiteral(" "));
        QCOMPARE(s.importDataCommand(), QStringLiteral("DATA"));
        QCOMPARE(s.importVariablesCommand(), QStringLiteral("VARIABLES"));
        QCOMPARE(s.importVariablesCasesensetive(), false);
        QCOMPARE(s.importMissingAsDefault(), false);
        const QVariantMap plot {{"openGl", true}, {"autoPlot", true}, {"bIter", 1},
                                {"eIter", -1},    {"nchain", -1},     {"width", 900},
                                {"height", 400},  {"dType", 0},     {"shadeBurnIn", true}};
        QCOMPARE(s.plotSettings(), plot);
    }

    void colorTables_data()
    {
        addTableRows(QFINDTESTDATA("colours.txt"), {"role", "light", "dark"});
    }
    void colorTables()
    {
        QFETCH(QString, role);
        QFETCH(QString, light);
        MSettings settings;
        settings.setHighlightColors(MSettings::lightColors()); // survives the store's round trip
        const QColor lightColor = MSettings().highlightColors().value(role).value<QColor>();
        QCOMPARE(lightColor.isValid(), !light.isEmpty());
        if (lightColor.isValid())
            QCOMPARE(lightColor.name(), light);
        QTEST(settings.highlightColorsDark().value(role).value<QColor>().name(), "dark");
        QCOMPARE(settings.highlightColorsDark().size(), 11);
    }

    void flagFile_data()
    {
        addTableRows(QFINDTESTDATA("flags.txt"), {"contents", "importVisible", "cleanVisible"});
    }
    void flagFile()
    {
        const QString contents = cell("contents");
        QTemporaryDir folder;
        const QString path = folder.filePath("tovrel.conf");
        if (contents != "none")
            writeFile(path, contents.toUtf8());
        MConfiguration configuration;
        configuration.load(path);
        const auto shown = [&configuration](int vFlag) {
            return QVariant(configuration.value(vFlag).toBool()).toString();
        };
        QTEST(shown(MConfiguration::ImportSettingsVisible), "importVisible");
        QTEST(shown(MConfiguration::CleanBeforeRunVisible), "cleanVisible");
        QCOMPARE(configuration.value(MConfiguration::ImportDataEditable).toBool(), false);
        QVERIFY(!configuration.value(42).isValid());
        QCOMPARE(QFile::exists(path), contents != "none"); // the flag file is never written
    }

    void flagFileBesideProgram()
    {
        QCOMPARE(MConfiguration::defaultFilePath(),
                 QCoreApplication::applicationDirPath() + "/tovrel.conf");
        FileGuard conf(MConfiguration::defaultFilePath(), "Settings.ImportData.Visible=true\n");
        MConfiguration configuration;
        configuration.load();
        QVERIFY(configuration.value(MConfiguration::ImportSettingsVisible).toBool());
    }

    void importGating_data()
    {
        addTableRows(QFINDTESTDATA("importgating.txt"),
                     {"enabled", "stored", "missingCommand", "missingValue", "separator"});
    }
    void importGating()
    {
        MSettings settings;
        if (cell("stored") == "1") {
            settings.setMissingCommand("NA");
            settings.setMissingValue(-9);
            settings.setImportVariablesSeparator(",");
        }
        settings.setImportSettingsEnabled(cell("enabled") == "1");
        QTEST(settings.missingCommand(), "missingCommand");
        QTEST(QString::number(settings.missingValue()), "missingValue");
        QTEST(settings.importVariablesSeparator(), "separator");
    }

    void commandLineToolParams_data()
    {
        addTableRows(QFINDTESTDATA("toolparams.txt"), {"stored", "keyword", "expected"});
    }
    void commandLineToolParams()
    {
        QFETCH(QString, stored);
        MSettings settings;
        const QStringList list = stored.split('|', Qt::SkipEmptyParts);
        if (stored != "none")
            settings.setCommandLineToolParams(list);
        if (!cell("keyword").isEmpty())
            settings.setCommandsFileKeyword(cell("keyword"));
        QTEST(settings.commandLineToolParams().join('|'), "expected");
        // Reading never writes the keyword back.
        QCOMPARE(QSettings().value("Tovrel/CommandLineToolParams"),
                 stored == "none" ? QVariant() : QVariant(list));
    }

    void defaultCommandSet_data()
    {
        addTableRows(QFINDTESTDATA("defaultcommandset.txt"), {"stored", "reset", "expected"});
    }
    void defaultCommandSet()
    {
        QFETCH(QString, expected);
        MSettings settings;
        if (cell("stored") != "none")
            settings.setDefaultCommandSet(
                QString::fromUtf8(QByteArray::fromPercentEncoding(cell("stored").toUtf8())));
        const QString builtIn = MSettings::resourceText(MSettings::kDefaultCommandSetResource);
        QVERIFY(builtIn.startsWith("DATA: ;\r\nVARIABLES: ;\r\n"));
        QCOMPARE(settings.defaultCommandSet(cell("reset") == "reset"),
                 expected.isEmpty() ? builtIn : expected);
        // The controller's reset stores the built-in text, whatever was there.
        CSettings(settings).resetDefaultCommandSet();
        QCOMPARE(QSettings().value("SyntaxEditor/DefaultCommandSet").toString(), builtIn);
    }

    void storedKeywordsAreIgnored()
    {
        MSettings settings;
        for (const QStringList &stored : {QStringList(), QStringList {"FOO", "BAR"}}) {
            settings.setKeywords(stored);
            QCOMPARE(settings.keywords(),
                     MSettings::resourceLines(MSettings::kDefaultKeywordsResource));
        }
    }

    // Every setting written through the controller reaches the store under its literal key, the
    // name existing profiles hold it under.
    void settingsKeys()
    {
        MSettings settings;
        CSettings c(settings);
        c.setCommandLineToolName("/opt/t");
        c.setCommandLineToolNameDontAsk(true);
        c.setCommandLineToolParams({"-v"});
        c.setCommandsFileKeyword("@F");
        c.setOutputExtension("out");
        c.setVerticalLayout(true);
        c.setGeometry("g");
        c.setDarkModeSet(false);
        c.setApplicationFont("Sans", 10);
        c.setPreviousVersion({"1", "2"});
        c.setPlotSettings({{"bIter", 5}});
        c.setVersion("4.0.1");
        c.setDataCommand("D");
        c.setVariablesCommand("V");
        c.setVariablesSeparator(",");
        c.setVariablesCasesensetive(true);
        c.setMissingAsDefault(true);
        c.setMissingCommand("M");
        c.setMissingValue(-9);
        c.setEditorFont("Serif", 15);
        c.setKeywords({"FOO"});
        c.setComment("!");
        c.setCasesensetive(true);
        c.setOutputFont("Mono", 8);
        c.setAdvanceHighlight(false);
        c.setCleanBeforeRun(false);
        c.setLastOpenFolder("/o");
        c.setLastSaveFolder("/s");
        c.setDefaultCommandSet("DATA: x;");
        c.setHighlightColors({{"number", "#010101"}});
        c.setHighlightColorsDark({{"number", "#020202"}});
        c.setMplusToolName("/m");
        c.setAutoCheck(false);
        c.setRhatThreshold(1.05);
        c.setEssPerChainThreshold(250);
        QCOMPARE(c.applicationFont(), QStringList({"Sans", "10"}));
        QCOMPARE(c.outputExtension(), "tovrel-out"); // whatever is stored
        QStringList stored;
        QSettings store;
        for (const QString &key : store.allKeys()) {
            const QVariant value = store.value(key);
            QStringList shown = value.toStringList();
            for (auto [name, entry] : value.toMap().asKeyValueRange())
                shown << name + ":" + entry.toString();
            stored << key + " = " + (shown.isEmpty() ? value.toString() : shown.join(','));
        }
        stored.sort();
        QFile golden(QFINDTESTDATA("settingskeys.txt"));
        QVERIFY(golden.open(QIODevice::ReadOnly | QIODevice::Text));
        QCOMPARE(stored.join('\n') + '\n', QString::fromUtf8(golden.readAll()));
    }

    // Values damaged in the file, or written by a newer studio: what cannot be read takes its
    // default, the rest is kept, and nothing is thrown away when the studio writes.
    void unreadableSettingsFallBackOneByOne()
    {
        const QString path = QSettings().fileName();
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray("Version=99.1.0\n[Tovrel]\nDarkModeSet=maybe\nVerticalLayout=true\n"
                              "FutureKey=kept\n[SyntaxEditor]\nMissingValue=minus ninety-nine\n"
                              "Comment=!\n[Plot]\nSettings=a newer format\n[Application]\n"
                              "Font=Serif, 15\n"));
        file.close();
        {
            MSettings s;
            QCOMPARE(s.darkModeSet(), true);
            QCOMPARE(s.verticalLayout(), true);
            QCOMPARE(s.version(), QStringLiteral("99.1.0"));
            QCOMPARE(s.comment(), QStringLiteral("!"));
            QCOMPARE(s.applicationFont(), QStringList({"Serif", "15"}));
            QCOMPARE(s.plotSettings(), MSettings::plotDefaults());
            s.setAutoCheck(false);
        }
        MSettings again;
        QCOMPARE(again.autoCheck(), false);
        QCOMPARE(QSettings().value("Tovrel/FutureKey").toString(), QStringLiteral("kept"));
    }

    void fontParsing_data()
    {
        addTableRows(QFINDTESTDATA("fonts.txt"), {"list", "parsed", "family", "size"});
    }
    void fontParsing()
    {
        QFont font("Base", 7);
        QTEST(QVariant(CSettings::parseFont(cells("list"), font)).toString(), "parsed");
        QTEST(font.family(), "family");
        QTEST(QString::number(font.pointSize()), "size");
    }

    // The controller reads the store once and again on each apply; font setters write the
    // store at once, the application font takes effect at once.
    void applyRefreshesTheCache()
    {
        MSettings settings;
        CSettings controller(settings);
        controller.setEditorFont("Serif", 15);
        controller.setOutputFont("Monospace", 8);
        controller.setApplicationFont("Sans", 10);
        settings.setComment("!");
        settings.setCasesensetive(true);
        QCOMPARE(settings.editorFont(), QStringList({"Serif", "15"}));
        QCOMPARE(QGuiApplication::font().pointSize(), 10);
        QCOMPARE(controller.editorFont().pointSize(), 12);
        QCOMPARE(controller.comment(), QStringLiteral("#"));
        QSignalSpy applied(&controller, &CSettings::did_apply);
        Q_EMIT controller.do_apply();
        QCOMPARE(applied.count(), 1);
        QCOMPARE(controller.editorFont().pointSize(), 15);
        QCOMPARE(controller.outputFont().pointSize(), 8);
        QCOMPARE(controller.comment(), QStringLiteral("!"));
        QVERIFY(controller.casesensetive());
        // The list of the other engine's keywords keeps its odd entries.
        QCOMPARE(controller.mplusKeywords().size(), 24);
        QCOMPARE(controller.mplusKeywords().mid(19, 2),
                 QStringList({"MODEL", "MONTECARLO MISSING"}));
    }

    void malformedStoredFontFallsBackToApplicationFont()
    {
        MSettings settings;
        settings.setApplicationFont({"Sans", "13"});
        settings.setEditorFont({"OnlyFamily"});
        CSettings controller(settings);
        QCOMPARE(controller.editorFont(), QGuiApplication::font());
        QCOMPARE(controller.editorFont().pointSize(), 13);
    }

    void engineCheck_data()
    {
        addTableRows(QFINDTESTDATA("enginecheck.txt"),
                     {"storedExists", "stableExists", "checkDefault", "expected", "failures"});
    }
    void engineCheck()
    {
        QTemporaryDir folder;
        const QString custom = folder.filePath("my engine");
        std::unique_ptr<FileGuard> customFile, stableFile;
        if (cell("storedExists") == "1")
            customFile = std::make_unique<FileGuard>(custom);
        if (cell("stableExists") == "1")
            stableFile = std::make_unique<FileGuard>(CSettings::stableEnginePath());
        MSettings settings;
        settings.setCommandLineToolName(custom);
        CSettings controller(settings);
        QSignalSpy failed(&controller, &CSettings::notifyTovrelCheckFailed);
        if (cell("checkDefault") == "1")
            controller.checkCommandLineTool(true);
        else
            Q_EMIT controller.do_checkCommandLineTool();
        QTEST(QString::number(failed.count()), "failures");
        QCOMPARE(settings.commandLineToolName(),
                 cell("expected") == "stable" ? CSettings::stableEnginePath() : custom);
    }

    void resetCommandLineTool_data()
    {
        addTableRows(QFINDTESTDATA("resetengine.txt"), {"stored", "expected"});
    }
    void resetCommandLineTool()
    {
        QFETCH(QString, expected);
        MSettings settings;
        settings.setCommandLineToolName(resolveEngine(cell("stored")));
        CSettings controller(settings);
        controller.resetCommandLineTool();
        QCOMPARE(settings.commandLineToolName(), resolveEngine(expected));
        QCOMPARE(controller.isStableEngineSelected(), expected == "stable");
        QCOMPARE(controller.isPreviewEngineSelected(), expected == "preview");
    }
};

TOVREL_TEST_MAIN(TestConfig)
#include "tst_config.moc"
