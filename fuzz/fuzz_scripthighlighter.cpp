// The script editor's colouring, one line at a time.
#include "editor/syntaxhighlighter.h"
#include "fuzz_highlighter.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::application();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *vData, size_t vSize)
{
    fuzz::highlightLine<SyntaxHighlighter>(vData, vSize);
    return 0;
}
