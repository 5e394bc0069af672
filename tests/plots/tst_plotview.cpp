#include "goldentable.h"
#include "modalanswerer.h"
#include "tablecell.h"
#include "testfiles.h"
#include "testmain.h"
#include "traceplots.h"

#include "config/csettings.h"
#include "plots/graphviewer.h"
#include "plots/pdfpagedevice.h"
#include "plots/plotexport.h"
#include "plots/plotsettings.h"
#include "plots/saveallwait.h"
#include "plots/svgrender.h"
#include "plots/waitingspinnerwidget.h"
#include "plots/wgraphpanel.h"
#include "plots/wplotview.h"

#include <QFileDialog>
#include <QGraphicsScene>
#include <QImageReader>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QOpenGLWidget>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSvgRenderer>
#include <QToolButton>

#include <cmath>

namespace {

const int kPlots = 12;
using Ints = QList<int>;

// Each plot has its own width, so a page or scene size tells which plot it came from.
QSize plotSize(int vParameter)
{
    return {400 + 20 * vParameter, 300};
}

int pdfPages(const QByteArray &vPdf)
{
    return vPdf.count("/Type /Page") - vPdf.count("/Type /Pages");
}

// The distinct page sizes of a PDF, in points.
QList<QSize> pdfPageSizes(const QByteArray &vPdf)
{
    static const QRegularExpression box("/MediaBox\\s*\\[\\s*(\\S+) (\\S+) (\\S+) (\\S+)\\s*\\]");
    QList<QSize> sizes;
    for (auto it = box.globalMatch(QString::fromLatin1(vPdf)); it.hasNext();) {
        const auto m = it.next();
        const QSize size(qRound(m.captured(3).toDouble() - m.captured(1).toDouble()),
                         qRound(m.captured(4).toDouble() - m.captured(2).toDouble()));
        if (!sizes.contains(size))
            sizes << size;
    }
    return sizes;
}

Ints ints(const QString &vJoined)
{
    Ints values;
    for (const QString &value : vJoined.split('|'))
        values << value.toInt();
    return values;
}

QVariantMap plotValues(const Ints &v)
{
    return {{"bIter", v[0]}, {"eIter", v[1]}, {"nchain", v[2]}, {"width", v[3]}, {"height", v[4]}};
}

std::unique_ptr<PlotSettings> settingsPanel(const Ints &vValues)
{
    auto panel = std::make_unique<PlotSettings>(nullptr, plotValues(vValues));
    panel->show();
    panel->activateWindow();
    return panel;
}

Ints valuesOf(const PlotSettings &v)
{
    return {v.bIter(), v.eIter(), v.nchain(), v.width(), v.height()};
}

QLineEdit *field(const PlotSettings &vPanel, int vRow)
{
    const char *names[] = {"le_begin", "le_end", "le_nchain", "le_width", "le_height"};
    return vPanel.findChild<QLineEdit *>(names[vRow]);
}

// The five rows' texts or placeholders, joined by '|'.
QString joined(const PlotSettings &vPanel, QString (QLineEdit::*vGetter)() const)
{
    QStringList texts;
    for (int i = 0; i < 5; ++i)
        texts << (field(vPanel, i)->*vGetter)();
    return texts.join('|');
}

void click(QWidget *vParent, const char *vButton)
{
    QTest::mouseClick(vParent->findChild<QAbstractButton *>(vButton), Qt::LeftButton);
}

// Pages vPanel vPages steps on, then pops the viewer out when vPopOut is set.
GraphViewer *pageAndPopOut(WGraphPanel &vPanel, int vPages, bool vPopOut)
{
    for (int i = 0; i < vPages; ++i)
        click(&vPanel, "tb_right");
    QSignalSpy popped(&vPanel, &WGraphPanel::did_popOut);
    if (vPopOut)
        click(&vPanel, "tb_popout");
    return popped.value(0).value(0).value<GraphViewer *>();
}

// vSvg drawn at twice its size, on the image itself or through the PDF page device.
QImage drawn(QSvgRenderer &vSvg, bool vThroughPageDevice)
{
    QImage image(vSvg.defaultSize() * 2, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter page(&image);
    page.setRenderHint(QPainter::Antialiasing);
    if (vThroughPageDevice) {
        PdfPageDevice device(PdfPageDevice::measure(image));
        QPainter painter(&device);
        painter.setRenderHints(page.renderHints());
        vSvg.render(&painter);
        painter.end();
        PdfPageDevice::play(device.takeDrawing(), page);
    } else {
        vSvg.render(&page);
    }
    page.end();
    return image;
}

// The pixels of two images that differ by more than a shade of antialiasing.
int differingPixels(const QImage &vA, const QImage &vB)
{
    int count = 0;
    for (int y = 0; y < vA.height(); ++y) {
        for (int x = 0; x < vA.width(); ++x) {
            const QRgb a = vA.pixel(x, y);
            const QRgb b = vB.pixel(x, y);
            if (qAbs(qRed(a) - qRed(b)) > 48 || qAbs(qGreen(a) - qGreen(b)) > 48
                || qAbs(qBlue(a) - qBlue(b)) > 48)
                ++count;
        }
    }
    return count;
}

} // namespace

class TestPlotView : public QObject
{
    Q_OBJECT

    // A fresh folder holding copies of the plots, each written 60 s after the one before.
    QString plotFolder(QTemporaryDir &vDir, int vPlots = kPlots)
    {
        for (int k = 1; k <= vPlots; ++k) {
            const QString name = QStringLiteral("plot%1.svg").arg(k);
            if (!QFile::copy(m_plots.filePath(name), vDir.filePath(name))
                || !TracePlots::stamp(vDir.path(), k, m_base, 60))
                return {};
        }
        return vDir.path();
    }
    QTemporaryDir m_source;
    QDir m_plots {m_source.path()};
    QDateTime m_base = QDateTime::currentDateTime().addDays(-1);

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(TracePlots::writeTraces(m_source.path(), kPlots, 2, 60));
        for (int k = 1; k <= kPlots; ++k)
            QVERIFY(TracePlots::plot(m_source.path(), k, 2, plotSize(k)));
    }

    // OK checks start, width and height, then stop and chains, then their order. An error
    // clears its row; only a value below 1 among the first three lets the rest go through.
    void settingsValidation_data()
    {
        addTableRows(QFINDTESTDATA("settingsvalidation.txt"),
                     {"start", "typed", "messages", "result", "left", "focus"});
    }
    void settingsValidation()
    {
        QFETCH(QString, result);
        QFETCH(QString, focus);
        const Ints before = ints(cell("start"));
        auto panel = settingsPanel(before);
        QVERIFY(QTest::qWaitForWindowActive(panel.get()));
        QSignalSpy render(panel.get(), &PlotSettings::needs_Render);
        for (int i = 0; i < 5; ++i)
            QTest::keyClicks(field(*panel, i), cell("typed").section('|', i, i));
        QStringList seen;
        ModalAnswerer answerer([&seen](QWidget *vModal) {
            auto *box = qobject_cast<QMessageBox *>(vModal);
            seen << box->windowTitle() + " " + box->text();
            box->button(QMessageBox::Ok)->click();
        });
        click(panel.get(), "pb_OK");
        QTEST(seen.join('|'), "messages");
        QCOMPARE(valuesOf(*panel), result.isEmpty() ? before : ints(result));
        QCOMPARE(joined(*panel, &QLineEdit::text), cell("left").isEmpty() ? "||||" : cell("left"));
        QCOMPARE(render.size(), focus.isEmpty() && !result.isEmpty() ? 1 : 0);
        QCOMPARE(panel->isVisible(), !focus.isEmpty());
        if (!focus.isEmpty()) {
            QCOMPARE(panel->focusWidget()->objectName(), focus);
            return;
        }
        QStringList shown; // the values now in force
        for (int value : valuesOf(*panel))
            shown << (value == -1 ? "MAX" : QString::number(value));
        QCOMPARE(joined(*panel, &QLineEdit::placeholderText), shown.join('|'));
    }

    void settingsClosing_data()
    {
        addTableRows(QFINDTESTDATA("settingsclosing.txt"), {"keys", "start"});
    }
    void settingsClosing()
    {
        QFETCH(QString, keys);
        const int start = cell("start").toInt();
        auto panel = settingsPanel({5, 50, 2, 900, 400});
        QVERIFY(QTest::qWaitForWindowActive(panel.get()));
        QSignalSpy render(panel.get(), &PlotSettings::needs_Render);
        QTest::keyClicks(field(*panel, 0), "7");
        keys.isEmpty() ? click(panel.get(), "pb_Close")
                       : QTest::keySequence(panel->focusWidget(), QKeySequence(keys));
        QTRY_VERIFY(!panel->isVisible()); // a shortcut clicks its button after a short delay
        QCOMPARE(valuesOf(*panel), (Ints {start, 50, 2, 900, 400}));
        QCOMPARE(render.size(), keys == "Return" ? 1 : 0);
    }

    void settingsReset_data()
    {
        QTest::addColumn<Ints>("stored");
        QTest::addColumn<QString>("placeholders");
        QTest::addColumn<int>("renders"); // from the OK that follows Reset
        row("changed values remake plots at OK", Ints {10, -1, -1, 70, 35}, "10|MAX|MAX|70|35", 1);
        row("unchanged values remake nothing", Ints {5, 50, 2, 900, 400}, "5|50|2|900|400", 0);
    }
    void settingsReset()
    {
        QFETCH(Ints, stored);
        QFETCH(int, renders);
        const QVariantMap saved = CSettings::instance().plotSettings();
        QVariantMap changed = saved;
        changed.insert(plotValues(stored));
        CSettings::instance().setPlotSettings(changed);
        auto panel = settingsPanel({5, 50, 2, 900, 400});
        QSignalSpy render(panel.get(), &PlotSettings::needs_Render);
        QTest::keyClicks(field(*panel, 0), "abc");
        click(panel.get(), "pb_Reset");
        QCOMPARE(valuesOf(*panel), stored);
        QCOMPARE(joined(*panel, &QLineEdit::text), "||||");
        QCOMPARE(joined(*panel, &QLineEdit::placeholderText), cell("placeholders"));
        QVERIFY(panel->isVisible() && render.isEmpty());
        click(panel.get(), "pb_OK");
        QCOMPARE(render.size(), renders);
        CSettings::instance().setPlotSettings(saved);
    }

    void spinnerFade_data()
    {
        addTableRows(QFINDTESTDATA("spinnerfade.txt"),
                     {"distance", "lines", "trail", "minimum", "baseAlpha", "expected"});
    }
    void spinnerFade()
    {
        QFETCH(QString, expected);
        QColor base(Qt::red);
        base.setAlphaF(cell("baseAlpha").toDouble());
        const QColor color = WaitingSpinnerWidget::currentLineColor(
            cell("distance").toInt(), cell("lines").toInt(), cell("trail").toDouble(),
            cell("minimum").toDouble(), base);
        QCOMPARE(color.rgb(), base.rgb());
        QVERIFY2(qAbs(color.alphaF() - expected.toDouble()) < 1e-4, // alpha is kept in 16 bits
                 qPrintable(QString("%1 != %2").arg(color.alphaF()).arg(expected)));
    }

    void spinnerRunsCentredAndWraps()
    {
        QWidget parent;
        parent.resize(300, 200);
        parent.show();
        WaitingSpinnerWidget spinner(&parent);
        QCOMPARE(spinner.interval(), 32); // 1000 ms / (20 bars * pi / 2 turns a second)
        spinner.start();
        QVERIFY(spinner.isVisible() && !parent.isEnabled());
        QCOMPARE(spinner.geometry(), QRect(150 - 20, 100 - 20, 40, 40));
        QTRY_VERIFY(spinner.currentCounter() > 0);
        spinner.setNumberOfLines(12); // restarts the cycle
        QCOMPARE(spinner.currentCounter(), 0);
        spinner.stop();
        QVERIFY(!spinner.isVisible() && parent.isEnabled() && spinner.currentCounter() == 0);
        spinner.setNumberOfLines(3);
        for (int expected : {1, 2, 0}) {
            spinner.rotate();
            QCOMPARE(spinner.currentCounter(), expected);
        }
        spinner.setNumberOfLines(0);
        QCOMPARE(spinner.interval(), 1000);
    }

    void order_data() { addTableRows(QFINDTESTDATA("order.txt"), {"step", "copy"}); }
    void order()
    {
        const int step = cell("step").toInt();
        const bool copy = cell("copy") == "copy";
        QTemporaryDir dir;
        QVERIFY(!plotFolder(dir).isEmpty());
        QStringList expected;
        for (int k = 1; k <= kPlots; ++k) {
            QVERIFY(TracePlots::stamp(dir.path(), k, m_base, step));
            expected << QStringLiteral("plot%1.svg").arg(k);
        }
        // The engine's other files in the folder are not plots.
        QVERIFY(QFile::copy(m_plots.filePath("burn1.csv"), dir.filePath("burn1.csv")));
        SvgRender render(nullptr, dir.path(), copy);
        QCOMPARE(render.fileNames(), expected);
        QCOMPARE(render.folder() == dir.path(), !copy);
    }

    void boundsAndEmptyFolder()
    {
        QTemporaryDir dir;
        SvgRender render(nullptr, plotFolder(dir), false);
        QGraphicsScene *first = render.show(0);
        // Out of range: nothing changes, not even the scene.
        for (QGraphicsScene *same : {render.previous(), render.goTo(-1), render.goTo(kPlots)})
            QCOMPARE(same, first);
        QGraphicsScene *last = render.goTo(kPlots - 1);
        QVERIFY(last != first);
        QCOMPARE(render.next(), last);
        QVERIFY(render.previous() != last);
        QCOMPARE(render.currentIndex(), kPlots - 2);
        QCOMPARE(render.scene()->sceneRect().size().toSize(), plotSize(kPlots - 1));
        QTemporaryDir empty;
        SvgRender none(nullptr, empty.path(), false);
        QVERIFY(!none.show(0) && !none.next() && !none.scene());
        QVERIFY(!none.savePdf(empty.filePath("one.pdf")) && !none.saveSvg(empty.filePath("a.svg")));
        QVERIFY(!none.saveAllPdf(empty.filePath("all.pdf")) && QDir(empty.path()).isEmpty());
    }

    // A page drawn through the PDF page device looks as if drawn on the page itself: every kind of
    // shape arrives in place with its own pen and fill. Only a few pixels at glyph edges may
    // differ, by the hairline the device strokes around glyphs as the PDF writer does.
    void pageDeviceDrawsAlike_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("trace plot") << m_plots.filePath("plot1.svg");
        QTest::newRow("every shape") << QFINDTESTDATA("pageshapes.svg");
    }
    void pageDeviceDrawsAlike()
    {
        QFETCH(QString, file);
        QSvgRenderer svg(file);
        QVERIFY(svg.isValid());
        const QImage direct = drawn(svg, false);
        const QImage through = drawn(svg, true);
        const int differing = differingPixels(direct, through);
        QVERIFY2(differing * 10000 < direct.width() * direct.height(),
                 qPrintable(QString::number(differing) + " pixels differ"));
    }

    void saveBySuffix_data()
    {
        addTableRows(QFINDTESTDATA("savebysuffix.txt"), {"name", "size", "check"});
    }
    void saveBySuffix()
    {
        QFETCH(QString, check);
        const QSize imageSize(cell("size").section('x', 0, 0).toInt(),
                              cell("size").section('x', 1).toInt());
        QTemporaryDir dir;
        SvgRender render(nullptr, plotFolder(dir), false);
        render.show(4);
        const QString target = dir.filePath(cell("name"));
        if (check == "old")
            writeFile(target, "old");
        QCOMPARE(PlotExport::save(render, target, imageSize), check != "old" && check != "");
        const QByteArray saved = readFile(target);
        if (check == "pdf") {
            QCOMPARE(pdfPages(saved), 1);
            QCOMPARE(pdfPageSizes(saved), QList<QSize> {plotSize(5)});
        } else if (check == "copy") {
            QCOMPARE(saved, readFile(m_plots.filePath("plot5.svg")));
        } else if (check == "old" || check.isEmpty()) {
            QCOMPARE(QString(saved), check);
            QCOMPARE(QFileInfo::exists(target), check == "old");
        } else {
            QImageReader reader(target);
            QCOMPARE(reader.size(), imageSize);
            QCOMPARE(QString(reader.format()), check);
        }
    }

    void saveDialogTexts_data()
    {
        addTableRows(QFINDTESTDATA("savedialogtexts.txt"), {"type", "filter", "proposed"});
    }
    void saveDialogTexts()
    {
        QTEST(PlotExport::filter(cell("type").toInt()), "filter");
        QTEST(PlotExport::proposedName("/f", 3, cell("type").toInt()), "proposed");
    }

    void panelPaging_data()
    {
        addTableRows(QFINDTESTDATA("paging.txt"), {"plots", "clicks", "label", "enabled"});
    }
    void panelPaging()
    {
        QFETCH(QString, clicks);
        const int count = cell("plots").toInt(), rightClicks = clicks.section(',', 0, 0).toInt();
        QTemporaryDir dir;
        WGraphPanel panel;
        panel.show();
        panel.showPlots(plotFolder(dir, count));
        auto *left = panel.findChild<QToolButton *>("tb_left");
        auto *right = panel.findChild<QToolButton *>("tb_right");
        for (int i = 0; i < rightClicks + clicks.section(',', 1).toInt(); ++i)
            QTest::mouseClick(i < rightClicks ? right : left, Qt::LeftButton);
        QTEST(panel.findChild<QLabel *>("lb_page")->text(), "label");
        QTEST(QString("%1,%2").arg(left->isEnabled()).arg(right->isEnabled()), "enabled");
        QCOMPARE(panel.findChild<QToolButton *>("tb_save_plot")->isEnabled(), count > 0);
        if (count > 0)
            QCOMPARE(panel.findChild<QGraphicsView *>()->scene(), panel.render()->scene());
        // Until the first new plot arrives nothing can be paged or saved.
        panel.clearPlots();
        panel.setBusy(true);
        QVERIFY(!left->isEnabled() && !right->isEnabled());
        QVERIFY(!panel.findChild<QToolButton *>("tb_saveAll_plot")->isEnabled());
    }

    // Plots drawn one after another: the ready ones are paged meanwhile, the page stays as more
    // arrive, and Save All waits for the last before it writes every page.
    void plotsArriving()
    {
        QTemporaryDir dir;
        WGraphPanel panel;
        panel.show();
        panel.setBusy(true);
        panel.showArrivingPlots(plotFolder(dir), 3, kPlots);
        auto *right = panel.findChild<QToolButton *>("tb_right");
        QCOMPARE(panel.pageText(), "Plot : 1 of 3 (12 being drawn)");
        QTest::mouseClick(right, Qt::LeftButton);
        QTest::mouseClick(right, Qt::LeftButton);
        QCOMPARE(panel.pageText(), "Plot : 3 of 3 (12 being drawn)");
        QVERIFY(!right->isEnabled() && !panel.findChild<QToolButton *>("tb_popout")->isEnabled());
        const QString pdf = dir.filePath("all.pdf");
        {
            QStringList seen;
            ModalAnswerer answerer(answerDialogs(QMessageBox::Yes, pdf, &seen));
            panel.on_tb_saveAll_plot_clicked();
        }
        auto *wait = panel.window()->findChild<SaveAllWait *>();
        QVERIFY(wait && wait->text().contains("3 of 12") && !QFile::exists(pdf));
        panel.plotsArrived(7, kPlots);
        QVERIFY(wait->text().contains("7 of 12"));
        panel.showPage(5);
        QCOMPARE(panel.pageText(), "Plot : 6 of 7 (12 being drawn)");
        panel.plotsArrived(kPlots, kPlots);
        QCOMPARE(panel.pageText(), "Plot : 6 of 12");
        QVERIFY(panel.findChild<QToolButton *>("tb_popout")->isEnabled());
        QCOMPARE(pdfPages(readFile(pdf)), kPlots);
    }

    void goTo_data() { addTableRows(QFINDTESTDATA("goto.txt"), {"from", "answer", "page"}); }
    void goTo()
    {
        const bool viewer = cell("from") == "viewer", accept = cell("answer") == "ok";
        QTemporaryDir dir;
        WGraphPanel panel;
        panel.showPlots(plotFolder(dir));
        std::unique_ptr<GraphViewer> window(pageAndPopOut(panel, 1, viewer));
        QStringList seen;
        ModalAnswerer answerer([&](QWidget *vModal) {
            auto *dialog = qobject_cast<QInputDialog *>(vModal);
            seen << dialog->windowTitle() << dialog->labelText()
                 << QString("%1-%2").arg(dialog->intMinimum()).arg(dialog->intMaximum());
            dialog->setIntValue(9);
            accept ? dialog->accept() : dialog->reject();
        });
        (viewer ? window->findChild<QAction *>("actionGo_to_parameter")
                : panel.findChild<QAction *>("actionGo_to"))
            ->trigger();
        QCOMPARE(seen, (QStringList {"Go to...", "Viewing Parameter 2 of 12", "1-12"}));
        QTEST(viewer ? window->windowTitle() : panel.pageText(), "page");
    }

    void savePlotDialog_data()
    {
        addTableRows(QFINDTESTDATA("saveplotdialog.txt"),
                     {"from", "type", "answer", "written", "check"});
    }
    void savePlotDialog()
    {
        QFETCH(QString, written);
        QFETCH(QString, check);
        QFETCH(QString, type);
        const bool fromViewer = cell("from") == "viewer";
        QVariantMap plot = CSettings::instance().plotSettings();
        plot["dType"] = type.toInt();
        plot["width"] = 320;
        plot["height"] = 160;
        CSettings::instance().setPlotSettings(plot);
        QTemporaryDir dir, out;
        CSettings::instance().setLastSaveFolder(out.path());
        if (check == "old")
            writeFile(out.filePath("old.svg"), "old");
        WGraphPanel panel;
        panel.setImageSize(500, 250);
        panel.showPlots(plotFolder(dir));
        std::unique_ptr<GraphViewer> viewer(pageAndPopOut(panel, 1, fromViewer));
        QStringList seen;
        const QString answer = cell("answer");
        ModalAnswerer answerer(
            answerDialogs(QMessageBox::Yes, answer.isEmpty() ? "" : out.filePath(answer), &seen));
        fromViewer ? click(viewer.get(), "pb_save") : click(&panel, "tb_save_plot");
        QCOMPARE(seen.mid(0, 3),
                 (QStringList {"Save Plot", PlotExport::proposedName(out.path(), 1, type.toInt()),
                               PlotExport::filter(type.toInt())}));
        QCOMPARE(QDir(out.path()).entryList(QDir::Files), QStringList(written).filter("."));
        const QString file = out.filePath(written);
        if (check == "old") {
            QVERIFY(seen.last().startsWith("The plot couldn't be saved to"));
            QCOMPARE(QString(readFile(file)), check);
        } else if (check == "pdf") {
            QCOMPARE(pdfPages(readFile(file)), 1);
        } else if (!check.isEmpty()) {
            QCOMPARE(QString(QImageReader(file).format()), check);
            QCOMPARE(QImageReader(file).size(), fromViewer ? QSize(320, 160) : QSize(500, 250));
        }
    }

    void saveAllShowsProgress()
    {
        QTemporaryDir dir, out;
        CSettings::instance().setLastSaveFolder(out.path());
        WGraphPanel panel;
        panel.show();
        panel.showPlots(plotFolder(dir));
        pageAndPopOut(panel, 2, false);
        // Read the wait window's count each time the export lets the interface repaint.
        QStringList shown, expected;
        connect(panel.render(), &SvgRender::on_imageSave, &panel, [&] {
            QTimer::singleShot(0, &panel, [&] {
                auto *wait = panel.findChild<SaveAllWait *>();
                shown << (wait && wait->isVisible() ? wait->windowTitle() + ": " + wait->text()
                                                    : "");
            });
        });
        for (int k = 1; k <= kPlots; ++k)
            expected << QStringLiteral("Saving Plots: %1 of 12").arg(k);
        QStringList seen;
        ModalAnswerer answerer(answerDialogs(QMessageBox::Yes, out.filePath("plots.pdf"), &seen));
        click(&panel, "tb_saveAll_plot");
        QCOMPARE(seen.mid(1), (QStringList {out.filePath("plots.pdf"), "Images ( *.pdf)"}));
        QCOMPARE(shown, expected);
        QVERIFY(!panel.findChild<SaveAllWait *>());
        const QByteArray pdf = readFile(out.filePath("plots.pdf"));
        QCOMPARE(pdfPages(pdf), kPlots);
        // Every page has the size of the plot shown when saving began, which stays shown.
        QCOMPARE(pdfPageSizes(pdf), QList<QSize> {plotSize(3)});
        QCOMPARE(panel.pageText(), "Plot : 3 of 12");
    }

    void viewerKeepsItsPlotsAndPagesByKeyboard()
    {
        auto source = std::make_unique<QTemporaryDir>();
        WGraphPanel panel;
        panel.showPlots(plotFolder(*source));
        QPointer<GraphViewer> viewer = pageAndPopOut(panel, 3, true);
        QVERIFY(viewer && viewer->isWindow());
        QCOMPARE(viewer->windowTitle(), "Parameter 4 of 12");
        QVERIFY(QTest::qWaitForWindowActive(viewer));
        // The document runs again: its folder goes away, the viewer's plots do not.
        source.reset();
        panel.clearPlots();
        // A button's shortcut shows the press briefly before it clicks.
        QTest::keyClick(viewer, Qt::Key_Right, Qt::ControlModifier);
        QTRY_COMPARE(viewer->windowTitle(), "Parameter 5 of 12");
        QCOMPARE(viewer->render()->scene()->sceneRect().size().toSize(), plotSize(5));
        QTest::keyClick(viewer, Qt::Key_Left, Qt::ControlModifier);
        QTRY_COMPARE(viewer->windowTitle(), "Parameter 4 of 12");
        auto *page = viewer->findChild<QLineEdit *>("le_page");
        QCOMPARE(page->text(), "4");
        page->setFocus();
        page->selectAll();
        QTest::keyClicks(page, "11");
        QTest::keyClick(page, Qt::Key_Return);
        QCOMPARE(viewer->windowTitle(), "Parameter 11 of 12");
        click(viewer, "pb_right");
        QVERIFY(!viewer->findChild<QPushButton *>("pb_right")->isEnabled());
        viewer->close();
        QTRY_VERIFY(!viewer);
    }

    void viewerWithoutTemporaryFolderSaysSo()
    {
        QTemporaryDir dir;
        const QString folder = plotFolder(dir);
        const QByteArray oldTemp = qgetenv("TMPDIR");
        // A file where the temporary folder should be: no folder can be made there, even by root.
        qputenv("TMPDIR", QFile::encodeName(m_plots.filePath("burn1.csv")));
        SeenBox box;
        ModalAnswerer answerer(clickBox(QMessageBox::Ok, &box));
        std::unique_ptr<GraphViewer> viewer(new GraphViewer(nullptr, folder));
        qputenv("TMPDIR", oldTemp);
        QCOMPARE(box.text, "Tempoary Directory couldn't be created!");
        QCOMPARE(viewer->render()->count(), 0);
        QVERIFY(!viewer->findChild<QPushButton *>("pb_save")->isEnabled());
        QVERIFY(!viewer->findChild<QPushButton *>("pb_right")->isEnabled());
    }

    void viewportFallsBackWithoutOpenGl()
    {
        QVariantMap plot = CSettings::instance().plotSettings();
        plot["openGl"] = true;
        CSettings::instance().setPlotSettings(plot);
        QTemporaryDir dir;
        WGraphPanel panel;
        panel.showPlots(plotFolder(dir));
        panel.show();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        auto *view = panel.findChild<WPlotView *>();
        // Neither the offscreen platform nor a software renderer (Xvfb's) is given OpenGL.
        QVERIFY(!view->usesOpenGl() && !qobject_cast<QOpenGLWidget *>(view->viewport()));
        // A settings change is applied to an open view without taking it down.
        Q_EMIT CSettings::instance().did_apply();
        QVERIFY(!qobject_cast<QOpenGLWidget *>(view->viewport()));
    }
};

TOVREL_TEST_MAIN(TestPlotView)
#include "tst_plotview.moc"
