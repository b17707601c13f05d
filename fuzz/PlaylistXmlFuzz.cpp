// libFuzzer entry: outside bytes through the playlist and stored layout roads. A broken promise
// aborts, so libFuzzer keeps the input; memory and undefined behaviour faults stop it through
// the sanitizers.
#include "support/OutsideXml.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput (const std::uint8_t* data, std::size_t size)
{
    const auto outcome = MarlodeTest::readOutsideXml (data, size);

    if (outcome.startsWith ("broken:"))
    {
        std::fprintf (stderr, "%s\n", outcome.toRawUTF8());
        std::abort();
    }

    return 0;
}
