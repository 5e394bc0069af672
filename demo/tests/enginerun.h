#pragma once

#include "childprocess.h"

#include <filesystem>
#include <string>
#include <vector>

// Runs the real tovrel-demo binary and reads back the files it writes.
class EngineRun
{
public:
    struct Estimate
    {
        std::string type;
        std::string argument;
        double mean = 0.0;
        double median = 0.0;
        double sd = 0.0;
        double lower = 0.0;
        double upper = 0.0;
        double psr = 0.0;
        double effectiveSize = 0.0;
    };

    static ChildProcess::Result run(const std::vector<std::string> &arguments);
    static std::vector<Estimate> estimates(const std::filesystem::path &csv);
    static const Estimate *find(const std::vector<Estimate> &all, const std::string &type,
                                const std::string &argument);
};
