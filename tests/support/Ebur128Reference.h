#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

#include <ebur128.h>

#include <cmath>
#include <vector>

namespace MarlodeTest
{

// libebur128's view of a stereo buffer at a rate: the reference our own meters answer to.
struct Ebur128Reference
{
    double integratedLufs = 0.0, truePeakDb = 0.0;

    Ebur128Reference (const juce::AudioBuffer<float>& audio, double rate)
    {
        auto* state = ebur128_init (2, (unsigned long) rate, EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK);
        std::vector<float> frames ((size_t) audio.getNumSamples() * 2);
        for (int i = 0; i < audio.getNumSamples(); ++i)
            for (int c = 0; c < 2; ++c)
                frames[(size_t) (2 * i + c)] = audio.getSample (c, i);
        ebur128_add_frames_float (state, frames.data(), (size_t) audio.getNumSamples());
        ebur128_loudness_global (state, &integratedLufs);

        double peak = 0.0, channelPeak = 0.0;
        for (unsigned c = 0; c < 2; ++c)
        {
            ebur128_true_peak (state, c, &channelPeak);
            peak = std::max (peak, channelPeak);
        }
        truePeakDb = 20.0 * std::log10 (peak);
        ebur128_destroy (&state);
    }
};

} // namespace MarlodeTest
