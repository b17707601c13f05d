#pragma once

#include "dsp/Ebu128LoudnessMeter.h"
#include "dsp/PeakFollower.h"
#include "dsp/TruePeakMeter.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <array>
#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    What a level meter measures and how its bars move: sample peak, true peak, RMS, RMS with
    peak, LUFS or LUFS with true peak, each bar rising at once and falling in a straight line
    (in dB) over its decay time.

    The audio thread runs process(); the interface reads the published values and changes the
    state only through the calls marked "message thread", which take a flag that the audio
    thread tries once per block and, if it finds it taken, leaves that block's bars alone. So
    the audio thread never waits and the smoothers never have two writers.
*/
class LevelMeterProcessor
{
public:
    enum Type
    {
        peak = 1,
        truePeak = 2,
        rms = 3,
        rmsAndPeak = 4,
        lufs = 5,
        lufsAndTruePeak = 6
    };

    enum LufsType
    {
        momentary = 1,
        shortTerm = 2,
        integrated = 3
    };

    LevelMeterProcessor();

    /** Device start (message thread). */
    void prepare (int samplesPerBlock, double sampleRate);

    /** Audio thread. Blocks with more than two channels aren't measured. */
    void process (const juce::AudioSourceChannelInfo&) noexcept;

    /** Message thread: clears hold, clip and loudness, and puts the bars on the floor. */
    void reset();

    /** Message thread, on each 30 Hz tick: a meter that gets no blocks while its deck isn't
        playing falls to the floor at its decay speed (integrated LUFS stays on screen). */
    void fallWhenIdle (bool deckIsPlaying);

    /** Message thread: a new decay restarts both bars' smoothers at their present target. */
    void setDecayTimes (double levelSeconds, double peakSeconds);

    // Settings: the interface writes them, the audio thread reads them each block.
    std::atomic<int> meterType { peak };
    std::atomic<int> lufsMeterType { momentary };
    std::atomic<double> smoothedLevelDecayTime { 0.5 };
    std::atomic<double> smoothedPeakDecayTime { 3.0 };

    static constexpr float floorDb = -70.0f;
    static constexpr float rangeDb = 70.0f;
    static constexpr int numChannels = 2;

    // Published by the audio thread for the display.
    struct Display
    {
        std::atomic<float> level { floorDb }, peak { floorDb }, maxHold { floorDb };
    };

    [[nodiscard]] const Display& display (int channel) const noexcept { return shown[(size_t) juce::jlimit (0, 1, channel)]; }
    [[nodiscard]] const Ebu128LoudnessMeter& getLoudnessMeter() const noexcept { return loudness; }
    [[nodiscard]] const TruePeakMeter& getTruePeakMeter() const noexcept { return truePeakMeter; }

private:
    struct Channel
    {
        float level = floorDb, rmsLevel = floorDb, maxHold = floorDb;
        PeakFollower levelSmoother { floorDb }, peakSmoother { floorDb };
    };

    bool tryAcquire() noexcept { return ! busy.exchange (true, std::memory_order_acquire); }
    void acquire() noexcept;
    void release() noexcept { busy.store (false, std::memory_order_release); }

    float lufsValue() const noexcept;
    void publish() noexcept;
    void setSteps (double levelSeconds, double peakSeconds) noexcept;

    std::array<Channel, numChannels> channels;
    std::array<Display, numChannels> shown;
    Ebu128LoudnessMeter loudness;
    TruePeakMeter truePeakMeter;
    double sampleRate = 44100.0;

    std::atomic<bool> busy { false };
    std::atomic<juce::uint32> blocksProcessed { 0 }; // audio thread counts, the tick compares
    juce::uint32 blocksAtLastTick = 0;               // message thread

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (LevelMeterProcessor)
};

} // namespace Marlode
