#include "dsp/SecondOrderIIRFilter.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <cstring>

using Marlode::SecondOrderIIRFilter;

// The K-weighting run on both channels and both stages side by side gives, bit for bit, what
// each filter gives each channel in turn, across blocks and with the tiny values snapped to 0.
TEST (SecondOrderIIRFilter, TheStereoCascadeIsBitForBitTheFiltersOneByOne)
{
    for (const auto rate : { 44100.0, 48000.0 })
    {
        auto pre = SecondOrderIIRFilter::preFilter(), low = SecondOrderIIRFilter::lowFrequencyBCurve();
        auto pairPre = SecondOrderIIRFilter::preFilter(), pairLow = SecondOrderIIRFilter::lowFrequencyBCurve();
        for (auto* f : { &pre, &low, &pairPre, &pairLow })
            f->prepareToPlay (rate, 2);

        // Noise that fades to nothing, so the snap to 0 comes into play.
        std::array<std::vector<double>, 2> one, pair;
        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < 20000; ++i)
                one[(size_t) c].push_back (MarlodeTest::noise (c, i) * std::pow (0.999, i));
        pair = one;

        for (int start = 0, length = 1; start < 20000; start += length, length = length * 3 % 900 + 1)
        {
            const auto n = std::min (length, 20000 - start);
            for (int c = 0; c < 2; ++c)
            {
                pre.process (c, one[(size_t) c].data() + start, n);
                low.process (c, one[(size_t) c].data() + start, n);
            }
            SecondOrderIIRFilter::processStereoCascade (pairPre, pairLow, pair[0].data() + start, pair[1].data() + start, n);
        }

        for (size_t c = 0; c < 2; ++c)
            EXPECT_EQ (std::memcmp (one[c].data(), pair[c].data(), sizeof (double) * 20000), 0)
                << "channel " << c << " at " << rate;
        EXPECT_EQ (pair[0].back(), 0.0) << "faded below the snap";
    }
}
