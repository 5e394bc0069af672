#ifndef CIMPORT_H
#define CIMPORT_H

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

class DataInspector;
class MDataTable;
class QTimer;
class QWidget;

// Takes a data file from choice to script: inspects it (the first rows at once, the rest in
// steps from the event loop), keeps the variable names and the missing-value code, checks that
// the engine can read the data, and hands the file, the names and the code on through do_import.
// The user's file is never changed: when it starts with a header line the engine gets a copy
// without it, written beside the original.
class CImport : public QObject
{
    Q_OBJECT
public:
    explicit CImport(QObject *parent = nullptr);
    ~CImport() override;

    MDataTable *model() const { return m_model; }
    const DataInspector *inspector() const { return m_inspector.get(); }
    QString fileName() const;

    // Starts inspecting vPath; false when not even its first lines can be read (see problem()).
    bool open(const QString &vPath);
    // Reads the rest of the file now instead of from the event loop.
    void finishScan();
    bool scanning() const;

    bool header() const { return m_header; }
    void setHeader(bool vHeader);
    QString missingCode() const { return m_missingCode; }
    void setMissingCode(const QString &vCode);
    // An empty text when vNames (one per column) were taken, otherwise why not.
    QString setNames(const QStringList &vNames);
    // Why vName cannot name column vColumn (0-based), or an empty text.
    QString checkName(int vColumn, const QString &vName) const;

    // The first thing that keeps the data from being imported, naming its line; empty when
    // none. Also empty while the scan runs and nothing is wrong yet.
    QString problem() const;
    // Where the header-free copy of vPath goes: beside it, named so that it says what it is.
    static QString headerFreeName(const QString &vPath);

    // Checks everything, asks about the header, writes the header-free copy when needed and
    // emits do_import. Message boxes get vParent; false when nothing was handed on.
    bool createScript(QWidget *vParent);

Q_SIGNALS:
    void did_open();
    void did_scan(int vPercent);
    void did_finish();
    void do_import(QString vDataFileName, QString vDataHeaders, QString vMissingValue);

private:
    void scanStep();
    QString namesProblem() const;
    QString unchangedProblem() const;
    bool writeHeaderFree(const QString &vTarget, QString *vError) const;

    std::unique_ptr<DataInspector> m_inspector;
    MDataTable *m_model;
    QTimer *m_timer;
    bool m_header = false;
    QString m_missingCode;
    QString m_openError;
    qint64 m_size = 0;
    QDateTime m_modified;
};

#endif // CIMPORT_H
