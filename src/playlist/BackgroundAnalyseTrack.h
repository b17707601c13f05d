#pragma once

#include "engine/TrackAnalysis.h"
#include "playlist/PlaylistRow.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <atomic>
#include <memory>

namespace Marlode
{

//==============================================================================
/**
    Measures one playlist track on its own thread behind a modal progress window with one
    button, "Cancel All". Made, run with runThread() and read on the message thread; its
    results are read only after runThread() has returned.
*/
class BackgroundAnalyseTrack : public juce::ThreadWithProgressWindow,
                               private juce::Thread::Listener
{
public:
    /** `reader` may be null (no reader for the file): the job then measures nothing. `n` of
        `total` is this track's place in the batch. */
    BackgroundAnalyseTrack (std::unique_ptr<juce::AudioFormatReader> reader, const juce::String& fileName, int n, int total);
    ~BackgroundAnalyseTrack() override;

    void run() override;

    /** The user pressed "Cancel All": the batch ends. */
    [[nodiscard]] bool isCancelAll() const noexcept { return cancelAll.load (std::memory_order_relaxed); }

    /** The row's results after a finished run; a job with no reader only marks it analysed. */
    void writeResultsTo (PlaylistRow&) const;

    /** Why the file was not measured (too many channels), empty otherwise. */
    [[nodiscard]] juce::String getRefusal() const { return results.error; }

    [[nodiscard]] static juce::String windowText (const juce::String& fileName, int n, int total);

private:
    void exitSignalSent() override;
    void threadComplete (bool userPressedCancel) override;

    // The window's bar follows the measurement's own progress, read on the message thread.
    struct ProgressFeed : juce::Timer
    {
        explicit ProgressFeed (BackgroundAnalyseTrack& j) : job (j) {}
        void timerCallback() override { job.setProgress (job.analysis.getProgress()); }
        BackgroundAnalyseTrack& job;
    };

    std::unique_ptr<juce::AudioFormatReader> reader;
    TrackAnalysis analysis;
    TrackAnalysisResults results;
    juce::String timeText;
    // Written by the message thread when the window's button ends the job, read by the batch.
    std::atomic<bool> cancelAll { false };
    ProgressFeed progressFeed { *this };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (BackgroundAnalyseTrack)
};

} // namespace Marlode
