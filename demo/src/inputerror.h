#pragma once

#include <stdexcept>
#include <string>

// A problem with the user's script, data or command line. The message names the file and,
// where there is one, the line, so the user can go straight to it.
class InputError : public std::runtime_error
{
public:
    explicit InputError(const std::string &message)
        : std::runtime_error(message)
    { }

    static InputError at(const std::string &file, int line, const std::string &problem)
    {
        std::string where = file;
        if (line > 0)
            where += ", line " + std::to_string(line);
        return InputError(where + ": " + problem);
    }
};
