#include "config/csettings.h"
#include "plots/graphviewer.h"
#include "plots/plotexport.h"
#include "plots/saveallwait.h"
#include "plots/svgrender.h"
#include "plots/wgraphpanel.h"
#include "plots/wplotview.h"
#include "testmain.h"
#include "traceplots.h"

#include <QAction>
#include <QFileDialog>
#include <QGraphicsScene>
#include <QImageReader>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QOpenGLWidget>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QToolButton>

#include <functional>

namespace {

const int kPlots = 12;
const int kChains = 2;

// Each plot gets its own width, so a page or scene size tells which plot it came from.
QSize plotSize(int vParameter)
{
    return {400 + 20 * vParameter, 300};
}

QByteArray contents(const QString &vFile)
{
    QFile file(vFile);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Page count and page sizes of a PDF, read from its page objects.
int pdfPages(const QByteArray &vPdf)
{
    return vPdf.count("/Type /Page") - vPdf.count("/Type /Pages");
}

// The distinct page sizes of a PDF, in points.
QList<QSize> pdfPageSizes(const QByteArray &vPdf)
{
    QList<QSize> sizes;
    static const QRegularExpression box(QStringLiteral("/MediaBox\\s*\\[([^\\]]*)\\]"));
    auto it = box.globalMatch(QString::fromLatin1(vPdf));
    while (it.hasNext()) {
        const QStringList corners = it.next().captured(1).simplified().split(QLatin1Char(' '));
        const QSize size(qRound(corners.value(2).toDouble() - corners.value(0).toDouble()),
                         qRound(corners.value(3).toDouble() - corners.value(1).toDouble()));
        if (!sizes.contains(size))
            sizes << size;
    }
    return sizes;
}

// Answers the modal windows a user action opens, one step per window, in order. A step gets
// the active modal widget and returns true once it has dealt with it. Polling goes on from a
// timer, so the steps also run inside the nested event loops of the windows they answer.
class ModalAnswers
{
public:
    using Step = std::function<bool(QWidget *)>;
    explicit ModalAnswers(QList<Step> vSteps)
        : m_steps(std::move(vSteps))
    {
        poll();
    }
    bool done() const { return m_steps.isEmpty(); }

private:
    void poll()
    {
        if (++m_polls > 250) {
            // Nobody answers: close what is open rather than hang until the watchdog.
            if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget()))
                dialog->reject();
            return;
        }
        QTimer::singleShot(20, &m_context, [this] {
            if (m_steps.isEmpty())
                return;
            QWidget *modal = QApplication::activeModalWidget();
            // The answer may open a nested modal loop (a confirmation): take the step off the
            // list and schedule the next look before running it.
            const Step step = m_steps.takeFirst();
            poll();
            if (!modal || !step(modal))
                m_steps.prepend(step);
        });
    }

    QObject m_context; // ends the polling with the object
    QList<Step> m_steps;
    int m_polls = 0;
};

ModalAnswers::Step answerFileDialog(const QString &vFile, QStringList *vSeen = nullptr)
{
    return [vFile, vSeen](QWidget *vModal) {
        auto *dialog = qobject_cast<QFileDialog *>(vModal);
        if (!dialog)
            return false;
        if (vSeen) {
            *vSeen << dialog->windowTitle() << dialog->selectedFiles().value(0)
                   << dialog->nameFilters().value(0);
        }
        if (vFile.isEmpty()) {
            dialog->reject();
        } else {
            // selectFile() leaves a focused name field alone: type the name as a user would.
            auto *name = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
            if (!name)
                return false;
            name->setText(vFile);
            QMetaObject::invokeMethod(dialog, "accept"); // protected in QFileDialog
        }
        return true;
    };
}

ModalAnswers::Step answerMessageBox(QMessageBox::StandardButton vButton, QString *vText = nullptr)
{
    return [vButton, vText](QWidget *vModal) {
        auto *box = qobject_cast<QMessageBox *>(vModal);
        if (!box || !box->button(vButton))
            return false;
        if (vText)
            *vText = box->text();
        box->button(vButton)->click();
        return true;
    };
}

ModalAnswers::Step answerGoTo(int vValue, bool vAccept, QStringList *vSeen)
{
    return [=](QWidget *vModal) {
        auto *dialog = qobject_cast<QInputDialog *>(vModal);
        if (!dialog)
            return false;
        *vSeen << dialog->windowTitle() << dialog->labelText()
               << QStringLiteral("%1-%2").arg(dialog->intMinimum()).arg(dialog->intMaximum());
        dialog->setIntValue(vValue);
        vAccept ? dialog->accept() : dialog->reject();
        return true;
    };
}

} // namespace

class TestPlotView : public QObject
{
    Q_OBJECT

private:
    // A fresh folder holding a copy of the generated plots with their modification times.
    QString plotFolder(QTemporaryDir &vDir, int vPlots = kPlots)
    {
        for (int k = 1; k <= vPlots; ++k) {
            const QString name = QStringLiteral("plot%1.svg").arg(k);
            if (!QFile::copy(m_plots.filePath(name), QDir(vDir.path()).filePath(name)))
                return {};
            TracePlots::stamp(vDir.path(), k, m_base, 60);
        }
        return vDir.path();
    }
    QTemporaryDir m_source;
    QDir m_plots;
    QDateTime m_base = QDateTime::currentDateTime().addDays(-1);

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(!ExecutablePath::find(QStringLiteral("gnuplot")).isEmpty());
        QVERIFY(m_source.isValid());
        m_plots.setPath(m_source.path());
        QVERIFY(TracePlots::writeTraces(m_source.path(), kPlots, kChains, 60));
        for (int k = 1; k <= kPlots; ++k)
            QVERIFY(TracePlots::plot(m_source.path(), k, kChains, plotSize(k)));
        CSettings::instance().setLastSaveFolder(m_source.path());
    }

    void order_data()
    {
        QTest::addColumn<int>("step");
        QTest::addColumn<bool>("copy");
        QTest::addColumn<QStringList>("expected");
        QStringList ascending;
        for (int k = 1; k <= kPlots; ++k)
            ascending << QStringLiteral("plot%1.svg").arg(k);
        QStringList descending = ascending;
        std::reverse(descending.begin(), descending.end());
        QTest::newRow("run order, not name order (plot10 after plot9)") << 60 << false << ascending;
        QTest::newRow("oldest first whatever the names say") << -60 << false << descending;
        QTest::newRow("private copy sorts like its source") << 1 << true << ascending;
    }
    void order()
    {
        QFETCH(int, step);
        QFETCH(bool, copy);
        QFETCH(QStringList, expected);
        QTemporaryDir dir;
        QVERIFY(!plotFolder(dir).isEmpty());
        for (int k = 1; k <= kPlots; ++k)
            QVERIFY(TracePlots::stamp(dir.path(), k, m_base, step));
        // The engine's other files in the folder are not plots.
        QVERIFY(QFile::copy(m_plots.filePath("burn1.csv"), dir.filePath("burn1.csv")));

        SvgRender render(nullptr, dir.path(), copy);
        QCOMPARE(render.fileNames(), expected);
        QCOMPARE(render.count(), kPlots);
        QCOMPARE(render.folder() == dir.path(), !copy);
    }

    void bounds_data()
    {
        QTest::addColumn<int>("start");
        QTest::addColumn<QString>("move");
        QTest::addColumn<int>("expected");
        QTest::addColumn<bool>("sameScene");
        QTest::newRow("previous at the first plot stays") << 0 << "previous" << 0 << true;
        QTest::newRow("next at the last plot stays") << kPlots - 1 << "next" << kPlots - 1 << true;
        QTest::newRow("goTo one past the end changes nothing") << 3 << "goTo12" << 3 << true;
        QTest::newRow("goTo below the start changes nothing") << 3 << "goTo-1" << 3 << true;
        QTest::newRow("goTo the last plot") << 0 << "goTo11" << 11 << false;
        QTest::newRow("next moves on") << 4 << "next" << 5 << false;
        QTest::newRow("previous moves back") << 4 << "previous" << 3 << false;
    }
    void bounds()
    {
        QFETCH(int, start);
        QFETCH(QString, move);
        QFETCH(int, expected);
        QFETCH(bool, sameScene);
        QTemporaryDir dir;
        SvgRender render(nullptr, plotFolder(dir), false);
        QGraphicsScene *before = render.show(start);
        QVERIFY(before);
        QGraphicsScene *after = nullptr;
        if (move == "previous")
            after = render.previous();
        else if (move == "next")
            after = render.next();
        else
            after = render.goTo(move.mid(4).toInt());
        QCOMPARE(render.currentIndex(), expected);
        QCOMPARE(after == before, sameScene);
        QCOMPARE(after, render.scene());
        QCOMPARE(after->sceneRect().size().toSize(), plotSize(expected + 1));
    }

    void emptyFolderShowsNothing()
    {
        QTemporaryDir dir;
        SvgRender render(nullptr, dir.path(), false);
        QCOMPARE(render.count(), 0);
        QVERIFY(!render.show(0));
        QVERIFY(!render.next());
        QVERIFY(!render.scene());
        QVERIFY(!render.savePdf(dir.filePath("one.pdf")));
        QVERIFY(!render.saveAllPdf(dir.filePath("all.pdf")));
        QVERIFY(!render.saveSvg(dir.filePath("one.svg")));
        QVERIFY(QDir(dir.path()).isEmpty());
    }

    void privateCopySurvives_data()
    {
        QTest::addColumn<bool>("removeSource");
        QTest::newRow("source folder deleted") << true;
        QTest::newRow("source plots rewritten by a new run") << false;
    }
    void privateCopySurvives()
    {
        QFETCH(bool, removeSource);
        auto source = std::make_unique<QTemporaryDir>();
        SvgRender render(nullptr, plotFolder(*source), true);
        QVERIFY(render.show(0));
        if (removeSource) {
            source.reset();
        } else {
            // The next run writes smaller plots under the same names.
            QVERIFY(TracePlots::writeTraces(source->path(), kPlots, 1, 20));
            for (int k = 1; k <= kPlots; ++k)
                QVERIFY(TracePlots::plot(source->path(), k, 1, QSize(200, 100)));
        }
        QVERIFY(render.next());
        QCOMPARE(render.scene()->sceneRect().size().toSize(), plotSize(2));
        QTemporaryDir out;
        QVERIFY(render.saveSvg(out.filePath("kept.svg")));
        QCOMPARE(contents(out.filePath("kept.svg")), contents(m_plots.filePath("plot2.svg")));
    }

    void saveAllPdfPagesAndProgress()
    {
        QTemporaryDir dir;
        SvgRender render(nullptr, plotFolder(dir), false);
        render.show(2);
        QSignalSpy progress(&render, &SvgRender::on_imageSave);
        const QString target = dir.filePath("plots.pdf");
        QVERIFY(render.saveAllPdf(target));

        QStringList expected;
        for (int k = 1; k <= kPlots; ++k)
            expected << QStringLiteral("%1 of 12").arg(k);
        QStringList texts;
        for (const QList<QVariant> &signal : progress)
            texts << signal.value(0).toString();
        QCOMPARE(texts, expected);

        const QByteArray pdf = contents(target);
        QCOMPARE(pdfPages(pdf), kPlots);
        // Every page has the size of the plot shown when saving began (the third).
        const QSize third = plotSize(3);
        QCOMPARE(pdfPageSizes(pdf), QList<QSize> {third});
        // The view is left on the plot it showed.
        QCOMPARE(render.currentIndex(), 2);
    }

    void saveOne_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QSize>("imageSize");
        QTest::addColumn<bool>("existing");
        QTest::addColumn<bool>("saved");
        QTest::addColumn<QString>("check");
        QTest::newRow("pdf: one page the size of the plot")
            << "one.pdf" << QSize(900, 400) << false << true << "pdf";
        QTest::newRow("png at the requested size, not the plot's")
            << "one.png" << QSize(640, 320) << false << true << "image";
        QTest::newRow("jpg at the requested size")
            << "one.jpg" << QSize(300, 200) << false << true << "image";
        QTest::newRow("PNG suffix in capitals is still an image")
            << "ONE.PNG" << QSize(320, 160) << false << true << "image";
        QTest::newRow("svg is a byte-for-byte copy")
            << "one.svg" << QSize(1, 1) << false << true << "copy";
        QTest::newRow("unknown suffix is an svg copy")
            << "one.gif" << QSize(1, 1) << false << true << "copy";
        QTest::newRow("svg never replaces an existing file")
            << "one.svg" << QSize(1, 1) << true << false << "untouched";
        QTest::newRow("an empty image size leaves no file")
            << "one.png" << QSize(0, 400) << false << false << "absent";
    }
    void saveOne()
    {
        QFETCH(QString, name);
        QFETCH(QSize, imageSize);
        QFETCH(bool, existing);
        QFETCH(bool, saved);
        QFETCH(QString, check);
        QTemporaryDir dir;
        SvgRender render(nullptr, plotFolder(dir), false);
        render.show(4);
        const QString target = dir.filePath(name);
        if (existing) {
            QFile old(target);
            QVERIFY(old.open(QIODevice::WriteOnly));
            old.write("old plot");
        }
        QCOMPARE(PlotExport::save(render, target, imageSize), saved);
        if (check == "pdf") {
            const QByteArray pdf = contents(target);
            QCOMPARE(pdfPages(pdf), 1);
            QCOMPARE(pdfPageSizes(pdf), QList<QSize> {plotSize(5)});
        } else if (check == "image") {
            QImageReader reader(target);
            QCOMPARE(reader.size(), imageSize);
            const QByteArray suffix = QFileInfo(name).suffix().toLower().toLatin1();
            QCOMPARE(reader.format(), suffix == "jpg" ? QByteArray("jpeg") : suffix);
        } else if (check == "copy") {
            QCOMPARE(contents(target), contents(m_plots.filePath("plot5.svg")));
        } else if (check == "untouched") {
            QCOMPARE(contents(target), QByteArray("old plot"));
        } else {
            QVERIFY(!QFileInfo::exists(target));
        }
    }

    void saveDialogTexts_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("proposed");
        QTest::newRow("pdf preferred (0)") << 0 << "Images ( *.pdf *.png *.jpg *.svg)"
                                           << "/f/plot4.pdf";
        QTest::newRow("png preferred (1)") << 1 << "Images ( *.png *.pdf *.jpg *.svg)"
                                           << "/f/plot4.png";
        QTest::newRow("jpg preferred (2)") << 2 << "Images ( *.jpg *.pdf *.png *.svg)"
                                           << "/f/plot4.jpg";
        QTest::newRow("svg preferred (3)") << 3 << "Images ( *.svg *.pdf *.png *.jpg)"
                                           << "/f/plot4.svg";
        QTest::newRow("unknown type falls back to pdf") << 7 << "Images ( *.pdf *.png *.jpg *.svg)"
                                                        << "/f/plot4.pdf";
    }
    void saveDialogTexts()
    {
        QFETCH(int, type);
        QFETCH(QString, filter);
        QFETCH(QString, proposed);
        QCOMPARE(PlotExport::filter(type), filter);
        QCOMPARE(PlotExport::proposedName("/f", 3, type), proposed);
    }

    void panelPaging_data()
    {
        QTest::addColumn<int>("plots");
        QTest::addColumn<int>("rightClicks");
        QTest::addColumn<int>("leftClicks");
        QTest::addColumn<QString>("label");
        QTest::addColumn<bool>("leftEnabled");
        QTest::addColumn<bool>("rightEnabled");
        QTest::newRow("one plot: both controls off")
            << 1 << 0 << 0 << "Plot : 1 of 1" << false << false;
        QTest::newRow("first of twelve") << 12 << 0 << 0 << "Plot : 1 of 12" << false << true;
        QTest::newRow("middle") << 12 << 5 << 1 << "Plot : 5 of 12" << true << true;
        QTest::newRow("last: next is off") << 12 << 11 << 0 << "Plot : 12 of 12" << true << false;
        QTest::newRow("back to the first") << 12 << 2 << 2 << "Plot : 1 of 12" << false << true;
        QTest::newRow("no plots") << 0 << 0 << 0 << "Plot : 0 of 0" << false << false;
    }
    void panelPaging()
    {
        QFETCH(int, plots);
        QFETCH(int, rightClicks);
        QFETCH(int, leftClicks);
        QFETCH(QString, label);
        QFETCH(bool, leftEnabled);
        QFETCH(bool, rightEnabled);
        QTemporaryDir dir;
        WGraphPanel panel;
        panel.show();
        panel.showPlots(plotFolder(dir, plots));
        auto *left = panel.findChild<QToolButton *>("tb_left");
        auto *right = panel.findChild<QToolButton *>("tb_right");
        for (int i = 0; i < rightClicks; ++i)
            QTest::mouseClick(right, Qt::LeftButton);
        for (int i = 0; i < leftClicks; ++i)
            QTest::mouseClick(left, Qt::LeftButton);
        QCOMPARE(panel.pageText(), label);
        QCOMPARE(panel.findChild<QLabel *>("lb_page")->text(), label);
        QCOMPARE(left->isEnabled(), leftEnabled);
        QCOMPARE(right->isEnabled(), rightEnabled);
        QCOMPARE(panel.findChild<QToolButton *>("tb_save_plot")->isEnabled(), plots > 0);
        if (plots > 0) {
            QCOMPARE(panel.findChild<QGraphicsView *>("graphicsView")->scene(),
                     panel.render()->scene());
        }
        // While new plots are being made nothing can be paged or saved.
        panel.setBusy(true);
        QVERIFY(!left->isEnabled() && !right->isEnabled());
        QVERIFY(!panel.findChild<QToolButton *>("tb_saveAll_plot")->isEnabled());
    }

    void goTo_data()
    {
        QTest::addColumn<bool>("viewer");
        QTest::addColumn<int>("value");
        QTest::addColumn<bool>("accept");
        QTest::addColumn<QString>("page");
        QTest::newRow("dock: OK shows the chosen parameter")
            << false << 7 << true << "Plot : 7 of 12";
        QTest::newRow("dock: Cancel keeps the page") << false << 7 << false << "Plot : 2 of 12";
        QTest::newRow("dock: the last parameter") << false << 12 << true << "Plot : 12 of 12";
        QTest::newRow("viewer: OK shows the chosen parameter")
            << true << 9 << true << "Parameter 9 of 12";
        QTest::newRow("viewer: Cancel keeps the page") << true << 9 << false << "Parameter 2 of 12";
    }
    void goTo()
    {
        QFETCH(bool, viewer);
        QFETCH(int, value);
        QFETCH(bool, accept);
        QFETCH(QString, page);
        QTemporaryDir dir;
        WGraphPanel panel;
        panel.showPlots(plotFolder(dir));
        QTest::mouseClick(panel.findChild<QToolButton *>("tb_right"), Qt::LeftButton);
        QPointer<GraphViewer> window;
        QAction *action = panel.findChild<QAction *>("actionGo_to");
        if (viewer) {
            QSignalSpy popped(&panel, &WGraphPanel::did_popOut);
            QTest::mouseClick(panel.findChild<QToolButton *>("tb_popout"), Qt::LeftButton);
            QCOMPARE(popped.count(), 1);
            window = popped.first().value(0).value<GraphViewer *>();
            QVERIFY(window);
            action = window->findChild<QAction *>("actionGo_to_parameter");
            QCOMPARE(action->text(), QStringLiteral("Go to parameter..."));
        }
        QStringList seen;
        ModalAnswers answers({answerGoTo(value, accept, &seen)});
        action->trigger();
        QVERIFY(answers.done());
        QCOMPARE(seen,
                 (QStringList {"Go to...", "Viewing Parameter 2 of 12", QStringLiteral("1-12")}));
        QCOMPARE(viewer ? window->windowTitle() : panel.pageText(), page);
        if (window)
            window->close();
    }

    void savePlotDialog_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QString>("format");
        QTest::newRow("png preferred, answered .png") << 1 << "a.png"
                                                      << "a.png"
                                                      << "png";
        QTest::newRow("jpg preferred, answered .pdf") << 2 << "b.pdf"
                                                      << "b.pdf"
                                                      << "pdf";
        QTest::newRow("svg answer copies the file") << 0 << "c.svg"
                                                    << "c.svg"
                                                    << "svg";
        QTest::newRow("no suffix takes the preferred type") << 2 << "d"
                                                            << "d.jpg"
                                                            << "jpg";
        QTest::newRow("cancel writes nothing") << 1 << ""
                                               << ""
                                               << "";
    }
    void savePlotDialog()
    {
        QFETCH(int, type);
        QFETCH(QString, answer);
        QFETCH(QString, written);
        QFETCH(QString, format);
        QVariantMap plot = CSettings::instance().plotSettings();
        plot["dType"] = type;
        CSettings::instance().setPlotSettings(plot);
        QTemporaryDir dir;
        QTemporaryDir out;
        CSettings::instance().setLastSaveFolder(out.path());
        WGraphPanel panel;
        panel.setImageSize(500, 250);
        panel.showPlots(plotFolder(dir));
        QTest::mouseClick(panel.findChild<QToolButton *>("tb_right"), Qt::LeftButton);

        QStringList seen;
        ModalAnswers answers(
            {answerFileDialog(answer.isEmpty() ? QString() : out.filePath(answer), &seen)});
        QTest::mouseClick(panel.findChild<QToolButton *>("tb_save_plot"), Qt::LeftButton);
        QVERIFY(answers.done());
        QCOMPARE(seen.value(0), QStringLiteral("Save Plot"));
        QCOMPARE(seen.value(1), PlotExport::proposedName(out.path(), 1, type));
        QCOMPARE(seen.value(2), PlotExport::filter(type));

        const QStringList files = QDir(out.path()).entryList(QDir::Files);
        QCOMPARE(files, written.isEmpty() ? QStringList() : QStringList {written});
        if (format == "svg") {
            QCOMPARE(contents(out.filePath(written)), contents(m_plots.filePath("plot2.svg")));
        } else if (format == "pdf") {
            QCOMPARE(pdfPages(contents(out.filePath(written))), 1);
        } else if (!format.isEmpty()) {
            QImageReader reader(out.filePath(written));
            QCOMPARE(reader.format(), format == "jpg" ? QByteArray("jpeg") : format.toLatin1());
            QCOMPARE(reader.size(), QSize(500, 250));
        }
    }

    void savePlotOverExistingSvgWarns()
    {
        QTemporaryDir dir;
        QTemporaryDir out;
        const QString target = out.filePath("kept.svg");
        QFile old(target);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("old plot");
        old.close();
        WGraphPanel panel;
        panel.showPlots(plotFolder(dir));

        QString warning;
        ModalAnswers answers({answerFileDialog(target),
                              answerMessageBox(QMessageBox::Yes), // replace? (the file dialog)
                              answerMessageBox(QMessageBox::Ok, &warning)});
        QTest::mouseClick(panel.findChild<QToolButton *>("tb_save_plot"), Qt::LeftButton);
        QVERIFY(answers.done());
        QVERIFY2(warning.startsWith("The plot couldn't be saved to"), qPrintable(warning));
        QCOMPARE(contents(target), QByteArray("old plot"));
    }

    void saveAllShowsProgress()
    {
        QTemporaryDir dir;
        QTemporaryDir out;
        CSettings::instance().setLastSaveFolder(out.path());
        WGraphPanel panel;
        panel.show();
        panel.showPlots(plotFolder(dir));

        // Read the wait window's count each time the export lets the interface repaint.
        QStringList shown;
        bool waitVisible = true;
        connect(panel.render(), &SvgRender::on_imageSave, &panel, [&] {
            QTimer::singleShot(0, &panel, [&] {
                auto *wait = panel.findChild<SaveAllWait *>();
                waitVisible = waitVisible && wait && wait->isVisible()
                    && wait->windowTitle() == QLatin1String("Saving Plots");
                shown << (wait ? wait->text() : QString());
            });
        });
        QStringList seen;
        ModalAnswers answers({answerFileDialog(out.filePath("plots.pdf"), &seen)});
        QTest::mouseClick(panel.findChild<QToolButton *>("tb_saveAll_plot"), Qt::LeftButton);
        QVERIFY(answers.done());
        QCOMPARE(seen.mid(1), (QStringList {out.filePath("plots.pdf"), "Images ( *.pdf)"}));

        QStringList expected;
        for (int k = 1; k <= kPlots; ++k)
            expected << QStringLiteral("%1 of 12").arg(k);
        QCOMPARE(shown, expected);
        QVERIFY(waitVisible);
        QVERIFY(!panel.findChild<SaveAllWait *>());
        QCOMPARE(pdfPages(contents(out.filePath("plots.pdf"))), kPlots);
    }

    void viewerKeepsItsPlotsAndPagesByKeyboard()
    {
        auto source = std::make_unique<QTemporaryDir>();
        WGraphPanel panel;
        panel.showPlots(plotFolder(*source));
        for (int i = 0; i < 3; ++i)
            QTest::mouseClick(panel.findChild<QToolButton *>("tb_right"), Qt::LeftButton);
        QSignalSpy popped(&panel, &WGraphPanel::did_popOut);
        QTest::mouseClick(panel.findChild<QToolButton *>("tb_popout"), Qt::LeftButton);
        QPointer<GraphViewer> viewer = popped.value(0).value(0).value<GraphViewer *>();
        QVERIFY(viewer);
        QVERIFY(viewer->isWindow());
        QCOMPARE(viewer->windowTitle(), QStringLiteral("Parameter 4 of 12"));
        QVERIFY(QTest::qWaitForWindowActive(viewer));

        // The document runs again: its folder goes away, the viewer's plots do not.
        source.reset();
        panel.clearPlots();
        // A button's shortcut shows the press briefly before it clicks.
        QTest::keyClick(viewer, Qt::Key_Right, Qt::ControlModifier);
        QTRY_COMPARE(viewer->windowTitle(), QStringLiteral("Parameter 5 of 12"));
        QCOMPARE(viewer->render()->scene()->sceneRect().size().toSize(), plotSize(5));
        QTest::keyClick(viewer, Qt::Key_Left, Qt::ControlModifier);
        QTRY_COMPARE(viewer->windowTitle(), QStringLiteral("Parameter 4 of 12"));
        QTest::keyClick(viewer, Qt::Key_Left, Qt::ControlModifier);
        QTRY_COMPARE(viewer->windowTitle(), QStringLiteral("Parameter 3 of 12"));

        // Typing a page number goes there; a number out of range is put back.
        auto *page = viewer->findChild<QLineEdit *>("le_page");
        QCOMPARE(page->text(), QStringLiteral("3"));
        page->setFocus();
        page->selectAll();
        QTest::keyClicks(page, "11");
        QTest::keyClick(page, Qt::Key_Return);
        QCOMPARE(viewer->windowTitle(), QStringLiteral("Parameter 11 of 12"));
        QVERIFY(viewer->findChild<QPushButton *>("pb_left")->isEnabled());
        QTest::mouseClick(viewer->findChild<QPushButton *>("pb_right"), Qt::LeftButton);
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
        QString message;
        ModalAnswers answers({answerMessageBox(QMessageBox::Ok, &message)});
        QPointer<GraphViewer> viewer = new GraphViewer(nullptr, folder);
        qputenv("TMPDIR", oldTemp);
        QVERIFY(answers.done());
        QCOMPARE(message, QStringLiteral("Tempoary Directory couldn't be created!"));
        QCOMPARE(viewer->render()->count(), 0);
        QVERIFY(!viewer->findChild<QPushButton *>("pb_save")->isEnabled());
        QVERIFY(!viewer->findChild<QPushButton *>("pb_right")->isEnabled());
        viewer->close();
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
        auto *view = panel.findChild<WPlotView *>("graphicsView");
        QVERIFY(!view->usesOpenGl());
        QVERIFY(!qobject_cast<QOpenGLWidget *>(view->viewport()));
        // A settings change is applied to an open view without taking it down.
        Q_EMIT CSettings::instance().did_apply();
        QVERIFY(!qobject_cast<QOpenGLWidget *>(view->viewport()));
    }
};

TOVREL_TEST_MAIN(TestPlotView)
#include "tst_plotview.moc"
