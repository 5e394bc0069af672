#include "simdata.h"

#include "matrix.h"
#include "random.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <stdexcept>

SimData::Settings SimData::slowlyMixing()
{
    Settings slow;
    slow.coefficients = {2.0, 1.0, 1.0};
    slow.residualSd = 0.5;
    slow.correlation = 0.95;
    slow.outcomeMissing = 0.4;
    slow.predictorMissing = 0.7;
    slow.seed = 11;
    return slow;
}

SimData SimData::make(const Settings &settings)
{
    const std::size_t p = settings.coefficients.size() - 1;
    SimData data;
    data.nRows = settings.rows;
    data.nColumns = p + 1;
    data.cells.assign(data.nRows * data.nColumns, 0.0);
    data.missing.assign(data.nRows * data.nColumns, 0);
    Random random(settings.seed);
    // Equicorrelated predictors: a shared factor plus independent noise.
    const double shared = std::sqrt(settings.correlation);
    const double own = std::sqrt(1.0 - settings.correlation);
    for (std::size_t r = 0; r < data.nRows; ++r) {
        double *row = &data.cells[r * data.nColumns];
        const double factor = random.normal();
        double y = settings.coefficients[0];
        for (std::size_t k = 0; k < p; ++k) {
            row[k + 1] = shared * factor + own * random.normal();
            y += settings.coefficients[k + 1] * row[k + 1];
        }
        row[0] = y + settings.residualSd * random.normal();
        for (std::size_t c = 0; c < data.nColumns; ++c) {
            const double fraction = c == 0 ? settings.outcomeMissing : settings.predictorMissing;
            data.missing[r * data.nColumns + c] = random.uniform() < fraction ? 1 : 0;
        }
    }
    return data;
}

std::string SimData::written(double value)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.4f", value);
    return buffer;
}

void SimData::write(const std::filesystem::path &path, const std::string &missingCode) const
{
    std::ofstream out(path, std::ios::binary);
    for (std::size_t i = 0; i < cells.size(); ++i)
        out << (missing[i] ? missingCode : written(cells[i]))
            << ((i + 1) % nColumns == 0 ? '\n' : ' ');
    if (!out)
        throw std::runtime_error("cannot write " + path.string());
}

std::vector<double> SimData::leastSquares() const
{
    const std::size_t q = nColumns;
    Matrix xx(q, q);
    std::vector<double> xy(q, 0.0);
    for (std::size_t r = 0; r < nRows; ++r) {
        const auto first = missing.begin() + static_cast<std::ptrdiff_t>(r * q);
        if (std::any_of(first, first + static_cast<std::ptrdiff_t>(q), [](char m) { return m; }))
            continue;
        // The numbers as written, so the fit is to exactly what the engine reads.
        std::vector<double> z {1.0};
        for (std::size_t c = 1; c < q; ++c)
            z.push_back(std::stod(written(cells[r * q + c])));
        const double y = std::stod(written(cells[r * q]));
        for (std::size_t j = 0; j < q; ++j) {
            for (std::size_t k = 0; k < q; ++k)
                xx(j, k) += z[j] * z[k];
            xy[j] += z[j] * y;
        }
    }
    Matrix lower;
    if (!xx.cholesky(lower))
        throw std::runtime_error("least squares: singular cross products");
    return lower.solveLowerTransposed(lower.solveLower(xy));
}
