#include "config/csettings.h"
#include "config/mconfiguration.h"
#include "config/msettings.h"
#include "fileguard.h"
#include "testmain.h"

#include <QColor>
#include <QFile>
#include <QGuiApplication>
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

    void applicationIdentity()
    {
        MSettings settings;
        QCOMPARE(QCoreApplication::organizationName(), QStringLiteral("tovrel"));
        QCOMPARE(QCoreApplication::organizationDomain(), QStringLiteral("tovrel"));
        QCOMPARE(QCoreApplication::applicationName(), QStringLiteral("gui"));
        QCOMPARE(QCoreApplication::applicationVersion(),
                 QStringLiteral("Tovrel Studio Version 4.0.1"));
        // The store lands in the per-test folder, never in the user's real profile.
        QVERIFY(QSettings().fileName().startsWith(qEnvironmentVariable("XDG_CONFIG_HOME")));
        QVERIFY(QSettings().fileName().endsWith(QStringLiteral("tovrel/gui.conf")));
    }

    void resources_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("lines");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("last");
        // clang-format off
        QTest::newRow("default command set") << ":/strings/sDefaultCommandSet" << 13 << "DATA: ;" << "SAVE: ;";
        QTest::newRow("engine keywords") << ":/strings/sDefaultKeyowrds" << 53 << "DATA" << "DROPOUT";
        QTest::newRow("mplus keywords") << ":/strings/sMplusKeywords" << 24 << "TITLE" << "PLOT";
        QTest::newRow("project information") << ":/strings/sProjectInformation" << 4 << "tovrel" << "Tovrel Studio Version";
        // clang-format on
    }
    void resources()
    {
        QFETCH(QString, path);
        QFETCH(int, lines);
        const QString text = MSettings::resourceText(path);
        // Every line, the last included, ends in CR LF, and there are no bare line feeds.
        QCOMPARE(text.count(QStringLiteral("\r\n")), lines);
        QCOMPARE(text.count(QLatin1Char('\n')), lines);
        const QStringList entries = MSettings::resourceLines(path);
        QCOMPARE(entries.size(), lines);
        QTEST(entries.first(), "first");
        QTEST(entries.last(), "last");
    }

    void mplusListKeepsItsOddEntries()
    {
        const QStringList list = MSettings().mplusKeywords();
        QCOMPARE(list.at(19), QStringLiteral("MODEL"));
        QCOMPARE(list.at(20), QStringLiteral("MONTECARLO MISSING"));
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
                                {"height", 400},  {"dType", 0}};
        QCOMPARE(s.plotSettings(), plot);
    }

    void colorTables_data()
    {
        QTest::addColumn<QString>("role");
        QTest::addColumn<QString>("light");
        QTest::addColumn<QString>("dark");
        // clang-format off
        QTest::newRow("number") << "number" << "#800080" << "#ae81ff";
        QTest::newRow("function") << "function" << "#0000ff" << "#a6e22e";
        QTest::newRow("comment") << "comment" << "#808080" << "#75715e";
        QTest::newRow("quotes") << "quotes" << "#008000" << "#e6db74";
        QTest::newRow("lineHi") << "lineHi" << "#f0f5fa" << "#333333";
        QTest::newRow("selected") << "selected" << "#77a8f7" << "#444444";
        QTest::newRow("warning") << "warning" << "#cccc00" << "#ffc400";
        QTest::newRow("error") << "error" << "#800000" << "#f9355a";
        QTest::newRow("heading") << "heading" << "#808080" << "#808080";
        QTest::newRow("constant repeats selected") << "constant" << "#77a8f7" << "#3da17e";
        QTest::newRow("light operator is invalid") << "operator" << "" << "#f92672";
        // clang-format on
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
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<bool>("importVisible");
        QTest::addColumn<bool>("cleanVisible");
        // clang-format off
        QTest::newRow("no file") << QByteArray() << false << false;
        QTest::newRow("true without section") << QByteArray("Settings.ImportData.Visible=true\n") << true << false;
        QTest::newRow("numeric one") << QByteArray("Settings.ImportData.Visible=1\nSyntax.CleanBeforeRun.Visible=1\n") << true << true;
        QTest::newRow("the word yes is not set") << QByteArray("Settings.ImportData.Visible=yes\n") << false << false;
        QTest::newRow("false") << QByteArray("Settings.ImportData.Visible=false\n") << false << false;
        // clang-format on
    }
    void flagFile()
    {
        QFETCH(QByteArray, contents);
        QTemporaryDir folder;
        const QString path = folder.filePath("tovrel.conf");
        if (!contents.isNull()) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(contents);
        }
        MConfiguration configuration;
        configuration.load(path);
        QTEST(configuration.value(MConfiguration::ImportSettingsVisible).toBool(), "importVisible");
        QTEST(configuration.value(MConfiguration::CleanBeforeRunVisible).toBool(), "cleanVisible");
        QCOMPARE(configuration.value(MConfiguration::ImportDataEditable).toBool(), false);
        QVERIFY(!configuration.value(42).isValid());
        QCOMPARE(QFile::exists(path), !contents.isNull()); // the flag file is never written
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
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("stored");
        QTest::addColumn<QString>("missingCommand");
        QTest::addColumn<int>("missingValue");
        QTest::addColumn<QString>("separator");
        QTest::newRow("flag off keeps defaults") << false << true << "MISSING" << -99 << " ";
        QTest::newRow("flag on honours the store") << true << true << "NA" << -9 << ",";
        QTest::newRow("flag on, nothing stored") << true << false << "MISSING" << -99 << " ";
    }
    void importGating()
    {
        QFETCH(bool, enabled);
        QFETCH(bool, stored);
        MSettings settings;
        if (stored) {
            settings.setMissingCommand("NA");
            settings.setMissingValue(-9);
            settings.setImportVariablesSeparator(",");
        }
        settings.setImportSettingsEnabled(enabled);
        QTEST(settings.missingCommand(), "missingCommand");
        QTEST(settings.missingValue(), "missingValue");
        QTEST(settings.importVariablesSeparator(), "separator");
    }

    void commandLineToolParams_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QString>("keyword");
        QTest::addColumn<QStringList>("expected");
        using L = QStringList;
        // clang-format off
        QTest::newRow("nothing stored") << QVariant() << QString() << L{"$COMMANDS"};
        QTest::newRow("empty list") << QVariant(L()) << QString() << L{"$COMMANDS"};
        QTest::newRow("options only") << QVariant(L{"-v", "--fast"}) << QString() << L{"$COMMANDS", "-v", "--fast"};
        QTest::newRow("keyword already there") << QVariant(L{"-v", "$COMMANDS"}) << QString() << L{"-v", "$COMMANDS"};
        QTest::newRow("keyword in another case is not it") << QVariant(L{"$commands"}) << QString() << L{"$COMMANDS", "$commands"};
        QTest::newRow("keyword inside an element is not it") << QVariant(L{"--in=$COMMANDS"}) << QString() << L{"$COMMANDS", "--in=$COMMANDS"};
        QTest::newRow("custom keyword") << QVariant(L{"-x", "$COMMANDS"}) << QString("@FILE") << L{"@FILE", "-x", "$COMMANDS"};
        // clang-format on
    }
    void commandLineToolParams()
    {
        QFETCH(QVariant, stored);
        QFETCH(QString, keyword);
        MSettings settings;
        if (stored.isValid())
            settings.setCommandLineToolParams(stored.toStringList());
        if (!keyword.isEmpty())
            settings.setCommandsFileKeyword(keyword);
        QTEST(settings.commandLineToolParams(), "expected");
        // Reading never writes the keyword back.
        QCOMPARE(QSettings().value("Tovrel/CommandLineToolParams"), stored);
    }

    void defaultCommandSet_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("reset");
        QTest::addColumn<QString>("expected"); // empty: the built-in text
        QTest::newRow("nothing stored") << QVariant() << false << QString();
        QTest::newRow("blank stored") << QVariant("  \r\n\t ") << false << QString();
        QTest::newRow("text stored is trimmed")
            << QVariant("\n DATA: x.dat;\r\n") << false << "DATA: x.dat;";
        QTest::newRow("reset ignores stored text") << QVariant("DATA: x.dat;") << true << QString();
    }
    void defaultCommandSet()
    {
        QFETCH(QVariant, stored);
        QFETCH(bool, reset);
        QFETCH(QString, expected);
        MSettings settings;
        if (stored.isValid())
            settings.setDefaultCommandSet(stored.toString());
        const QString builtIn = MSettings::resourceText(MSettings::kDefaultCommandSetResource);
        QVERIFY(builtIn.startsWith("DATA: ;\r\nVARIABLES: ;\r\n"));
        QCOMPARE(settings.defaultCommandSet(reset), expected.isEmpty() ? builtIn : expected);
    }

    void storedKeywordsAreIgnored_data()
    {
        QTest::addColumn<QStringList>("stored");
        QTest::newRow("empty list") << QStringList();
        QTest::newRow("user list") << QStringList {"FOO", "BAR"};
    }
    void storedKeywordsAreIgnored()
    {
        QFETCH(QStringList, stored);
        MSettings settings;
        settings.setKeywords(stored);
        QCOMPARE(settings.keywords().size(), 53);
        QCOMPARE(settings.keywords(),
                 MSettings::resourceLines(MSettings::kDefaultKeywordsResource));
    }

    void outputExtensionIsConstant()
    {
        MSettings settings;
        settings.setOutputExtension("txt");
        QCOMPARE(settings.outputExtension(), QStringLiteral("tovrel-out"));
    }

    void fontParsing_data()
    {
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<bool>("parsed");
        QTest::addColumn<QString>("family");
        QTest::addColumn<int>("size");
        // clang-format off
        QTest::newRow("family and size") << QStringList{"Serif", "14"} << true << "Serif" << 14;
        QTest::newRow("blanks trimmed") << QStringList{"  Serif ", " 9 "} << true << "Serif" << 9;
        QTest::newRow("size not a number still parses") << QStringList{"Serif", "abc"} << true << "Serif" << 7;
        QTest::newRow("blank family keeps family") << QStringList{" ", "11"} << true << "Base" << 11;
        QTest::newRow("one entry fails") << QStringList{"Serif"} << false << "Base" << 7;
        QTest::newRow("three entries fail") << QStringList{"Serif", "12", "bold"} << false << "Base" << 7;
        // clang-format on
    }
    void fontParsing()
    {
        QFETCH(QStringList, list);
        QFont font("Base", 7);
        QTEST(CSettings::parseFont(list, font), "parsed");
        QTEST(font.family(), "family");
        QTEST(font.pointSize(), "size");
    }

    void fontSettersTakeEffectOnApply()
    {
        MSettings settings;
        CSettings controller(settings);
        controller.setEditorFont("Serif", 15);
        controller.setOutputFont("Monospace", 8);
        controller.setApplicationFont("Sans", 10);
        QCOMPARE(settings.editorFont(), QStringList({"Serif", "15"}));
        QCOMPARE(QGuiApplication::font().pointSize(), 10);
        QCOMPARE(controller.editorFont().pointSize(), 12); // cached until applied
        QSignalSpy applied(&controller, &CSettings::did_apply);
        Q_EMIT controller.do_apply();
        QCOMPARE(applied.count(), 1);
        QCOMPARE(controller.editorFont().pointSize(), 15);
        QCOMPARE(controller.outputFont().pointSize(), 8);
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

    void applyRefreshesTheCache()
    {
        MSettings settings;
        CSettings controller(settings);
        settings.setComment("!");
        settings.setCasesensetive(true);
        QCOMPARE(controller.comment(), QStringLiteral("#"));
        controller.apply();
        QCOMPARE(controller.comment(), QStringLiteral("!"));
        QVERIFY(controller.casesensetive());
        QCOMPARE(controller.mplusKeywords().size(), 24);
    }

    void enginePaths()
    {
        const QString dir = QCoreApplication::applicationDirPath();
#ifdef Q_OS_WIN
        const QString suffix = ".exe";
#else
        const QString suffix;
#endif
        QCOMPARE(CSettings::stableEnginePath(), dir + "/tovrel" + suffix);
        QCOMPARE(CSettings::previewEnginePath(), dir + "/tovrel-beta" + suffix);
    }

    void engineCheck_data()
    {
        QTest::addColumn<bool>("storedExists");
        QTest::addColumn<bool>("stableExists");
        QTest::addColumn<bool>("checkDefault");
        QTest::addColumn<QString>("expectedEngine");
        QTest::addColumn<int>("failures");
        // clang-format off
        QTest::newRow("user choice stands") << true << true << false << "custom" << 0;
        QTest::newRow("user choice stands without stable") << true << false << false << "custom" << 0;
        QTest::newRow("missing choice replaced silently") << false << true << false << "stable" << 0;
        QTest::newRow("nothing to fall back on") << false << false << false << "custom" << 1;
        QTest::newRow("default check replaces choice") << true << true << true << "stable" << 0;
        QTest::newRow("default check without stable") << true << false << true << "custom" << 1;
        // clang-format on
    }
    void engineCheck()
    {
        QFETCH(bool, storedExists);
        QFETCH(bool, stableExists);
        QFETCH(bool, checkDefault);
        QFETCH(QString, expectedEngine);
        QTemporaryDir folder;
        const QString custom = folder.filePath("my engine");
        std::unique_ptr<FileGuard> customFile, stableFile;
        if (storedExists)
            customFile = std::make_unique<FileGuard>(custom);
        if (stableExists)
            stableFile = std::make_unique<FileGuard>(CSettings::stableEnginePath());
        MSettings settings;
        settings.setCommandLineToolName(custom);
        CSettings controller(settings);
        QSignalSpy failed(&controller, &CSettings::notifyTovrelCheckFailed);
        if (checkDefault)
            controller.checkCommandLineTool(true);
        else
            Q_EMIT controller.do_checkCommandLineTool();
        QTEST(int(failed.count()), "failures");
        QCOMPARE(settings.commandLineToolName(),
                 expectedEngine == "stable" ? CSettings::stableEnginePath() : custom);
    }

    void resetCommandLineTool_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("expected");
        QTest::newRow("custom goes back to stable") << "/opt/engine"
                                                    << "stable";
        QTest::newRow("stable kept") << "stable"
                                     << "stable";
        QTest::newRow("preview kept") << "preview"
                                      << "preview";
    }
    void resetCommandLineTool()
    {
        QFETCH(QString, stored);
        QFETCH(QString, expected);
        MSettings settings;
        settings.setCommandLineToolName(resolveEngine(stored));
        CSettings controller(settings);
        controller.resetCommandLineTool();
        QCOMPARE(settings.commandLineToolName(), resolveEngine(expected));
        QCOMPARE(controller.isStableEngineSelected(), expected == "stable");
        QCOMPARE(controller.isPreviewEngineSelected(), expected == "preview");
    }

    void resetDefaultCommandSetStoresBuiltInText()
    {
        MSettings settings;
        settings.setDefaultCommandSet("DATA: mine.dat;");
        CSettings(settings).resetDefaultCommandSet();
        QCOMPARE(QSettings().value("SyntaxEditor/DefaultCommandSet").toString(),
                 MSettings::resourceText(MSettings::kDefaultCommandSetResource));
    }
};

TOVREL_TEST_MAIN(TestConfig)
#include "tst_config.moc"
