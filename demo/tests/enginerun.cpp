#include "enginerun.h"

#include "harness.h"
#include "text.h"

ChildProcess::Result EngineRun::run(const std::vector<std::string> &arguments)
{
    return ChildProcess::run(TOVREL_DEMO_BINARY, arguments);
}

std::vector<EngineRun::Estimate> EngineRun::estimates(const std::filesystem::path &csv)
{
    std::vector<Estimate> result;
    const auto rows = harness::lines(harness::readFile(csv));
    for (std::size_t i = 1; i < rows.size(); ++i) {
        std::vector<std::string> fields = Text::tokens(rows[i], ",");
        if (fields.size() != 10)
            continue;
        for (auto &field : fields)
            if (field.size() >= 2 && field.front() == '"')
                field = field.substr(1, field.size() - 2);
        Estimate e;
        e.type = fields[1];
        e.argument = fields[2];
        double *numbers[]
            = {&e.mean, &e.median, &e.sd, &e.lower, &e.upper, &e.psr, &e.effectiveSize};
        for (int k = 0; k < 7; ++k)
            Text::parseNumber(fields[static_cast<std::size_t>(k) + 3], *numbers[k]);
        result.push_back(e);
    }
    return result;
}

const EngineRun::Estimate *EngineRun::find(const std::vector<Estimate> &all,
                                           const std::string &type, const std::string &argument)
{
    for (const auto &e : all)
        if (e.type == type && e.argument == argument)
            return &e;
    return nullptr;
}
