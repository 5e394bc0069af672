#include "childprocess.h"

#include "harness.h"

#include <cstdlib>
#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace {

// Single quotes keep blanks and other shell characters inside one argument.
std::string quoted(const std::string &text)
{
    std::string result = "'";
    for (char c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

} // namespace

ChildProcess::Result ChildProcess::run(const std::string &program,
                                       const std::vector<std::string> &arguments)
{
    harness::TempFolder capture;
    std::string command = quoted(program);
    for (const auto &argument : arguments)
        command += " " + quoted(argument);
    command += " >" + quoted((capture / "out").string()) + " 2>"
        + quoted((capture / "err").string()) + " </dev/null";
    const int status = std::system(command.c_str());
    Result result;
#ifndef _WIN32
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#else
    result.exitCode = status;
#endif
    result.out = harness::readFile(capture / "out");
    result.err = harness::readFile(capture / "err");
    return result;
}
