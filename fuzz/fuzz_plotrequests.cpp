// A script's plot, chains, bygroup and "#!" requests, scanned before each run.
#include "fuzzapp.h"
#include "workspace/plotrequests.h"

#include <QWidget>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::application();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *vData, size_t vSize)
{
    static QWidget *window = new QWidget;
    PlotRequests requests(QStringLiteral("/opt/engine/tovrel"), false);
    requests.evaluate(fuzz::text(vData, vSize), window);
    return 0;
}
