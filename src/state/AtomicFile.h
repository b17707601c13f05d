#pragma once

#include <juce_core/juce_core.h>

namespace Marlode
{

//==============================================================================
/** Whole-file replacement that never leaves a cut file behind. */
struct AtomicFile
{
    /** File::replaceWithData's way (a hidden file beside the target, renamed over it), but a
        write that fails (a full disk, a missing folder) leaves the old file in place and returns
        false instead of tripping the framework's checks. */
    static bool replaceWithData (const juce::File& file, const void* data, size_t numBytes);
};

} // namespace Marlode
