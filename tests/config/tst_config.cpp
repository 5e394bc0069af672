#include "config/csettings.h"
#include "config/executablepath.h"
#include "config/mconfiguration.h"
#include "config/msettings.h"
#include "testmain.h"

#include <QColor>
#include <QFile>
#include <QGuiApplication>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <functional>

namespace {

// Creates a file at a path for the lifetime of the guard, removing it afterwards.
class FileGuard
{
public:
    explicit FileGuard(const QString &vPath, const QByteArray &vContents = "engine")
        : m_path(vPath)
    {
        QFile file(m_path);
        if (file.open(QIODevice::WriteOnly))
            file.write(vContents);
    }
    ~FileGuard() { QFile::remove(m_path); }

private:
    QString m_path;
};

using Getter = std::function<QVariant(const MSettings &)>;

QMap<QString, Getter> settingsGetters()
{
    return {
        {"darkModeSet",
         [](const MSettings &s) {
             return QVariant(s.darkModeSet());
         }},
        {"autoCheck",
         [](const MSettings &s) {
             return QVariant(s.autoCheck());
         }},
        {"cleanBeforeRun",
         [](const MSettings &s) {
             return QVariant(s.cleanBeforeRun());
         }},
        {"advanceHighlight",
         [](const MSettings &s) {
             return QVariant(s.advanceHighlight());
         }},
        {"verticalLayout",
         [](const MSettings &s) {
             return QVariant(s.verticalLayout());
         }},
        {"commandsFileKeyword",
         [](const MSettings &s) {
             return QVariant(s.commandsFileKeyword());
         }},
        {"commandLineToolName",
         [](const MSettings &s) {
             return QVariant(s.commandLineToolName());
         }},
        {"comment",
         [](const MSettings &s) {
             return QVariant(s.comment());
         }},
        {"version",
         [](const MSettings &s) {
             return QVariant(s.version());
         }},
        {"applicationFont",
         [](const MSettings &s) {
             return QVariant(s.applicationFont());
         }},
        {"editorFont",
         [](const MSettings &s) {
             return QVariant(s.editorFont());
         }},
        {"outLogFont",
         [](const MSettings &s) {
             return QVariant(s.outLogFont());
         }},
        {"previousVersion",
         [](const MSettings &s) {
             return QVariant(s.previousVersion());
         }},
        {"plotSettings",
         [](const MSettings &s) {
             return QVariant(s.plotSettings());
         }},
        {"missingValue",
         [](const MSettings &s) {
             return QVariant(s.missingValue());
         }},
        {"missingCommand",
         [](const MSettings &s) {
             return QVariant(s.missingCommand());
         }},
        {"separator",
         [](const MSettings &s) {
             return QVariant(s.importVariablesSeparator());
         }},
        {"dataCommand",
         [](const MSettings &s) {
             return QVariant(s.importDataCommand());
         }},
        {"variablesCommand",
         [](const MSettings &s) {
             return QVariant(s.importVariablesCommand());
         }},
        {"variablesCasesensetive",
         [](const MSettings &s) {
             return QVariant(s.importVariablesCasesensetive());
         }},
        {"missingAsDefault",
         [](const MSettings &s) {
             return QVariant(s.importMissingAsDefault());
         }},
    };
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
        QTest::newRow("default command set") << ":/strings/sDefaultCommandSet" << 13 << "DATA: ;"
                                             << "SAVE: ;";
        QTest::newRow("engine keywords") << ":/strings/sDefaultKeyowrds" << 53 << "DATA"
                                         << "DROPOUT";
        QTest::newRow("mplus keywords") << ":/strings/sMplusKeywords" << 24 << "TITLE"
                                        << "PLOT";
        QTest::newRow("project information") << ":/strings/sProjectInformation" << 4 << "tovrel"
                                             << "Tovrel Studio Version";
    }
    void resources()
    {
        QFETCH(QString, path);
        QFETCH(int, lines);
        QFETCH(QString, first);
        QFETCH(QString, last);
        const QString text = MSettings::resourceText(path);
        // Every line, the last included, ends in CR LF, and there are no bare line feeds.
        QCOMPARE(text.count(QStringLiteral("\r\n")), lines);
        QCOMPARE(text.count(QLatin1Char('\n')), lines);
        QVERIFY(text.endsWith(QStringLiteral("\r\n")));
        const QStringList entries = MSettings::resourceLines(path);
        QCOMPARE(entries.size(), lines);
        QCOMPARE(entries.first(), first);
        QCOMPARE(entries.last(), last);
    }

    void mplusListKeepsItsOddEntries()
    {
        const QStringList list = MSettings().mplusKeywords();
        QCOMPARE(list.at(19), QStringLiteral("MODEL"));
        QCOMPARE(list.at(20), QStringLiteral("MONTECARLO MISSING"));
        QCOMPARE(list.count(QStringLiteral("MODEL")), 2);
    }

    void freshProfileDefaults_data()
    {
        QTest::addColumn<QString>("getter");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("dark mode on") << "darkModeSet" << QVariant(true);
        QTest::newRow("updates checked") << "autoCheck" << QVariant(true);
        QTest::newRow("output cleared") << "cleanBeforeRun" << QVariant(true);
        QTest::newRow("advanced highlighting") << "advanceHighlight" << QVariant(true);
        QTest::newRow("horizontal layout") << "verticalLayout" << QVariant(false);
        QTest::newRow("commands keyword") << "commandsFileKeyword" << QVariant("$COMMANDS");
        QTest::newRow("no engine") << "commandLineToolName" << QVariant(QString());
        QTest::newRow("comment marker") << "comment" << QVariant("#");
        QTest::newRow("version") << "version" << QVariant("0.0.0");
        QTest::newRow("application font")
            << "applicationFont" << QVariant(QStringList {"Arial", "12"});
        QTest::newRow("editor font") << "editorFont" << QVariant(QStringList {"Courier New", "12"});
        QTest::newRow("output font") << "outLogFont" << QVariant(QStringList {"Courier New", "12"});
        QTest::newRow("skipped update") << "previousVersion" << QVariant(QStringList {"", ""});
        QTest::newRow("plot defaults") << "plotSettings" << QVariant(MSettings::plotDefaults());
        QTest::newRow("missing value") << "missingValue" << QVariant(-99);
        QTest::newRow("missing command") << "missingCommand" << QVariant("MISSING");
        QTest::newRow("separator") << "separator" << QVariant(" ");
        QTest::newRow("data command") << "dataCommand" << QVariant("DATA");
        QTest::newRow("variables command") << "variablesCommand" << QVariant("VARIABLES");
        QTest::newRow("names case") << "variablesCasesensetive" << QVariant(false);
        QTest::newRow("missing as default") << "missingAsDefault" << QVariant(false);
    }
    void freshProfileDefaults()
    {
        QFETCH(QString, getter);
        QFETCH(QVariant, expected);
        MSettings settings;
        QVERIFY(settingsGetters().contains(getter));
        QCOMPARE(settingsGetters().value(getter)(settings), expected);
    }

    void plotDefaults()
    {
        const QVariantMap plot = MSettings::plotDefaults();
        QCOMPARE(plot.value("openGl").toBool(), true);
        QCOMPARE(plot.value("autoPlot").toBool(), true);
        QCOMPARE(plot.value("bIter").toInt(), 1);
        QCOMPARE(plot.value("eIter").toInt(), -1);
        QCOMPARE(plot.value("nchain").toInt(), -1);
        QCOMPARE(plot.value("width").toInt(), 900);
        QCOMPARE(plot.value("height").toInt(), 400);
        QCOMPARE(plot.value("dType").toInt(), 0);
        QCOMPARE(plot.size(), 8);
    }

    void colorTables_data()
    {
        QTest::addColumn<QString>("role");
        QTest::addColumn<QString>("light");
        QTest::addColumn<QString>("dark");
        QTest::newRow("number") << "number"
                                << "#800080"
                                << "#ae81ff";
        QTest::newRow("function") << "function"
                                  << "#0000ff"
                                  << "#a6e22e";
        QTest::newRow("comment") << "comment"
                                 << "#808080"
                                 << "#75715e";
        QTest::newRow("quotes") << "quotes"
                                << "#008000"
                                << "#e6db74";
        QTest::newRow("lineHi") << "lineHi"
                                << "#f0f5fa"
                                << "#333333";
        QTest::newRow("selected") << "selected"
                                  << "#77a8f7"
                                  << "#444444";
        QTest::newRow("warning") << "warning"
                                 << "#cccc00"
                                 << "#ffc400";
        QTest::newRow("error") << "error"
                               << "#800000"
                               << "#f9355a";
        QTest::newRow("heading") << "heading"
                                 << "#808080"
                                 << "#808080";
        QTest::newRow("constant repeats selected") << "constant"
                                                   << "#77a8f7"
                                                   << "#3da17e";
        QTest::newRow("light operator is invalid") << "operator"
                                                   << ""
                                                   << "#f92672";
    }
    void colorTables()
    {
        QFETCH(QString, role);
        QFETCH(QString, light);
        QFETCH(QString, dark);
        MSettings settings;
        const QColor lightColor = settings.highlightColors().value(role).value<QColor>();
        const QColor darkColor = settings.highlightColorsDark().value(role).value<QColor>();
        QCOMPARE(lightColor.isValid(), !light.isEmpty());
        if (lightColor.isValid())
            QCOMPARE(lightColor.name(), light);
        QCOMPARE(darkColor.name(), dark);
        QCOMPARE(settings.highlightColors().size(), 11);
        QCOMPARE(settings.highlightColorsDark().size(), 11);
    }

    void colorTablesSurviveTheStore()
    {
        MSettings settings;
        settings.setHighlightColors(MSettings::lightColors());
        MSettings reread;
        QCOMPARE(reread.highlightColors().value("number").value<QColor>(), QColor("#800080"));
        QVERIFY(!reread.highlightColors().value("operator").value<QColor>().isValid());
    }

    void flagFile_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<bool>("importVisible");
        QTest::addColumn<bool>("cleanVisible");
        QTest::newRow("no file") << QByteArray() << false << false;
        QTest::newRow("true without section")
            << QByteArray("Settings.ImportData.Visible=true\n") << true << false;
        QTest::newRow("numeric one") << QByteArray("Settings.ImportData.Visible=1\n"
                                                   "Syntax.CleanBeforeRun.Visible=1\n")
                                     << true << true;
        QTest::newRow("the word yes is not set")
            << QByteArray("Settings.ImportData.Visible=yes\n") << false << false;
        QTest::newRow("false") << QByteArray("Settings.ImportData.Visible=false\n") << false
                               << false;
    }
    void flagFile()
    {
        QFETCH(QByteArray, contents);
        QFETCH(bool, importVisible);
        QFETCH(bool, cleanVisible);
        QTemporaryDir folder;
        const QString path = folder.filePath("tovrel.conf");
        if (!contents.isNull()) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(contents);
        }
        MConfiguration configuration;
        configuration.load(path);
        QCOMPARE(configuration.value(MConfiguration::ImportSettingsVisible).toBool(),
                 importVisible);
        QCOMPARE(configuration.value(MConfiguration::CleanBeforeRunVisible).toBool(), cleanVisible);
        QCOMPARE(configuration.value(MConfiguration::ImportDataEditable).toBool(), false);
        QVERIFY(!configuration.value(42).isValid());
        QVERIFY(!QFile::exists(path) || !contents.isNull()); // the flag file is never written
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
        QTest::addColumn<QString>("missingCommand");
        QTest::addColumn<int>("missingValue");
        QTest::addColumn<QString>("separator");
        QTest::newRow("flag off keeps defaults") << false << "MISSING" << -99 << " ";
        QTest::newRow("flag on honours the store") << true << "NA" << -9 << ",";
    }
    void importGating()
    {
        QFETCH(bool, enabled);
        QFETCH(QString, missingCommand);
        QFETCH(int, missingValue);
        QFETCH(QString, separator);
        MSettings settings;
        settings.setMissingCommand("NA");
        settings.setMissingValue(-9);
        settings.setImportVariablesSeparator(",");
        settings.setImportSettingsEnabled(enabled);
        QCOMPARE(settings.missingCommand(), missingCommand);
        QCOMPARE(settings.missingValue(), missingValue);
        QCOMPARE(settings.importVariablesSeparator(), separator);
    }

    void importGatingWithNothingStored()
    {
        MSettings settings;
        settings.setImportSettingsEnabled(true);
        QCOMPARE(settings.missingCommand(), QStringLiteral("MISSING"));
        QCOMPARE(settings.missingValue(), -99);
    }

    void commandLineToolParams_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QString>("keyword");
        QTest::addColumn<QStringList>("expected");
        const QStringList none;
        QTest::newRow("nothing stored") << QVariant() << QString() << QStringList {"$COMMANDS"};
        QTest::newRow("empty list") << QVariant(none) << QString() << QStringList {"$COMMANDS"};
        QTest::newRow("options only") << QVariant(QStringList {"-v", "--fast"}) << QString()
                                      << QStringList {"$COMMANDS", "-v", "--fast"};
        QTest::newRow("keyword already there") << QVariant(QStringList {"-v", "$COMMANDS"})
                                               << QString() << QStringList {"-v", "$COMMANDS"};
        QTest::newRow("keyword in another case is not the keyword")
            << QVariant(QStringList {"$commands"}) << QString()
            << QStringList {"$COMMANDS", "$commands"};
        QTest::newRow("keyword inside an element is not the keyword")
            << QVariant(QStringList {"--in=$COMMANDS"}) << QString()
            << QStringList {"$COMMANDS", "--in=$COMMANDS"};
        QTest::newRow("custom keyword")
            << QVariant(QStringList {"-x", "$COMMANDS"}) << QString("@FILE")
            << QStringList {"@FILE", "-x", "$COMMANDS"};
    }
    void commandLineToolParams()
    {
        QFETCH(QVariant, stored);
        QFETCH(QString, keyword);
        QFETCH(QStringList, expected);
        MSettings settings;
        if (stored.isValid())
            settings.setCommandLineToolParams(stored.toStringList());
        if (!keyword.isEmpty())
            settings.setCommandsFileKeyword(keyword);
        QCOMPARE(settings.commandLineToolParams(), expected);
        // Reading never writes the keyword back.
        QCOMPARE(QSettings().value("Tovrel/CommandLineToolParams"), stored);
    }

    void defaultCommandSet_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("reset");
        QTest::addColumn<bool>("expectResource");
        QTest::addColumn<QString>("expected");
        QTest::newRow("nothing stored") << QVariant() << false << true << QString();
        QTest::newRow("blank stored") << QVariant("  \r\n\t ") << false << true << QString();
        QTest::newRow("text stored is trimmed")
            << QVariant("\n DATA: x.dat;\r\n") << false << false << "DATA: x.dat;";
        QTest::newRow("reset ignores stored text")
            << QVariant("DATA: x.dat;") << true << true << QString();
    }
    void defaultCommandSet()
    {
        QFETCH(QVariant, stored);
        QFETCH(bool, reset);
        QFETCH(bool, expectResource);
        QFETCH(QString, expected);
        MSettings settings;
        if (stored.isValid())
            settings.setDefaultCommandSet(stored.toString());
        const QString text = settings.defaultCommandSet(reset);
        if (expectResource) {
            QCOMPARE(text, MSettings::resourceText(MSettings::kDefaultCommandSetResource));
            QVERIFY(text.startsWith("DATA: ;\r\nVARIABLES: ;\r\n"));
        } else {
            QCOMPARE(text, expected);
        }
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
        const QStringList words = settings.keywords();
        QCOMPARE(words.size(), 53);
        QCOMPARE(words, MSettings::resourceLines(MSettings::kDefaultKeywordsResource));
        QVERIFY(!words.contains("FOO"));
    }

    void outputExtensionIsConstant()
    {
        MSettings settings;
        settings.setOutputExtension("txt");
        QCOMPARE(settings.outputExtension(), QStringLiteral("tovrel-out"));
        QCOMPARE(QSettings().value("Tovrel/OutputExtension").toString(), QStringLiteral("txt"));
    }

    void fontParsing_data()
    {
        QTest::addColumn<QStringList>("list");
        QTest::addColumn<bool>("parsed");
        QTest::addColumn<QString>("family");
        QTest::addColumn<int>("size");
        QTest::newRow("family and size") << QStringList {"Serif", "14"} << true << "Serif" << 14;
        QTest::newRow("blanks trimmed") << QStringList {"  Serif ", " 9 "} << true << "Serif" << 9;
        QTest::newRow("size not a number still parses")
            << QStringList {"Serif", "abc"} << true << "Serif" << 7;
        QTest::newRow("blank family keeps family")
            << QStringList {" ", "11"} << true << "Base" << 11;
        QTest::newRow("one entry fails") << QStringList {"Serif"} << false << "Base" << 7;
        QTest::newRow("three entries fail")
            << QStringList {"Serif", "12", "bold"} << false << "Base" << 7;
        QTest::newRow("empty list fails") << QStringList() << false << "Base" << 7;
    }
    void fontParsing()
    {
        QFETCH(QStringList, list);
        QFETCH(bool, parsed);
        QFETCH(QString, family);
        QFETCH(int, size);
        QFont font("Base", 7);
        QCOMPARE(CSettings::parseFont(list, font), parsed);
        QCOMPARE(font.family(), family);
        QCOMPARE(font.pointSize(), size);
    }

    void fontSettersStoreOnlyGoodFonts()
    {
        MSettings settings;
        CSettings controller(settings);
        controller.setEditorFont("Serif", 15);
        controller.setOutputFont("Monospace", 8);
        controller.setApplicationFont("Sans", 10);
        QCOMPARE(settings.editorFont(), (QStringList {"Serif", "15"}));
        QCOMPARE(settings.outLogFont(), (QStringList {"Monospace", "8"}));
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
        QCOMPARE(controller.editorFont().pointSize(), 13);
        QCOMPARE(controller.editorFont(), QGuiApplication::font());
    }

    void applyRefreshesTheCache()
    {
        MSettings settings;
        CSettings controller(settings);
        QCOMPARE(controller.comment(), QStringLiteral("#"));
        QCOMPARE(controller.keywords().size(), 53);
        QCOMPARE(controller.mplusKeywords().size(), 24);
        settings.setComment("!");
        settings.setCasesensetive(true);
        settings.setCleanBeforeRun(false);
        QCOMPARE(controller.comment(), QStringLiteral("#"));
        controller.apply();
        QCOMPARE(controller.comment(), QStringLiteral("!"));
        QVERIFY(controller.casesensetive());
        QVERIFY(!controller.cleanBeforeRun());
    }

    void enginePaths()
    {
        const QString dir = QCoreApplication::applicationDirPath();
        QCOMPARE(CSettings::stableEnginePath(), dir + "/" + ExecutablePath::fileName("tovrel"));
        QCOMPARE(CSettings::previewEnginePath(),
                 dir + "/" + ExecutablePath::fileName("tovrel-beta"));
#ifdef Q_OS_WIN
        QCOMPARE(ExecutablePath::fileName("tovrel"), QStringLiteral("tovrel.exe"));
#else
        QCOMPARE(ExecutablePath::fileName("tovrel"), QStringLiteral("tovrel"));
#endif
    }

    void engineCheck_data()
    {
        QTest::addColumn<bool>("storedExists");
        QTest::addColumn<bool>("stableExists");
        QTest::addColumn<bool>("checkDefault");
        QTest::addColumn<QString>("expectedEngine");
        QTest::addColumn<int>("failures");
        QTest::newRow("user choice stands") << true << true << false << "custom" << 0;
        QTest::newRow("user choice stands without stable")
            << true << false << false << "custom" << 0;
        QTest::newRow("missing choice replaced silently")
            << false << true << false << "stable" << 0;
        QTest::newRow("nothing to fall back on") << false << false << false << "custom" << 1;
        QTest::newRow("default check replaces choice") << true << true << true << "stable" << 0;
        QTest::newRow("default check without stable") << true << false << true << "custom" << 1;
    }
    void engineCheck()
    {
        QFETCH(bool, storedExists);
        QFETCH(bool, stableExists);
        QFETCH(bool, checkDefault);
        QFETCH(QString, expectedEngine);
        QFETCH(int, failures);
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
        QCOMPARE(failed.count(), failures);
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
        auto resolve = [](const QString &name) {
            if (name == "stable")
                return CSettings::stableEnginePath();
            if (name == "preview")
                return CSettings::previewEnginePath();
            return name;
        };
        MSettings settings;
        settings.setCommandLineToolName(resolve(stored));
        CSettings controller(settings);
        controller.resetCommandLineTool();
        QCOMPARE(settings.commandLineToolName(), resolve(expected));
        QCOMPARE(controller.isStableEngineSelected(), expected == "stable");
        QCOMPARE(controller.isPreviewEngineSelected(), expected == "preview");
    }

    void resetDefaultCommandSetStoresResource()
    {
        MSettings settings;
        settings.setDefaultCommandSet("DATA: mine.dat;");
        CSettings controller(settings);
        controller.resetDefaultCommandSet();
        QCOMPARE(QSettings().value("SyntaxEditor/DefaultCommandSet").toString(),
                 MSettings::resourceText(MSettings::kDefaultCommandSetResource));
    }
};

TOVREL_TEST_MAIN(TestConfig)
#include "tst_config.moc"
