#include "simdata.h"

#include "matrix.h"
#include "random.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <stdexcept>

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

void SimData::write(const std::filesystem::path &path, const std::string &missingCode) const
{
    std::ofstream out(path, std::ios::binary);
    char buffer[64];
    for (std::size_t r = 0; r < nRows; ++r) {
        std::string line;
        for (std::size_t c = 0; c < nColumns; ++c) {
            if (c > 0)
                line += ' ';
            if (isMissing(r, c)) {
                line += missingCode;
            } else {
                std::snprintf(buffer, sizeof buffer, "%.4f", value(r, c));
                line += buffer;
            }
        }
        out << line << '\n';
    }
    if (!out)
        throw std::runtime_error("cannot write " + path.string());
}

std::vector<double> SimData::leastSquares() const
{
    const std::size_t q = nColumns;
    Matrix xx(q, q);
    std::vector<double> xy(q, 0.0);
    for (std::size_t r = 0; r < nRows; ++r) {
        bool complete = true;
        for (std::size_t c = 0; c < nColumns; ++c)
            complete = complete && !isMissing(r, c);
        if (!complete)
            continue;
        // Round as written, so the fit is to exactly the numbers the engine reads.
        std::vector<double> z(q);
        z[0] = 1.0;
        char buffer[64];
        for (std::size_t c = 1; c < q; ++c) {
            std::snprintf(buffer, sizeof buffer, "%.4f", value(r, c));
            z[c] = std::strtod(buffer, nullptr);
        }
        std::snprintf(buffer, sizeof buffer, "%.4f", value(r, 0));
        const double y = std::strtod(buffer, nullptr);
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
