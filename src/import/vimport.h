#ifndef VIMPORT_H
#define VIMPORT_H

#include <QString>
#include <QWidget>

class CImport;
class FileHandling;
class QCheckBox;
class QComboBox;
class QFileSystemWatcher;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;

// The import window: choose a data file, look at it as a table, name the variables (from the
// header line, or by double-clicking a column heading), pick the missing-value code and create
// a script for the data. The window stays responsive while a large file is still being checked.
class VImport : public QWidget
{
    Q_OBJECT
public:
    explicit VImport(QWidget *parent = nullptr);

    CImport *controller() const { return m_control; }
    QTableView *table() const { return m_table; }
    // Opens vPath as the data file; false, with the reason shown, when it cannot be read.
    bool openFile(const QString &vPath);

Q_SIGNALS:
    void do_import(QString vDataFileName, QString vDataHeaders, QString vMissingValue);

public Q_SLOTS:
    void on_browse();
    void on_createScript();
    void renameColumn(int vColumn);

private:
    void showFile();
    void showNames();
    void showStatus();
    QString namesSeparator() const;

    CImport *m_control;
    FileHandling *m_chooser;
    QFileSystemWatcher *m_watcher;
    QLineEdit *m_fileField;
    QCheckBox *m_header;
    QLabel *m_separator;
    QComboBox *m_missing;
    QLineEdit *m_names;
    QTableView *m_table;
    QLabel *m_status;
    QPushButton *m_create;
};

#endif // VIMPORT_H
