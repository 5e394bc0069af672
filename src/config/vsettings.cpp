#include "vsettings.h"

#include "csettings.h"
#include "msettings.h"
#include "plotdefaults.h"
#include "ui_vsettings.h"
#include "wtrustedprograms.h"

#include <QFileDialog>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QLineEdit>
#include <QMessageBox>

namespace {

const QString kOutputExampleResource = QStringLiteral(":/strings/sOutputExample");

// The "Default Save Type" entries, in the order the "dType" setting indexes them.
const QStringList kSaveTypes {QStringLiteral("PDF (.pdf)"), QStringLiteral("PNG (.png)"),
                              QStringLiteral("JPG (.jpg)"), QStringLiteral("SVG (.svg)")};

QFont fontOf(const QComboBox *vName, const QSpinBox *vSize)
{
    QFont font(vName->currentText());
    font.setPointSize(vSize->value());
    return font;
}

// A yes/no choice shown as a two-entry combo box: the first entry stands for true.
void fillChoice(QComboBox *vBox, const QString &vOn, const QString &vOff)
{
    vBox->clear();
    vBox->addItems({vOn, vOff});
}
void setChoice(QComboBox *vBox, bool vOn)
{
    vBox->setCurrentIndex(vOn ? 0 : 1);
}
bool choice(const QComboBox *vBox)
{
    return vBox->currentIndex() == 0;
}

// Command words offered by the import page: the engine's keywords, the stored word first.
void fillCommand(QComboBox *vBox, const QStringList &vKeywords, const QString &vCurrent)
{
    vBox->clear();
    vBox->addItems(vKeywords);
    vBox->setCurrentText(vCurrent);
}

} // namespace

VSettings::VSettings(QWidget *parent)
    : QDialog(parent)
    , ui(new Ui::USetting)
{
    ui->setupUi(this);
    m_importPageShown = CSettings::instance().store().importSettingsEnabled();
    ui->splitter->setStretchFactor(1, 1);

    const QStringList families = QFontDatabase::families();
    for (QComboBox *box : {ui->cmbApplicationFontName, ui->cmbSyntaxEditorFontName,
                           ui->cmbSyntaxEditorOutLogFontName})
        box->addItems(families);
    fillChoice(ui->cb_auto, tr("Yes"), tr("No"));
    ui->cb_type->addItems(kSaveTypes);
    fillChoice(ui->cb_opengl, tr("Enabled"), tr("Disabled"));
    ui->teSyntaxEditorOutLogFontExample->setPlainText(
        MSettings::resourceText(kOutputExampleResource));

    connect(ui->cmbSyntaxEditorFontName, &QComboBox::currentTextChanged, this,
            &VSettings::setSyntaxEditorExampleFont);
    connect(ui->spbSyntaxEditorFontSize, &QSpinBox::valueChanged, this,
            &VSettings::setSyntaxEditorExampleFont);
    connect(ui->cmbSyntaxEditorOutLogFontName, &QComboBox::currentTextChanged, this,
            &VSettings::setSyntaxEditorExampleOutLogFont);
    connect(ui->spbSyntaxEditorOutLogFontSize, &QSpinBox::valueChanged, this,
            &VSettings::setSyntaxEditorExampleOutLogFont);
    connect(&CSettings::instance(), &CSettings::notifyTovrelCheckFailed, this,
            &VSettings::on_notifyTovrelCheckFailed);

    // Programs scripts may start, on the engine page below the engine's own settings.
    m_trustedPrograms = new WTrustedPrograms(ui->pageTovrel);
    ui->pageTovrelLayout->insertWidget(ui->pageTovrelLayout->indexOf(ui->lw_ToolParams) + 1,
                                       m_trustedPrograms);

    buildCategories();
    loadSettings();
}

VSettings::~VSettings()
{
    delete ui;
}

int VSettings::currentPage() const
{
    return ui->stackedSettings->currentIndex();
}

void VSettings::buildCategories()
{
    m_pageOfTitle = {{QStringLiteral("Plot Settings"), PlotPage},
                     {QStringLiteral("Computational Engine"), EnginePage},
                     {QStringLiteral("Import Data Settings"), ImportDataPage},
                     {QStringLiteral("General Settings"), GeneralPage},
                     {QStringLiteral("Syntax Window"), SyntaxPage},
                     {QStringLiteral("Output Window"), OutputPage},
                     {QStringLiteral("Misc Settings"), MiscPage}};
    QStringList titles {QStringLiteral("General Settings"), QStringLiteral("Syntax Window"),
                        QStringLiteral("Output Window"),    QStringLiteral("Computational Engine"),
                        QStringLiteral("Plot Settings"),    QStringLiteral("Misc Settings")};
    if (m_importPageShown)
        titles.insert(titles.size() - 1, QStringLiteral("Import Data Settings"));
    for (const QString &title : titles)
        new QTreeWidgetItem(ui->tw_Category, {title});
    ui->tw_Category->expandAll();
    ui->tw_Category->setCurrentItem(ui->tw_Category->topLevelItem(0));
}

void VSettings::showPage(int vPage)
{
    const QString title = m_pageOfTitle.key(vPage);
    const QList<QTreeWidgetItem *> items = ui->tw_Category->findItems(title, Qt::MatchExactly);
    if (!items.isEmpty())
        ui->tw_Category->setCurrentItem(items.first()); // switches the stack as well
    ui->stackedSettings->setCurrentIndex(vPage);
}

void VSettings::on_tw_Category_currentItemChanged(QTreeWidgetItem *current, QTreeWidgetItem *)
{
    if (current && m_pageOfTitle.contains(current->text(0)))
        ui->stackedSettings->setCurrentIndex(m_pageOfTitle.value(current->text(0)));
}

void VSettings::setFontChoice(QComboBox *vName, QSpinBox *vSize, const QFont &vFont)
{
    // A stored family this system lacks stays what the user chose rather than a substitute.
    if (vName->findText(vFont.family()) < 0)
        vName->insertItem(0, vFont.family());
    vName->setCurrentText(vFont.family());
    vSize->setValue(vFont.pointSize());
}

void VSettings::setSyntaxEditorExampleFont()
{
    ui->teSyntaxEditorDefaultContent->setFont(
        fontOf(ui->cmbSyntaxEditorFontName, ui->spbSyntaxEditorFontSize));
}

void VSettings::setSyntaxEditorExampleOutLogFont()
{
    ui->teSyntaxEditorOutLogFontExample->setFont(
        fontOf(ui->cmbSyntaxEditorOutLogFontName, ui->spbSyntaxEditorOutLogFontSize));
}

void VSettings::loadSettings()
{
    const CSettings &settings = CSettings::instance();
    loadEngine();
    ui->leCommandsFileKeyword->setText(settings.commandsFileKeyword());
    ui->lw_ToolParams->setItems(settings.commandLineToolParams());
    m_trustedPrograms->load();

    ui->radioButton_Vert->setChecked(settings.verticalLayout());
    ui->radioButton_Horz->setChecked(!settings.verticalLayout());
    ui->darkButton->setChecked(settings.darkModeSet());
    ui->lightButton->setChecked(!settings.darkModeSet());
    QFont applicationFont = QGuiApplication::font();
    CSettings::parseFont(settings.store().applicationFont(), applicationFont);
    setFontChoice(ui->cmbApplicationFontName, ui->spbApplicationFontSize, applicationFont);
    ui->chkAutoUpdate->setChecked(settings.autoCheck());
    ui->chkReopenSession->setChecked(settings.reopenSession());

    setFontChoice(ui->cmbSyntaxEditorFontName, ui->spbSyntaxEditorFontSize, settings.editorFont());
    ui->chkAdvanceHighlight->setChecked(!settings.advanceHighlight());
    ui->teSyntaxEditorDefaultContent->setPlainText(settings.store().defaultCommandSet());
    setSyntaxEditorExampleFont();
    setFontChoice(ui->cmbSyntaxEditorOutLogFontName, ui->spbSyntaxEditorOutLogFontSize,
                  settings.outputFont());
    setSyntaxEditorExampleOutLogFont();

    const QStringList keywords = settings.keywords();
    fillCommand(ui->cbImportDataCommand, keywords, settings.dataCommand());
    fillCommand(ui->cbImportHeaderCommand, keywords, settings.variablesCommand());
    fillCommand(ui->cbImportMissingCommand, keywords, settings.missingCommand());
    ui->leHeadersSeparator->setText(settings.variablesSeparator());
    ui->chkDataHeaderCasesensetive->setChecked(settings.variablesCasesensetive());
    ui->leImportMissingValue->setText(QString::number(settings.missingValue()));
    ui->chkImportMissingAsDefault->setChecked(settings.missingAsDefault());

    loadPlotDefaults();
    ui->dsbRhatThreshold->setValue(settings.rhatThreshold());
    ui->spbEssPerChain->setValue(settings.essPerChainThreshold());
    ui->mplusPath->setText(settings.mplusToolName());
}

void VSettings::loadEngine()
{
    const CSettings &settings = CSettings::instance();
    // The Custom button is wired only once the buttons show the stored choice, so loading never
    // clears or refills the path field by itself.
    disconnect(ui->customButton, &QRadioButton::toggled, this, &VSettings::customToggle);
    ui->baseButton->setEnabled(settings.stableEngineExists());
    ui->previewButton->setEnabled(settings.previewEngineExists());
    if (settings.isStableEngineSelected())
        ui->baseButton->setChecked(true);
    else if (settings.isPreviewEngineSelected())
        ui->previewButton->setChecked(true);
    else
        ui->customButton->setChecked(true);
    connect(ui->customButton, &QRadioButton::toggled, this, &VSettings::customToggle);
    customToggle(ui->customButton->isChecked());
}

void VSettings::loadPlotDefaults()
{
    const QVariantMap plot = CSettings::instance().plotSettings();
    const QStringList keys = PlotDefaults::fieldKeys();
    const QList<QLineEdit *> fields {ui->le_begin, ui->le_end, ui->le_nchain, ui->le_width,
                                     ui->le_height};
    for (int i = 0; i < keys.size(); ++i)
        fields.at(i)->setText(PlotDefaults::display(keys.at(i), plot.value(keys.at(i)).toInt()));
    setChoice(ui->cb_auto, plot.value(QStringLiteral("autoPlot")).toBool());
    const int type = plot.value(QStringLiteral("dType")).toInt();
    ui->cb_type->setCurrentIndex(type >= 0 && type < kSaveTypes.size() ? type : 0);
    setChoice(ui->cb_opengl, plot.value(QStringLiteral("openGl")).toBool());
}

void VSettings::customToggle(bool checked)
{
    ui->le_ToolName->setEnabled(checked);
    ui->tb_Open->setEnabled(checked);
    ui->tb_Reset->setEnabled(checked);
    if (checked)
        ui->le_ToolName->setText(CSettings::instance().commandLineToolName());
    else
        ui->le_ToolName->clear();
}

QString VSettings::chooseExecutable(QWidget *vParent)
{
    return QFileDialog::getOpenFileName(vParent, QStringLiteral("Select File"),
                                        QStringLiteral("/home"), QStringLiteral("Application (*)"))
        .trimmed();
}

void VSettings::on_tb_Open_clicked()
{
    const QString file = chooseExecutable(this);
    if (!file.isEmpty())
        ui->le_ToolName->setText(file);
}

void VSettings::on_tb_mplusPathOpen_clicked()
{
    const QString file = chooseExecutable(this);
    if (!file.isEmpty())
        ui->mplusPath->setText(file);
}

void VSettings::on_tb_Reset_clicked()
{
    CSettings &settings = CSettings::instance();
    settings.checkCommandLineTool(true);
    ui->le_ToolName->setText(settings.commandLineToolName());
}

void VSettings::storeEngine()
{
    CSettings &settings = CSettings::instance();
    if (ui->baseButton->isChecked())
        settings.setCommandLineToolName(CSettings::stableEnginePath());
    else if (ui->previewButton->isChecked())
        settings.setCommandLineToolName(CSettings::previewEnginePath());
    else
        settings.setCommandLineToolName(ui->le_ToolName->text());
    settings.setCommandLineToolParams(ui->lw_ToolParams->items());
    settings.setCommandsFileKeyword(ui->leCommandsFileKeyword->text());
    m_trustedPrograms->store();
}

void VSettings::storeFonts()
{
    CSettings &settings = CSettings::instance();
    settings.setApplicationFont(ui->cmbApplicationFontName->currentText(),
                                ui->spbApplicationFontSize->value());
    settings.setEditorFont(ui->cmbSyntaxEditorFontName->currentText(),
                           ui->spbSyntaxEditorFontSize->value());
    settings.setOutputFont(ui->cmbSyntaxEditorOutLogFontName->currentText(),
                           ui->spbSyntaxEditorOutLogFontSize->value());
    settings.setDefaultCommandSet(ui->teSyntaxEditorDefaultContent->toPlainText());
    settings.setAdvanceHighlight(!ui->chkAdvanceHighlight->isChecked());
}

void VSettings::storeImportSettings()
{
    CSettings &settings = CSettings::instance();
    settings.setDataCommand(ui->cbImportDataCommand->currentText());
    settings.setVariablesCommand(ui->cbImportHeaderCommand->currentText());
    settings.setVariablesSeparator(ui->leHeadersSeparator->text());
    settings.setVariablesCasesensetive(ui->chkDataHeaderCasesensetive->isChecked());
    settings.setMissingCommand(ui->cbImportMissingCommand->currentText());
    // Text that is not a 32-bit integer is stored as 0.
    settings.setMissingValue(ui->leImportMissingValue->text().trimmed().toInt());
    settings.setMissingAsDefault(ui->chkImportMissingAsDefault->isChecked());
}

bool VSettings::storePlotDefaults()
{
    QVariantMap values;
    const QString problem
        = PlotDefaults::check({ui->le_begin->text(), ui->le_end->text(), ui->le_nchain->text(),
                               ui->le_width->text(), ui->le_height->text()},
                              values);
    if (!problem.isEmpty()) {
        QMessageBox::warning(this, QStringLiteral("Error!"), problem, QMessageBox::Ok);
        return false;
    }
    CSettings &settings = CSettings::instance();
    QVariantMap plot = settings.plotSettings();
    for (auto it = values.cbegin(); it != values.cend(); ++it)
        plot.insert(it.key(), it.value());
    plot.insert(QStringLiteral("autoPlot"), choice(ui->cb_auto));
    plot.insert(QStringLiteral("dType"), ui->cb_type->currentIndex());
    plot.insert(QStringLiteral("openGl"), choice(ui->cb_opengl));
    settings.setPlotSettings(plot);
    return true;
}

void VSettings::storeGeneral()
{
    CSettings &settings = CSettings::instance();
    settings.setVerticalLayout(ui->radioButton_Vert->isChecked());
    settings.setMplusToolName(ui->mplusPath->text());
    settings.setAutoCheck(ui->chkAutoUpdate->isChecked());
    settings.setReopenSession(ui->chkReopenSession->isChecked());
    settings.setRhatThreshold(ui->dsbRhatThreshold->value());
    settings.setEssPerChainThreshold(ui->spbEssPerChain->value());
    const bool dark = ui->darkButton->isChecked();
    if (dark == settings.darkModeSet())
        return;
    // The palette is chosen once at start-up, so a change waits for the next one.
    settings.setDarkModeSet(dark);
    QMessageBox::information(this, QStringLiteral("Restart Required."),
                             QStringLiteral("Color settings require restart to take effect."),
                             QMessageBox::Ok);
}

bool VSettings::on_pb_Apply_clicked()
{
    storeEngine();
    storeFonts();
    if (m_importPageShown)
        storeImportSettings();
    const bool valid = storePlotDefaults();
    if (valid)
        storeGeneral();
    Q_EMIT CSettings::instance().do_apply();
    return valid;
}

void VSettings::on_pb_OK_clicked()
{
    if (on_pb_Apply_clicked())
        accept();
}

void VSettings::on_pb_Close_clicked()
{
    reject();
}

void VSettings::reject()
{
    loadSettings();
    QDialog::reject();
}

void VSettings::on_notifyTovrelCheckFailed()
{
    show();
    raise();
    activateWindow();
    showPage(EnginePage);
}
