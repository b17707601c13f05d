#include "playlist/BackgroundAnalyseTrack.h"

namespace Marlode
{

namespace
{
    constexpr int progressUpdateMs = 50;
}

BackgroundAnalyseTrack::BackgroundAnalyseTrack (std::unique_ptr<juce::AudioFormatReader> readerToUse,
                                                const juce::String& fileName, int n, int total)
    : juce::ThreadWithProgressWindow ({}, true, true, 10000, "Cancel All"), reader (std::move (readerToUse))
{
    setStatusMessage (windowText (fileName, n, total));
    addListener (this);
    progressFeed.startTimer (progressUpdateMs);
}

BackgroundAnalyseTrack::~BackgroundAnalyseTrack()
{
    progressFeed.stopTimer();
    removeListener (this);
}

juce::String BackgroundAnalyseTrack::windowText (const juce::String& fileName, int n, int total)
{
    return "Analysing: " + fileName + "\r\n\r\n" + juce::String (n) + " of " + juce::String (total);
}

void BackgroundAnalyseTrack::run()
{
    if (reader == nullptr)
        return;
    results = analysis.analyse (*reader);
    timeText = juce::Time::getCurrentTime().toString (true, true, true, false);
}

void BackgroundAnalyseTrack::exitSignalSent()
{
    analysis.cancel();
}

void BackgroundAnalyseTrack::threadComplete (bool userPressedCancel)
{
    progressFeed.stopTimer();
    if (userPressedCancel)
        cancelAll.store (true, std::memory_order_relaxed);
}

void BackgroundAnalyseTrack::writeResultsTo (PlaylistRow& row) const
{
    if (reader == nullptr)
        row.isAnalysed = true;
    else
        row.setAnalysis (results, timeText);
}

} // namespace Marlode
