#pragma once

#include "dsp/SpectrumFeed.h"
#include "ui/TimerRelayListener.h"

#include <juce_dsp/juce_dsp.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <array>

namespace Marlode
{

//==============================================================================
/**
    The spectrum curve behind an equaliser's response curve: 512 points on a logarithmic grid from
    20 Hz over three decades, from -70 dB at the bottom to 0 dB at the top of the component. The
    curve jumps up at once and falls by the set speed on each tick, also when no frame comes.

    Threads: everything here runs on the message thread. The audio thread only fills the
    `SpectrumFeed`; the transform runs here, at most once per tick and only when a frame waits,
    so the audio thread's cost stays one averaged copy per block. The frame is handed back to the
    feed last, after the curve has read it.
*/
class SpectrumAnalyzer : public juce::Component,
                         public TimerRelayListener
{
public:
    static constexpr int numPoints = 512;
    static constexpr float minDb = -70.0f, maxDb = 70.0f;

    explicit SpectrumAnalyzer (SpectrumFeed& feedToShow);

    /** The fall speed combo's texts; an item's id is its index plus one. */
    [[nodiscard]] static juce::StringArray speedNames();

    /** Takes a fall speed combo id ("Slow" 1, "Med" 2, "Fast" 3); any other id is ignored. */
    void setSpeed (int comboId);
    [[nodiscard]] int getFallSpeed() const noexcept { return fallSpeed; }

    /** The last y of a curve point in pixels, or -1 when it shares its FFT bin with the point
        before and isn't drawn. */
    [[nodiscard]] int getPointY (int point) const { return pointY[(size_t) point]; }
    [[nodiscard]] const juce::Path& getPath() const noexcept { return spectrumPath; }

    //==============================================================================
    void timerRelayCallback() override;
    void resized() override;
    void paint (juce::Graphics&) override;

private:
    void resetPoints() noexcept;

    SpectrumFeed& feed;
    juce::dsp::FFT fft { SpectrumFeed::fftOrder };
    juce::dsp::WindowingFunction<float> window { (size_t) SpectrumFeed::frameSize, juce::dsp::WindowingFunction<float>::hann,
                                                 true };

    std::array<float, numPoints> pointDb {};
    std::array<int, numPoints> pointY {};
    double pointsSampleRate = 0.0; // the rate the points' bins were last mapped at
    int width = 0, height = 0;
    float pixelsPerDb = 0.0f;
    int fallSpeed = 5; // pixels per tick

    // The path painted, and the one the tick builds before the two are swapped.
    juce::Path spectrumPath, workingPath;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (SpectrumAnalyzer)
};

} // namespace Marlode
