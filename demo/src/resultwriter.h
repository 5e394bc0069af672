#pragma once

#include "posteriorsummary.h"

#include <ostream>
#include <utility>
#include <vector>

class DataSet;
class ModelData;
class ParameterList;

// The machine-readable files of a run: trace-plot data and labels, saved estimates and imputed
// data sets.
class ResultWriter
{
public:
    // One line per iteration: the iteration number from 1, then every parameter, comma-separated.
    static void trace(std::ostream &out, const std::vector<double> &draws, std::size_t parameters);
    // A header line, then one record of three quoted fields per parameter: owner, type, argument.
    static void labels(std::ostream &out, const ParameterList &parameters);
    static void estimates(std::ostream &out, const ParameterList &parameters,
                          const std::vector<PosteriorSummary::Estimate> &estimates);
    // The data set with the model's missing values filled in from `imputed` (the values of the
    // missing cells in the sampler's grouped-row order). Other values are copied as written.
    static void imputation(std::ostream &out, const DataSet &data, const ModelData &model,
                           const std::vector<double> &imputed);
    // The same with the missing cells given as (data row, data column), in `imputed`'s order.
    static void imputation(std::ostream &out, const DataSet &data,
                           const std::vector<std::pair<std::size_t, std::size_t>> &cells,
                           const std::vector<double> &imputed);
};
