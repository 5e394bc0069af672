// The demo engine's reading of a command script.
#include "inputerror.h"
#include "script.h"

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *vData, size_t vSize)
{
    const std::string text(reinterpret_cast<const char *>(vData), vSize);
    try {
        Script::parse(text, "fuzz.tov", "/nonexistent");
    } catch (const InputError &) {
        // Reported to the user as a script mistake.
    }
    return 0;
}
