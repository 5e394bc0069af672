#pragma once

#include "matrix.h"

#include <cstddef>
#include <string>
#include <vector>

class DataSet;
class Script;

// The model's variables prepared for sampling, shared read-only by all chains. Each row is held
// as z = (1, x1..xp, y) on a standardized scale (observed mean 0, SD 1), which keeps the cross
// products well conditioned whatever the user's units; the priors used are invariant under this
// change of scale, so nothing about the posterior changes. Rows are grouped by their pattern of
// missing values, so per-pattern work is done once per iteration rather than once per row, and
// each group is stored column by column, so the per-row work runs down contiguous arrays.
class ModelData
{
public:
    struct Pattern
    {
        std::vector<int> missing; // z indices (1..p) of the missing predictors
        std::vector<int> observed; // z indices of the observed predictors
        bool outcomeMissing = false;
        std::size_t first = 0; // first row of the pattern in the grouped order
        std::size_t count = 0;
    };

    // Throws InputError when the model does not fit the data.
    ModelData(const Script &script, const DataSet &data);

    std::size_t predictors() const { return nPredictors; }
    std::size_t width() const { return nPredictors + 2; }
    std::size_t rows() const { return nRows; }

    // Per model variable, predictors first and the outcome last.
    const std::vector<std::string> &names() const { return variableNames; }
    const std::vector<std::size_t> &columns() const { return dataColumns; }
    const std::vector<double> &centers() const { return center; }
    const std::vector<double> &scales() const { return scale; }
    const std::vector<long> &missingCounts() const { return missingCount; }
    const std::string &outcome() const { return variableNames.back(); }

    const std::vector<Pattern> &patterns() const { return groups; }
    // rows() x width() values; missing values hold 0. A pattern's block starts at
    // first * width() and holds its columns one after another, each `count` long.
    const std::vector<double> &values() const { return standardized; }
    static std::size_t at(const Pattern &pattern, std::size_t width, std::size_t row,
                          std::size_t column)
    {
        return pattern.first * width + column * pattern.count + (row - pattern.first);
    }
    const std::vector<std::size_t> &originalRows() const { return originalRow; }
    // Sum over rows of z_j z_k over the pairs observed in that row: the fixed part of Z'Z.
    const Matrix &observedCross() const { return fixedCross; }
    long completeRows() const { return nComplete; }

    // Back to the user's units.
    double toOriginal(std::size_t zIndex, double value) const;

private:
    void resolveVariables(const Script &script, const DataSet &data);
    void standardize(const Script &script, const DataSet &data);
    void groupRows(const DataSet &data);

    std::size_t nPredictors = 0;
    std::size_t nRows = 0;
    long nComplete = 0;
    std::vector<std::string> variableNames;
    std::vector<std::size_t> dataColumns;
    std::vector<double> center;
    std::vector<double> scale;
    std::vector<long> missingCount;
    std::vector<Pattern> groups;
    std::vector<double> standardized;
    std::vector<std::size_t> originalRow;
    Matrix fixedCross;
};
