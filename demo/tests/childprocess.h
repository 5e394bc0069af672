#pragma once

#include <string>
#include <vector>

// Runs the engine binary as the studio does, capturing what it writes and its exit code.
class ChildProcess
{
public:
    struct Result
    {
        int exitCode = -1;
        std::string out;
        std::string err;
    };

    static Result run(const std::string &program, const std::vector<std::string> &arguments);
};
