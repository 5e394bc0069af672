#pragma once

#include "posteriorsummary.h"

#include <string>
#include <vector>

class DataSet;
class ModelData;
class MultilevelData;
class ParameterList;
class Script;

// The texts of the run report, section by section. Headings are upper-case lines ending in a
// colon, notes start with "NOTE:" and warnings with "WARNING:", so the studio can colour them;
// numbers sit in fixed, right-aligned columns.
class Report
{
public:
    static std::string banner(const std::string &version);
    static std::string options(const Script &script, bool traceFiles);
    static std::string dataInformation(const Script &script, const DataSet &data,
                                       const ModelData &model);
    static std::string modelInformation(const ModelData &model);
    static std::string dataInformation(const Script &script, const DataSet &data,
                                       const MultilevelData &model);
    static std::string modelInformation(const MultilevelData &model);
    static std::string historyHeading(long chains, long burn);
    static std::string checkpoint(long from, long to, const PosteriorSummary::Highest &highest,
                                  const ParameterList &parameters);
    static std::string estimates(const ParameterList &parameters,
                                 const std::vector<PosteriorSummary::Estimate> &estimates,
                                 long iterations, long chains);
    static std::string multilevelEstimates(
        const ParameterList &parameters, const std::vector<PosteriorSummary::Estimate> &estimates,
        long iterations, long chains);
    static std::string warnings(const std::vector<std::string> &messages);

    // A number in a column of the given width: three decimals, or scientific notation when
    // that would hide the value.
    static std::string number(double value, int width);

private:
    static std::string missingPerVariable(const std::vector<std::string> &names,
                                          const std::vector<long> &missing, std::size_t rows);
    static std::string estimateTable(const ParameterList &parameters, std::size_t nameWidth,
                                     long iterations, long chains);
    static std::string estimateRow(const std::string &name, const PosteriorSummary::Estimate &e,
                                   std::size_t nameWidth);
};
