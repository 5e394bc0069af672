#include "commandline.h"

#include <QFileInfo>
#include <QtGlobal>

CommandLine::CommandLine(const QStringList &vArguments)
{
    m_program = vArguments.isEmpty() ? QStringLiteral("tovrel-studio")
                                     : QFileInfo(vArguments.first()).fileName();
    // Anything else, including Qt's own options, is left to the application; a file to open is
    // still only the first argument.
    for (const QString &argument : vArguments.mid(1)) {
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            m_request = Request::Help;
            return;
        }
        if (argument == QLatin1String("--version")) {
            m_request = Request::Version;
            return;
        }
    }
}

QStringList CommandLine::fromArgv(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

QString CommandLine::answer() const
{
    switch (m_request) {
    case Request::Help:
        return helpText(m_program);
    case Request::Version:
        return versionText();
    case Request::Start:
        break;
    }
    return {};
}

QString CommandLine::helpText(const QString &vProgram)
{
    return QStringLiteral(
               "Usage: %1 [FILE]\n"
               "\n"
               "Tovrel Studio: write scripts for the Tovrel computational engine, run them, and\n"
               "inspect their output and trace plots.\n"
               "\n"
               "FILE is an engine script (.imp) to open; an engine output file (.tovrel-out)\n"
               "opens the script it was made from.\n"
               "\n"
               "Options:\n"
               "  -h, --help     Show this help and exit.\n"
               "  --version      Show the version and exit.\n"
               "\n"
               "The engine (tovrel), the examples (User Guide Examples) and the user guide are\n"
               "looked for beside the program; gnuplot beside it, then on PATH.\n")
        .arg(vProgram);
}

QString CommandLine::versionText()
{
    return QStringLiteral("Tovrel Studio %1.%2.%3\nBuilt with Qt %4, running on Qt %5\n")
        .arg(TOVREL_VERSION_MAJOR)
        .arg(TOVREL_VERSION_MINOR)
        .arg(TOVREL_VERSION_PATCH)
        .arg(QStringLiteral(QT_VERSION_STR), QString::fromLatin1(qVersion()));
}
