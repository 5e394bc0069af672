#include "workspace.h"
#include "ui_workspace.h"

#include "commandfill.h"
#include "config/csettings.h"
#include "diagnostics/wconvergencepanel.h"
#include "editor/syntaxhighlighter.h"
#include "editor/wsyntaxeditor.h"
#include "editor/wtextfinder.h"
#include "engineconsent.h"
#include "filehandling.h"
#include "filetypes.h"
#include "outputhighlighter.h"
#include "plotrequests.h"
#include "plots/graphingengine.h"
#include "plots/parameterlabels.h"
#include "plots/plotsettings.h"
#include "plots/waitingspinnerwidget.h"
#include "plots/wgraphpanel.h"
#include "processhandling.h"
#include "runwatch.h"
#include "woutputpane.h"

#include <QCloseEvent>
#include <QDebug>
#include <QDesktopServices>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QResizeEvent>
#include <QSaveFile>
#include <QtConcurrent/QtConcurrentRun>
#include <QTemporaryDir>
#include <QTextCursor>
#include <QTextDocument>
#include <QTimer>
#include <QUrl>

namespace {
const QString kSupportMail = QStringLiteral("mailto:support@tovrel.org");
const QString kChainFileBase = QStringLiteral("burn");
// How long a closing document waits for its killed engine to be reaped.
constexpr int kReapTimeoutMs = 3000;

// The document's on_ slots that the main window calls (on_new, on_run, ...) are not form slots;
// the form's connection by name would warn about each of them on every new document.
QLoggingCategory::CategoryFilter g_previousFilter = nullptr;
void quietSlotsByName(QLoggingCategory *vCategory)
{
    if (g_previousFilter)
        g_previousFilter(vCategory);
    if (qstrcmp(vCategory->categoryName(), "qt.core.qmetaobject.connectslotsbyname") == 0)
        vCategory->setEnabled(QtWarningMsg, false);
}

void configureSpinner(WaitingSpinnerWidget *vSpinner, int vLineLength, int vLineWidth,
                      int vInnerRadius, double vRevolutions)
{
    vSpinner->setRoundness(70.0);
    vSpinner->setMinimumTrailOpacity(15.0);
    vSpinner->setTrailFadePercentage(70.0);
    vSpinner->setNumberOfLines(12);
    vSpinner->setLineLength(vLineLength);
    vSpinner->setLineWidth(vLineWidth);
    vSpinner->setInnerRadius(vInnerRadius);
    vSpinner->setRevolutionsPerSecond(vRevolutions);
}

// Tells the file a run wrote from the one before it. File times are coarse (a few milliseconds
// on Linux), so a quick run may write its file within the same tick; its size seldom agrees too.
std::pair<QDateTime, qint64> fileStamp(const QString &vPath)
{
    const QFileInfo file(vPath);
    return {file.lastModified(), file.exists() ? file.size() : -1};
}

QString readText(const QString &vPath, bool *vOk)
{
    QFile file(vPath);
    *vOk = file.open(QIODevice::ReadOnly | QIODevice::Text);
    return *vOk ? QString::fromUtf8(file.readAll()) : QString();
}
} // namespace

Workspace::Workspace(QWidget *parent)
    : QMainWindow(parent)
    , ui(new Ui::Workspace)
    , m_file(new FileHandling(this))
    , m_runner(new ProcessHandling(this))
{
    g_previousFilter = QLoggingCategory::installFilter(quietSlotsByName);
    ui->setupUi(this);
    QLoggingCategory::installFilter(g_previousFilter);
    // Made after the form's connection by name: the panel's buttons carry the names of this
    // window's forwarding slots, and one click must not act twice.
    m_graphPanel = new WGraphPanel(ui->graphArea);
    ui->graphLayout->addWidget(m_graphPanel);
    m_plotSettings = new PlotSettings(this, CSettings::instance().plotSettings());
    m_plotSettings->hide();

    ui->finder->setEditor(ui->te_SyntaxEditor);
    ui->finder->setOutputView(ui->te_Out);
    ui->finder->hide();
    connect(ui->te_Out, &WOutputPane::did_activateScriptLine, this, [this](int vLine) {
        ui->te_SyntaxEditor->goToLine(vLine);
        ui->te_SyntaxEditor->setFocus();
    });
    ui->te_Out->setHighlighter(new OutputHighlighter(ui->te_Out->document()));
    m_runWatch = new RunWatch(ui->outLayout, ui->te_Out, this);
    connect(m_runWatch, &RunWatch::runningChanged, this, &Workspace::runningChanged);
    ui->dockOut->installEventFilter(this);
    ui->dockGraph->installEventFilter(this);
    ui->dockGraph->hide();
    ui->actionOutput->setChecked(true);
    ui->actionStop->setEnabled(false);
    setPlotControlsEnabled(false);

    connect(m_runner, &ProcessHandling::did_start, this, &Workspace::processStarted);
    connect(m_runner, &ProcessHandling::did_sendOut, this, &Workspace::processSendOut);
    connect(m_runner, &ProcessHandling::did_sendErr, this, &Workspace::processSendErr);
    connect(m_runner, &ProcessHandling::did_finish, this, &Workspace::processFinished);
    connect(m_runner, &ProcessHandling::did_errorOccur, this, &Workspace::processErrorOccured);
    connect(m_file, &FileHandling::did_open, this, &Workspace::did_open);
    connect(m_file, &FileHandling::did_read, this, &Workspace::did_read);
    connect(m_file, &FileHandling::did_save, this, &Workspace::did_save);
    connect(ui->te_SyntaxEditor, &QTextEdit::textChanged, this, &Workspace::documentWasModified);
    connect(ui->finder, &WTextFinder::do_close, ui->actionFind_Replace, &QAction::setChecked);
    const CSettings *settings = &CSettings::instance();
    connect(settings, &CSettings::did_apply, this, &Workspace::setOutLogFont);
    connect(settings, &CSettings::did_apply, this, &Workspace::update_orientation);
    connect(settings, &CSettings::did_apply, this, &Workspace::applyPlotDefaults);

    connect(ui->actionRun, &QAction::triggered, this, &Workspace::on_run);
    connect(ui->actionStop, &QAction::triggered, this, &Workspace::on_stop);
    connect(ui->actionOutput, &QAction::toggled, ui->dockOut, &QWidget::setVisible);
    connect(ui->actionOutput, &QAction::triggered, this, &Workspace::on_output);
    connect(ui->actionPlot, &QAction::toggled, ui->dockGraph, &QWidget::setVisible);
    connect(ui->actionPlot, &QAction::triggered, this, &Workspace::on_plot);
    connect(ui->actionAuto_plot, &QAction::triggered, this, &Workspace::on_autoPlot);
    connect(ui->actionNext, &QAction::triggered, this, &Workspace::on_tb_right_clicked);
    connect(ui->actionPrevious, &QAction::triggered, this, &Workspace::on_tb_left_clicked);
    connect(ui->actionPlotSettings, &QAction::triggered, this,
            &Workspace::on_tb_settings_plot_clicked);
    connect(ui->actionSave_Cur_Plot, &QAction::triggered, this,
            &Workspace::on_tb_save_plot_clicked);
    connect(ui->actionSave_All_Plots, &QAction::triggered, this,
            &Workspace::on_tb_saveAll_plot_clicked);
    connect(ui->actionPlot_Popout, &QAction::triggered, this, &Workspace::on_tb_popout_clicked);
    connect(ui->actionSelect_Line, &QAction::triggered, this, &Workspace::on_selectLine);
    connect(ui->actionIndent, &QAction::triggered, this, &Workspace::on_indent);
    connect(ui->actionUnindent, &QAction::triggered, this, &Workspace::on_unindent);
    connect(ui->actionToggle_Comment, &QAction::triggered, this, &Workspace::on_comment);
    connect(ui->actionDuplicate, &QAction::triggered, this, &Workspace::on_duplicate);
    connect(ui->actionZoomIn, &QAction::triggered, this, &Workspace::on_zoomIn);
    connect(ui->actionZoomOut, &QAction::triggered, this, &Workspace::on_zoomOut);
    for (QAction *state : {ui->actionRun, ui->actionStop, ui->actionOutput, ui->actionPlot,
                           ui->actionAuto_plot, ui->actionFind_Replace, ui->actionNext})
        connect(state, &QAction::changed, this, &Workspace::stateChanged);
    QTextDocument *text = ui->te_SyntaxEditor->document();
    connect(text, &QTextDocument::modificationChanged, this, &Workspace::stateChanged);
    connect(text, &QTextDocument::undoAvailable, this, &Workspace::stateChanged);
    connect(text, &QTextDocument::redoAvailable, this, &Workspace::stateChanged);

    connect(m_graphPanel, &WGraphPanel::do_plotSettings, this,
            &Workspace::on_tb_settings_plot_clicked);
    connect(m_plotSettings, &PlotSettings::needs_Render, this, [this] {
        m_plotsMade = false;
        makePlots();
    });

    applyPlotDefaults();
    setOutLogFont();
    update_orientation();
    setUpConvergence();
    updateTitle();
}

Workspace::~Workspace()
{
    // A document being destroyed reports no end of its run: its tab is going as well.
    m_runWatch->disconnect(this);
    shutDown();
}

// --- Accessors ---------------------------------------------------------------------------

void Workspace::setDocumentNumber(int vNumber)
{
    m_documentNumber = vNumber;
    updateTitle();
}

QString Workspace::filePath() const
{
    return m_file->hasFileName() ? m_file->fileName() : QString();
}

QString Workspace::outputPath() const
{
    return FileTypes::outputFor(filePath(), ui->te_SyntaxEditor->syntaxMode() == SyntaxMode::Mplus);
}

bool Workspace::isModified() const
{
    return ui->te_SyntaxEditor->document()->isModified();
}

bool Workspace::isRunning() const
{
    return m_running;
}

bool Workspace::isPlotting() const
{
    return m_graphing && m_graphing->isBusy();
}

Workspace::RunState Workspace::runState() const
{
    if (m_running)
        return RunState::Running;
    return isPlotting() ? RunState::Plotting : RunState::Idle;
}

bool Workspace::canUndo() const
{
    return ui->te_SyntaxEditor->document()->isUndoAvailable();
}

bool Workspace::canRedo() const
{
    return ui->te_SyntaxEditor->document()->isRedoAvailable();
}

WSyntaxEditor *Workspace::editor() const
{
    return ui->te_SyntaxEditor;
}

WOutputPane *Workspace::outputPane() const
{
    return ui->te_Out;
}

QAction *Workspace::runAction() const
{
    return ui->actionRun;
}

QAction *Workspace::stopAction() const
{
    return ui->actionStop;
}

QAction *Workspace::outputAction() const
{
    return ui->actionOutput;
}

QAction *Workspace::plotAction() const
{
    return ui->actionPlot;
}

QAction *Workspace::autoPlotAction() const
{
    return ui->actionAuto_plot;
}

QAction *Workspace::findAction() const
{
    return ui->actionFind_Replace;
}

// --- Files -------------------------------------------------------------------------------

void Workspace::on_new()
{
    m_file->clear();
    loadScript(CSettings::instance().defaultCommandSet(), false);
    ui->te_Out->setText(QString());
}

void Workspace::on_import(const QString &vDataFileName, const QString &vDataHeaders,
                          const QString &vMissingValue)
{
    const CSettings &settings = CSettings::instance();
    const bool caseSensitive = settings.casesensetive();
    QString text = settings.defaultCommandSet();
    text = fillCommand(text, settings.dataCommand(), vDataFileName, caseSensitive);
    text = fillCommand(text, settings.variablesCommand(), vDataHeaders, caseSensitive);
    text = fillCommand(text, settings.missingCommand(), vMissingValue, caseSensitive);
    m_file->clear();
    loadScript(text, false);
    // The filled script exists nowhere on disk yet: closing it must ask.
    ui->te_SyntaxEditor->document()->setModified(true);
    showMaximized();
}

bool Workspace::on_open(const QString &vImpFile)
{
    const QString path = FileTypes::scriptFor(vImpFile.trimmed());

    bool readable = false;
    const QString text = readText(path, &readable);
    if (!readable || !m_file->open(path) || !m_file->read()) {
        QMessageBox::warning(
            this, tr("Error!"),
            tr("Cannot open the file \"%1\".").arg(QDir::toNativeSeparators(path)));
        return false;
    }
    loadScript(text, FileTypes::isMplusScript(path));
    m_examplePromptPending = true;
    bool hasOutput = false;
    const QString output = readText(outputPath(), &hasOutput);
    ui->te_Out->setText(hasOutput ? output : QString());
    showMaximized();
    return true;
}

void Workspace::loadScript(const QString &vText, bool vMplus)
{
    ui->te_SyntaxEditor->setSyntaxMode(vMplus ? SyntaxMode::Mplus : SyntaxMode::Engine);
    ui->te_SyntaxEditor->setPlainText(vText);
    ui->te_SyntaxEditor->document()->setModified(false);
    documentWasModified();
    updateTitle();
}

bool Workspace::maybeSave(bool vAllowDiscard)
{
    // The engine runs a file: a script never saved is asked for before a run, not before closing.
    if (!isModified() && (vAllowDiscard || m_file->hasFileName()))
        return true;
    QMessageBox::StandardButtons buttons = QMessageBox::Save | QMessageBox::Cancel;
    if (vAllowDiscard)
        buttons |= QMessageBox::Discard;
    const QMessageBox::StandardButton answer = QMessageBox::warning(
        this, displayName(),
        tr("The document has been modified.\nDo you want to save your changes?"), buttons);
    if (answer == QMessageBox::Discard)
        return true;
    if (answer == QMessageBox::Save)
        return on_save(false);
    return false;
}

bool Workspace::on_save(bool vSaveAs)
{
    bool saveAs = vSaveAs || !m_file->hasFileName();
    if (!vSaveAs && m_examplePromptPending && m_file->hasFileName() && m_file->isExample()) {
        m_examplePromptPending = false;
        const QMessageBox::StandardButton answer = QMessageBox::warning(
            this, displayName(),
            tr("The script appears to be a User Guide Example.\n\nWould you like to save to a "
               "new file?"),
            QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel, QMessageBox::Yes);
        if (answer == QMessageBox::Cancel)
            return false;
        saveAs = answer == QMessageBox::Yes;
    }
    // The document's focus, not the application's: the main window's menu takes the latter.
    if (saveAs && focusWidget() == ui->te_Out)
        return saveOutputAs();
    const QString text = ui->te_SyntaxEditor->toPlainText();
    bool saved = false;
    if (saveAs) {
        const QString suggested = m_file->hasFileName()
            ? m_file->fileInfo().fileName()
            : tr("Untitled") + QString::number(m_documentNumber);
        saved = m_file->saveAs(text, suggested);
    } else {
        // Another program's version would be lost without a word: the user decides.
        if (m_file->changedOnDisk()
            && QMessageBox::warning(this, displayName(),
                                    tr("\"%1\" has been changed by another program since it was "
                                       "opened.\nDo you want to overwrite it?")
                                        .arg(QDir::toNativeSeparators(m_file->fileName())),
                                    QMessageBox::Save | QMessageBox::Cancel, QMessageBox::Cancel)
                != QMessageBox::Save)
            return false;
        saved = m_file->save(text);
        // The text stays in the editor, still marked modified; the user learns why.
        if (!saved)
            QMessageBox::critical(this, displayName(),
                                  tr("\"%1\" could not be saved.\n%2")
                                      .arg(QDir::toNativeSeparators(m_file->fileName()),
                                           m_file->saveError()));
    }
    if (!saved)
        return false;
    ui->te_SyntaxEditor->document()->setModified(false);
    documentWasModified();
    updateTitle();
    return true;
}

bool Workspace::saveOutputAs()
{
    // A handler of its own: the script's handler would take the ".txt" as the script's name.
    FileHandling output;
    output.clear();
    return output.saveAsText(QStringLiteral("output%1.txt").arg(m_documentNumber),
                             ui->te_Out->text());
}

bool Workspace::on_close()
{
    if (!m_closeConfirmed && (!maybeStopRun() || !maybeSave(true)))
        return false;
    m_closeConfirmed = true;
    shutDown();
    // Inside the main window the sub-window goes with the document; it asks this one through
    // closeEvent, which now agrees without a second question.
    if (auto *frame = qobject_cast<QMdiSubWindow *>(parentWidget()))
        frame->close();
    else
        close();
    return true;
}

bool Workspace::maybeStopRun()
{
    // The process, not the run state: an engine started a moment ago has not reported yet.
    if (m_runner->process()->state() == QProcess::NotRunning)
        return true;
    QMessageBox box(QMessageBox::Warning, displayName(),
                    tr("The engine is still running for %1. Stop it and close?").arg(displayName()),
                    QMessageBox::Cancel, this);
    QPushButton *stop = box.addButton(tr("Stop and Close"), QMessageBox::AcceptRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    return box.clickedButton() == stop;
}

void Workspace::closeEvent(QCloseEvent *vEvent)
{
    if (!m_closeConfirmed && (!maybeStopRun() || !maybeSave(true))) {
        vEvent->ignore();
        return;
    }
    m_closeConfirmed = true;
    shutDown();
    Q_EMIT did_close();
    vEvent->accept();
}

void Workspace::shutDown()
{
    // Nothing of a closing document reports any more: no crash box for the engine killed here.
    m_runner->disconnect(this);
    QProcess *engine = m_runner->process();
    if (engine->state() != QProcess::NotRunning) {
        engine->kill();
        engine->waitForFinished(kReapTimeoutMs);
    }
    m_running = false;
    m_runWatch->finish(true);
    delete m_graphing;
    delete m_spinner;
    delete m_plotSpinner;
    if (m_graphPanel)
        m_graphPanel->clearPlots();
    if (m_convergence)
        m_convergence->clear();
    // Only now: an engine still alive could write into the folder again.
    m_tempDir.reset();
    m_outputSaving.waitForFinished();
}

void Workspace::updateTitle()
{
    const QString output = QFileInfo(outputPath()).fileName();
    ui->lblOutTitle->setText(output.isEmpty() ? tr("Output") : tr("Output: %1").arg(output));
    setWindowTitle(displayName() + QStringLiteral("[*]"));
    setWindowModified(isModified());
}

QString Workspace::displayName() const
{
    if (m_file->hasFileName())
        return m_file->fileInfo().fileName();
    return tr("Untitled") + QString::number(m_documentNumber);
}

void Workspace::documentWasModified()
{
    m_modifiedByUser = isModified();
    ui->actionSave->setEnabled(m_modifiedByUser);
    setWindowModified(m_modifiedByUser);
}

// --- Editing -----------------------------------------------------------------------------

void Workspace::on_selectAll()
{
    ui->te_SyntaxEditor->selectAll();
}
void Workspace::on_cut()
{
    ui->te_SyntaxEditor->cut();
}
void Workspace::on_copy()
{
    ui->te_SyntaxEditor->copy();
}
void Workspace::on_paste()
{
    ui->te_SyntaxEditor->paste();
}
void Workspace::on_undo()
{
    ui->te_SyntaxEditor->undo();
}
void Workspace::on_redo()
{
    ui->te_SyntaxEditor->redo();
}
void Workspace::on_selectLine()
{
    ui->te_SyntaxEditor->selectLine();
}
void Workspace::on_indent()
{
    ui->te_SyntaxEditor->addIndent();
}
void Workspace::on_unindent()
{
    ui->te_SyntaxEditor->unIndent();
}
void Workspace::on_comment()
{
    ui->te_SyntaxEditor->comment();
}
void Workspace::on_duplicate()
{
    ui->te_SyntaxEditor->duplicateSelection();
}
void Workspace::on_zoomIn()
{
    ui->te_SyntaxEditor->zoomIn();
}
void Workspace::on_zoomOut()
{
    ui->te_SyntaxEditor->zoomOut();
}

void Workspace::on_clear()
{
    // One undo step, unlike QTextEdit::clear(), which would also drop the undo history.
    QTextCursor cursor(ui->te_SyntaxEditor->document());
    cursor.select(QTextCursor::Document);
    cursor.removeSelectedText();
}

void Workspace::on_find()
{
    ui->actionFind_Replace->setChecked(true);
    on_actionFind_Replace_triggered(true);
}

void Workspace::on_actionFind_Replace_triggered(bool vChecked)
{
    ui->actionFind_Replace->setChecked(vChecked);
    ui->finder->setVisible(vChecked);
    if (!vChecked)
        ui->te_SyntaxEditor->setFocus();
}

void Workspace::on_actionNew_triggered()
{
    on_new();
}
void Workspace::on_actionSave_triggered()
{
    on_save(false);
}
void Workspace::on_actionSaveAs_triggered()
{
    on_save(true);
}
void Workspace::on_actionClose_triggered()
{
    on_close();
}
void Workspace::on_actionSelect_All_triggered()
{
    on_selectAll();
}
void Workspace::on_actionCut_triggered()
{
    on_cut();
}
void Workspace::on_actionCopy_triggered()
{
    on_copy();
}
void Workspace::on_actionPaste_triggered()
{
    on_paste();
}
void Workspace::on_actionUndo_triggered()
{
    on_undo();
}
void Workspace::on_actionRedo_triggered()
{
    on_redo();
}
void Workspace::on_actionClear_triggered()
{
    on_clear();
}

void Workspace::on_actionOpen_triggered()
{
    // A chooser of its own: a cancelled dialog must not cost this document its file name.
    FileHandling chooser;
    chooser.clear();
    chooser.setOpenDialog(tr("Select Syntax File to Open"), FileTypes::openPatterns());
    bool chosen = false;
    const QString path = chooser.openWithDialog(chosen);
    if (chosen && maybeSave(true))
        on_open(path);
}

// --- Settings and layout -----------------------------------------------------------------

void Workspace::setOutLogFont()
{
    ui->te_Out->setFont(CSettings::instance().outputFont());
}

void Workspace::applyPlotDefaults()
{
    ui->actionAuto_plot->setChecked(
        CSettings::instance().plotSettings().value(QStringLiteral("autoPlot"), true).toBool());
}

void Workspace::update_orientation()
{
    const bool vertical = CSettings::instance().verticalLayout();
    if (m_orientationApplied && vertical == m_verticalLayout)
        return;
    m_orientationApplied = true;
    m_verticalLayout = vertical;
    const bool graphShown = ui->actionPlot->isChecked();
    if (vertical) {
        qDebug("Vertical");
        addDockWidget(Qt::BottomDockWidgetArea, ui->dockOut);
        splitDockWidget(ui->dockOut, ui->dockGraph, Qt::Horizontal);
        resizeDocks({ui->dockOut}, {qMax(120, height() * 2 / 5)}, Qt::Vertical);
    } else {
        qDebug("Horizontal");
        addDockWidget(Qt::RightDockWidgetArea, ui->dockOut);
        splitDockWidget(ui->dockOut, ui->dockGraph, Qt::Vertical);
        resizeDocks({ui->dockOut}, {qMax(200, width() / 2)}, Qt::Horizontal);
    }
    ui->dockOut->setVisible(ui->actionOutput->isChecked());
    ui->dockGraph->setVisible(graphShown);
}

void Workspace::resizeEvent(QResizeEvent *vEvent)
{
    QMainWindow::resizeEvent(vEvent);
    // Beside the script, the output (100 columns of it) and the plots keep at least half the
    // width, however large the window grows.
    if (!m_verticalLayout && !ui->dockOut->isHidden() && ui->dockOut->width() < width() / 2)
        resizeDocks({ui->dockOut}, {width() / 2}, Qt::Horizontal);
}

bool Workspace::eventFilter(QObject *vWatched, QEvent *vEvent)
{
    // Closing a dock by its own button unchecks the action that shows it.
    if (vEvent->type() == QEvent::Close) {
        if (vWatched == ui->dockOut)
            ui->actionOutput->setChecked(false);
        else if (vWatched == ui->dockGraph)
            ui->actionPlot->setChecked(false);
    }
    return QMainWindow::eventFilter(vWatched, vEvent);
}

// --- The run -----------------------------------------------------------------------------

void Workspace::on_run()
{
    if (isRunning() || !maybeSave(false))
        return;
    // A "#!" line may name any program: one that is not a configured engine starts only with the
    // user's consent, asked before anything of the last run is cleared. Refused, the document
    // stays idle.
    const QString engine = PlotRequests::scriptEngine(ui->te_SyntaxEditor->toPlainText(),
                                                      CSettings::instance().commandLineToolName());
    if (ui->te_SyntaxEditor->syntaxMode() != SyntaxMode::Mplus
        && !EngineConsent::granted(this, m_file->fileName(), engine)) {
        Q_EMIT stateChanged();
        return;
    }
    ui->te_Out->setText(QStringLiteral("\n"));
    setOutLogFont();
    m_scriptPath = m_file->fileName();
    m_outputSaving.waitForFinished();
    m_outputBefore = fileStamp(outputPath());
    m_stoppedByUser = false;
    m_fullOutput.clear();
    if (ui->te_SyntaxEditor->syntaxMode() == SyntaxMode::Mplus) {
        m_lastRunMplus = true;
        m_runWatch->expectUnknown();
        m_runner->runMplus(m_scriptPath, outputPath());
        return;
    }
    m_lastRunMplus = false;
    renewTemporaryFolder();
    evaluatePlotRequests();
    m_runWatch->expectScript(ui->te_SyntaxEditor->toPlainText());
    if (m_tempDir->isValid())
        m_runner->run(m_executable, m_scriptPath, outputPath(), m_tempDir->path());
    else
        m_runner->run(m_executable, m_scriptPath, outputPath());
}

void Workspace::renewTemporaryFolder()
{
    // The panel and a plotting still under way read the old folder: let go of it first.
    delete m_graphing;
    endPlotting();
    m_graphPanel->clearPlots();
    if (m_convergence)
        m_convergence->clear();
    m_plotsAvailable = false;
    m_plotsMade = false;
    setPlotControlsEnabled(false);
    m_tempDir = std::make_unique<QTemporaryDir>(QDir::tempPath()
                                                + QStringLiteral("/tovrel-studio-XXXXXX"));
}

void Workspace::evaluatePlotRequests()
{
    // Fresh for every run: the requests start from the settings and the auto-plot choice of now.
    PlotRequests requests(CSettings::instance().commandLineToolName(),
                          ui->actionAuto_plot->isChecked());
    requests.evaluate(ui->te_SyntaxEditor->toPlainText(), this);
    m_burnIn = PlotRequests::runLength(ui->te_SyntaxEditor->toPlainText()).burn;
    m_executable = requests.enginePath();
    m_autoPlot = requests.plotThisRun();
    m_requestedChains = requests.requestedChains();
}

void Workspace::processStarted()
{
    qDebug("Started");
    m_running = true;
    ui->actionRun->setEnabled(false);
    ui->actionStop->setEnabled(true);
    delete m_spinner;
    // The pane stays enabled: the user scrolls the output while it streams.
    m_spinner = new WaitingSpinnerWidget(ui->te_Out, true, false);
    configureSpinner(m_spinner, 5, 2, 3, 1.5);
    if (palette().color(QPalette::Window).lightnessF() <= 0.5)
        m_spinner->setColor(QColor(QStringLiteral("white")));
    m_spinner->start();
    m_runWatch->start();
}

void Workspace::processSendOut(const QString &vData)
{
    if (!ui->actionOutput->isChecked())
        ui->actionOutput->setChecked(true);
    Q_EMIT output_receieved();
    ui->te_Out->appendText(vData);
    m_runWatch->feed(vData);
}

void Workspace::processSendErr(const QString &vData)
{
    qDebug("%s", qUtf8Printable(vData));
    if (m_running) {
        // The engine's own warnings belong with its output, where they happened; the run goes on.
        processSendOut(vData);
        return;
    }
    // The runner refused to start: its reason replaces the output.
    ui->te_Out->setText(QStringLiteral("\nTovrel Studio:\n\n") + vData);
    ui->actionRun->setEnabled(true);
    ui->actionStop->setEnabled(false);
    Q_EMIT process_finished();
}

void Workspace::processFinished(int exitCode)
{
    m_running = false;
    ui->actionRun->setEnabled(true);
    ui->actionStop->setEnabled(false);
    qDebug("Finished(%d)", exitCode);
    delete m_spinner;
    m_runWatch->finish(false);

    const bool failed = exitCode != 0 || m_runner->process()->exitStatus() == QProcess::CrashExit;
    m_fullOutput = ui->te_Out->utf8Text();
    // Only a file this run wrote is its output: one left by an earlier run would show old
    // results as new.
    bool hadFile = fileStamp(outputPath()) != m_outputBefore;
    const QString fileText = hadFile ? readText(outputPath(), &hadFile) : QString();
    // After a failure the stream follows the engine's own file; without a file the pane
    // already holds the stream, once.
    if (hadFile)
        ui->te_Out->setText(failed ? fileText + iterationHistory() : fileText);
    if (failed || !hadFile)
        saveOutput(ui->te_Out->utf8Text());

    if (failed || m_lastRunMplus) {
        m_plotsAvailable = false;
        setPlotControlsEnabled(false);
        ui->actionPlot->setChecked(false);
        Q_EMIT disable_plot();
    } else if (m_tempDir && m_tempDir->isValid()) {
        m_plotsAvailable
            = QFileInfo::exists(m_tempDir->filePath(kChainFileBase + QStringLiteral("1.csv")));
        setPlotControlsEnabled(m_plotsAvailable);
        checkConvergence();
        if (m_autoPlot || ui->actionPlot->isChecked())
            makePlots();
    }
    Q_EMIT process_finished();
}

void Workspace::saveOutput(const QByteArray &vText)
{
    const QString path = outputPath();
    if (path.isEmpty())
        return;
    // Written on the side: copying tens of megabytes into the file system held the window still
    // for a quarter of a second at the end of a 100 MB run. Whatever reads or replaces the file
    // next waits for it (a new run, closing).
    m_outputSaving.waitForFinished();
    m_outputSaving = QtConcurrent::run([path, vText] {
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
            return false;
        file.write(vText);
        return file.commit();
    });
}

void Workspace::on_stop()
{
    if (m_running) {
        m_stoppedByUser = true;
        m_runWatch->finish(true);
        m_runner->stop();
        ui->te_Out->appendText(QStringLiteral("\n\nTovrel stopped by user."));
    }
    if (isPlotting()) {
        delete m_graphing;
        endPlotting();
    }
}

void Workspace::processErrorOccured(QProcess::ProcessError error)
{
    if (m_stoppedByUser) {
        m_stoppedByUser = false;
        return;
    }
    if (error == QProcess::FailedToStart) {
        // No end of the run will follow a program that never started.
        m_running = false;
        ui->actionRun->setEnabled(true);
        ui->actionStop->setEnabled(false);
        delete m_spinner;
        m_runWatch->finish(true);
        Q_EMIT process_finished();
    }
    // After the run's end has been handled, so the document is idle while the box waits.
    QTimer::singleShot(0, this, [this] {
        QMessageBox box(QMessageBox::Critical, tr("Error!"),
                        tr("Tovrel had an unexpected crash.\n Please contact Tovrel support."),
                        QMessageBox::Ok, this);
        box.addButton(tr("Contact Support"), QMessageBox::ActionRole);
        box.exec();
        if (box.clickedButton() != box.button(QMessageBox::Ok))
            QDesktopServices::openUrl(QUrl(kSupportMail));
    });
}

// --- Plots -------------------------------------------------------------------------------

void Workspace::on_output(bool checked)
{
    ui->actionOutput->setChecked(checked);
}

void Workspace::on_plot(bool checked)
{
    ui->actionPlot->setChecked(checked);
    // Plots not made at the end of the run are made when the pane is first shown.
    if (checked && !m_plotsMade)
        makePlots();
}

void Workspace::on_autoPlot(bool checked)
{
    ui->actionAuto_plot->setChecked(checked);
}

void Workspace::makePlots()
{
    if (!m_plotsAvailable || !m_tempDir || isPlotting())
        return;
    delete m_graphing;
    m_graphPanel->clearPlots();
    m_graphing = new GraphingEngine(this, m_tempDir->path());
    connect(m_graphing, &GraphingEngine::did_finish, this, &Workspace::graphs_finished);
    connect(m_graphing, &GraphingEngine::did_ready, this, &Workspace::plotsArrived);
    m_graphing->setBurnIn(m_burnIn);
    connect(m_graphing, &GraphingEngine::did_sendErr, this, [this](const QString &vMessage) {
        if (!isPlotting())
            endPlotting();
        QTimer::singleShot(
            0, this, [this, vMessage] { QMessageBox::warning(this, tr("Warning"), vMessage); });
    });
    m_graphPanel->setBusy(true);
    delete m_plotSpinner;
    m_plotSpinner = new WaitingSpinnerWidget(ui->graphArea, true, true);
    configureSpinner(m_plotSpinner, 10, 5, 10, 2.0);
    m_plotSpinner->start();
    const int accepted = m_graphing->plot(kChainFileBase, m_requestedChains, m_plotSettings);
    // No end is reported when the request is refused or there is nothing to plot.
    if (!accepted || m_graphing->scripts().isEmpty() || !m_graphing->isBusy()) {
        delete m_graphing;
        endPlotting();
        return;
    }
    Q_EMIT stateChanged();
}

void Workspace::endPlotting()
{
    // Stopped before it goes: only stopping gives the graph area back its input.
    if (m_plotSpinner)
        m_plotSpinner->stop();
    delete m_plotSpinner;
    m_graphPanel->setBusy(false);
    m_graphPanel->stopArriving();
    Q_EMIT stateChanged();
}

void Workspace::plotsArrived(int vReady, int vTotal)
{
    if (!m_tempDir || vReady < 1)
        return;
    if (m_graphPanel->isDrawing() || m_graphPanel->pageCount() > 0) {
        m_graphPanel->plotsArrived(vReady, vTotal);
        return;
    }
    // The first plot is shown at once; the spinner has done its job.
    if (m_plotSpinner)
        m_plotSpinner->stop();
    delete m_plotSpinner;
    m_graphPanel->showArrivingPlots(m_tempDir->path(), vReady, vTotal);
    m_graphPanel->setImageSize(m_plotSettings->width(), m_plotSettings->height());
    revealGraphDock();
}

void Workspace::graphs_finished()
{
    endPlotting();
    if (!m_tempDir)
        return;
    m_plotsMade = true;
    // Plots shown as they arrived stay on the page the user turned to.
    if (m_graphPanel->pageCount() == 0)
        m_graphPanel->showPlots(m_tempDir->path());
    m_graphPanel->setImageSize(m_plotSettings->width(), m_plotSettings->height());
    revealGraphDock();
    Q_EMIT graphs_done(this);
}

void Workspace::revealGraphDock()
{
    if (!ui->actionPlot->isChecked()) {
        ui->actionPlot->setChecked(true);
        // A plot wants as much room as the output beside (or under) it.
        const Qt::Orientation along = m_verticalLayout ? Qt::Horizontal : Qt::Vertical;
        const int room = m_verticalLayout ? ui->dockOut->width() : ui->dockOut->height();
        resizeDocks({ui->dockOut, ui->dockGraph}, {room / 2, room / 2}, along);
    }
}

void Workspace::setPlotControlsEnabled(bool vEnabled)
{
    for (QAction *action :
         {ui->actionNext, ui->actionPrevious, ui->actionGo_to, ui->actionSave_Cur_Plot,
          ui->actionSave_All_Plots, ui->actionPlot_Popout, ui->actionPlotSettings})
        action->setEnabled(vEnabled);
    m_graphPanel->setEnabled(vEnabled);
}

void Workspace::on_tb_save_plot_clicked()
{
    m_graphPanel->on_tb_save_plot_clicked();
}
void Workspace::on_tb_saveAll_plot_clicked()
{
    m_graphPanel->on_tb_saveAll_plot_clicked();
}
void Workspace::on_tb_left_clicked()
{
    m_graphPanel->on_tb_left_clicked();
}
void Workspace::on_tb_right_clicked()
{
    m_graphPanel->on_tb_right_clicked();
}
void Workspace::on_tb_popout_clicked()
{
    m_graphPanel->on_tb_popout_clicked();
}
void Workspace::on_actionGo_to_triggered()
{
    m_graphPanel->on_actionGo_to_triggered();
}

void Workspace::on_tb_settings_plot_clicked()
{
    m_plotSettings->show();
    m_plotSettings->raise();
    m_plotSettings->activateWindow();
}

// --- Convergence -------------------------------------------------------------------------

void Workspace::setUpConvergence()
{
    m_convergenceDock = new QDockWidget(tr("Convergence"), this);
    m_convergenceDock->setObjectName(QStringLiteral("dockConvergence"));
    // A tab beside the output, so the plots it pages stay in sight.
    tabifyDockWidget(ui->dockOut, m_convergenceDock);
    ui->dockOut->raise();
    m_convergenceDock->hide();
    // Its panel is made when first wanted: most documents open without ever being run.
    connect(m_convergenceDock, &QDockWidget::visibilityChanged, this, [this](bool vVisible) {
        if (vVisible)
            convergencePanel();
    });
}

WConvergencePanel *Workspace::convergencePanel()
{
    if (m_convergence)
        return m_convergence;
    m_convergence = new WConvergencePanel(m_convergenceDock);
    m_convergenceDock->setWidget(m_convergence);
    connect(m_convergence, &WConvergencePanel::do_showParameter, this, [this](int vIndex) {
        on_plot(true);
        m_graphPanel->showPage(vIndex);
    });
    connect(m_convergence, &WConvergencePanel::did_fill, this, [this](bool vOk) {
        // Parameters that fail come to the front at once; a clean run stays behind the output.
        if (vOk && m_convergence->hasFlagged())
            m_convergenceDock->raise();
    });
    return m_convergence;
}

void Workspace::checkConvergence()
{
    if (!m_plotsAvailable)
        return;
    const PlotRequests::RunLength length
        = PlotRequests::runLength(ui->te_SyntaxEditor->toPlainText());
    convergencePanel()->start(
        m_tempDir->path(), length.chains, length.burn, length.iterations,
        ParameterLabels::read(m_tempDir->filePath(QStringLiteral("labels.dat"))));
    m_convergenceDock->show();
}
