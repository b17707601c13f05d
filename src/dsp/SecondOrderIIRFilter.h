#pragma once

#include <vector>

namespace Marlode
{

//==============================================================================
/**
    One biquad of the BS.1770 K-weighting, in direct form II and double precision. Its
    coefficients are given at 48 kHz with the analogue prototype's parameters, from which they
    are derived again for any other rate.

    prepareToPlay on the thread that owns the meter before processing; process on that thread.
*/
class SecondOrderIIRFilter
{
public:
    struct Design
    {
        double b0, b1, b2, a1, a2; // at 48 kHz
        double Q, VH, VB, VL;      // the analogue prototype
        double arctanK;            // arctangent of the normalised frequency at 48 kHz
    };

    explicit SecondOrderIIRFilter (const Design&);

    /** The high-shelf pre-filter of BS.1770. */
    static SecondOrderIIRFilter preFilter();

    /** The revised low-frequency B curve (a high-pass) of BS.1770. */
    static SecondOrderIIRFilter lowFrequencyBCurve();

    void prepareToPlay (double sampleRate, int numberOfChannels);
    void reset() noexcept;

    /** Filters `samples` of one channel in place. Results not above 1e-8 in size become 0. */
    void process (int channel, double* samples, int numSamples) noexcept;

    /** `first` then `second` over channels 0 and 1 at once, in place: exactly what process()
        gives for each channel and each filter in turn, but the four recursions run side by side
        sample by sample, so the processor overlaps them instead of waiting out one at a time. */
    static void processStereoCascade (SecondOrderIIRFilter& first, SecondOrderIIRFilter& second, double* left, double* right,
                                      int numSamples) noexcept;

    [[nodiscard]] int getNumChannels() const noexcept { return numberOfChannels; }

    // The working coefficients.
    double b0, b1, b2, a1, a2;

private:
    const Design design;
    int numberOfChannels = 0;
    std::vector<double> z1, z2;
};

} // namespace Marlode
