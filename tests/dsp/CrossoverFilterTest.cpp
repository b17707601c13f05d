#include "dsp/CrossoverFilter.h"
#include "support/TestAudio.h"

#include <juce_dsp/juce_dsp.h>

#include <gtest/gtest.h>

// The three filters side by side give bit for bit what the framework's Linkwitz-Riley filters
// give, block after block, with the cutoff moving between blocks.
TEST (CrossoverFilter, IsBitForBitTheFrameworksLinkwitzRileyPair)
{
    constexpr double rate = 48000.0;
    auto stereo = MarlodeTest::makeBuffer (2, 20000, MarlodeTest::noise);
    auto mono = MarlodeTest::makeBuffer (1, 20000, [] (int, int i) { return MarlodeTest::noise (1, i) * 0.5f; });
    auto expectedStereo = stereo, expectedMono = mono;

    juce::dsp::LinkwitzRileyFilter<float> high, low;
    high.setType (juce::dsp::LinkwitzRileyFilterType::highpass);
    low.setType (juce::dsp::LinkwitzRileyFilterType::lowpass);
    high.prepare ({ rate, 4096, 2 });
    low.prepare ({ rate, 4096, 1 });
    Marlode::CrossoverFilter crossover;
    crossover.prepare (rate);

    for (int start = 0, length = 1, block = 0; start < 20000; start += length, length = length * 5 % 3000 + 1, ++block)
    {
        const auto n = std::min (length, 20000 - start);
        const auto cutoff = 40.0f + 37.0f * (float) (block % 20);
        for (auto* f : { &high, &low })
            f->setCutoffFrequency (cutoff);
        auto highBlock = juce::dsp::AudioBlock<float> (expectedStereo).getSubBlock ((size_t) start, (size_t) n);
        auto lowBlock = juce::dsp::AudioBlock<float> (expectedMono).getSubBlock ((size_t) start, (size_t) n);
        high.process (juce::dsp::ProcessContextReplacing<float> (highBlock));
        low.process (juce::dsp::ProcessContextReplacing<float> (lowBlock));

        crossover.setCutoffFrequency (cutoff);
        crossover.process (stereo.getWritePointer (0, start), stereo.getWritePointer (1, start), mono.getWritePointer (0, start),
                           n);
    }

    const auto same = [] (const juce::AudioBuffer<float>& a, const juce::AudioBuffer<float>& b, int channel)
    { return std::memcmp (a.getReadPointer (channel), b.getReadPointer (channel), sizeof (float) * 20000) == 0; };
    EXPECT_TRUE (same (stereo, expectedStereo, 0));
    EXPECT_TRUE (same (stereo, expectedStereo, 1));
    EXPECT_TRUE (same (mono, expectedMono, 0));
}
