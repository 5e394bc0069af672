#include "modalanswerer.h"
#include "testmain.h"

#include "config/csettings.h"
#include "plots/plotsettings.h"
#include "plots/waitingspinnerwidget.h"

#include <QApplication>
#include <QImage>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>

#include <cmath>

namespace {

const char *const kRows[] = {"le_begin", "le_end", "le_nchain", "le_width", "le_height"};

const QString kMaxOnly
    = QStringLiteral("Max is only allowed for number of chains and stop iteration!");
const QString kNonNumeric = QStringLiteral("Non-numeric value given!");
const QString kNotPositive = QStringLiteral("All values must be greater than zero.");
const QString kOrder = QStringLiteral("Start Iterations must be less than Stop Iterations.");

// Answers every modal message box that comes up with OK, remembering what each one said.
class BoxAnswerer
{
public:
    QStringList titles;
    QStringList texts;

private:
    ModalAnswerer m_answerer{[this](QWidget *vModal) {
        auto *box = qobject_cast<QMessageBox *>(vModal);
        if (!box)
            return;
        titles << box->windowTitle();
        texts << box->text();
        box->button(QMessageBox::Ok)->click();
    }};
};

QVariantMap values(const QList<int> &v)
{
    return {{"bIter", v[0]}, {"eIter", v[1]}, {"nchain", v[2]}, {"width", v[3]}, {"height", v[4]}};
}

QList<int> valuesOf(const PlotSettings &vPanel)
{
    return {vPanel.bIter(), vPanel.eIter(), vPanel.nchain(), vPanel.width(), vPanel.height()};
}

QLineEdit *row(PlotSettings &vPanel, int vIndex)
{
    return vPanel.findChild<QLineEdit *>(kRows[vIndex]);
}

QStringList texts(PlotSettings &vPanel, QString (QLineEdit::*vGetter)() const)
{
    QStringList list;
    for (int i = 0; i < 5; ++i)
        list << (row(vPanel, i)->*vGetter)();
    return list;
}

void showActive(QWidget &vWidget)
{
    vWidget.show();
    vWidget.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&vWidget));
}

} // namespace

class TestPlotWidgets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void placeholders_data();
    void placeholders();
    void okValidation_data();
    void okValidation();
    void returnInARowMeansOk();
    void cancelKeepsValues_data();
    void cancelKeepsValues();
    void resetReloadsStoredSettings_data();
    void resetReloadsStoredSettings();

    void fade_data();
    void fade();
    void intervalAndSize_data();
    void intervalAndSize();
    void paintedBars_data();
    void paintedBars();
    void startAndStop();
    void rotationWrapsAndRestarts();
};

void TestPlotWidgets::placeholders_data()
{
    QTest::addColumn<QList<int>>("start");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("defaults") << QList<int> {1, -1, -1, 900, 400}
                              << QStringList {"1", "MAX", "MAX", "900", "400"};
    QTest::newRow("numbers") << QList<int> {10, 500, 2, 640, 300}
                             << QStringList {"10", "500", "2", "640", "300"};
    QTest::newRow("MAX only where allowed")
        << QList<int> {-1, -1, -1, -1, -1} << QStringList {"-1", "MAX", "MAX", "-1", "-1"};
}

void TestPlotWidgets::placeholders()
{
    QFETCH(QList<int>, start);
    QFETCH(QStringList, expected);
    PlotSettings panel(nullptr, values(start));
    QCOMPARE(panel.windowTitle(), QString("File Plot Settings"));
    QCOMPARE(valuesOf(panel), start);
    QCOMPARE(texts(panel, &QLineEdit::placeholderText), expected);
    QCOMPARE(texts(panel, &QLineEdit::text), QStringList(5, QString()));
}

void TestPlotWidgets::okValidation_data()
{
    QTest::addColumn<QList<int>>("start");
    QTest::addColumn<QStringList>("typed");
    QTest::addColumn<QStringList>("messages");
    QTest::addColumn<QList<int>>("result");
    QTest::addColumn<QStringList>("left"); // row texts afterwards
    QTest::addColumn<QString>("focus"); // row holding the cursor after an error
    QTest::addColumn<int>("renders");
    QTest::addColumn<bool>("closed");

    const QList<int> defaults {1, -1, -1, 900, 400};
    const QStringList empty(5, QString());
    const QStringList none;

    QTest::newRow("all empty changes nothing")
        << defaults << empty << none << defaults << empty << "" << 0 << true;
    QTest::newRow("every row applied")
        << defaults << QStringList {"100", "900", "2", "640", "300"} << none
        << QList<int> {100, 900, 2, 640, 300} << empty << "" << 1 << true;
    QTest::newRow("same values emit nothing") << defaults << QStringList {"1", "", "", "900", "400"}
                                              << none << defaults << empty << "" << 0 << true;
    QTest::newRow("MAX in stop") << QList<int> {1, 500, 2, 900, 400}
                                 << QStringList {"", "MAX", "", "", ""} << none
                                 << QList<int> {1, -1, 2, 900, 400} << empty << "" << 1 << true;
    QTest::newRow("Max in chains")
        << QList<int> {1, 500, 2, 900, 400} << QStringList {"", "", "Max", "", ""} << none
        << QList<int> {1, 500, -1, 900, 400} << empty << "" << 1 << true;
    QTest::newRow("max again is no change") << defaults << QStringList {"", "max", "mAx", "", ""}
                                            << none << defaults << empty << "" << 0 << true;
    QTest::newRow("max in start") << defaults << QStringList {"max", "50", "", "", ""}
                                  << QStringList {kMaxOnly} << defaults
                                  << QStringList {"", "50", "", "", ""} << "le_begin" << 0 << false;
    QTest::newRow("MAX in width") << defaults << QStringList {"", "", "", "MAX", ""}
                                  << QStringList {kMaxOnly} << defaults << empty << "le_width" << 0
                                  << false;
    QTest::newRow("Max in height")
        << defaults << QStringList {"", "", "", "", "Max"} << QStringList {kMaxOnly} << defaults
        << empty << "le_height" << 0 << false;
    QTest::newRow("non-numeric start")
        << defaults << QStringList {"abc", "", "", "", ""} << QStringList {kNonNumeric} << defaults
        << empty << "le_begin" << 0 << false;
    QTest::newRow("bad width stops before height is checked")
        << defaults << QStringList {"", "", "", "1x", "0"} << QStringList {kNonNumeric} << defaults
        << QStringList {"", "", "", "", "0"} << "le_width" << 0 << false;
    QTest::newRow("start 0 is cleared and the rest applied")
        << defaults << QStringList {"0", "", "", "640", ""} << QStringList {kNotPositive}
        << QList<int> {1, -1, -1, 640, 400} << empty << "" << 1 << true;
    QTest::newRow("every row below 1 is reported")
        << defaults << QStringList {"-3", "", "", "0", "-5"}
        << QStringList {kNotPositive, kNotPositive, kNotPositive} << defaults << empty << "" << 0
        << true;
    QTest::newRow("cleared start counts as the current start")
        << QList<int> {1, 100, -1, 900, 400} << QStringList {"0", "50", "", "", ""}
        << QStringList {kNotPositive} << QList<int> {1, 50, -1, 900, 400} << empty << "" << 1
        << true;
    QTest::newRow("non-numeric stop")
        << defaults << QStringList {"5", "ten", "", "640", ""} << QStringList {kNonNumeric}
        << defaults << QStringList {"5", "", "", "640", ""} << "le_end" << 0 << false;
    QTest::newRow("stop checked before chains")
        << defaults << QStringList {"", "x", "y", "", ""} << QStringList {kNonNumeric} << defaults
        << QStringList {"", "", "y", "", ""} << "le_end" << 0 << false;
    QTest::newRow("chains 0 stops")
        << defaults << QStringList {"", "", "0", "640", ""} << QStringList {kNotPositive}
        << defaults << QStringList {"", "", "", "640", ""} << "le_nchain" << 0 << false;
    QTest::newRow("start equal to stop")
        << defaults << QStringList {"500", "500", "2", "", ""} << QStringList {kOrder} << defaults
        << QStringList {"", "", "2", "", ""} << "le_begin" << 0 << false;
    QTest::newRow("start above the current stop")
        << QList<int> {1, 200, -1, 900, 400} << QStringList {"300", "", "", "", ""}
        << QStringList {kOrder} << QList<int> {1, 200, -1, 900, 400} << empty << "le_begin" << 0
        << false;
    QTest::newRow("stop below the current start")
        << QList<int> {100, -1, -1, 900, 400} << QStringList {"", "50", "", "", ""}
        << QStringList {kOrder} << QList<int> {100, -1, -1, 900, 400} << empty << "le_begin" << 0
        << false;
    QTest::newRow("stop left at Max lets any start pass")
        << defaults << QStringList {"100000", "", "", "", ""} << none
        << QList<int> {100000, -1, -1, 900, 400} << empty << "" << 1 << true;
    QTest::newRow("typed Max stop lets any start pass")
        << QList<int> {1, 50, -1, 900, 400} << QStringList {"70", "max", "", "", ""} << none
        << QList<int> {70, -1, -1, 900, 400} << empty << "" << 1 << true;
}

void TestPlotWidgets::okValidation()
{
    QFETCH(QList<int>, start);
    QFETCH(QStringList, typed);
    QFETCH(QStringList, messages);
    QFETCH(QList<int>, result);
    QFETCH(QStringList, left);
    QFETCH(QString, focus);
    QFETCH(int, renders);
    QFETCH(bool, closed);

    PlotSettings panel(nullptr, values(start));
    showActive(panel);
    QSignalSpy render(&panel, &PlotSettings::needs_Render);
    for (int i = 0; i < 5; ++i)
        QTest::keyClicks(row(panel, i), typed[i]);

    BoxAnswerer answerer;
    QTest::mouseClick(panel.findChild<QPushButton *>("pb_OK"), Qt::LeftButton);

    QCOMPARE(answerer.texts, messages);
    QCOMPARE(answerer.titles, QStringList(messages.size(), "Error!"));
    QCOMPARE(valuesOf(panel), result);
    QCOMPARE(texts(panel, &QLineEdit::text), left);
    QCOMPARE(render.size(), renders);
    QCOMPARE(panel.isVisible(), !closed);
    if (!focus.isEmpty())
        QCOMPARE(panel.focusWidget()->objectName(), focus);
    if (closed) {
        const QList<int> shown = valuesOf(panel);
        QCOMPARE(row(panel, 1)->placeholderText(),
                 shown[1] == -1 ? QString("MAX") : QString::number(shown[1]));
        QCOMPARE(row(panel, 3)->placeholderText(), QString::number(shown[3]));
    }
}

void TestPlotWidgets::returnInARowMeansOk()
{
    PlotSettings panel(nullptr, values({1, -1, -1, 900, 400}));
    showActive(panel);
    QSignalSpy render(&panel, &PlotSettings::needs_Render);
    QTest::keyClicks(row(panel, 4), "250");
    QTest::keyClick(row(panel, 4), Qt::Key_Return);
    QCOMPARE(panel.height(), 250);
    QCOMPARE(render.size(), 1);
    QVERIFY(!panel.isVisible());
}

void TestPlotWidgets::cancelKeepsValues_data()
{
    QTest::addColumn<bool>("byKeys");
    QTest::newRow("Cancel button") << false;
    QTest::newRow("Esc then Ctrl+W") << true;
}

void TestPlotWidgets::cancelKeepsValues()
{
    QFETCH(bool, byKeys);
    const QList<int> start {5, 50, 2, 900, 400};
    PlotSettings panel(nullptr, values(start));
    showActive(panel);
    QSignalSpy render(&panel, &PlotSettings::needs_Render);
    QTest::keyClicks(row(panel, 0), "7");
    if (byKeys) {
        QTest::keyClick(panel.focusWidget(), Qt::Key_Escape);
        QTest::keyClick(panel.focusWidget(), Qt::Key_W, Qt::ControlModifier);
    } else {
        QTest::mouseClick(panel.findChild<QPushButton *>("pb_Close"), Qt::LeftButton);
    }
    QTRY_VERIFY(!panel.isVisible()); // a shortcut clicks its button after a short delay
    QCOMPARE(valuesOf(panel), start);
    QVERIFY(render.isEmpty());
}

void TestPlotWidgets::resetReloadsStoredSettings_data()
{
    QTest::addColumn<QList<int>>("stored");
    QTest::addColumn<QStringList>("placeholders");
    QTest::addColumn<int>("renders"); // from the OK that follows Reset

    QTest::newRow("changed values remake the plots at the next OK")
        << QList<int> {10, 2000, 3, 700, 350} << QStringList {"10", "2000", "3", "700", "350"} << 1;
    QTest::newRow("unchanged values remake nothing")
        << QList<int> {5, 50, 2, 900, 400} << QStringList {"5", "50", "2", "900", "400"} << 0;
}

void TestPlotWidgets::resetReloadsStoredSettings()
{
    QFETCH(QList<int>, stored);
    QFETCH(QStringList, placeholders);
    QFETCH(int, renders);

    QVariantMap settings = CSettings::instance().plotSettings();
    const QVariantMap saved = settings;
    settings.insert(values(stored));
    CSettings::instance().setPlotSettings(settings);

    PlotSettings panel(nullptr, values({5, 50, 2, 900, 400}));
    showActive(panel);
    QSignalSpy render(&panel, &PlotSettings::needs_Render);
    QTest::keyClicks(row(panel, 0), "abc");
    QTest::mouseClick(panel.findChild<QPushButton *>("pb_Reset"), Qt::LeftButton);

    QCOMPARE(valuesOf(panel), stored);
    QCOMPARE(texts(panel, &QLineEdit::text), QStringList(5, QString()));
    QCOMPARE(texts(panel, &QLineEdit::placeholderText), placeholders);
    QVERIFY(panel.isVisible());
    QVERIFY(render.isEmpty());

    QTest::mouseClick(panel.findChild<QPushButton *>("pb_OK"), Qt::LeftButton);
    QCOMPARE(render.size(), renders);
    CSettings::instance().setPlotSettings(saved);
}

void TestPlotWidgets::fade_data()
{
    QTest::addColumn<int>("distance");
    QTest::addColumn<int>("lines");
    QTest::addColumn<double>("trail");
    QTest::addColumn<double>("minimum");
    QTest::addColumn<double>("baseAlpha");
    QTest::addColumn<double>("expected");

    // 12 bars, 70 % trail: the trail is ceil(11 * 0.7) = 8 bars, faded in steps of 0.85 / 9.
    const double step = 0.85 / 9;
    QTest::newRow("bright bar keeps the base") << 0 << 12 << 70.0 << 15.0 << 1.0 << 1.0;
    QTest::newRow("first trailing bar") << 1 << 12 << 70.0 << 15.0 << 1.0 << 1.0 - step;
    QTest::newRow("middle of the trail") << 4 << 12 << 70.0 << 15.0 << 1.0 << 1.0 - 4 * step;
    QTest::newRow("last bar of the trail") << 8 << 12 << 70.0 << 15.0 << 1.0 << 1.0 - 8 * step;
    QTest::newRow("beyond the trail") << 9 << 12 << 70.0 << 15.0 << 1.0 << 0.15;
    QTest::newRow("farthest bar") << 11 << 12 << 70.0 << 15.0 << 1.0 << 0.15;
    QTest::newRow("translucent base") << 4 << 12 << 70.0 << 15.0 << 0.5 << 0.5 - 4 * (0.35 / 9);
    // Defaults: 20 bars, 80 % trail = ceil(15.2) = 16 bars, minimum pi percent.
    QTest::newRow("defaults, end of trail")
        << 16 << 20 << 80.0 << M_PI << 1.0 << 1.0 - 16 * (1.0 - M_PI / 100) / 17;
    QTest::newRow("defaults, beyond the trail") << 17 << 20 << 80.0 << M_PI << 1.0 << M_PI / 100;
    QTest::newRow("minimum above base brightens the trail")
        << 8 << 12 << 70.0 << 50.0 << 0.1 << 0.1 + 8 * (0.4 / 9);
    QTest::newRow("clamped at full opacity") << 8 << 12 << 70.0 << 200.0 << 1.0 << 1.0;
}

void TestPlotWidgets::fade()
{
    QFETCH(int, distance);
    QFETCH(int, lines);
    QFETCH(double, trail);
    QFETCH(double, minimum);
    QFETCH(double, baseAlpha);
    QFETCH(double, expected);

    QColor base(Qt::red);
    base.setAlphaF(baseAlpha);
    const QColor color
        = WaitingSpinnerWidget::currentLineColor(distance, lines, trail, minimum, base);
    QCOMPARE(color.rgb(), base.rgb());
    // QColor keeps alpha in 16 bits.
    QVERIFY2(qAbs(color.alphaF() - expected) < 1e-4,
             qPrintable(QString("%1 != %2").arg(color.alphaF()).arg(expected)));
}

void TestPlotWidgets::intervalAndSize_data()
{
    QTest::addColumn<int>("lines");
    QTest::addColumn<double>("revolutions");
    QTest::addColumn<int>("innerRadius");
    QTest::addColumn<int>("lineLength");
    QTest::addColumn<int>("interval");
    QTest::addColumn<int>("size");

    QTest::newRow("defaults") << 20 << M_PI / 2 << 10 << 10 << 32 << 40; // 1000 / 31
    QTest::newRow("plot spinner") << 12 << 2.0 << 10 << 10 << 41 << 40;
    QTest::newRow("output spinner") << 12 << 1.5 << 3 << 5 << 55 << 16;
    QTest::newRow("under one step a second stays positive") << 1 << 0.5 << 1 << 1 << 1000 << 4;
    QTest::newRow("no bars stays positive") << 0 << 2.0 << 0 << 0 << 1000 << 0;
}

void TestPlotWidgets::intervalAndSize()
{
    QFETCH(int, lines);
    QFETCH(double, revolutions);
    QFETCH(int, innerRadius);
    QFETCH(int, lineLength);
    QFETCH(int, interval);
    QFETCH(int, size);

    WaitingSpinnerWidget spinner;
    spinner.setNumberOfLines(lines);
    spinner.setRevolutionsPerSecond(revolutions);
    spinner.setInnerRadius(innerRadius);
    spinner.setLineLength(lineLength);
    QCOMPARE(spinner.interval(), interval);
    QCOMPARE(spinner.size(), QSize(size, size));
    QCOMPARE(spinner.minimumSize(), spinner.maximumSize());
}

void TestPlotWidgets::paintedBars_data()
{
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<int>("alpha");

    // 12 bars round the centre (20, 20), bar i turned by 30 * i degrees clockwise; bar 0,
    // pointing right, is the bright one.
    QTest::newRow("bright bar, right") << QPoint(35, 20) << 255;
    QTest::newRow("bar 3, pointing down, is 9 behind") << QPoint(20, 35) << qRound(255 * 0.15);
    QTest::newRow("bar 9, pointing up, is 3 behind")
        << QPoint(20, 5) << qRound(255 * (1 - 3 * 0.85 / 9));
    QTest::newRow("bar 6 behind, left") << QPoint(5, 20) << qRound(255 * (1 - 6 * 0.85 / 9));
    QTest::newRow("centre stays clear") << QPoint(20, 20) << 0;
}

void TestPlotWidgets::paintedBars()
{
    QFETCH(QPoint, point);
    QFETCH(int, alpha);

    WaitingSpinnerWidget spinner;
    spinner.setColor(Qt::blue);
    spinner.setNumberOfLines(12);
    spinner.setTrailFadePercentage(70.0);
    spinner.setMinimumTrailOpacity(15.0);
    spinner.setLineWidth(5);
    QImage image(spinner.size(), QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    spinner.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    const QColor pixel = image.pixelColor(point);
    QVERIFY2(qAbs(pixel.alpha() - alpha) <= 3,
             qPrintable(QString("alpha %1, expected %2").arg(pixel.alpha()).arg(alpha)));
    if (alpha > 0)
        QCOMPARE(pixel.rgb(), QColor(Qt::blue).rgb());
}

void TestPlotWidgets::startAndStop()
{
    QWidget parent;
    parent.resize(300, 200);
    parent.show();
    WaitingSpinnerWidget spinner(&parent);
    QVERIFY(!spinner.isVisible());
    QVERIFY(!spinner.isSpinning());

    spinner.start();
    QVERIFY(spinner.isSpinning());
    QVERIFY(spinner.isVisible());
    QVERIFY(!parent.isEnabled());
    QCOMPARE(spinner.pos(), QPoint(150 - 20, 100 - 20));
    QTRY_VERIFY(spinner.currentCounter() > 0);

    spinner.stop();
    QVERIFY(!spinner.isSpinning());
    QVERIFY(!spinner.isVisible());
    QVERIFY(parent.isEnabled());
    QCOMPARE(spinner.currentCounter(), 0);

    WaitingSpinnerWidget corner(&parent, false, false);
    corner.start();
    QVERIFY(parent.isEnabled());
    QCOMPARE(corner.pos(), QPoint(20, 20));
    corner.stop();
}

void TestPlotWidgets::rotationWrapsAndRestarts()
{
    WaitingSpinnerWidget spinner;
    spinner.setNumberOfLines(3);
    spinner.rotate();
    spinner.rotate();
    QCOMPARE(spinner.currentCounter(), 2);
    spinner.rotate();
    QCOMPARE(spinner.currentCounter(), 0);

    spinner.start();
    spinner.rotate();
    spinner.setNumberOfLines(12);
    QCOMPARE(spinner.currentCounter(), 0);
    QVERIFY(spinner.isSpinning());
    spinner.stop();
}

TOVREL_TEST_MAIN(TestPlotWidgets)
#include "tst_plotwidgets.moc"
