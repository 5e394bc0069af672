#include "multileveldata.h"

#include "dataset.h"
#include "inputerror.h"
#include "script.h"
#include "text.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace {

// A predictor constant in at least this share of the clusters, but not in all, is most likely a
// level-2 variable with a few wrong values rather than a level-1 variable.
constexpr double nearlyLevelTwo = 0.8;

} // namespace

MultilevelData::MultilevelData(const Script &script, const DataSet &data)
{
    resolveVariables(script, data);
    groupRows(script, data);
    findLevels(script);
    describe(script);
}

void MultilevelData::resolveVariables(const Script &script, const DataSet &data)
{
    std::vector<std::string> dataNames = script.variables;
    for (std::size_t c = dataNames.size(); c < data.columns(); ++c)
        dataNames.push_back("V" + std::to_string(c + 1));
    const std::string known = script.variables.empty()
        ? " (without VARIABLES the columns are named V1, V2, ...)"
        : std::string(".");
    auto find = [&](const std::string &name, int line, const std::string &command) {
        for (std::size_t c = 0; c < dataNames.size(); ++c)
            if (Text::equalNoCase(dataNames[c], name))
                return c;
        throw InputError::at("script '" + script.name + "'", line,
                             command + " names the variable \"" + name
                                 + "\", which is not among the variables" + known);
    };
    clusterColumn = find(script.clusterId, script.clusterLine, "CLUSTERID");
    clusterVariable = dataNames[clusterColumn];
    std::vector<std::string> modelNames = script.predictors;
    modelNames.push_back(script.outcome);
    for (const auto &name : modelNames) {
        const std::size_t column = find(name, script.modelLine, "MODEL");
        if (column == clusterColumn)
            throw InputError::at("script '" + script.name + "'", script.modelLine,
                                 "\"" + name + "\" is the CLUSTERID variable; it cannot also be "
                                 "in the model.");
        dataColumns.push_back(column);
        variableNames.push_back(dataNames[column]);
    }
    nPredictors = script.predictors.size();
    random.push_back(0);
    for (const auto &slope : script.randomSlopes)
        for (std::size_t k = 0; k < nPredictors; ++k)
            if (Text::equalNoCase(script.predictors[k], slope))
                random.push_back(k + 1);
    nRows = data.rows();
}

void MultilevelData::groupRows(const Script &script, const DataSet &data)
{
    auto problem = [&](const std::string &text) {
        return InputError::at("script '" + script.name + "'", script.clusterLine, text);
    };
    std::map<double, std::size_t> index;
    std::vector<std::vector<std::size_t>> members;
    for (std::size_t r = 0; r < nRows; ++r) {
        if (data.isMissing(r, clusterColumn))
            throw problem(Text::format("the cluster variable \"%s\" is missing in row %zu of the "
                                       "data; every row needs its cluster.",
                                       clusterVariable.c_str(), r + 1));
        const auto found = index.emplace(data.value(r, clusterColumn), members.size());
        if (found.second) {
            members.emplace_back();
            Cluster cluster;
            cluster.label = data.text(r, clusterColumn);
            groups.push_back(cluster);
        }
        members[found.first->second].push_back(r);
    }
    if (groups.size() < 2)
        throw problem("the cluster variable \"" + clusterVariable
                      + "\" takes a single value; a two-level model needs two or more clusters.");
    const std::size_t w = width();
    cells.assign(nRows * w, 0.0);
    missing.assign(nRows * w, 0);
    for (std::size_t g = 0; g < groups.size(); ++g) {
        if (members[g].size() < 2)
            throw problem(Text::format("cluster %s of \"%s\" has only one row (row %zu of the "
                                       "data); every cluster needs two or more rows.",
                                       groups[g].label.c_str(), clusterVariable.c_str(),
                                       members[g][0] + 1));
        groups[g].first = originalRow.size();
        groups[g].count = members[g].size();
        for (std::size_t r : members[g]) {
            const std::size_t i = originalRow.size();
            originalRow.push_back(r);
            cells[i * w] = 1.0;
            for (std::size_t v = 0; v < dataColumns.size(); ++v) {
                if (data.isMissing(r, dataColumns[v]))
                    missing[i * w + v + 1] = 1;
                else
                    cells[i * w + v + 1] = data.value(r, dataColumns[v]);
            }
        }
    }
}

void MultilevelData::findLevels(const Script &script)
{
    auto problem = [&](const std::string &text) {
        return InputError::at("script '" + script.name + "'", script.modelLine, text);
    };
    const std::size_t w = width();
    levelTwo.assign(nPredictors, 0);
    for (std::size_t k = 0; k < nPredictors; ++k) {
        const std::size_t position = k + 1;
        std::size_t checked = 0;
        std::size_t constant = 0;
        const Cluster *varying = nullptr;
        for (const Cluster &cluster : groups) {
            std::vector<double> seen;
            for (std::size_t i = cluster.first; i < cluster.first + cluster.count; ++i)
                if (!missing[i * w + position])
                    seen.push_back(cells[i * w + position]);
            if (seen.size() < 2)
                continue;
            ++checked;
            if (std::all_of(seen.begin(), seen.end(), [&](double v) { return v == seen[0]; }))
                ++constant;
            else if (!varying)
                varying = &cluster;
        }
        const std::string &name = variableNames[k];
        const bool isRandom = std::find(random.begin(), random.end(), position) != random.end();
        if (checked > 0 && constant == checked) {
            if (isRandom)
                throw problem("\"" + name + "\" takes one value per cluster (a level-2 "
                              "predictor), so it cannot have a random slope.");
            levelTwo[k] = 1;
        } else if (varying && checked >= 5
                   && static_cast<double>(constant) >= nearlyLevelTwo * static_cast<double>(checked)) {
            throw problem(Text::format(
                "\"%s\" looks like a level-2 predictor (one value per cluster in %zu of %zu "
                "clusters) but varies within cluster %s of \"%s\"; a level-2 predictor must "
                "take a single value in each cluster.",
                name.c_str(), constant, checked, varying->label.c_str(), clusterVariable.c_str()));
        }
        if (!levelTwo[k]) {
            levelOne.push_back(position);
            continue;
        }
        // The cluster's value is known, so a level-2 cell left blank is filled, not imputed.
        for (const Cluster &cluster : groups) {
            const std::size_t end = cluster.first + cluster.count;
            std::size_t source = end;
            for (std::size_t i = cluster.first; i < end && source == end; ++i)
                if (!missing[i * w + position])
                    source = i;
            if (source == end)
                throw problem("the level-2 predictor \"" + name + "\" is missing in every row "
                              "of cluster " + cluster.label + " of \"" + clusterVariable
                              + "\"; this engine imputes level-1 values only.");
            for (std::size_t i = cluster.first; i < end; ++i)
                if (missing[i * w + position]) {
                    missing[i * w + position] = 0;
                    cells[i * w + position] = cells[source * w + position];
                }
        }
    }
}

void MultilevelData::describe(const Script &script)
{
    const std::string file = "data file '" + script.dataFile + "'";
    auto problem = [&](const std::string &text) {
        return InputError::at("script '" + script.name + "'", script.dataLine, text);
    };
    const std::size_t w = width();
    means.assign(w, 0.0);
    sds.assign(w, 1.0);
    missingCount.assign(w - 1, 0);
    for (std::size_t position = 1; position < w; ++position) {
        double sum = 0.0;
        double squares = 0.0;
        long count = 0;
        for (std::size_t i = 0; i < nRows; ++i)
            if (!missing[i * w + position]) {
                sum += cells[i * w + position];
                ++count;
            }
        const std::string name = "\"" + variableNames[position - 1] + "\"";
        if (count < 2)
            throw problem(file + ": the variable " + name + " has fewer than two observed values.");
        const double mean = sum / static_cast<double>(count);
        for (std::size_t i = 0; i < nRows; ++i)
            if (!missing[i * w + position]) {
                const double d = cells[i * w + position] - mean;
                squares += d * d;
            }
        const double sd = std::sqrt(squares / static_cast<double>(count - 1));
        if (!(sd > 1e-12 * std::max(1.0, std::fabs(mean))))
            throw problem(file + ": the variable " + name
                          + " takes the same value in every observed row.");
        means[position] = mean;
        sds[position] = sd;
        missingCount[position - 1] = static_cast<long>(nRows) - count;
    }
    for (Cluster &cluster : groups)
        for (std::size_t i = cluster.first; i < cluster.first + cluster.count; ++i) {
            bool complete = true;
            for (std::size_t position = 1; position < w; ++position)
                if (missing[i * w + position]) {
                    complete = false;
                    cluster.incomplete = true;
                    missingList.emplace_back(i, position);
                }
            nComplete += complete ? 1 : 0;
        }
    nMissingCells = missingList.size();
}
