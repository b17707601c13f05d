#pragma once

#include "engine/TrackAnalysis.h"

#include <juce_events/juce_events.h>

#include <functional>
#include <memory>

namespace Marlode
{

//==============================================================================
/**
    Measures one playlist track on a thread of its own with no window: what a comparison needs
    when it meets a track that was never analysed. Its progress and its end are reported on the
    message thread, where it is made and destroyed; destroying it cancels the measurement.
*/
class RowAnalysis : private juce::Thread,
                    private juce::Timer
{
public:
    RowAnalysis (std::unique_ptr<juce::AudioFormatReader>, const juce::File&);
    ~RowAnalysis() override;

    [[nodiscard]] const juce::File& getFile() const noexcept { return file; }

    /** 0 to 1, from any thread. */
    [[nodiscard]] double getProgress() const noexcept { return analysis.getProgress(); }

    /** Message thread, about every 100 ms while measuring. */
    std::function<void()> onProgress;

    /** Message thread, once, when the measurement has ended; the results are then read. */
    std::function<void()> onFinished;

    [[nodiscard]] const TrackAnalysisResults& getResults() const noexcept { return results; }
    [[nodiscard]] const juce::String& getTimeText() const noexcept { return timeText; }

private:
    void run() override;
    void timerCallback() override;

    std::unique_ptr<juce::AudioFormatReader> reader;
    juce::File file;
    TrackAnalysis analysis;
    // Written by the thread before it ends; read on the message thread after it has.
    TrackAnalysisResults results;
    juce::String timeText;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (RowAnalysis)
};

} // namespace Marlode
