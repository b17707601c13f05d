// A deliberate fault on request, to show that the test patterns catch it: "assertion" fails a
// jassert, "leak" leaves a JUCE object alive at exit, "none" does neither. Always exits 0, so a
// test of it can fail only through what it printed.
#include <juce_core/juce_core.h>

#include <cstring>

namespace
{
// Still reachable at exit, so only JUCE's leak detector reports it, not LeakSanitizer.
juce::MemoryBlock* leaked = nullptr;
}

int main (int argc, char** argv)
{
    const char* fault = argc > 1 ? argv[1] : "none";

    if (std::strcmp (fault, "assertion") == 0)
        jassertfalse;
    else if (std::strcmp (fault, "leak") == 0)
        leaked = new juce::MemoryBlock (16);

    return 0;
}
