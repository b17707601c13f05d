#pragma once

#include <juce_core/juce_core.h>

namespace Marlode
{

/** One playlist track with its file facts. */
struct PlaylistRow
{
    juce::File file;
    juce::String path;     // full path
    juce::String fileName; // without its extension
    bool isLoaded = false; // this row is the track in the player; at most one row has it
    juce::String format;   // extension without the dot, upper case
    double sampleRate = 0.0;
    int bitsPerSample = 0;
    int numChannels = 0;
    juce::int64 lengthInSamples = 0;
};

} // namespace Marlode
