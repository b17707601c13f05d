#pragma once

#include "engine/TrackAnalysis.h"

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
    bool isAnalysed = false;
    int rowNumber = 0;         // shown number, written when painted
    double sizeMB = 0.0;       // bytes / 1e6, 0 when the file can't be read
    juce::String durationText; // "hh:mm:ss"

    // Analysis results (dB, LUFS), filled by the analysis.
    float lufs = -300.0f, truePeakMax = -300.0f;
    double rmsStereo = -300.0, rmsLeft = -300.0, rmsRight = -300.0, peakLeft = -300.0, peakRight = -300.0;
    juce::String analysisTime;

    /** A finished measurement's results, measured at `time`; the row counts as analysed. */
    void setAnalysis (const TrackAnalysisResults& r, const juce::String& time)
    {
        isAnalysed = true;
        numChannels = r.numChannels;
        lufs = r.lufs;
        truePeakMax = r.truePeakMax;
        rmsLeft = r.rmsLeft;
        rmsRight = r.rmsRight;
        rmsStereo = r.rmsStereo;
        peakLeft = r.peakLeft;
        peakRight = r.peakRight;
        analysisTime = time;
    }
};

} // namespace Marlode
