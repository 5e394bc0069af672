// The output pane's colouring of what the engine prints, one line at a time.
#include "fuzz_highlighter.h"
#include "workspace/outputhighlighter.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::application();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *vData, size_t vSize)
{
    fuzz::highlightLine<OutputHighlighter>(vData, vSize);
    return 0;
}
