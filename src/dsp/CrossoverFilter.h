#pragma once

#include <array>

namespace Marlode
{

//==============================================================================
/**
    The two halves of a Linkwitz-Riley crossover for a stereo block: the left and right channels
    high-passed and their mono sum low-passed, each exactly as juce::dsp::LinkwitzRileyFilter
    computes it (the same TPT arithmetic in the same order, the same tidying of tiny state at a
    block's end), but the three filters run side by side sample by sample, so the processor
    overlaps their feedback loops instead of waiting out one channel at a time.

    prepare while no block runs; the rest on the audio thread (or a render's worker).
*/
class CrossoverFilter
{
public:
    void prepare (double sampleRate) noexcept;

    /** The crossover point in Hz, below half the rate; takes effect from the next sample. */
    void setCutoffFrequency (float hz) noexcept;

    /** In place: `left` and `right` high-passed, `mono` low-passed. */
    void process (float* left, float* right, float* mono, int numSamples) noexcept;

private:
    // One filter's two second-order stages' memories.
    struct State
    {
        float s1 = 0.0f, s2 = 0.0f, s3 = 0.0f, s4 = 0.0f;
    };

    double rate = 44100.0;
    float g = 0.0f, h = 1.0f, r2 = 1.41421354f;
    std::array<State, 3> states {}; // left high, right high, mono low
};

} // namespace Marlode
