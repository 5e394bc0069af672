#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

// A data file as read: one row per line, numbers separated by blanks, tabs, commas or
// semicolons, no header.
// The original texts are kept so that saved imputed data sets show observed values unchanged.
class DataSet
{
public:
    // columns == 0 takes the number of columns from the first row. missingCode may be empty.
    static DataSet read(const std::filesystem::path &path, const std::string &name,
                        const std::string &missingCode, std::size_t columns);
    static DataSet parse(const std::string &content, const std::string &name,
                         const std::string &missingCode, std::size_t columns);

    std::size_t rows() const { return nRows; }
    std::size_t columns() const { return nColumns; }
    bool isMissing(std::size_t row, std::size_t column) const;
    double value(std::size_t row, std::size_t column) const
    {
        return values[row * nColumns + column];
    }
    const std::string &text(std::size_t row, std::size_t column) const
    {
        return texts[row * nColumns + column];
    }

private:
    std::size_t nRows = 0;
    std::size_t nColumns = 0;
    std::vector<double> values; // NaN marks a missing value
    std::vector<std::string> texts;
};
