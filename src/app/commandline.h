#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include <QString>
#include <QStringList>

// What the command line asks of the studio. Read before the application object exists, so that
// "--help" and "--version" answer without a display, a window or the user's settings.
class CommandLine
{
public:
    enum class Request { Start, Help, Version };

    // vArguments as the process got them, the program path first.
    explicit CommandLine(const QStringList &vArguments);
    static QStringList fromArgv(int argc, char **argv);

    Request request() const { return m_request; }
    // What to print for Help or Version.
    QString answer() const;

    static QString helpText(const QString &vProgram);
    static QString versionText();

private:
    Request m_request = Request::Start;
    QString m_program;
};

#endif // COMMANDLINE_H
