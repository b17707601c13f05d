#pragma once

#include "engine/TimerRelayListener.h"

#include <juce_audio_basics/juce_audio_basics.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <array>
#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    A deck's two-bar level meter. For now it shows each channel's sample peak of the latest
    block; the full set of meter types, ballistics and hold arrives with the metering work.

    process() runs on the audio thread; everything else on the message thread.
*/
class LevelMeter : public juce::Component,
                   public TimerRelayListener
{
public:
    LevelMeter();

    void prepare (int samplesPerBlock, double sampleRate);
    void process (const juce::AudioSourceChannelInfo&) noexcept;
    void reset();

    /** Latest block's sample peak of a channel in dB, floor -70. */
    [[nodiscard]] float getPeakDb (int channel) const noexcept;

    void timerRelayCallback() override;
    void paint (juce::Graphics&) override;

    static constexpr float floorDb = -70.0f;

private:
    // Audio thread writes, message thread reads for painting.
    std::array<std::atomic<float>, 2> peakDb;
    std::array<float, 2> shownDb { floorDb, floorDb };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (LevelMeter)
};

} // namespace Marlode
