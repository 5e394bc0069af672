#include "app/application.h"
#include "app/darkstyle.h"
#include "app/startup.h"
#include "config/msettings.h"
#include "testmain.h"

#include <QRegularExpression>
#include <QSet>
#include <QSettings>
#include <QStyle>

namespace {

struct PaletteRow
{
    QPalette::ColorGroup group; // All or Disabled
    QPalette::ColorRole role;
    QColor colour;
};

// The dark palette; a Disabled row overrides the All row of its role for the disabled group.
const PaletteRow kDarkPalette[] = {
    {QPalette::All, QPalette::Window, QColor(53, 53, 53)},
    {QPalette::All, QPalette::WindowText, Qt::white},
    {QPalette::Disabled, QPalette::WindowText, QColor(127, 127, 127)},
    {QPalette::All, QPalette::Base, QColor(42, 42, 42)},
    {QPalette::All, QPalette::AlternateBase, QColor(66, 66, 66)},
    {QPalette::All, QPalette::ToolTipBase, Qt::white},
    {QPalette::All, QPalette::ToolTipText, QColor(53, 53, 53)},
    {QPalette::All, QPalette::Text, Qt::white},
    {QPalette::Disabled, QPalette::Text, QColor(127, 127, 127)},
    {QPalette::All, QPalette::Dark, QColor(35, 35, 35)},
    {QPalette::All, QPalette::Shadow, QColor(20, 20, 20)},
    {QPalette::All, QPalette::Button, QColor(53, 53, 53)},
    {QPalette::All, QPalette::ButtonText, Qt::white},
    {QPalette::Disabled, QPalette::ButtonText, QColor(127, 127, 127)},
    {QPalette::All, QPalette::BrightText, Qt::red},
    {QPalette::All, QPalette::Link, QColor(42, 130, 218)},
    {QPalette::All, QPalette::Highlight, QColor(42, 130, 218)},
    {QPalette::Disabled, QPalette::Highlight, QColor(80, 80, 80)},
    {QPalette::All, QPalette::HighlightedText, Qt::white},
    {QPalette::Disabled, QPalette::HighlightedText, QColor(127, 127, 127)},
};

// Checks every group of vPalette against the table; "where" names the palette in failures.
bool isDark(const QPalette &vPalette, QString *vWhere)
{
    for (const PaletteRow &row : kDarkPalette)
        for (QPalette::ColorGroup group :
             {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            const bool overridden = row.group == QPalette::All && group == QPalette::Disabled
                && std::any_of(std::begin(kDarkPalette), std::end(kDarkPalette), [&](auto &o) {
                                        return o.group == QPalette::Disabled && o.role == row.role;
                                    });
            if ((row.group == QPalette::Disabled && group != QPalette::Disabled) || overridden)
                continue;
            if (vPalette.color(group, row.role) != row.colour) {
                *vWhere = QStringLiteral("group %1 role %2: %3")
                              .arg(group)
                              .arg(row.role)
                              .arg(vPalette.color(group, row.role).name());
                return false;
            }
        }
    return true;
}

QString resourceText(const QString &vPath)
{
    QFile file(vPath);
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()) : QString();
}

} // namespace

class TestDarkStyle : public QObject
{
    Q_OBJECT

    void startWithDarkMode(bool vOn)
    {
        QSettings().clear();
        MSettings().setDarkModeSet(vOn);
        StartUp startUp(*qobject_cast<Application *>(QCoreApplication::instance()));
        QVERIFY(startUp.prepare());
    }

private Q_SLOTS:
    // Runs first: nothing dark may have been installed before it.
    void darkModeOffLeavesThePlatformStyle()
    {
        QStyle *style = QApplication::style();
        const QPalette palette = QApplication::palette();
        startWithDarkMode(false);
        QCOMPARE(QApplication::style(), style);
        QCOMPARE(QApplication::palette(), palette);
        QVERIFY(qApp->styleSheet().isEmpty());
    }

    void polishSetsTheDarkPalette()
    {
        DarkStyle style;
        QCOMPARE(style.baseStyle()->name(), QStringLiteral("fusion"));
        QPalette palette(Qt::green); // every role of another colour first
        style.polish(palette);
        QString where;
        QVERIFY2(isDark(palette, &where), qPrintable(where));
    }

    void darkModeOnInstallsPaletteAndSheet()
    {
        startWithDarkMode(true);
        QString where;
        QVERIFY2(isDark(QApplication::palette(), &where), qPrintable(where));
        const QString sheet = resourceText(":/darkstyle/darkstyle.qss");
        QVERIFY(!sheet.isEmpty());
        QCOMPARE(qApp->styleSheet(), sheet);
        QWidget widget;
        QVERIFY2(widget.style()->findChild<DarkStyle *>()
                     || qobject_cast<DarkStyle *>(widget.style()),
                 widget.style()->metaObject()->className());
    }

    void sheetNamesItsOwnImages()
    {
        QString sheet = resourceText(":/darkstyle/darkstyle.qss");
        sheet.remove(
            QRegularExpression(R"(/\*.*?\*/)", QRegularExpression::DotMatchesEverythingOption));
        QCOMPARE(sheet.count('{'), 81);
        QCOMPARE(sheet.count('}'), 81);

        QSet<QString> expected {"icon_branch_closed", "icon_branch_end", "icon_branch_more",
                                "icon_branch_open",   "icon_close",      "icon_restore",
                                "icon_vline"};
        for (const char *state : {"checked", "checked_disabled", "checked_pressed", "unchecked",
                                  "unchecked_disabled", "unchecked_pressed"})
            expected << QStringLiteral("icon_checkbox_%1").arg(state)
                     << QStringLiteral("icon_radiobutton_%1").arg(state);
        for (const char *state :
             {"indeterminate", "indeterminate_disabled", "indeterminate_pressed"})
            expected << QStringLiteral("icon_checkbox_%1").arg(state);
        QCOMPARE(expected.size(), 22);

        QSet<QString> named;
        QRegularExpression url(R"(url\((:/darkstyle/(\w+)\.png)\))");
        for (const QRegularExpressionMatch &match : url.globalMatch(sheet)) {
            QVERIFY2(!QImage(match.captured(1)).isNull(), qPrintable(match.captured(1)));
            named << match.captured(2);
        }
        QCOMPARE(named, expected);
    }
};

int main(int argc, char *argv[])
{
    TestEnvironment environment;
    Application application(argc, argv);
    TestDarkStyle tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}
#include "tst_darkstyle.moc"
