#ifndef VSETTINGS_H
#define VSETTINGS_H

#include <QDialog>
#include <QMap>

class QComboBox;
class QSpinBox;
class QTreeWidgetItem;
class WTrustedPrograms;

namespace Ui {
class USetting;
}

// The Preferences dialog: a category tree beside a stack of pages. It shows the stored settings,
// checks the default plot settings and writes everything back through the settings controller,
// which then re-applies the settings to every open editor.
class VSettings : public QDialog
{
    Q_OBJECT
public:
    // The stack's pages, in the order the form holds them.
    enum Page {
        PlotPage = 0,
        EnginePage = 1,
        ImportDataPage = 2,
        GeneralPage = 3,
        SyntaxPage = 4,
        OutputPage = 5,
        MiscPage = 6,
    };

    explicit VSettings(QWidget *parent = nullptr);
    ~VSettings() override;

    bool importPageShown() const { return m_importPageShown; }
    int currentPage() const;

Q_SIGNALS:
    void reset_app();

public Q_SLOTS:
    void setSyntaxEditorExampleFont();
    void setSyntaxEditorExampleOutLogFont();
    void on_tw_Category_currentItemChanged(QTreeWidgetItem *current, QTreeWidgetItem *previous);
    void on_tb_Open_clicked();
    void on_tb_mplusPathOpen_clicked();
    // Stores the settings and asks for them to be applied; false when the default plot settings
    // were refused (everything before them has been stored already).
    bool on_pb_Apply_clicked();
    void on_pb_Close_clicked();
    void on_pb_OK_clicked();
    void on_tb_Reset_clicked();
    void customToggle(bool checked);
    void on_notifyTovrelCheckFailed();
    // Closing without OK (Cancel, Esc, the window's close button) discards the edits.
    void reject() override;

private:
    void buildCategories();
    void showPage(int vPage);
    void loadSettings();
    void loadEngine();
    void loadPlotDefaults();
    void storeEngine();
    void storeFonts();
    void storeImportSettings();
    bool storePlotDefaults();
    void storeGeneral();
    static void setFontChoice(QComboBox *vName, QSpinBox *vSize, const QFont &vFont);
    static QString chooseExecutable(QWidget *vParent);

    Ui::USetting *ui;
    QMap<QString, int> m_pageOfTitle;
    bool m_importPageShown = false;
    WTrustedPrograms *m_trustedPrograms = nullptr;
};

#endif // VSETTINGS_H
