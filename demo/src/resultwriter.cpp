#include "resultwriter.h"

#include "dataset.h"
#include "modeldata.h"
#include "parameterlist.h"

#include <cmath>
#include <cstdio>
#include <limits>

void ResultWriter::trace(std::ostream &out, const std::vector<double> &draws,
                         std::size_t parameters)
{
    char buffer[64];
    std::string line;
    const std::size_t iterations = draws.size() / parameters;
    for (std::size_t i = 0; i < iterations; ++i) {
        line.clear();
        std::snprintf(buffer, sizeof buffer, "%zu", i + 1);
        line += buffer;
        for (std::size_t k = 0; k < parameters; ++k) {
            std::snprintf(buffer, sizeof buffer, ",%.7g", draws[i * parameters + k]);
            line += buffer;
        }
        line += '\n';
        out << line;
    }
}

void ResultWriter::labels(std::ostream &out, const ParameterList &parameters)
{
    out << "\"Variable\" \"Parameter\" \"Argument\"\n";
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const auto &entry = parameters.at(i);
        out << '"' << (entry.owner.empty() ? parameters.outcome() : entry.owner) << "\" \""
            << entry.type << "\" \"" << entry.argument << "\"\n";
    }
}

void ResultWriter::estimates(std::ostream &out, const ParameterList &parameters,
                             const std::vector<PosteriorSummary::Estimate> &estimates)
{
    out << "\"Outcome\",\"Parameter\",\"Argument\",\"Mean\",\"Median\",\"StdDev\",\"2.5%\","
           "\"97.5%\",\"PSR\",\"N_Eff\"\n";
    char buffer[256];
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const auto &e = estimates[i];
        std::snprintf(buffer, sizeof buffer, ",%.8g,%.8g,%.8g,%.8g,%.8g,%.6g,%.1f\n", e.mean,
                      e.median, e.sd, e.lower, e.upper, e.psr, e.effectiveSize);
        out << '"' << parameters.outcome() << "\",\"" << parameters.at(i).type << "\",\""
            << parameters.at(i).argument << '"' << buffer;
    }
}

void ResultWriter::imputation(std::ostream &out, const DataSet &data, const ModelData &model,
                              const std::vector<double> &imputed)
{
    std::vector<std::pair<std::size_t, std::size_t>> cells;
    const std::size_t outcome = model.width() - 1;
    for (const ModelData::Pattern &pattern : model.patterns())
        for (std::size_t r = pattern.first; r < pattern.first + pattern.count; ++r) {
            const std::size_t row = model.originalRows()[r];
            for (int j : pattern.missing)
                cells.emplace_back(row, model.columns()[static_cast<std::size_t>(j) - 1]);
            if (pattern.outcomeMissing)
                cells.emplace_back(row, model.columns()[outcome - 1]);
        }
    imputation(out, data, cells, imputed);
}

void ResultWriter::imputation(std::ostream &out, const DataSet &data,
                              const std::vector<std::pair<std::size_t, std::size_t>> &cells,
                              const std::vector<double> &imputed)
{
    const std::size_t columns = data.columns();
    std::vector<double> filled(data.rows() * columns, std::numeric_limits<double>::quiet_NaN());
    for (std::size_t k = 0; k < cells.size(); ++k)
        filled[cells[k].first * columns + cells[k].second] = imputed[k];
    char buffer[64];
    std::string line;
    for (std::size_t r = 0; r < data.rows(); ++r) {
        line.clear();
        for (std::size_t c = 0; c < columns; ++c) {
            if (c > 0)
                line += ' ';
            const double value = filled[r * columns + c];
            if (std::isnan(value)) {
                line += data.text(r, c);
            } else {
                std::snprintf(buffer, sizeof buffer, "%.6f", value);
                line += buffer;
            }
        }
        line += '\n';
        out << line;
    }
}
