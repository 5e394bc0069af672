#include "config/csettings.h"
#include "config/enginetrust.h"
#include "config/msettings.h"
#include "config/plotdefaults.h"
#include "config/vsettings.h"
#include "editor/syntaxhighlighter.h"
#include "editor/wsyntaxeditor.h"
#include "fileguard.h"
#include "goldentable.h"
#include "modalanswerer.h"
#include "tablecell.h"
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

QWidget *field(QWidget &vDialog, const QString &vName)
{
    return vDialog.findChild<QWidget *>(vName);
}

// Any editing widget's value as text: buttons read "1" or "0", combo boxes their current text.
QString valueOf(QWidget *vWidget)
{
    if (auto *edit = qobject_cast<QLineEdit *>(vWidget))
        return edit->text();
    if (auto *box = qobject_cast<QComboBox *>(vWidget))
        return box->currentText();
    if (auto *button = qobject_cast<QAbstractButton *>(vWidget))
        return button->isChecked() ? "1" : "0";
    if (auto *spin = qobject_cast<QSpinBox *>(vWidget))
        return QString::number(spin->value());
    if (auto *real = qobject_cast<QDoubleSpinBox *>(vWidget))
        return QString::number(real->value());
    return qobject_cast<QPlainTextEdit *>(vWidget)->toPlainText();
}

void setValue(QWidget *vWidget, const QString &vValue)
{
    if (auto *edit = qobject_cast<QLineEdit *>(vWidget))
        edit->setText(vValue);
    else if (auto *box = qobject_cast<QComboBox *>(vWidget))
        box->setCurrentText(vValue);
    else if (auto *button = qobject_cast<QAbstractButton *>(vWidget))
        button->setChecked(vValue == "1");
    else if (auto *spin = qobject_cast<QSpinBox *>(vWidget))
        spin->setValue(vValue.toInt());
    else if (auto *real = qobject_cast<QDoubleSpinBox *>(vWidget))
        real->setValue(vValue.toDouble());
    else
        qobject_cast<QPlainTextEdit *>(vWidget)->setPlainText(vValue);
}

// A stored setting as text; "Plot/Settings:width" reads one entry of the plot map.
QString stored(const QString &vKey)
{
    const QVariant value = QSettings().value(vKey.section(':', 0, 0));
    if (vKey.contains(':'))
        return value.toMap().value(vKey.section(':', 1)).toString();
    return value.typeId() == QMetaType::QStringList ? value.toStringList().join(',')
                                                    : value.toString();
}

void click(QWidget &vDialog, const char *vButton)
{
    vDialog.findChild<QAbstractButton *>(vButton)->click();
}

// Whether any colour lies over the character at vPosition of the editor's first line.
bool coloured(WSyntaxEditor &vEditor, int vPosition)
{
    const auto ranges = vEditor.document()->firstBlock().layout()->formats();
    return std::any_of(ranges.begin(), ranges.end(), [vPosition](const auto &vRange) {
        return vRange.start <= vPosition && vPosition < vRange.start + vRange.length
            && vRange.format.hasProperty(QTextFormat::ForegroundBrush);
    });
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
        settings().store().setImportSettingsEnabled(true);
        settings().loadSettings();
    }

    void plotDefaultsCheck_data()
    {
        addTableRows(QFINDTESTDATA("plotdefaults.txt"), {"fields", "expected"});
    }
    void plotDefaultsCheck()
    {
        QVariantMap values;
        const QString message = PlotDefaults::check(cells("fields"), values);
        QStringList numbers;
        for (const QString &key : PlotDefaults::fieldKeys())
            numbers << values.value(key).toString();
        QTEST(message.isEmpty() ? numbers.join(' ') : message, "expected");
        QVERIFY(message.isEmpty() || values.isEmpty());
    }

    // One widget set and applied twice: what a newly opened dialog shows, what was stored, and
    // the restart notice a palette change gives once.
    void applyStoresWhatTheNextDialogShows_data()
    {
        addTableRows(QFINDTESTDATA("preferencesapply.txt"),
                     {"widget", "typed", "shown", "key", "value"});
    }
    void applyStoresWhatTheNextDialogShows()
    {
        QFETCH(QString, widget);
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        QSignalSpy applied(&settings(), &CSettings::did_apply);
        {
            VSettings dialog;
            setValue(field(dialog, widget), cell("typed"));
            click(dialog, "pb_Apply");
            click(dialog, "pb_Apply");
        }
        QCOMPARE(applied.count(), 2);
        QTEST(stored(cell("key")), "value");
        VSettings next;
        QTEST(valueOf(field(next, widget)), "shown");
        QCOMPARE(seen.count, widget == "lightButton" ? 1 : 0);
        QCOMPARE(seen.title + ": " + seen.text,
                 widget == "lightButton"
                     ? "Restart Required.: Color settings require restart to take effect."
                     : ": ");
    }

    // Which engine button is checked and enabled for each stored choice and installed engine;
    // the path field holds the stored path only while Custom is checked.
    void engineChoice_data()
    {
        addTableRows(QFINDTESTDATA("enginechoice.txt"),
                     {"stored", "stableInstalled", "previewInstalled", "checked"});
    }
    void engineChoice()
    {
        QFETCH(QString, stored);
        const bool stableInstalled = cell("stableInstalled") == "1";
        const bool previewInstalled = cell("previewInstalled") == "1";
        std::unique_ptr<FileGuard> stable, preview;
        if (stableInstalled)
            stable = std::make_unique<FileGuard>(CSettings::stableEnginePath());
        if (previewInstalled)
            preview = std::make_unique<FileGuard>(CSettings::previewEnginePath());
        const QString path = stored == "stable" ? CSettings::stableEnginePath()
            : stored == "preview"               ? CSettings::previewEnginePath()
                                                : stored;
        settings().setCommandLineToolName(path);
        VSettings dialog;
        QWidget *custom = field(dialog, "customButton");
        QWidget *name = field(dialog, "le_ToolName");
        QFETCH(QString, checked);
        QCOMPARE(valueOf(field(dialog, checked)), QStringLiteral("1"));
        QCOMPARE(field(dialog, "baseButton")->isEnabled(), stableInstalled);
        QCOMPARE(field(dialog, "previewButton")->isEnabled(), previewInstalled);
        QCOMPARE(field(dialog, "tb_Reset")->isEnabled(), checked == "customButton");
        QCOMPARE(valueOf(name), checked == "customButton" ? path : QString());
        setValue(custom, "1");
        QCOMPARE(valueOf(name), path);
        QVERIFY(name->isEnabled());
        setValue(field(dialog, "previewButton"), "1");
        QCOMPARE(valueOf(name), QString());
        QVERIFY(!name->isEnabled());
        click(dialog, "pb_Apply");
        QCOMPARE(settings().commandLineToolName(), CSettings::previewEnginePath());
    }

    // Refused plot defaults: the box, the dialog open as typed, the pages before the check
    // stored, the ones after it not.
    void refusedPlotDefaultsKeepTheDialogOpen()
    {
        VSettings dialog;
        dialog.show();
        setValue(field(dialog, "le_width"), "0");
        setValue(field(dialog, "radioButton_Vert"), "1");
        setValue(field(dialog, "chkAdvanceHighlight"), "1");
        SeenBox seen;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &seen));
        click(dialog, "pb_OK");
        QCOMPARE(seen.title + ": " + seen.text,
                 "Error!: Default Plot Settings Error\nAll values must be greater than zero.");
        QVERIFY(dialog.isVisible());
        QCOMPARE(valueOf(field(dialog, "le_width")), QStringLiteral("0"));
        QCOMPARE(stored("SyntaxEditor/AdvanceHighlight") + stored("Tovrel/VerticalLayout"),
                 "false");
        setValue(field(dialog, "le_width"), "700");
        click(dialog, "pb_OK");
        QVERIFY(!dialog.isVisible());
        QCOMPARE(seen.count, 1);
        QCOMPARE(stored("Tovrel/VerticalLayout"), QStringLiteral("true"));
    }

    void cancelDiscardsEdits()
    {
        VSettings dialog;
        dialog.show();
        setValue(field(dialog, "le_begin"), "77");
        setValue(field(dialog, "lightButton"), "1");
        click(dialog, "pb_Close");
        QVERIFY(!dialog.isVisible());
        QCOMPARE(valueOf(field(dialog, "le_begin")) + valueOf(field(dialog, "darkButton")), "11");
        QCOMPARE(stored("Plot/Settings:bIter") + stored("Tovrel/DarkModeSet"), QString());
    }

    // Forgetting programs scripts may run takes effect on Apply or OK, like every other edit.
    void trustedProgramsAreForgotten()
    {
        EngineTrust trust(settings());
        trust.setGrants({{"/a.imp", "/p", 1, 2}, {"/b.imp", "/p", 1, 2}, {"/c.imp", "/p", 1, 2}});
        VSettings dialog;
        auto *list = dialog.findChild<QTreeWidget *>("tw_TrustedPrograms");
        const auto forgetRow = [&](int vRow) {
            list->topLevelItem(vRow)->setSelected(true);
            click(dialog, "pb_Forget");
        };
        forgetRow(1);
        click(dialog, "pb_Close");
        QCOMPARE(list->topLevelItemCount(), 3);
        forgetRow(0);
        click(dialog, "pb_OK");
        QCOMPARE(trust.grants().size(), 2);
        QCOMPARE(trust.grants().first().script, "/b.imp");
        click(dialog, "pb_ForgetAll");
        click(dialog, "pb_Apply");
        QVERIFY(trust.grants().isEmpty());
    }

    void importPageOnlyWithTheFlag_data()
    {
        QTest::addColumn<bool>("flag");
        QTest::newRow("flag off") << false;
        QTest::newRow("flag on") << true;
    }
    void importPageOnlyWithTheFlag()
    {
        QFETCH(bool, flag);
        settings().store().setImportSettingsEnabled(flag);
        VSettings dialog;
        auto *tree = dialog.findChild<QTreeWidget *>("tw_Category");
        QStringList titles;
        QList<int> pages;
        for (int i = 0; i < tree->topLevelItemCount(); ++i) {
            tree->setCurrentItem(tree->topLevelItem(i));
            titles << tree->topLevelItem(i)->text(0);
            pages << dialog.currentPage();
        }
        const QString import = flag ? "Import Data Settings," : "";
        QCOMPARE(titles.join(','),
                 "General Settings,Syntax Window,Output Window,Computational "
                 "Engine,Plot Settings,"
                     + import + "Misc Settings");
        QCOMPARE(pages, flag ? QList<int>({3, 4, 5, 1, 0, 2, 6}) : QList<int>({3, 4, 5, 1, 0, 6}));
        setValue(field(dialog, "cbImportDataCommand"), "FILE");
        click(dialog, "pb_Apply");
        QCOMPARE(stored("ImportData/DataCommand"), flag ? "FILE" : "");
    }

    // A failed engine check opens the engine page; the reset button stores the stable engine
    // once there is one.
    void engineCheckAndReset()
    {
        settings().setCommandLineToolName("/opt/own-engine");
        VSettings dialog;
        QSignalSpy failed(&settings(), &CSettings::notifyTovrelCheckFailed);
        click(dialog, "tb_Reset");
        QCOMPARE(failed.count(), 1);
        QVERIFY(dialog.isVisible());
        QCOMPARE(dialog.currentPage(), int(VSettings::EnginePage));
        QCOMPARE(dialog.findChild<QTreeWidget *>()->currentItem()->text(0),
                 QStringLiteral("Computational Engine"));
        QCOMPARE(valueOf(field(dialog, "le_ToolName")), QStringLiteral("/opt/own-engine"));
        FileGuard stable(CSettings::stableEnginePath());
        click(dialog, "tb_Reset");
        QCOMPARE(valueOf(field(dialog, "le_ToolName")), CSettings::stableEnginePath());
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
        setValue(field(dialog, "chkAdvanceHighlight"), "1");
        click(dialog, "pb_Apply");
        QVERIFY(!coloured(editor, arrow));
        QVERIFY(coloured(editor, 0)); // the command word keeps its colour
    }
};

TOVREL_TEST_MAIN(TestPreferences)
#include "tst_preferences.moc"
