#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

class DataSet;
class Script;

// A two-level model's variables prepared for sampling, shared read-only by all chains. Rows are
// grouped by cluster; each row is held as w = (1, x1..xp, y) in the user's units, missing cells
// marked. Predictors that take one value in every cluster are level-2: their missing cells are
// filled from the cluster's observed value, since the value is known for the whole cluster.
class MultilevelData
{
public:
    struct Cluster
    {
        std::string label; // the cluster variable's value as written
        std::size_t first = 0; // first row in grouped order
        std::size_t count = 0;
        bool incomplete = false; // holds a missing level-1 cell
    };

    // Throws InputError when the model does not fit the data.
    MultilevelData(const Script &script, const DataSet &data);

    std::size_t predictors() const { return nPredictors; }
    std::size_t width() const { return nPredictors + 2; }
    std::size_t rows() const { return nRows; }

    // Per model variable, predictors first and the outcome last.
    const std::vector<std::string> &names() const { return variableNames; }
    const std::vector<std::size_t> &columns() const { return dataColumns; }
    const std::vector<long> &missingCounts() const { return missingCount; }
    const std::string &outcome() const { return variableNames.back(); }
    bool isLevelTwo(std::size_t predictor) const { return levelTwo[predictor] != 0; }
    const std::string &clusterName() const { return clusterVariable; }
    const std::vector<Cluster> &clusters() const { return groups; }
    long completeRows() const { return nComplete; }

    // Positions in w of the random effects: 0 (intercept), then each random slope's column.
    const std::vector<std::size_t> &randomColumns() const { return random; }
    // Positions in w of the level-1 predictors, which get a normal model for imputation.
    const std::vector<std::size_t> &levelOnePredictors() const { return levelOne; }

    // rows() x width(), grouped order; missing cells hold 0.
    const std::vector<double> &values() const { return cells; }
    bool isMissing(std::size_t row, std::size_t position) const
    {
        return missing[row * width() + position] != 0;
    }
    bool anyMissing() const { return nMissingCells > 0; }
    const std::vector<std::size_t> &originalRows() const { return originalRow; }
    // Every missing cell as (grouped row, position in w), in the order imputations list them.
    const std::vector<std::pair<std::size_t, std::size_t>> &missingCells() const
    {
        return missingList;
    }

    // Observed mean and standard deviation of a position in w (1..p+1).
    double mean(std::size_t position) const { return means[position]; }
    double sd(std::size_t position) const { return sds[position]; }

private:
    void resolveVariables(const Script &script, const DataSet &data);
    void groupRows(const Script &script, const DataSet &data);
    void findLevels(const Script &script);
    void describe(const Script &script);

    std::size_t nPredictors = 0;
    std::size_t nRows = 0;
    long nComplete = 0;
    std::size_t nMissingCells = 0;
    std::string clusterVariable;
    std::size_t clusterColumn = 0;
    std::vector<std::string> variableNames;
    std::vector<std::size_t> dataColumns;
    std::vector<long> missingCount;
    std::vector<char> levelTwo;
    std::vector<std::size_t> random;
    std::vector<std::size_t> levelOne;
    std::vector<Cluster> groups;
    std::vector<double> cells;
    std::vector<char> missing;
    std::vector<std::size_t> originalRow;
    std::vector<std::pair<std::size_t, std::size_t>> missingList;
    std::vector<double> means;
    std::vector<double> sds;
};
