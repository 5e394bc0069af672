#include "dataset.h"

#include "inputerror.h"
#include "text.h"

#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>

DataSet DataSet::read(const std::filesystem::path &path, const std::string &name,
                      const std::string &missingCode, std::size_t columns)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw InputError("data file '" + name + "': cannot open \"" + path.string()
                         + "\" for reading.");
    std::ostringstream content;
    content << in.rdbuf();
    if (in.bad())
        throw InputError("data file '" + name + "': reading the file failed.");
    return parse(content.str(), name, missingCode, columns);
}

DataSet DataSet::parse(const std::string &content, const std::string &name,
                       const std::string &missingCode, std::size_t columns)
{
    DataSet data;
    data.nColumns = columns;
    double numericCode = 0.0;
    const bool codeIsNumber = !missingCode.empty() && Text::parseNumber(missingCode, numericCode);
    const std::string where = "data file '" + name + "'";

    std::istringstream in(content);
    std::string line;
    int lineNumber = 0;
    while (std::getline(in, line)) {
        ++lineNumber;
        if (lineNumber == 1 && line.compare(0, 3, "\xEF\xBB\xBF") == 0)
            line.erase(0, 3);
        const auto fields = Text::tokens(line, " \t\r,;");
        if (fields.empty())
            continue;
        if (data.nColumns == 0)
            data.nColumns = fields.size();
        if (fields.size() != data.nColumns)
            throw InputError::at(
                where, lineNumber,
                Text::format("expected %zu values but found %zu.", data.nColumns, fields.size()));
        for (const auto &field : fields) {
            double value = 0.0;
            const bool isNumber = Text::parseNumber(field, value);
            const bool missing
                = field == missingCode || (codeIsNumber && isNumber && value == numericCode);
            if (!isNumber && !missing)
                throw InputError::at(
                    where, lineNumber,
                    "\"" + field + "\" is not a number"
                        + (missingCode.empty()
                               ? std::string(" (and no MISSING code is given).")
                               : " and not the MISSING code \"" + missingCode + "\"."));
            data.values.push_back(missing ? std::numeric_limits<double>::quiet_NaN() : value);
            data.texts.push_back(field);
        }
        ++data.nRows;
    }
    if (data.nRows == 0)
        throw InputError(where + ": the file holds no rows of data.");
    return data;
}

bool DataSet::isMissing(std::size_t row, std::size_t column) const
{
    return std::isnan(values[row * nColumns + column]);
}
