#pragma once

#include <string>
#include <vector>

// The engine's command line: [OPTIONS] SCRIPT --output FILE [--traceplot DIR]. Options may come
// before or after the script, as the studio puts the user's own arguments first.
class CommandLine
{
public:
    enum class Action { Run, Help, Version, UsageError };

    static CommandLine parse(const std::vector<std::string> &arguments);
    static std::string usage();

    Action action = Action::UsageError;
    std::string error; // for UsageError
    std::string script;
    std::string output; // empty: report on standard output only
    std::string traceDirectory; // empty: no trace-plot files
    unsigned threads = 0; // 0: one per processor core
};
