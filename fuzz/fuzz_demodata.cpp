// The demo engine's reading of a data file. The first byte picks the missing-value code and
// whether the column count is fixed; the rest is the file.
#include "dataset.h"
#include "inputerror.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *vData, size_t vSize)
{
    if (vSize == 0)
        return 0;
    static const char *const codes[] = {"", "-999", "999", ".", "NA", "*", "-9", "nan"};
    const std::string missing = codes[vData[0] & 7];
    const std::size_t columns = (vData[0] >> 3) & 7;
    const std::string content(reinterpret_cast<const char *>(vData + 1), vSize - 1);
    try {
        const DataSet data = DataSet::parse(content, "fuzz.dat", missing, columns);
        if (columns != 0 && data.rows() > 0 && data.columns() != columns)
            abort();
        for (std::size_t r = 0; r < data.rows(); ++r) {
            for (std::size_t c = 0; c < data.columns(); ++c) {
                if (!data.isMissing(r, c) && !std::isfinite(data.value(r, c)))
                    abort();
            }
        }
    } catch (const InputError &) {
        // Reported to the user as a data mistake.
    }
    return 0;
}
