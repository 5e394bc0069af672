#include "modeldata.h"

#include "dataset.h"
#include "inputerror.h"
#include "script.h"
#include "text.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>

ModelData::ModelData(const Script &script, const DataSet &data)
{
    resolveVariables(script, data);
    standardize(script, data);
    groupRows(data);
}

double ModelData::toOriginal(std::size_t zIndex, double value) const
{
    return center[zIndex - 1] + scale[zIndex - 1] * value;
}

void ModelData::resolveVariables(const Script &script, const DataSet &data)
{
    std::vector<std::string> dataNames = script.variables;
    for (std::size_t c = dataNames.size(); c < data.columns(); ++c)
        dataNames.push_back("V" + std::to_string(c + 1));

    auto find = [&](const std::string &name) {
        for (std::size_t c = 0; c < dataNames.size(); ++c)
            if (Text::equalNoCase(dataNames[c], name))
                return c;
        const std::string known = script.variables.empty()
            ? " (without VARIABLES the columns are named V1, V2, ...)"
            : std::string(".");
        throw InputError::at("script '" + script.name + "'", script.modelLine,
                             "MODEL names the variable \"" + name
                                 + "\", which is not among the variables" + known);
    };
    std::vector<std::string> modelNames = script.predictors;
    modelNames.push_back(script.outcome);
    for (const auto &name : modelNames) {
        const std::size_t column = find(name);
        dataColumns.push_back(column);
        variableNames.push_back(dataNames[column]);
    }
    nPredictors = script.predictors.size();
    // Missing-data patterns are kept as bit masks of one 64-bit word.
    if (nPredictors > 60)
        throw InputError::at("script '" + script.name + "'", script.modelLine,
                             "this engine handles at most 60 predictors.");
    nRows = data.rows();
}

void ModelData::standardize(const Script &script, const DataSet &data)
{
    // Problems with the data as a whole point at the DATA command that named the file.
    const std::string file = "data file '" + script.dataFile + "'";
    auto problem = [&](const std::string &text) {
        return InputError::at("script '" + script.name + "'", script.dataLine, text);
    };
    const std::size_t variables = dataColumns.size();
    center.assign(variables, 0.0);
    scale.assign(variables, 1.0);
    missingCount.assign(variables, 0);
    for (std::size_t v = 0; v < variables; ++v) {
        double sum = 0.0;
        long count = 0;
        for (std::size_t r = 0; r < nRows; ++r)
            if (!data.isMissing(r, dataColumns[v])) {
                sum += data.value(r, dataColumns[v]);
                ++count;
            }
        missingCount[v] = static_cast<long>(nRows) - count;
        const std::string name = "\"" + variableNames[v] + "\"";
        if (v + 1 == variables && count == 0)
            throw problem("no usable rows in " + file + ": the outcome " + name
                          + " is missing in every row.");
        if (count < 2)
            throw problem(file + ": the variable " + name + " has fewer than two observed values.");
        const double mean = sum / static_cast<double>(count);
        double squares = 0.0;
        for (std::size_t r = 0; r < nRows; ++r)
            if (!data.isMissing(r, dataColumns[v])) {
                const double d = data.value(r, dataColumns[v]) - mean;
                squares += d * d;
            }
        const double sd = std::sqrt(squares / static_cast<double>(count - 1));
        if (!(sd > 1e-12 * std::max(1.0, std::fabs(mean))))
            throw problem(file + ": the variable " + name
                          + " takes the same value in every observed row.");
        center[v] = mean;
        scale[v] = sd;
    }
    const long observedOutcomes = static_cast<long>(nRows) - missingCount.back();
    if (observedOutcomes <= static_cast<long>(nPredictors) + 1)
        throw problem(Text::format("no usable rows in %s: only %ld rows have an observed outcome, "
                                   "too few for %zu regression coefficients.",
                                   file.c_str(), observedOutcomes, nPredictors + 1));
}

void ModelData::groupRows(const DataSet &data)
{
    const std::size_t d = width();
    // Bit k marks z index k + 1 missing: predictors, then the outcome.
    std::vector<std::uint64_t> mask(nRows, 0);
    for (std::size_t r = 0; r < nRows; ++r)
        for (std::size_t v = 0; v < dataColumns.size(); ++v)
            if (data.isMissing(r, dataColumns[v]))
                mask[r] |= std::uint64_t(1) << v;
    originalRow.resize(nRows);
    std::iota(originalRow.begin(), originalRow.end(), std::size_t(0));
    std::stable_sort(originalRow.begin(), originalRow.end(),
                     [&](std::size_t a, std::size_t b) { return mask[a] < mask[b]; });

    fixedCross = Matrix(d, d);
    std::vector<double> z(d);
    for (std::size_t i = 0; i < nRows; ++i) {
        const std::size_t r = originalRow[i];
        if (i == 0 || mask[r] != mask[originalRow[i - 1]]) {
            Pattern pattern;
            pattern.first = i;
            for (std::size_t k = 1; k <= nPredictors; ++k)
                (data.isMissing(r, dataColumns[k - 1]) ? pattern.missing : pattern.observed)
                    .push_back(static_cast<int>(k));
            pattern.outcomeMissing = data.isMissing(r, dataColumns.back());
            groups.push_back(pattern);
        }
        ++groups.back().count;
        if (mask[r] == 0)
            ++nComplete;
        z[0] = 1.0;
        for (std::size_t v = 0; v < dataColumns.size(); ++v)
            z[v + 1] = data.isMissing(r, dataColumns[v])
                ? 0.0
                : (data.value(r, dataColumns[v]) - center[v]) / scale[v];
        for (std::size_t j = 0; j < d; ++j)
            for (std::size_t k = 0; k < d; ++k) {
                const bool jObserved = j == 0 || !data.isMissing(r, dataColumns[j - 1]);
                const bool kObserved = k == 0 || !data.isMissing(r, dataColumns[k - 1]);
                if (jObserved && kObserved)
                    fixedCross(j, k) += z[j] * z[k];
            }
    }
    // Now that each pattern's size is known, lay its rows out column by column.
    standardized.assign(nRows * d, 0.0);
    for (const Pattern &pattern : groups)
        for (std::size_t i = pattern.first; i < pattern.first + pattern.count; ++i) {
            const std::size_t r = originalRow[i];
            standardized[at(pattern, d, i, 0)] = 1.0;
            for (std::size_t v = 0; v < dataColumns.size(); ++v)
                if (!data.isMissing(r, dataColumns[v]))
                    standardized[at(pattern, d, i, v + 1)]
                        = (data.value(r, dataColumns[v]) - center[v]) / scale[v];
        }
}
