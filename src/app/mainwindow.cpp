#include "mainwindow.h"

#include "application.h"
#include "config/csettings.h"
#include "config/executablepath.h"
#include "config/svgiconengine.h"
#include "config/vsettings.h"
#include "documentactions.h"
#include "documentsafety.h"
#include "editor/wsyntaxeditor.h"
#include "examplecatalog.h"
#include "import/vimport.h"
#include "runmarks.h"
#include "singleinstance.h"
#include "studioextras.h"
#include "studioinfo.h"
#include "update/updatecheck.h"
#include "ui_mainwindow.h"
#include "workspace/filehandling.h"
#include "workspace/filetypes.h"
#include "workspace/workspace.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QScreen>
#include <QStandardPaths>
#include <QTextBrowser>
#include <QTextDocument>
#include <QVBoxLayout>

namespace {
bool samePathIgnoringCase(const QString &vOpen, const QString &vWanted)
{
    return !vOpen.isEmpty()
        && QFileInfo(vOpen).absoluteFilePath().compare(vWanted, Qt::CaseInsensitive) == 0;
}
} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , ui(new Ui::MainWindow)
{
    ui->setupUi(this);
    // Set here rather than in the form, so each is read only when first drawn.
    SvgIconEngine::setIcons({
        {ui->actionAbout, ":/images/iABOUT"},
        {ui->actionHelp, ":/images/iHELP"},
        {ui->actionNew, ":/images/iNEW"},
        {ui->actionSettings, ":/images/iOPTION"},
        {ui->actionOpen, ":/images/iOPEN"},
        {ui->actionQuit, ":/images/iQUIT"},
        {ui->actionSave_All, ":/images/iSAVEALL"},
        {ui->actionImport, ":/images/iIMPORT"},
        {ui->actionClose_All, ":/images/iCLOSE"},
        {ui->actionCheckUpdate, ":/images/iREFRESH"},
        {ui->actionUndo, ":/images/iUNDO"},
        {ui->actionRedo, ":/images/iREDO"},
        {ui->actionCut, ":/images/iCUT"},
        {ui->actionCopy, ":/images/iCOPY"},
        {ui->actionPaste, ":/images/iPASTE"},
        {ui->actionStart, ":/images/iRUN"},
        {ui->actionStop, ":/images/iSTOP"},
        {ui->actionZoom_In, ":/images/iZOOM_IN"},
        {ui->actionZoom_Out, ":/images/iZOOM_OUT"},
        {ui->actionOutput, ":/images/iLOG"},
        {ui->actionPlot, ":/images/iPLOT"},
        {ui->actionSave, ":/images/iSAVE"},
        {ui->actionSave_As, ":/images/iSAVEAS"},
    });
    m_extras = new StudioExtras(this);
    m_safety = new DocumentSafety(this);
    m_actions = new DocumentActions(ui->mdiArea);
    connect(m_actions, &DocumentActions::currentChanged, m_extras, &StudioExtras::follow);
    m_runMarks = new RunMarks(statusBar(), this);
    // One import window, kept once made; each script it creates is a new document.
    connect(ui->actionImport, &QAction::triggered, this, [this] {
        auto *importer = findChild<VImport *>();
        if (!importer) {
            importer = new VImport(this);
            connect(importer, &VImport::do_import, this,
                    [this](const QString &vFile, const QString &vNames, const QString &vMissing) {
                        on_new();
                        documents().constLast()->on_import(vFile, vNames, vMissing);
                    });
        }
        importer->show();
        importer->raise();
        importer->activateWindow();
    });

    CSettings &settings = CSettings::instance();
    connect(&settings, &CSettings::notifyTovrelCheckFailed, this,
            &MainWindow::on_notifyTovrelCheckFailed);
    connect(this, &MainWindow::do_open, this, &MainWindow::on_open);
    if (auto *application = qobject_cast<Application *>(QCoreApplication::instance()))
        connect(application, &Application::do_open, this, &MainWindow::on_open);
    connect(this, &MainWindow::do_new, this, &MainWindow::on_new);
    connect(ui->mdiArea, &QMdiArea::subWindowActivated, this, &MainWindow::on_subWindowActivated);
    // View > Convergence brings the active document's convergence table to the front.
    QAction *convergence = ui->menuView->addAction(tr("Convergence"));
    convergence->setObjectName(QStringLiteral("actionConvergence"));
    connect(convergence, &QAction::triggered, this, [this] {
        if (Workspace *document = activeDocument()) {
            document->convergenceDock()->show();
            document->convergenceDock()->raise();
        }
    });

    // Without a maintenance tool (a studio built from source) this returns at once, silently.
    if (settings.autoCheck())
        UpdateCheck::start(UpdateCheck::Mode::Automatic, this);
    applyNewVersionResets();
    if (!restoreGeometry(settings.geometry()))
        openLarge();
    buildExamplesMenu();
    bindDocumentActions();
    updateButtons(nullptr);
}

void MainWindow::openLarge()
{
    const QScreen *shown = screen();
    if (!shown)
        return;
    const QRect room = shown->availableGeometry();
    const QSize size(room.width() * 9 / 10, room.height() * 9 / 10);
    setGeometry(
        QRect(room.topLeft()
                  + QPoint((room.width() - size.width()) / 2, (room.height() - size.height()) / 2),
              size));
}

MainWindow::~MainWindow()
{
    m_tearingDown = true;
    const QList<QObject *> parts = findChildren<QObject *>();
    for (QObject *part : parts)
        disconnect(part, nullptr, this, nullptr);
    // The documents go first, while this window is still whole: their last signals (and the
    // area's last activation) then find it tearing down instead of half destroyed.
    delete ui->mdiArea;
    delete ui;
    ui = nullptr;
}

bool MainWindow::handOverToRunningInstance(const QString &vFileName)
{
    return SingleInstance::handOverOrServe(vFileName, this,
                                           [this](const QString &v) { on_open(v); });
}

QString MainWindow::versionText()
{
    return QStringLiteral(" %1.%2.%3")
        .arg(TOVREL_VERSION_MAJOR)
        .arg(TOVREL_VERSION_MINOR)
        .arg(TOVREL_VERSION_PATCH);
}

// The first start of a new version puts back what a new version may have changed the meaning
// of: the plot defaults, the text of new scripts and a custom engine choice.
void MainWindow::applyNewVersionResets()
{
    CSettings &settings = CSettings::instance();
    if (settings.version() == versionText())
        return;
    settings.setVersion(versionText());
    settings.setPlotSettings(settings.plotDefaults());
    settings.resetDefaultCommandSet();
    settings.resetCommandLineTool();
    Q_EMIT settings.do_apply();
}

// --- Documents -----------------------------------------------------------------------------

Workspace *MainWindow::activeDocument() const
{
    return m_actions->current();
}

QList<Workspace *> MainWindow::documents() const
{
    QList<Workspace *> found;
    for (QMdiSubWindow *sub : ui->mdiArea->subWindowList())
        if (auto *document = qobject_cast<Workspace *>(sub->widget()))
            found.append(document);
    return found;
}

QMdiSubWindow *MainWindow::addDocument(Workspace *vDocument)
{
    vDocument->setDocumentNumber(++m_documentCount);
    QMdiSubWindow *sub = ui->mdiArea->addSubWindow(vDocument);
    // The frame's own menu takes the platform's Close key (Ctrl+W under X11), which would make
    // the window's Close ambiguous and dead; the window's actions serve the keyboard.
    if (QMenu *frameMenu = sub->systemMenu())
        for (QAction *entry : frameMenu->actions())
            entry->setShortcuts({});
    m_extras->watch(vDocument);
    m_safety->watch(vDocument);
    m_runMarks->watch(vDocument, sub);
    // The tab follows the document's title, and "Go to tab..." with it.
    connect(vDocument, &QWidget::windowTitleChanged, this, &MainWindow::rebuildTabMenu);
    connect(vDocument->editor()->document(), &QTextDocument::modificationChanged, this,
            &MainWindow::rebuildTabMenu);
    // Queued: while the sub-window is being destroyed the area still lists it.
    connect(
        sub, &QObject::destroyed, this,
        [this] {
            if (!m_tearingDown)
                updateButtons(nullptr);
        },
        Qt::QueuedConnection);
    return sub;
}

void MainWindow::on_new()
{
    auto *document = new Workspace;
    QMdiSubWindow *sub = addDocument(document);
    document->on_new();
    sub->showMaximized();
    updateButtons(document);
}

void MainWindow::on_actionOpen_triggered()
{
    CSettings &settings = CSettings::instance();
    QString folder = settings.lastOpenFolder();
    if (!QFileInfo(folder).isDir())
        folder = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    FileHandling chooser;
    chooser.setOpenDialog(QStringLiteral("Select Syntax File to Open"), FileTypes::openPatterns());
    const QString file
        = QFileDialog::getOpenFileName(this, chooser.openCaption(), folder, chooser.filter())
              .trimmed();
    if (file.isEmpty())
        return;
    settings.setLastOpenFolder(QFileInfo(file).absolutePath());
    on_open(file);
}

void MainWindow::on_open(const QString &vImpFile)
{
    const QString name = vImpFile.trimmed();
    if (name.isEmpty())
        return;
    // An output file stands for the script it was made from.
    const QString path = FileTypes::scriptFor(name);

    const QString wanted = QFileInfo(path).absoluteFilePath();
    for (QMdiSubWindow *sub : ui->mdiArea->subWindowList()) {
        auto *document = qobject_cast<Workspace *>(sub->widget());
        if (document && samePathIgnoringCase(document->filePath(), wanted)) {
            document->setFocus();
            updateButtons(document);
            return;
        }
    }

    qDebug() << " ~ on_open ~ " << path;
    auto *document = new Workspace;
    QMdiSubWindow *sub = addDocument(document);
    if (!document->on_open(path)) {
        sub->close();
        return;
    }
    sub->setWindowIcon(QFileIconProvider().icon(QFileInfo(path)));
    sub->showMaximized();
    updateButtons(document);
}

void MainWindow::on_saveAll()
{
    for (Workspace *document : documents())
        document->on_save(false);
}

void MainWindow::on_actionSave_All_triggered()
{
    on_saveAll();
}

void MainWindow::on_actionClose_All_triggered()
{
    for (QMdiSubWindow *sub : ui->mdiArea->subWindowList())
        if (!sub->close())
            return; // the user kept this document; leave the rest alone too
}

bool MainWindow::closeDocuments()
{
    for (QMdiSubWindow *sub : ui->mdiArea->subWindowList())
        if (!sub->close())
            return false;
    return true;
}

void MainWindow::closeEvent(QCloseEvent *vEvent)
{
    if (!m_quitPrepared)
        m_safety->beginQuit(documents(), activeDocument());
    if (!closeDocuments()) {
        vEvent->ignore();
        return;
    }
    m_safety->finishQuit();
    CSettings::instance().setGeometry(saveGeometry());
    delete m_preferences;
    vEvent->accept();
}

// --- Keeping the actions in step --------------------------------------------------------------

void MainWindow::bindDocumentActions()
{
    using Call = DocumentActions::Call;
    using Test = DocumentActions::Test;
    auto call = [](void (Workspace::*vSlot)()) -> Call {
        return [vSlot](Workspace &vDocument, bool) {
            (vDocument.*vSlot)();
        };
    };
    auto callChecked = [](void (Workspace::*vSlot)(bool)) -> Call {
        return [vSlot](Workspace &vDocument, bool vChecked) {
            (vDocument.*vSlot)(vChecked);
        };
    };
    auto checkedAs = [](QAction *(Workspace::*vAction)() const) -> Test {
        return [vAction](const Workspace &vDocument) {
            return (vDocument.*vAction)()->isChecked();
        };
    };
    const Test notRunning = [](const Workspace &vDocument) {
        return vDocument.runState() != Workspace::RunState::Running;
    };
    const Test busy = [](const Workspace &vDocument) {
        return vDocument.runState() != Workspace::RunState::Idle;
    };
    const Test withPlots = [](const Workspace &vDocument) {
        return vDocument.plotsAvailable();
    };

    // action, what it calls on the current document, when it is enabled, what it shows checked
    const struct
    {
        QAction *action;
        Call call;
        Test enabled;
        Test checked;
    } table[] = {
        {ui->actionSave, [](Workspace &vDocument, bool) { vDocument.on_save(false); }, {}, {}},
        {ui->actionSave_As, [](Workspace &vDocument, bool) { vDocument.on_save(true); }, {}, {}},
        {ui->actionClose, [](Workspace &vDocument, bool) { vDocument.on_close(); }, {}, {}},
        {ui->actionUndo, call(&Workspace::on_undo), &Workspace::canUndo, {}},
        {ui->actionRedo, call(&Workspace::on_redo), &Workspace::canRedo, {}},
        {ui->actionCut, call(&Workspace::on_cut), {}, {}},
        {ui->actionCopy, call(&Workspace::on_copy), {}, {}},
        {ui->actionPaste, call(&Workspace::on_paste), {}, {}},
        {ui->actionSelect_All, call(&Workspace::on_selectAll), {}, {}},
        {ui->actionSelect_Line, call(&Workspace::on_selectLine), {}, {}},
        {ui->actionFind_and_Replace,
         callChecked(&Workspace::on_actionFind_Replace_triggered),
         {},
         checkedAs(&Workspace::findAction)},
        {ui->actionIndent, call(&Workspace::on_indent), {}, {}},
        {ui->actionUnindent, call(&Workspace::on_unindent), {}, {}},
        {ui->actionToggle_Comment, call(&Workspace::on_comment), {}, {}},
        {ui->actionDuplicate, call(&Workspace::on_duplicate), {}, {}},
        {ui->actionZoom_In, call(&Workspace::on_zoomIn), {}, {}},
        {ui->actionZoom_Out, call(&Workspace::on_zoomOut), {}, {}},
        {ui->actionStart, [this](Workspace &vDocument, bool) { run(vDocument); }, notRunning, {}},
        {ui->actionStop, call(&Workspace::on_stop), busy, {}},
        {ui->actionIterations,
         [this](Workspace &vDocument, bool) { showIterationHistory(vDocument); },
         {},
         {}},
        {ui->actionOutput,
         callChecked(&Workspace::on_output),
         {},
         checkedAs(&Workspace::outputAction)},
        {ui->actionPlot, callChecked(&Workspace::on_plot), {}, checkedAs(&Workspace::plotAction)},
        {ui->actionAuto_Plot,
         callChecked(&Workspace::on_autoPlot),
         {},
         checkedAs(&Workspace::autoPlotAction)},
        {ui->actionPrevious, call(&Workspace::on_tb_left_clicked), withPlots, {}},
        {ui->actionNext, call(&Workspace::on_tb_right_clicked), withPlots, {}},
        {ui->actionGo_to, call(&Workspace::on_actionGo_to_triggered), withPlots, {}},
        {ui->actionPlot_Popout, call(&Workspace::on_tb_popout_clicked), withPlots, {}},
        {ui->actionPlot_Settings, call(&Workspace::on_tb_settings_plot_clicked), withPlots, {}},
        {ui->actionSave_Current_Plot, call(&Workspace::on_tb_save_plot_clicked), withPlots, {}},
        {ui->actionSave_All_Plots, call(&Workspace::on_tb_saveAll_plot_clicked), withPlots, {}},
    };
    QList<QAction *> bound;
    for (const auto &row : table) {
        m_actions->bind(row.action, row.call, row.enabled, row.checked);
        bound << row.action;
    }
    // Everything else in the Edit, Run, Plot and View menus needs a document too, as do Save All
    // and Close All; they act through slots of their own.
    QList<QAction *> others {ui->actionSave_All, ui->actionClose_All};
    for (const QMenu *menu : {ui->menuEdit, ui->menuRun, ui->menuPlot, ui->menuView})
        for (QAction *action : menu->actions())
            if (!action->isSeparator() && !action->menu() && !bound.contains(action))
                others << action;
    for (QAction *action : others)
        m_actions->bind(action, {});
}

void MainWindow::on_subWindowActivated(QMdiSubWindow *vMdiSubWindow)
{
    Q_UNUSED(vMdiSubWindow)
    if (m_tearingDown)
        return;
    rebuildTabMenu();
}

void MainWindow::updateButtons(Workspace *window)
{
    if (m_tearingDown)
        return;
    // A document named here is the current one, whatever the area's activation says.
    if (window)
        m_actions->makeCurrent(window);
    else
        m_actions->follow();
    rebuildTabMenu();
}

// The document's state change already reaches the actions; these two remain as the window's
// answers to the document's own signals.
void MainWindow::disablePlotButtons()
{
    updateButtons(activeDocument());
}

void MainWindow::checkOutput()
{
    updateButtons(activeDocument());
}

void MainWindow::rebuildTabMenu()
{
    if (m_tearingDown)
        return;
    QMenu *menu = ui->menuGo_to_tab;
    menu->clear();
    QMdiSubWindow *active = ui->mdiArea->currentSubWindow();
    for (QMdiSubWindow *sub : ui->mdiArea->subWindowList()) {
        const auto *document = qobject_cast<Workspace *>(sub->widget());
        const bool modified = document ? document->isModified() : sub->isWindowModified();
        QString title = sub->windowTitle();
        title.replace(QStringLiteral("[*]"), modified ? QStringLiteral("*") : QString());
        QAction *entry = menu->addAction(title);
        entry->setCheckable(true);
        entry->setChecked(sub == active);
        connect(entry, &QAction::triggered, this, [this, sub = QPointer<QMdiSubWindow>(sub)] {
            if (sub)
                ui->mdiArea->setActiveSubWindow(sub);
        });
    }
    menu->setEnabled(!menu->isEmpty());
}

// --- Run -----------------------------------------------------------------------------------------

void MainWindow::run(Workspace &vDocument)
{
    if (!CSettings::instance().engineExists()) {
        const auto answer = QMessageBox::warning(
            this, QStringLiteral("Error!"),
            QStringLiteral("Cannot Find Tovrel Computational Engine.\n\nSet the path to the "
                           "engine in Preferences."),
            QMessageBox::Ok);
        if (answer == QMessageBox::Ok)
            on_settings();
        return;
    }
    // Run and Stop follow the document's own state from here: a refused or cancelled run
    // leaves Run enabled.
    vDocument.on_run();
}

void MainWindow::on_actionCheckUpdate_triggered()
{
    UpdateCheck::start(UpdateCheck::Mode::Manual, this);
}

void MainWindow::showIterationHistory(const Workspace &vDocument)
{
    QString history = vDocument.iterationHistory();
    if (history.isEmpty())
        history = QStringLiteral("No Iteration History");
    showText(QStringLiteral("Iteration History"), history, false);
}

void MainWindow::showText(const QString &vTitle, const QString &vText, bool vMarkdown)
{
    QDialog dialog(this);
    dialog.setWindowTitle(vTitle);
    dialog.resize(760, 560);
    auto *layout = new QVBoxLayout(&dialog);
    auto *viewer = new QTextBrowser(&dialog);
    viewer->setObjectName(QStringLiteral("textViewer"));
    viewer->setOpenExternalLinks(true);
    if (vMarkdown) {
        viewer->setMarkdown(vText);
    } else {
        viewer->setLineWrapMode(QTextEdit::NoWrap);
        viewer->setFont(CSettings::instance().outputFont());
        viewer->setPlainText(vText);
    }
    layout->addWidget(viewer);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    dialog.exec();
}

// --- Preferences and the engine check ------------------------------------------------------

VSettings *MainWindow::preferences() const
{
    return m_preferences;
}

void MainWindow::on_settings()
{
    if (m_preferences) {
        m_preferences->showNormal();
        m_preferences->raise();
        m_preferences->activateWindow();
        m_preferences->setFocus();
        return;
    }
    m_preferences = new VSettings(this);
    m_preferences->setWindowFlag(Qt::Window);
    m_preferences->show();
}

void MainWindow::on_actionSettings_triggered()
{
    on_settings();
}

void MainWindow::on_notifyTovrelCheckFailed()
{
    statusBar()->showMessage(tr(
        "The Tovrel computational engine was not found. Choose one under Computational Engine."));
    if (!m_preferences) {
        on_settings();
        m_preferences->on_notifyTovrelCheckFailed();
    }
    // An existing dialog answers the same signal itself and opens its engine page.
}

// --- Examples and help -----------------------------------------------------------------------

void MainWindow::buildExamplesMenu(const QString &vFolder)
{
    const ExampleCatalog catalog(vFolder.isEmpty() ? ExampleCatalog::defaultFolder() : vFolder);
    QMenu *menu = ui->menuExamples;
    menu->clear();
    menu->setProperty("examplesFolder", catalog.folder());
    if (!catalog.exists()) {
        menu->addAction(tr("No Examples"))->setEnabled(false);
        connect(menu->addAction(tr("Install Examples")), &QAction::triggered, this,
                &MainWindow::installExamples);
        qDebug() << "FAILED";
        return;
    }
    const QList<QList<ExampleCatalog::Example>> groups = catalog.byCategory();
    const QStringList titles = ExampleCatalog::categoryTitles();
    auto addExample = [this](QMenu *vMenu, const QString &vTitle, const QString &vFolderName) {
        QAction *entry = vMenu->addAction(vTitle);
        entry->setData(vFolderName);
        connect(entry, &QAction::triggered, this, &MainWindow::openExample);
        return entry;
    };
    for (int i = 0; i < groups.size(); ++i) {
        const QList<ExampleCatalog::Example> &examples = groups.at(i);
        if (i == titles.size() && examples.isEmpty())
            break; // no folder outside the categories
        const QString title = i < titles.size() ? titles.at(i) : tr("Other Examples");
        // The first category is a single entry, unless it holds more than one example.
        if (i == 0 && examples.size() <= 1) {
            QAction *entry
                = addExample(menu, title, examples.isEmpty() ? QString() : examples.first().folder);
            entry->setEnabled(!examples.isEmpty());
            continue;
        }
        QMenu *category = menu->addMenu(title);
        for (const ExampleCatalog::Example &example : examples)
            addExample(category, example.title, example.folder);
        category->setEnabled(!examples.isEmpty());
    }
}

void MainWindow::openExample()
{
    auto *action = qobject_cast<QAction *>(sender());
    if (!action) {
        qDebug() << "No Action found.";
        return;
    }
    const ExampleCatalog catalog(ui->menuExamples->property("examplesFolder").toString());
    const QString name = action->data().toString();
    if (!catalog.hasExample(name)) {
        qDebug() << "No File Found";
        QMessageBox::critical(this, QStringLiteral("Error!"),
                              QStringLiteral("Cannot find selected example.\n\n Check that they "
                                             "have been downloaded in the updater."));
        return;
    }
    const QString script = catalog.runnableScriptOf(name);
    if (script.isEmpty()) {
        QMessageBox::critical(this, QStringLiteral("Error!"),
                              tr("The example \"%1\" holds no script.").arg(name));
        return;
    }
    qDebug() << "Opening: " << script;
    on_open(script);
}

void MainWindow::installExamples()
{
    quitForMaintenanceTool({QStringLiteral("--manage-packages")});
}

void MainWindow::quitForMaintenanceTool(const QStringList &vArguments)
{
    const QString tool = ExecutablePath::besideApplication(QStringLiteral("tovrel-updater"));
    auto cannotStart = [this, &tool] {
        QMessageBox::warning(this, QStringLiteral("Error!"),
                             tr("The maintenance tool \"%1\" cannot be started, so Tovrel Studio "
                                "stays open.")
                                 .arg(QDir::toNativeSeparators(tool)));
    };
    if (!QFileInfo(tool).isExecutable())
        return cannotStart();
    // Every document is asked first, as on Quit; one refusal keeps the studio as it is.
    m_safety->beginQuit(documents(), activeDocument());
    if (!closeDocuments())
        return;
    if (!QProcess::startDetached(tool, vArguments))
        return cannotStart();
    // The session was taken while the documents closed; the window's own close keeps it.
    m_quitPrepared = true;
    if (close())
        QCoreApplication::quit();
    m_quitPrepared = false;
}

void MainWindow::on_help()
{
    const QUrl help = StudioInfo::helpUrl();
    if (QDesktopServices::openUrl(help))
        return;
    QMessageBox::warning(this, windowTitle(),
                         QStringLiteral("Unable to load help file.\nPlease manually check at ")
                             + help.toDisplayString(QUrl::PreferLocalFile));
}

void MainWindow::on_about()
{
    QMessageBox::about(this, tr("About Tovrel Studio"), StudioInfo::aboutText());
}

void MainWindow::on_changelog()
{
    showText(tr("Studio Changelog"), StudioInfo::studioChangelog(), true);
}

void MainWindow::on_changelogBase()
{
    CSettings &settings = CSettings::instance();
    const QString engine
        = settings.hasEnginePath() ? settings.commandLineToolName() : CSettings::stableEnginePath();
    showText(tr("Tovrel Changelog"), StudioInfo::engineVersion(engine), false);
}

void MainWindow::on_actionHelp_triggered()
{
    on_help();
}
void MainWindow::on_actionAbout_triggered()
{
    on_about();
}
void MainWindow::on_actionChangelog_triggered()
{
    on_changelog();
}
void MainWindow::on_actionBase_Changelog_triggered()
{
    on_changelogBase();
}
void MainWindow::on_actionNew_triggered()
{
    on_new();
}
void MainWindow::on_actionQuit_triggered()
{
    close();
}
