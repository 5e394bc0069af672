#ifndef PROCESSHANDLING_H
#define PROCESSHANDLING_H

#include <QObject>
#include <QProcess>
#include <QStringDecoder>
#include <QStringList>

#include <optional>

class QDir;
class QString;

// Runs the engine (or Mplus) for one document as a child process and relays what it writes, as
// text, and when it starts, finishes or fails.
class ProcessHandling : public QObject
{
    Q_OBJECT
public:
    explicit ProcessHandling(QObject *parent = nullptr);
    ~ProcessHandling() override;

    // Each run returns false, after reporting the reason through did_sendErr, when a check fails;
    // a process that then fails to start reports through did_errorOccur. The forms without an
    // executable run the engine chosen in the settings; the trace-plot folder is a QDir so those
    // forms cannot be confused with the ones naming the executable.
    bool run(const QString &vExecutable, const QString &vScriptPath, const QString &vOutputPath);
    bool run(const QString &vExecutable, const QString &vScriptPath, const QString &vOutputPath,
             const QString &vTracePlotFolder);
    bool run(const QString &vScriptPath, const QString &vOutputPath);
    bool run(const QString &vScriptPath, const QString &vOutputPath, const QDir &vTracePlotFolder);
    bool runMplus(const QString &vInputPath, const QString &vOutputPath);
    // Kills the process at once; it then reports finished (and a crash) as usual.
    void stop();
    QProcess *process() const { return m_process; }

    // The engine's argument list: the first element equal to vKeyword (case-sensitive) becomes
    // the script path, then the output and, with a folder, the trace-plot options follow.
    // Nothing when the keyword is not among the parameters.
    static std::optional<QStringList>
    engineArguments(const QStringList &vParams, const QString &vKeyword, const QString &vScriptPath,
                    const QString &vOutputPath, const QString &vTracePlotFolder = QString());

Q_SIGNALS:
    void did_start();
    void did_sendOut(const QString &vData);
    void did_sendErr(const QString &vData);
    void did_finish(int exitCode);
    void did_errorOccur(QProcess::ProcessError error);

public Q_SLOTS:
    void started();
    void sendOut();
    void sendErr();
    void sendErr(const QString &vMessage);
    void finished(int exitCode);
    void errorOccured(QProcess::ProcessError error);

private:
    bool runEngine(const QString &vExecutable, const QString &vScriptPath,
                   const QString &vOutputPath, const QString &vTracePlotFolder);
    void start(const QString &vProgram, const QStringList &vArguments);

    QProcess *m_process = nullptr;
    // One decoder per stream keeps a character split across two reads whole.
    QStringDecoder m_outDecoder;
    QStringDecoder m_errDecoder;
};

#endif // PROCESSHANDLING_H
