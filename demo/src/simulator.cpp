#include "simulator.h"

#include "inputerror.h"
#include "matrix.h"
#include "parameterlist.h"
#include "random.h"
#include "report.h"
#include "script.h"
#include "text.h"

#include <cmath>
#include <cstdio>

namespace {

// Data and sampler draw from different streams of the same seed.
constexpr std::uint64_t dataStream = 0x9E3779B97F4A7C15ULL;

} // namespace

Simulator::Simulator(const Script &s)
    : script(s)
{
    orderColumns(script);
    generate(script);
}

void Simulator::orderColumns(const Script &s)
{
    std::vector<std::string> sources {s.outcome};
    sources.insert(sources.end(), s.predictors.begin(), s.predictors.end());
    if (!s.clusterId.empty())
        sources.push_back(s.clusterId);
    if (s.variables.empty()) {
        columnNames = sources;
        for (std::size_t k = 0; k < sources.size(); ++k)
            sourceOf.push_back(k);
        return;
    }
    if (s.variables.size() != sources.size())
        throw InputError::at("script '" + s.name + "'", s.variablesLine,
                             "with SIMULATE, VARIABLES lists exactly the model's variables and "
                             "the cluster variable, in the order the data file gets them.");
    columnNames = s.variables;
    for (const auto &name : s.variables) {
        std::size_t k = 0;
        while (k < sources.size() && !Text::equalNoCase(sources[k], name))
            ++k;
        if (k == sources.size())
            throw InputError::at("script '" + s.name + "'", s.variablesLine,
                                 "with SIMULATE, VARIABLES names \"" + name
                                     + "\", which is neither in MODEL nor CLUSTERID.");
        sourceOf.push_back(k);
    }
}

void Simulator::generate(const Script &s)
{
    const Script::Simulation &sim = s.simulation;
    const std::size_t p = s.predictors.size();
    const std::size_t width = p + 2;
    const bool twoLevel = !s.clusterId.empty();
    const std::size_t clusters = twoLevel ? static_cast<std::size_t>(sim.clusters) : 1;
    const std::size_t size = static_cast<std::size_t>(sim.size);
    nRows = clusters * size;
    if (nRows > 2000000)
        throw InputError::at("script '" + s.name + "'", sim.line,
                             "SIMULATE would write more than 2,000,000 rows.");
    auto position = [&](const std::string &name) {
        for (std::size_t k = 0; k < p; ++k)
            if (Text::equalNoCase(s.predictors[k], name))
                return k + 1;
        return std::size_t(0);
    };
    std::vector<char> levelTwo(width, 0);
    for (const auto &name : sim.levelTwo)
        levelTwo[position(name)] = 1;
    std::vector<std::size_t> effects {0};
    for (const auto &name : s.randomSlopes)
        effects.push_back(position(name));
    const std::size_t q = effects.size();
    Matrix lower;
    if (twoLevel) {
        Matrix covariance(q, q);
        std::size_t next = 0;
        for (std::size_t a = 0; a < q; ++a)
            for (std::size_t b = 0; b <= a; ++b)
                covariance(a, b) = covariance(b, a) = sim.covariance[next++];
        if (!covariance.cholesky(lower))
            throw InputError::at("script '" + s.name + "'", sim.line,
                                 "SIMULATE covariance is not a valid covariance matrix (it must "
                                 "be positive definite).");
    }
    Random random(s.seed ^ dataStream);
    cells.assign(nRows * width, 0.0);
    missing.assign(nRows * width, 0);
    std::vector<double> clusterValue(width, 0.0);
    std::vector<double> u(q, 0.0);
    for (std::size_t g = 0; g < clusters; ++g) {
        for (std::size_t k = 1; k <= p; ++k)
            clusterValue[k] = random.normal();
        if (twoLevel) {
            std::vector<double> e(q);
            for (double &value : e)
                value = random.normal();
            u = lower.times(e);
        }
        for (std::size_t i = 0; i < size; ++i) {
            double *row = &cells[(g * size + i) * width];
            double y = sim.coefficients[0] + (twoLevel ? u[0] : 0.0);
            for (std::size_t k = 1; k <= p; ++k) {
                row[k] = levelTwo[k] ? clusterValue[k] : random.normal();
                y += sim.coefficients[k] * row[k];
            }
            for (std::size_t a = 1; a < q; ++a)
                y += u[a] * row[effects[a]];
            row[0] = y + std::sqrt(sim.residual) * random.normal();
            row[p + 1] = static_cast<double>(g + 1);
        }
    }
    for (const auto &entry : sim.missing) {
        const std::size_t k = Text::equalNoCase(entry.first, s.outcome) ? 0 : position(entry.first);
        for (std::size_t r = 0; r < nRows; ++r)
            if (random.uniform() < entry.second)
                missing[r * width + k] = 1;
    }
}

void Simulator::write(std::ostream &out, const std::string &missingCode) const
{
    const std::size_t width = script.predictors.size() + 2;
    char buffer[64];
    std::string line;
    for (std::size_t r = 0; r < nRows; ++r) {
        line.clear();
        for (std::size_t c = 0; c < sourceOf.size(); ++c) {
            const std::size_t k = sourceOf[c];
            if (c > 0)
                line += ' ';
            if (missing[r * width + k])
                line += missingCode;
            else if (k == width - 1)
                line += std::to_string(static_cast<long>(cells[r * width + k]));
            else {
                std::snprintf(buffer, sizeof buffer, "%.4f", cells[r * width + k]);
                line += buffer;
            }
        }
        line += '\n';
        out << line;
    }
}

std::string Simulator::summary(const std::string &file) const
{
    const Script::Simulation &sim = script.simulation;
    const bool twoLevel = !script.clusterId.empty();
    std::string text = "VARIABLE ORDER IN SIMULATED DATA:\n\n ";
    for (const auto &name : columnNames)
        text += " " + name;
    text += "\n\nSIMULATED DATA SUMMARIES:\n\n";
    text += Text::format("  %-36s %s\n", "Data file written:", file.c_str());
    if (twoLevel)
        text += Text::format("  %-36s %ld of %ld rows each\n", "Clusters:", sim.clusters, sim.size);
    else
        text += Text::format("  %-36s %ld\n", "Rows:", sim.size);
    for (const auto &entry : sim.missing)
        text += Text::format("  %-36s %.1f%% of %s\n", "Removed completely at random:",
                             100.0 * entry.second, entry.first.c_str());
    // The true values in the order and under the names of the estimates table.
    std::vector<double> truth = sim.coefficients;
    const ParameterList names = twoLevel
        ? ParameterList(script.outcome, script.predictors, script.randomSlopes, script.clusterId, {})
        : ParameterList(script.outcome, script.predictors);
    truth.insert(truth.end(), sim.covariance.begin(), sim.covariance.end());
    truth.push_back(sim.residual);
    text += "\n  True values:\n";
    std::vector<std::size_t> order;
    if (twoLevel) {
        for (std::size_t a = 0; a < names.randomEffects(); ++a)
            for (std::size_t b = 0; b <= a; ++b)
                order.push_back(names.levelTwo(a, b));
    }
    order.push_back(names.residualVariance());
    for (std::size_t k = 0; k <= script.predictors.size(); ++k)
        order.push_back(k);
    // The truth is laid out as the parameters are: coefficients, level-2 matrix, residual.
    for (std::size_t i : order)
        text += Text::format("    %-30s", names.at(i).shortName.c_str())
            + Report::number(truth[i], 11) + "\n";
    return text + "\n";
}
