#include "mainwindow.h"

#include "application.h"
#include "config/csettings.h"
#include "config/executablepath.h"
#include "config/vsettings.h"
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
#include "workspace/workspace.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
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
    m_extras = new StudioExtras(this);
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

    // Without a maintenance tool (a studio built from source) this returns at once, silently.
    if (settings.autoCheck())
        UpdateCheck::start(UpdateCheck::Mode::Automatic, this);
    applyNewVersionResets();
    restoreGeometry(settings.geometry());
    buildExamplesMenu();
    updateButtons(nullptr);
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
    QMdiSubWindow *sub = ui->mdiArea->activeSubWindow();
    return sub ? qobject_cast<Workspace *>(sub->widget()) : nullptr;
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
    m_extras->watch(vDocument);
    m_runMarks->watch(vDocument, sub);
    // The tab follows the document's title, and "Go to tab..." with it.
    connect(vDocument, &QWidget::windowTitleChanged, this, &MainWindow::rebuildTabMenu);
    connect(vDocument->editor()->document(), &QTextDocument::modificationChanged, this,
            &MainWindow::rebuildTabMenu);
    // Queued: while the sub-window is being destroyed the area still lists it.
    connect(
        sub, &QObject::destroyed, this,
        [this] {
            if (!m_tearingDown && !activeDocument())
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
    chooser.setOpenDialog(QStringLiteral("Select Syntax File to Open"),
                          QStringLiteral("*.imp *.txt *.tovrel-out *.inp *.out"));
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
    const QFileInfo asked(name);
    QString path = name;
    // An output file stands for the script it was made from.
    if (asked.suffix().compare(CSettings::instance().outputExtension(), Qt::CaseInsensitive) == 0)
        path = asked.absolutePath() + QLatin1Char('/') + asked.completeBaseName()
            + QStringLiteral(".imp");

    const QString wanted = QFileInfo(path).absoluteFilePath();
    for (QMdiSubWindow *sub : ui->mdiArea->subWindowList()) {
        auto *document = qobject_cast<Workspace *>(sub->widget());
        if (document && samePathIgnoringCase(document->filePath(), wanted)) {
            document->setFocus();
            ui->mdiArea->setActiveSubWindow(sub);
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

void MainWindow::closeEvent(QCloseEvent *vEvent)
{
    for (QMdiSubWindow *sub : ui->mdiArea->subWindowList()) {
        if (!sub->close()) {
            vEvent->ignore();
            return;
        }
    }
    CSettings::instance().setGeometry(saveGeometry());
    delete m_preferences;
    vEvent->accept();
}

// --- Keeping the actions in step --------------------------------------------------------------

QList<QAction *> MainWindow::documentActions() const
{
    // Everything in the Edit, Run, Plot and View menus works on a document, as do these.
    QList<QAction *> actions {ui->actionSave, ui->actionSave_As, ui->actionSave_All,
                              ui->actionClose, ui->actionClose_All};
    for (const QMenu *menu : {ui->menuEdit, ui->menuRun, ui->menuPlot, ui->menuView})
        for (QAction *action : menu->actions())
            if (!action->isSeparator() && !action->menu())
                actions.append(action);
    return actions;
}

void MainWindow::on_subWindowActivated(QMdiSubWindow *vMdiSubWindow)
{
    if (m_tearingDown)
        return;
    updateButtons(vMdiSubWindow ? qobject_cast<Workspace *>(vMdiSubWindow->widget()) : nullptr);
}

void MainWindow::updateButtons(Workspace *window)
{
    if (m_tearingDown)
        return;
    if (m_active && m_active != window)
        disconnect(m_active, nullptr, this, nullptr);
    m_active = window;
    for (QAction *action : documentActions())
        action->setEnabled(window != nullptr);
    rebuildTabMenu();
    if (!window) {
        ui->actionFind_and_Replace->setChecked(false);
        return;
    }
    connect(window, &Workspace::actionsChanged, this, &MainWindow::syncDocumentActions,
            Qt::UniqueConnection);
    connect(window, &Workspace::disable_plot, this, &MainWindow::disablePlotButtons,
            Qt::UniqueConnection);
    connect(window, &Workspace::output_receieved, this, &MainWindow::checkOutput,
            Qt::UniqueConnection);
    syncDocumentActions();
}

void MainWindow::syncDocumentActions()
{
    if (m_tearingDown)
        return;
    Workspace *document = m_active;
    if (!document)
        return;
    ui->actionOutput->setChecked(document->outputAction()->isChecked());
    ui->actionPlot->setChecked(document->plotAction()->isChecked());
    ui->actionAuto_Plot->setChecked(document->autoPlotAction()->isChecked());
    ui->actionStart->setEnabled(document->runAction()->isEnabled());
    ui->actionStop->setEnabled(document->stopAction()->isEnabled());
}

void MainWindow::disablePlotButtons()
{
    if (m_tearingDown)
        return;
    ui->actionPlot->setChecked(false);
}

void MainWindow::checkOutput()
{
    if (m_tearingDown)
        return;
    ui->actionOutput->setChecked(true);
}

void MainWindow::rebuildTabMenu()
{
    if (m_tearingDown)
        return;
    QMenu *menu = ui->menuGo_to_tab;
    menu->clear();
    QMdiSubWindow *active = ui->mdiArea->activeSubWindow();
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

void MainWindow::on_actionStart_triggered()
{
    Workspace *document = activeDocument();
    if (!document)
        return;
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
    document->on_run();
    if (document->isModified()) {
        syncDocumentActions(); // the save prompt was cancelled: nothing runs
        return;
    }
    ui->actionOutput->setChecked(true);
    ui->actionStop->setEnabled(true);
    ui->actionStart->setEnabled(false);
}

void MainWindow::on_actionCheckUpdate_triggered()
{
    UpdateCheck::start(UpdateCheck::Mode::Manual, this);
}

void MainWindow::on_actionIterations_triggered()
{
    Workspace *document = activeDocument();
    if (!document)
        return;
    QString history = document->iterationHistory();
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
    QProcess::startDetached(ExecutablePath::besideApplication(QStringLiteral("tovrel-updater")),
                            {QStringLiteral("--manage-packages")});
    QCoreApplication::exit();
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

// --- Forwarded to the active document ---------------------------------------------------------

#define TOVREL_FORWARD(slot, call) \
    void MainWindow::slot() \
    { \
        if (Workspace *document = activeDocument()) \
            document->call; \
    }

TOVREL_FORWARD(on_actionUndo_triggered, on_undo())
TOVREL_FORWARD(on_actionRedo_triggered, on_redo())
TOVREL_FORWARD(on_actionCut_triggered, on_cut())
TOVREL_FORWARD(on_actionCopy_triggered, on_copy())
TOVREL_FORWARD(on_actionPaste_triggered, on_paste())
TOVREL_FORWARD(on_actionSelect_All_triggered, on_selectAll())
TOVREL_FORWARD(on_actionSelect_Line_triggered, on_selectLine())
TOVREL_FORWARD(on_actionStop_triggered, on_stop())
TOVREL_FORWARD(on_actionPrevious_triggered, on_tb_left_clicked())
TOVREL_FORWARD(on_actionNext_triggered, on_tb_right_clicked())
TOVREL_FORWARD(on_actionGo_to_triggered, on_actionGo_to_triggered())
TOVREL_FORWARD(on_actionPlot_Popout_triggered, on_tb_popout_clicked())
TOVREL_FORWARD(on_actionPlot_Settings_triggered, on_tb_settings_plot_clicked())
TOVREL_FORWARD(on_actionZoom_In_triggered, on_zoomIn())
TOVREL_FORWARD(on_actionZoom_Out_triggered, on_zoomOut())
TOVREL_FORWARD(on_actionSave_triggered, on_save(false))
TOVREL_FORWARD(on_actionSave_As_triggered, on_save(true))
TOVREL_FORWARD(on_actionClose_triggered, on_close())
TOVREL_FORWARD(on_actionIndent_triggered, on_indent())
TOVREL_FORWARD(on_actionUnindent_triggered, on_unindent())
TOVREL_FORWARD(on_actionToggle_Comment_triggered, on_comment())
TOVREL_FORWARD(on_actionDuplicate_triggered, on_duplicate())
TOVREL_FORWARD(on_actionSave_Current_Plot_triggered, on_tb_save_plot_clicked())
TOVREL_FORWARD(on_actionSave_All_Plots_triggered, on_tb_saveAll_plot_clicked())

#undef TOVREL_FORWARD

void MainWindow::on_actionFind_and_Replace_triggered(bool checked)
{
    if (Workspace *document = activeDocument())
        document->on_actionFind_Replace_triggered(checked);
}

void MainWindow::on_actionAuto_Plot_triggered(bool checked)
{
    if (Workspace *document = activeDocument())
        document->on_autoPlot(checked);
}

void MainWindow::on_actionOutput_triggered(bool checked)
{
    if (Workspace *document = activeDocument())
        document->on_output(checked);
}

void MainWindow::on_actionPlot_triggered(bool checked)
{
    if (Workspace *document = activeDocument())
        document->on_plot(checked);
}
