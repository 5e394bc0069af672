#include "config/csettings.h"
#include "config/msettings.h"
#include "config/plotdefaults.h"
#include "config/vsettings.h"
#include "editor/syntaxhighlighter.h"
#include "editor/wlisteditor.h"
#include "editor/wsyntaxeditor.h"
#include "fileguard.h"
#include "modalanswerer.h"
#include "testmain.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTextBlock>
#include <QTextLayout>
#include <QToolButton>
#include <QTreeWidget>

#include <memory>

namespace {

template<typename T>
T *child(QWidget *vParent, const char *vName)
{
    T *widget = vParent->findChild<T *>(QLatin1String(vName));
    if (!widget)
        qFatal("no child %s", vName);
    return widget;
}

QStringList categories(VSettings &vDialog)
{
    auto *tree = child<QTreeWidget>(&vDialog, "tw_Category");
    QStringList titles;
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        titles << tree->topLevelItem(i)->text(0);
    return titles;
}

void setText(VSettings &vDialog, const char *vName, const QString &vText)
{
    child<QLineEdit>(&vDialog, vName)->setText(vText);
}

// Whether any colour is laid over the character at vPosition of the editor's first line.
bool coloured(WSyntaxEditor &vEditor, int vPosition)
{
    for (const QTextLayout::FormatRange &range :
         vEditor.document()->firstBlock().layout()->formats())
        if (range.start <= vPosition && vPosition < range.start + range.length
            && range.format.hasProperty(QTextFormat::ForegroundBrush))
            return true;
    return false;
}

} // namespace

class TestPreferences : public QObject
{
    Q_OBJECT

    CSettings &settings() { return CSettings::instance(); }

private Q_SLOTS:
    void init()
    {
        QSettings().clear();
        settings().store().setImportSettingsEnabled(false);
        settings().loadSettings();
    }

    // Fields: start, stop, chains, width, height; the expected message, or the stored numbers.
    void plotDefaultsCheck_data()
    {
        QTest::addColumn<QStringList>("fields");
        QTest::addColumn<QString>("expected");
        const QString max = "Default Plot Settings Error\nMax is only allowed for numberof chains "
                            "and stop iteration!";
        const QString text = "Default Plot Settings Error\nNon-numeric value given!";
        const QString zero = "Default Plot Settings Error\nAll values must be greater than zero.";
        const QString order = "Start Iterations must be less than Stop Iterations.";
        // clang-format off
        QTest::newRow("stop MAX, start 100") << QStringList{"100", "MAX", "2", "900", "400"} << "100 -1 2 900 400";
        QTest::newRow("chains max in any case, blanks around") << QStringList{" 1 ", "50", "mAx", "9", "4"} << "1 50 -1 9 4";
        QTest::newRow("start max") << QStringList{"max", "500", "2", "900", "400"} << max;
        QTest::newRow("width max") << QStringList{"1", "500", "2", "Max", "400"} << max;
        QTest::newRow("width zero") << QStringList{"1", "500", "2", "0", "400"} << zero;
        QTest::newRow("negative chains") << QStringList{"1", "500", "-3", "900", "400"} << zero;
        QTest::newRow("width abc") << QStringList{"1", "500", "2", "abc", "400"} << text;
        QTest::newRow("empty height") << QStringList{"1", "500", "2", "900", ""} << text;
        QTest::newRow("decimal start") << QStringList{"1.5", "500", "2", "900", "400"} << text;
        QTest::newRow("beyond 32 bits") << QStringList{"1", "99999999999", "2", "900", "400"} << text;
        QTest::newRow("start equals stop") << QStringList{"500", "500", "2", "900", "400"} << order;
        QTest::newRow("start after stop") << QStringList{"600", "500", "2", "900", "400"} << order;
        QTest::newRow("first problem in field order wins") << QStringList{"600", "500", "x", "0", "400"} << text;
        // clang-format on
    }
    void plotDefaultsCheck()
    {
        QFETCH(QStringList, fields);
        QFETCH(QString, expected);
        QVariantMap values;
        const QString message = PlotDefaults::check(fields, values);
        if (expected.front().isDigit()) {
            QCOMPARE(message, QString());
            QStringList stored;
            for (const QString &key : PlotDefaults::fieldKeys())
                stored << values.value(key).toString();
            QCOMPARE(stored.join(' '), expected);
        } else {
            QCOMPARE(message, expected);
            QVERIFY(values.isEmpty());
        }
    }

    void loadShowsStoredSettings()
    {
        QVariantMap plot = MSettings::plotDefaults();
        plot["bIter"] = 5;
        plot["nchain"] = 3;
        plot["dType"] = 2;
        plot["autoPlot"] = false;
        settings().setPlotSettings(plot);
        settings().setDarkModeSet(false);
        settings().setVerticalLayout(true);
        settings().setAdvanceHighlight(false);
        settings().setMplusToolName("/opt/mplus");
        settings().setCommandLineToolParams({"--fast", "$COMMANDS"});
        settings().setEditorFont("Some Missing Family", 17);
        settings().loadSettings();
        VSettings dialog;
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Settings"));
        QCOMPARE(child<QLineEdit>(&dialog, "le_begin")->text(), QStringLiteral("5"));
        QCOMPARE(child<QLineEdit>(&dialog, "le_end")->text(), QStringLiteral("MAX"));
        QCOMPARE(child<QLineEdit>(&dialog, "le_nchain")->text(), QStringLiteral("3"));
        QCOMPARE(child<QLineEdit>(&dialog, "le_width")->text(), QStringLiteral("900"));
        QCOMPARE(child<QComboBox>(&dialog, "cb_type")->currentIndex(), 2);
        QCOMPARE(child<QComboBox>(&dialog, "cb_auto")->currentText(), QStringLiteral("No"));
        QVERIFY(child<QRadioButton>(&dialog, "lightButton")->isChecked());
        QVERIFY(child<QRadioButton>(&dialog, "radioButton_Vert")->isChecked());
        QVERIFY(child<QCheckBox>(&dialog, "chkAdvanceHighlight")->isChecked());
        QCOMPARE(child<QLineEdit>(&dialog, "mplusPath")->text(), QStringLiteral("/opt/mplus"));
        QCOMPARE(child<WListEditor>(&dialog, "lw_ToolParams")->items(),
                 QStringList({"--fast", "$COMMANDS"}));
        // A family this system lacks is kept, not replaced by a look-alike, and the default
        // script is shown in the chosen editor font.
        QCOMPARE(child<QComboBox>(&dialog, "cmbSyntaxEditorFontName")->currentText(),
                 QStringLiteral("Some Missing Family"));
        QCOMPARE(child<QPlainTextEdit>(&dialog, "teSyntaxEditorDefaultContent")->font().pointSize(),
                 17);
        QVERIFY(child<QPlainTextEdit>(&dialog, "teSyntaxEditorOutLogFontExample")
                    ->toPlainText()
                    .contains("Coefficients"));
    }

    // Which engine button is checked and enabled for each stored choice and installed engine.
    void engineChoice_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<bool>("stableInstalled");
        QTest::addColumn<bool>("previewInstalled");
        QTest::addColumn<QString>("checked");
        // clang-format off
        QTest::newRow("stable chosen and installed") << "stable" << true << false << "baseButton";
        QTest::newRow("preview chosen, stable missing") << "preview" << false << true << "previewButton";
        QTest::newRow("own program") << "/opt/engine" << true << true << "customButton";
        QTest::newRow("nothing chosen") << "" << false << false << "customButton";
        // clang-format on
    }
    void engineChoice()
    {
        QFETCH(QString, stored);
        QFETCH(bool, stableInstalled);
        QFETCH(bool, previewInstalled);
        QFETCH(QString, checked);
        std::unique_ptr<FileGuard> stable, preview;
        if (stableInstalled)
            stable = std::make_unique<FileGuard>(CSettings::stableEnginePath());
        if (previewInstalled)
            preview = std::make_unique<FileGuard>(CSettings::previewEnginePath());
        settings().setCommandLineToolName(stored == "stable"        ? CSettings::stableEnginePath()
                                              : stored == "preview" ? CSettings::previewEnginePath()
                                                                    : stored);
        VSettings dialog;
        auto *custom = child<QRadioButton>(&dialog, "customButton");
        auto *path = child<QLineEdit>(&dialog, "le_ToolName");
        QVERIFY(child<QRadioButton>(&dialog, qPrintable(checked))->isChecked());
        QCOMPARE(child<QRadioButton>(&dialog, "baseButton")->isEnabled(), stableInstalled);
        QCOMPARE(child<QRadioButton>(&dialog, "previewButton")->isEnabled(), previewInstalled);
        QCOMPARE(path->isEnabled(), custom->isChecked());
        QCOMPARE(child<QToolButton>(&dialog, "tb_Reset")->isEnabled(), custom->isChecked());
        QCOMPARE(path->text(), custom->isChecked() ? stored : QString());

        // Leaving Custom empties the field; coming back shows the stored path again.
        const QString storedPath = settings().commandLineToolName();
        custom->setChecked(true);
        QCOMPARE(path->text(), storedPath);
        QVERIFY(path->isEnabled());
        child<QRadioButton>(&dialog, "previewButton")->setChecked(true);
        QCOMPARE(path->text(), QString());
        QVERIFY(!path->isEnabled());
    }

    void applyStoresEveryPage()
    {
        FileGuard preview(CSettings::previewEnginePath());
        settings().store().setImportSettingsEnabled(true);
        VSettings dialog;
        QVERIFY(dialog.importPageShown());
        child<QRadioButton>(&dialog, "previewButton")->setChecked(true);
        setText(dialog, "leCommandsFileKeyword", "@SCRIPT");
        child<WListEditor>(&dialog, "lw_ToolParams")->setItems({"@SCRIPT", "--quiet"});
        child<QRadioButton>(&dialog, "radioButton_Vert")->setChecked(true);
        child<QCheckBox>(&dialog, "chkAutoUpdate")->setChecked(false);
        auto *editorFamily = child<QComboBox>(&dialog, "cmbSyntaxEditorFontName");
        editorFamily->setCurrentIndex(editorFamily->count() - 1);
        child<QSpinBox>(&dialog, "spbSyntaxEditorOutLogFontSize")->setValue(15);
        child<QCheckBox>(&dialog, "chkAdvanceHighlight")->setChecked(true);
        child<QPlainTextEdit>(&dialog, "teSyntaxEditorDefaultContent")->setPlainText("DATA: x;");
        child<QComboBox>(&dialog, "cbImportMissingCommand")->setCurrentText("MISIND");
        setText(dialog, "leImportMissingValue", "not a number");
        setText(dialog, "le_end", "max");
        setText(dialog, "le_width", "640");
        child<QComboBox>(&dialog, "cb_type")->setCurrentIndex(3);
        child<QComboBox>(&dialog, "cb_opengl")->setCurrentIndex(1);
        setText(dialog, "mplusPath", "/opt/mplus/mplus");
        QSignalSpy applied(&settings(), &CSettings::did_apply);
        child<QPushButton>(&dialog, "pb_Apply")->click();

        QCOMPARE(applied.count(), 1);
        QCOMPARE(settings().commandLineToolName(), CSettings::previewEnginePath());
        QCOMPARE(settings().commandsFileKeyword(), QStringLiteral("@SCRIPT"));
        QCOMPARE(settings().commandLineToolParams(), QStringList({"@SCRIPT", "--quiet"}));
        QVERIFY(settings().verticalLayout());
        QVERIFY(!settings().autoCheck());
        QCOMPARE(settings().editorFont().family(), editorFamily->currentText());
        QCOMPARE(settings().outputFont().pointSize(), 15);
        QVERIFY(!settings().advanceHighlight());
        QCOMPARE(settings().defaultCommandSet(), QStringLiteral("DATA: x;"));
        QCOMPARE(settings().missingCommand(), QStringLiteral("MISIND"));
        QCOMPARE(settings().missingValue(), 0);
        QCOMPARE(settings().mplusToolName(), QStringLiteral("/opt/mplus/mplus"));
        const QVariantMap plot = settings().plotSettings();
        QCOMPARE(plot.value("eIter").toInt(), -1);
        QCOMPARE(plot.value("width").toInt(), 640);
        QCOMPARE(plot.value("dType").toInt(), 3);
        QCOMPARE(plot.value("openGl").toBool(), false);
        QCOMPARE(plot.value("autoPlot").toBool(), true);
    }

    // Refused plot defaults: the box, the dialog stays open as typed, the earlier pages are
    // stored all the same, and the later ones are not.
    void refusedPlotDefaultsKeepTheDialogOpen()
    {
        VSettings dialog;
        dialog.show();
        setText(dialog, "le_width", "0");
        child<QRadioButton>(&dialog, "radioButton_Vert")->setChecked(true);
        child<QCheckBox>(&dialog, "chkAdvanceHighlight")->setChecked(true);
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        child<QPushButton>(&dialog, "pb_OK")->click();
        QCOMPARE(seen.count, 1);
        QCOMPARE(seen.title, QStringLiteral("Error!"));
        QCOMPARE(
            seen.text,
            QStringLiteral("Default Plot Settings Error\nAll values must be greater than zero."));
        QVERIFY(dialog.isVisible());
        QCOMPARE(child<QLineEdit>(&dialog, "le_width")->text(), QStringLiteral("0"));
        QVERIFY(!settings().advanceHighlight()); // stored before the check
        QVERIFY(!settings().verticalLayout()); // stored only after a valid check
        QCOMPARE(settings().plotSettings().value("width").toInt(), 900);

        setText(dialog, "le_width", "700");
        child<QPushButton>(&dialog, "pb_OK")->click();
        QVERIFY(!dialog.isVisible());
        QCOMPARE(seen.count, 1);
        QVERIFY(settings().verticalLayout());
    }

    void paletteChangeAsksForRestartOnce()
    {
        VSettings dialog;
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        child<QRadioButton>(&dialog, "lightButton")->setChecked(true);
        child<QPushButton>(&dialog, "pb_Apply")->click();
        QCOMPARE(seen.count, 1);
        QCOMPARE(seen.title, QStringLiteral("Restart Required."));
        QCOMPARE(seen.text, QStringLiteral("Color settings require restart to take effect."));
        QVERIFY(!settings().darkModeSet());
        child<QPushButton>(&dialog, "pb_Apply")->click();
        QTest::qWait(50);
        QCOMPARE(seen.count, 1);
    }

    void cancelDiscardsEdits()
    {
        VSettings dialog;
        dialog.show();
        setText(dialog, "le_begin", "77");
        child<QRadioButton>(&dialog, "lightButton")->setChecked(true);
        child<QPlainTextEdit>(&dialog, "teSyntaxEditorDefaultContent")->setPlainText("edited");
        child<QPushButton>(&dialog, "pb_Close")->click();
        QVERIFY(!dialog.isVisible());
        QCOMPARE(child<QLineEdit>(&dialog, "le_begin")->text(), QStringLiteral("1"));
        QVERIFY(child<QRadioButton>(&dialog, "darkButton")->isChecked());
        QVERIFY(child<QPlainTextEdit>(&dialog, "teSyntaxEditorDefaultContent")
                    ->toPlainText()
                    .startsWith("DATA: ;"));
        QCOMPARE(settings().plotSettings().value("bIter").toInt(), 1);
        QVERIFY(settings().darkModeSet());
    }

    void importPageFollowsTheFlag_data()
    {
        QTest::addColumn<bool>("flag");
        QTest::newRow("flag off") << false;
        QTest::newRow("flag on") << true;
    }
    void importPageFollowsTheFlag()
    {
        QFETCH(bool, flag);
        settings().store().setImportSettingsEnabled(flag);
        VSettings dialog;
        QStringList expected {"General Settings",     "Syntax Window", "Output Window",
                              "Computational Engine", "Plot Settings", "Misc Settings"};
        if (flag)
            expected.insert(5, "Import Data Settings");
        QCOMPARE(categories(dialog), expected);
        // Each title shows its own page.
        auto *tree = child<QTreeWidget>(&dialog, "tw_Category");
        const QList<int> pages {VSettings::GeneralPage, VSettings::SyntaxPage,
                                VSettings::OutputPage,  VSettings::EnginePage,
                                VSettings::PlotPage,    VSettings::ImportDataPage};
        for (int i = 0; i < 5; ++i) {
            tree->setCurrentItem(tree->topLevelItem(i));
            QCOMPARE(dialog.currentPage(), pages.at(i));
        }
        // Its fields are saved only while the page is offered.
        child<QComboBox>(&dialog, "cbImportDataCommand")->setCurrentText("FILE");
        child<QPushButton>(&dialog, "pb_Apply")->click();
        settings().store().setImportSettingsEnabled(true);
        settings().loadSettings();
        QCOMPARE(settings().dataCommand(), flag ? QStringLiteral("FILE") : QStringLiteral("DATA"));
    }

    void failedEngineCheckOpensTheEnginePage()
    {
        VSettings dialog;
        QVERIFY(!dialog.isVisible());
        settings().setCommandLineToolName("/nowhere/tovrel");
        settings().checkCommandLineTool(); // no stable engine beside the tests
        QVERIFY(dialog.isVisible());
        QCOMPARE(dialog.currentPage(), int(VSettings::EnginePage));
        QCOMPARE(child<QTreeWidget>(&dialog, "tw_Category")->currentItem()->text(0),
                 QStringLiteral("Computational Engine"));
    }

    void resetReturnsToTheStableEngine()
    {
        settings().setCommandLineToolName("/opt/own-engine");
        VSettings dialog;
        QSignalSpy failed(&settings(), &CSettings::notifyTovrelCheckFailed);
        child<QToolButton>(&dialog, "tb_Reset")->click();
        QCOMPARE(failed.count(), 1); // no stable engine: nothing stored
        QCOMPARE(child<QLineEdit>(&dialog, "le_ToolName")->text(),
                 QStringLiteral("/opt/own-engine"));
        FileGuard stable(CSettings::stableEnginePath());
        child<QToolButton>(&dialog, "tb_Reset")->click();
        QCOMPARE(child<QLineEdit>(&dialog, "le_ToolName")->text(), CSettings::stableEnginePath());
        QCOMPARE(settings().commandLineToolName(), CSettings::stableEnginePath());
        QCOMPARE(failed.count(), 1);
    }

    void minimalHighlightingTakesEffectInOpenEditors()
    {
        WSyntaxEditor editor;
        editor.setPlainText("MODEL: y <-> x;");
        editor.highlighter()->rehighlightDocument();
        const int arrow = QStringLiteral("MODEL: y ").size();
        QVERIFY(coloured(editor, arrow));
        VSettings dialog;
        child<QCheckBox>(&dialog, "chkAdvanceHighlight")->setChecked(true);
        child<QPushButton>(&dialog, "pb_Apply")->click();
        QVERIFY(!coloured(editor, arrow));
        QVERIFY(coloured(editor, 0)); // the command word keeps its colour
    }
};

TOVREL_TEST_MAIN(TestPreferences)
#include "tst_preferences.moc"
