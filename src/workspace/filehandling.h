#ifndef FILEHANDLING_H
#define FILEHANDLING_H

#include <QChar>
#include <QDateTime>
#include <QObject>
#include <QString>
#include <QStringList>

class QFileInfo;

// Opens, reads and saves the text file of one document (or of the data-import screen): keeps the
// file name, its lines and the folder the next dialog starts in, and remembers the folders chosen
// in the dialogs. Also holds the two checks the data importer runs on a data file.
class FileHandling : public QObject
{
    Q_OBJECT
public:
    explicit FileHandling(QObject *parent = nullptr);

    void clear();
    // With vReport set, an invalid handler also tells the user.
    bool isValid(bool vReport);
    bool hasFileName() const;
    QFileInfo fileInfo() const;
    QString fileName() const { return m_fileName; }
    QStringList lines() const { return m_lines; }
    QString folder() const { return m_folder; }

    bool open(const QString &vPath);
    bool openDialog();
    QString openWithDialog(bool &vOk);
    bool read();
    void setLines(const QString &vText);
    bool save(const QString &vText);
    bool saveAs(const QString &vText, const QString &vSuggestedName);
    bool saveAsText(const QString &vText);
    bool saveAsText(const QString &vSuggestedName, const QString &vText);
    bool isExample() const;
    // True when the file on disk is no longer the one last read or saved here: another program
    // rewrote it (a file deleted meanwhile is not "changed": saving only puts it back).
    bool changedOnDisk() const;
    // Why the last save failed, for the user.
    QString saveError() const { return m_saveError; }

    QString headerLine(bool &vFound) const;
    bool checkSeparator();
    bool removeFirstLine();
    QChar separator() const { return m_separator; }

    // Dialog texts, exposed so a test can check what the user is shown.
    QString openCaption() const { return m_openCaption; }
    QString saveCaption() const { return m_saveCaption; }
    QString filter() const;
    // The open dialog's caption and file patterns, for an owner that asks for other files.
    void setOpenDialog(const QString &vCaption, const QString &vPatterns);

Q_SIGNALS:
    void did_open();
    void did_read();
    void did_save();

private:
    // Shows a save dialog and, once a name is chosen, makes it the current file and saves there.
    bool saveWithDialog(const QString &vText, const QString &vFilter, const QString &vStartName);
    QString startPath(const QString &vName) const;
    void rememberStamp();

    QChar m_lineBreak = QLatin1Char('\n');
    QStringList m_lines;
    bool m_valid = false;
    QString m_fileName;
    QChar m_separator = QChar(0);
    QString m_openCaption;
    QString m_saveCaption;
    QString m_patterns = QStringLiteral("*.dat *.csv *.data *.txt *.tovrel-out *.inp *.out *imp");
    QString m_filterTemplate;
    QString m_folder;
    // Modification time and size of the file as last read or saved.
    QDateTime m_stampTime;
    qint64 m_stampSize = -1;
    QString m_saveError;
};

#endif // FILEHANDLING_H
