#pragma once

#include "dsp/TimeStretcher.h"

#include <rubberband/RubberBandStretcher.h>

namespace MarlodeTest
{
/** A 1 kHz sine at half scale, ready to be pulled in blocks of up to 512 at 44.1 kHz. */
struct Tone : juce::ToneGeneratorAudioSource
{
    Tone()
    {
        setFrequency (1000.0);
        setAmplitude (0.5f);
        prepareToPlay (512, 44100.0);
    }
};

/** Pulls one block of a tone through `s`, which hands what was last set to the library; returns the library. */
inline RubberBand::RubberBandStretcher& handOver (Marlode::TimeStretcher& s)
{
    Tone tone;
    juce::AudioBuffer<float> b (2, 512);
    s.pull (tone, juce::AudioSourceChannelInfo (&b, 0, 512));
    return *s.getStretcher();
}

/** A sine of `hz` at half scale for a sample rate, as a generator for writeWav and makeBuffer. */
inline auto sine (double hz, double rate)
{
    return [=] (int, int i) { return 0.5f * (float) std::sin (juce::MathConstants<double>::twoPi * hz * i / rate); };
}
} // namespace MarlodeTest
