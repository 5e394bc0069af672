#include "engine.h"

#include "atomicfile.h"
#include "dataset.h"
#include "inputerror.h"
#include "modeldata.h"
#include "multileveldata.h"
#include "multilevelsampler.h"
#include "parameterlist.h"
#include "report.h"
#include "resultwriter.h"
#include "sampler.h"
#include "script.h"
#include "simulator.h"
#include "text.h"

#include <algorithm>
#include <system_error>
#include <thread>

#ifndef TOVREL_DEMO_VERSION
#define TOVREL_DEMO_VERSION "0.0.0"
#endif

namespace {

// A PSR above this suggests the chains have not yet mixed.
constexpr double psrLimit = 1.1;
// Fewer effective draws than this make the interval ends unreliable.
constexpr double effectiveLimit = 100.0;
constexpr int checkpoints = 20;

} // namespace

Engine::Engine(std::ostream &out, std::ostream &err)
    : out(out)
    , err(err)
{ }

Engine::~Engine() = default;

std::string Engine::version()
{
    return TOVREL_DEMO_VERSION;
}

int Engine::fail(const std::string &message)
{
    out.flush();
    err << "ERROR: " << message << '\n';
    err.flush();
    return 1;
}

void Engine::show(const std::string &text, bool partOfReport)
{
    out << text;
    out.flush();
    if (partOfReport)
        reportText += text;
}

int Engine::run(const CommandLine &commandLine)
{
    request = commandLine;
    try {
        prepare();
    } catch (const InputError &error) {
        return fail(error.what());
    }
    show(Report::banner(version()), true);
    for (const auto &warning : script->warnings)
        show("WARNING: " + warning + "\n", false);
    if (!script->warnings.empty())
        show("\n", false);
    show(Report::options(*script, !request.traceDirectory.empty()), true);
    show(simulationText, true);
    if (multilevel) {
        show(Report::dataInformation(*script, *data, *multilevel), true);
        show(Report::modelInformation(*multilevel), true);
    } else {
        show(Report::dataInformation(*script, *data, *model), true);
        show(Report::modelInformation(*model), true);
    }
    startChains();
    if (!sample())
        return 1;
    reviewResults();
    if (multilevel)
        show(Report::multilevelEstimates(*parameters, results, script->iterations, script->chains),
             true);
    else
        show(Report::estimates(*parameters, results, script->iterations, script->chains), true);
    show(Report::warnings(warnings), true);
    if (!writeFiles())
        return 1;
    return 0;
}

void Engine::prepare()
{
    script = std::make_unique<Script>(Script::load(request.script));
    if (script->simulation.requested)
        simulate();
    const std::filesystem::path dataPath = besideScript(script->dataFile);
    try {
        data = std::make_unique<DataSet>(
            DataSet::read(dataPath, script->dataFile,
                          script->hasMissingCode ? script->missingCode : std::string(),
                          script->variables.size()));
    } catch (const InputError &error) {
        // The data file's own problems name its line; say which command pointed to it too.
        throw InputError(std::string(error.what()) + " (DATA on line "
                         + std::to_string(script->dataLine) + " of script '" + script->name + "')");
    }
    if (!script->clusterId.empty()) {
        multilevel = std::make_unique<MultilevelData>(*script, *data);
        std::vector<std::string> predictors(multilevel->names().begin(),
                                            multilevel->names().end() - 1);
        std::vector<std::string> slopes;
        for (std::size_t a = 1; a < multilevel->randomColumns().size(); ++a)
            slopes.push_back(predictors[multilevel->randomColumns()[a] - 1]);
        std::vector<std::string> clusters;
        if (keepRandomEffects())
            for (const auto &cluster : multilevel->clusters())
                clusters.push_back(cluster.label);
        parameters = std::make_unique<ParameterList>(multilevel->outcome(), predictors, slopes,
                                                     multilevel->clusterName(), clusters);
    } else {
        model = std::make_unique<ModelData>(*script, *data);
        std::vector<std::string> predictors(model->names().begin(), model->names().end() - 1);
        parameters = std::make_unique<ParameterList>(model->outcome(), predictors);
    }
    checkTargets();
    const double stored = static_cast<double>(script->burn + script->iterations)
        * static_cast<double>(script->chains) * static_cast<double>(parameters->size());
    if (stored > 5e7)
        throw InputError(
            "script '" + script->name
            + "': BURN plus ITERATIONS times CHAINS is too large to keep every draw in memory.");
}

// SIMULATE writes the data set the rest of the run then reads and fits, so the report shows
// what the sampler recovers next to the true values.
void Engine::simulate()
{
    const Simulator simulator(*script);
    const std::string where = "script '" + script->name + "'";
    if (!script->hasMissingCode && !script->simulation.missing.empty())
        throw InputError::at(where, script->simulation.line,
                             "SIMULATE removes values, so a MISSING command must give the code "
                             "they are written as.");
    if (script->variables.empty())
        script->variables = simulator.names();
    AtomicFile file(besideScript(script->dataFile));
    std::string error;
    if (!file.open(error))
        throw InputError(where + ", line " + std::to_string(script->dataLine) + ": " + error);
    simulator.write(file.stream(), script->missingCode);
    if (!file.commit(error))
        throw InputError(where + ", line " + std::to_string(script->dataLine) + ": " + error);
    simulationText = simulator.summary(script->dataFile);
}

bool Engine::keepRandomEffects() const
{
    return std::find(script->options.begin(), script->options.end(), "ranefs")
        != script->options.end();
}

std::filesystem::path Engine::besideScript(const std::string &name) const
{
    return script->folder / std::filesystem::path(name);
}

// Checked before sampling, so a long run is not wasted on an output nobody can write.
void Engine::checkTargets() const
{
    auto folderOf = [](const std::filesystem::path &file) {
        const std::filesystem::path parent = file.parent_path();
        return parent.empty() ? std::filesystem::path(".") : parent;
    };
    auto requireFolder = [&](const std::filesystem::path &file, const std::string &what) {
        std::error_code code;
        if (!std::filesystem::is_directory(folderOf(file), code))
            throw InputError(what + ": the folder \"" + folderOf(file).string()
                             + "\" does not exist.");
    };
    if (!request.output.empty())
        requireFolder(request.output, "--output " + request.output);
    if (!request.traceDirectory.empty()) {
        std::error_code code;
        std::filesystem::create_directories(request.traceDirectory, code);
        if (!std::filesystem::is_directory(request.traceDirectory, code))
            throw InputError("--traceplot " + request.traceDirectory
                             + ": cannot create the folder.");
    }
    if (!script->saveEstimates.empty())
        requireFolder(besideScript(script->saveEstimates),
                      "script '" + script->name + "', line " + std::to_string(script->saveLine));
    if (!script->saveImputations.empty())
        requireFolder(besideScript(script->saveImputations),
                      "script '" + script->name + "', line " + std::to_string(script->saveLine));
}

void Engine::startChains()
{
    const unsigned chains = static_cast<unsigned>(script->chains);
    for (unsigned c = 0; c < chains; ++c) {
        if (multilevel)
            samplers.push_back(std::make_unique<MultilevelSampler>(*multilevel, keepRandomEffects(),
                                                                   script->seed, c, chains));
        else
            samplers.push_back(std::make_unique<Sampler>(*model, script->seed, c, chains));
    }
    if (script->saveImputations.empty())
        return;
    // Imputations go round the chains and are spread evenly over each chain's saved iterations,
    // so that they are as close to independent as the run allows.
    std::vector<long> perChain(chains, 0);
    for (long k = 0; k < script->imputations; ++k) {
        imputationChain.push_back(k % script->chains);
        imputationSlot.push_back(perChain[static_cast<std::size_t>(k % script->chains)]++);
    }
    for (unsigned c = 0; c < chains; ++c) {
        std::vector<long> at;
        for (long slot = 0; slot < perChain[c]; ++slot)
            at.push_back(script->burn + (slot + 1) * (script->iterations / perChain[c]));
        samplers[c]->keepImputationsAt(at);
    }
}

bool Engine::advance(long iteration)
{
    const std::size_t chains = samplers.size();
    unsigned workers = request.threads != 0 ? request.threads : std::thread::hardware_concurrency();
    workers = std::max(1u, std::min<unsigned>(workers, static_cast<unsigned>(chains)));
    std::vector<char> ok(chains, 1);
    auto work = [&](std::size_t first) {
        for (std::size_t c = first; c < chains; c += workers)
            ok[c] = samplers[c]->runTo(iteration) ? 1 : 0;
    };
    if (workers == 1) {
        work(0);
    } else {
        // Chains only touch their own state, so they can run side by side; results do not
        // depend on how many run at once.
        std::vector<std::thread> pool;
        for (unsigned w = 1; w < workers; ++w)
            pool.emplace_back(work, w);
        work(0);
        for (auto &thread : pool)
            thread.join();
    }
    for (std::size_t c = 0; c < chains; ++c)
        if (!ok[c]) {
            fail(
                Text::format("chain %zu stopped at iteration %ld: ", c + 1, samplers[c]->done() + 1)
                + samplers[c]->error());
            return false;
        }
    return true;
}

bool Engine::sample()
{
    std::vector<const std::vector<double> *> draws;
    for (const auto &sampler : samplers)
        draws.push_back(&sampler->draws());
    const PosteriorSummary summary(draws, parameters->size());

    show(Report::historyHeading(script->chains, script->burn), false);
    long previous = 0;
    for (int k = 1; k <= checkpoints && script->burn >= 8; ++k) {
        const long at = script->burn * k / checkpoints;
        if (at < 8 || at == previous)
            continue;
        previous = at;
        if (!advance(at))
            return false;
        endOfBurnIn = summary.highestPsr(static_cast<std::size_t>(at));
        burnInChecked = true;
        show(Report::checkpoint(at - at / 2 + 1, at, endOfBurnIn, *parameters), false);
    }
    show("\n", false);
    const long total = script->burn + script->iterations;
    if (!advance(total))
        return false;
    results = summary.estimates(static_cast<std::size_t>(script->burn),
                                static_cast<std::size_t>(total));
    return true;
}

void Engine::reviewResults()
{
    warnings = script->warnings;
    if (!burnInChecked)
        warnings.push_back("The burn-in is shorter than 8 iterations, so convergence was not "
                           "checked during it.");
    else if (!(endOfBurnIn.psr <= psrLimit))
        warnings.push_back(Text::format("The highest PSR at the end of the burn-in is %s for "
                                        "parameter %zu (%s); the chains may not have converged. "
                                        "Consider a longer BURN.",
                                        Text::trim(Report::number(endOfBurnIn.psr, 1)).c_str(),
                                        endOfBurnIn.parameter + 1,
                                        parameters->at(endOfBurnIn.parameter).shortName.c_str()));
    std::string unsettled;
    std::string few;
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (!(results[i].psr <= psrLimit))
            unsettled += (unsettled.empty() ? "" : ", ") + parameters->at(i).shortName;
        if (results[i].effectiveSize < effectiveLimit)
            few += (few.empty() ? "" : ", ") + parameters->at(i).shortName;
    }
    if (!unsettled.empty())
        warnings.push_back("The PSR over the saved iterations is above 1.1 for: " + unsettled
                           + ". Consider a longer BURN.");
    if (!few.empty())
        warnings.push_back("Fewer than 100 effective draws for: " + few
                           + ". Consider more ITERATIONS.");
}

bool Engine::writeFiles()
{
    std::vector<std::unique_ptr<AtomicFile>> files;
    std::string error;
    auto create = [&](const std::filesystem::path &path) -> std::ostream * {
        files.push_back(std::make_unique<AtomicFile>(path));
        return files.back()->open(error) ? &files.back()->stream() : nullptr;
    };
    // Returning early drops every file opened so far, temporaries and all.
    auto failed = [&]() {
        fail(error);
        return false;
    };
    if (!request.output.empty()) {
        std::ostream *file = create(request.output);
        if (!file)
            return failed();
        *file << reportText;
    }
    if (!request.traceDirectory.empty()) {
        const std::filesystem::path folder(request.traceDirectory);
        for (std::size_t c = 0; c < samplers.size(); ++c) {
            std::ostream *file = create(folder / ("burn" + std::to_string(c + 1) + ".csv"));
            if (!file)
                return failed();
            ResultWriter::trace(*file, samplers[c]->draws(), parameters->size());
        }
        std::ostream *file = create(folder / "labels.dat");
        if (!file)
            return failed();
        ResultWriter::labels(*file, *parameters);
    }
    if (!script->saveEstimates.empty()) {
        std::ostream *file = create(besideScript(script->saveEstimates));
        if (!file)
            return failed();
        ResultWriter::estimates(*file, *parameters, results);
    }
    const std::string pattern = script->saveImputations;
    for (std::size_t k = 0; k < imputationChain.size(); ++k) {
        std::string name = pattern;
        name.replace(name.find('*'), 1, std::to_string(k + 1));
        std::ostream *file = create(besideScript(name));
        if (!file)
            return failed();
        const Chain &sampler = *samplers[static_cast<std::size_t>(imputationChain[k])];
        const std::vector<double> &imputed
            = sampler.imputations()[static_cast<std::size_t>(imputationSlot[k])];
        if (multilevel) {
            std::vector<std::pair<std::size_t, std::size_t>> cells;
            for (const auto &cell : multilevel->missingCells())
                cells.emplace_back(multilevel->originalRows()[cell.first],
                                   multilevel->columns()[cell.second - 1]);
            ResultWriter::imputation(*file, *data, cells, imputed);
        } else {
            ResultWriter::imputation(*file, *data, *model, imputed);
        }
    }
    for (auto &file : files)
        if (!file->commit(error))
            return failed();
    return true;
}
