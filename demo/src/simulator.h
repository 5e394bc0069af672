#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

class Script;

// Generates a data set from the model a script states with its SIMULATE command: level-1
// predictors standard normal for every row, level-2 predictors standard normal once per cluster,
// random effects normal with the stated covariance, values then removed completely at random.
// The example generator uses it too, so shipped examples are what SIMULATE would write.
class Simulator
{
public:
    // Throws InputError when the stated values cannot generate data.
    explicit Simulator(const Script &script);

    // Column names in the order written: VARIABLES when given, else the outcome, the
    // predictors and the cluster variable.
    const std::vector<std::string> &names() const { return columnNames; }
    std::size_t rows() const { return nRows; }
    // Blank-separated rows; missing cells written as `missingCode`.
    void write(std::ostream &out, const std::string &missingCode) const;
    // The report section with the true values, named as the estimates table names them.
    std::string summary(const std::string &file) const;

private:
    void orderColumns(const Script &script);
    void generate(const Script &script);

    const Script &script;
    std::vector<std::string> columnNames;
    std::vector<std::size_t> sourceOf; // per written column: 0 outcome, 1..p predictors, p+1 cluster
    std::size_t nRows = 0;
    std::vector<double> cells; // rows x (p + 2) in source order
    std::vector<char> missing;
};
