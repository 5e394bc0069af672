#pragma once

#include <filesystem>
#include <limits>
#include <string>
#include <vector>

// Runs the real tovrel-demo binary as the studio does and reads back the files it writes.
namespace EngineRun {

struct Result
{
    int exitCode = -1;
    std::string out;
    std::string err;
};

// One parameter's row of a saved estimates file.
struct Estimate
{
    static constexpr double none = std::numeric_limits<double>::quiet_NaN();
    std::string type;
    std::string argument;
    double mean = none, median = none, sd = none, lower = none, upper = none, psr = none,
           effectiveSize = none;
};

Result run(const std::vector<std::string> &arguments);
std::vector<Estimate> estimates(const std::filesystem::path &csv);
// The named estimate; a failed check and NaN values when there is none.
Estimate find(const std::vector<Estimate> &all, const std::string &type,
              const std::string &argument);

} // namespace EngineRun
