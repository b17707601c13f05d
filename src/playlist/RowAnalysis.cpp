#include "playlist/RowAnalysis.h"

namespace Marlode
{

RowAnalysis::RowAnalysis (std::unique_ptr<juce::AudioFormatReader> readerToUse, const juce::File& f)
    : juce::Thread ("Row Analysis"), reader (std::move (readerToUse)), file (f)
{
    startThread (juce::Thread::Priority::low);
    startTimer (100);
}

RowAnalysis::~RowAnalysis()
{
    stopTimer();
    analysis.cancel();
    stopThread (10000);
}

void RowAnalysis::run()
{
    if (reader != nullptr)
        results = analysis.analyse (*reader);
    else
        results.error = "unreadable";

    timeText = juce::Time::getCurrentTime().toString (true, true, true, false);
}

void RowAnalysis::timerCallback()
{
    if (isThreadRunning())
    {
        if (onProgress != nullptr)
            onProgress();
        return;
    }

    stopTimer();

    // A copy runs, since the callback may destroy this object and the function with it.
    if (const auto finished = onFinished)
        finished();
}

} // namespace Marlode
