#pragma once

#include <juce_core/juce_core.h>

namespace MarlodeTest
{

/** Sends bytes from outside down every road a playlist file or a stored layout takes: the check
    and tree, the table layout restore and the playlist's track paths, then writes back whatever
    was read and reads it again. Returns what became of them ("refused: ...", or the root's tag),
    or a text starting with "broken:" when a promise of those roads failed. GUI-free, so the fuzz
    target and the unit tests share it. */
juce::String readOutsideXml (const void* data, size_t size);

} // namespace MarlodeTest
