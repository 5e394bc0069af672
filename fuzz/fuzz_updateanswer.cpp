// What the maintenance tool prints when asked for updates.
#include "fuzzapp.h"
#include "update/updaterprivate.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *vData, size_t vSize)
{
    try {
        const auto updates = QtAutoUpdater::UpdaterPrivate::parseResult(fuzz::bytes(vData, vSize));
        (void)updates;
    } catch (const QtAutoUpdater::UpdaterPrivate::NoUpdatesXmlException &) {
        // No "<updates>" list: the tool found nothing.
    } catch (const QtAutoUpdater::UpdaterPrivate::InvalidXmlException &) {
        // A broken answer is reported to the user as a failed check.
    }
    return 0;
}
