#include "enginerun.h"

#include "harness.h"
#include "text.h"

#include <cstdlib>
#include <sys/wait.h>

namespace {

// Single quotes keep blanks and other shell characters inside one argument.
std::string quoted(const std::string &text)
{
    std::string result = "'";
    for (char c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

std::string unquoted(const std::string &field)
{
    return field.size() >= 2 && field.front() == '"' ? field.substr(1, field.size() - 2) : field;
}

// Comma-separated fields; a comma inside double quotes (as in "L2 (i), x1") stays in its field.
std::vector<std::string> csvFields(const std::string &row)
{
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (char c : row) {
        if (c == '"')
            quoted = !quoted;
        if (c == ',' && !quoted)
            fields.emplace_back();
        else
            fields.back() += c;
    }
    return fields;
}

} // namespace

EngineRun::Result EngineRun::run(const std::vector<std::string> &arguments)
{
    harness::TempFolder capture;
    std::string command = quoted(TOVREL_DEMO_BINARY);
    for (const auto &argument : arguments)
        command += " " + quoted(argument);
    command += " >" + quoted((capture / "out").string()) + " 2>"
        + quoted((capture / "err").string()) + " </dev/null";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, harness::readFile(capture / "out"),
            harness::readFile(capture / "err")};
}

std::vector<EngineRun::Estimate> EngineRun::estimates(const std::filesystem::path &csv)
{
    std::vector<Estimate> result;
    const auto rows = harness::lines(harness::readFile(csv));
    for (std::size_t i = 1; i < rows.size(); ++i) {
        const std::vector<std::string> fields = csvFields(rows[i]);
        if (fields.size() != 10)
            continue;
        Estimate e;
        e.type = unquoted(fields[1]);
        e.argument = unquoted(fields[2]);
        double *numbers[]
            = {&e.mean, &e.median, &e.sd, &e.lower, &e.upper, &e.psr, &e.effectiveSize};
        for (std::size_t k = 0; k < 7; ++k)
            Text::parseNumber(fields[k + 3], *numbers[k]);
        result.push_back(e);
    }
    return result;
}

EngineRun::Estimate EngineRun::find(const std::vector<Estimate> &all, const std::string &type,
                                    const std::string &argument)
{
    for (const auto &e : all)
        if (e.type == type && e.argument == argument)
            return e;
    harness::fail(__FILE__, __LINE__, "no estimate " + type + " " + argument);
    return {};
}
