#include "dsp/StreamingPreview.h"
#include "support/Ebur128Reference.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
constexpr double rate = 44100.0;
constexpr int block = 512;

// Ten seconds of pink noise at an integrated loudness, with a short burst of a quarter-rate
// tone at 45 degrees each second whose crests fall between the samples, 3 dB over them, at
// -4 dBTP when the whole is at -20 LUFS.
juce::AudioBuffer<float> programmeAt (double lufs)
{
    const auto pink = pinkNoise ((int) rate * 10);
    auto audio = makeBuffer (2, (int) pink.size(), [&] (int c, int i) { return pink[(size_t) i] * (c == 0 ? 1.0f : 0.8f); });
    const auto toLufs = [&] (double target)
    { audio.applyGain (juce::Decibels::decibelsToGain ((float) (target - Ebur128Reference (audio, rate).integratedLufs))); };
    toLufs (-20.0);
    for (int i = 0; i < audio.getNumSamples(); ++i)
        if (i % (int) rate < 64)
            for (int c = 0; c < 2; ++c)
                audio.setSample (
                    c, i,
                    0.63f
                        * (float) std::sin (juce::MathConstants<double>::halfPi * (i % 4) + juce::MathConstants<double>::pi / 4));
    toLufs (lufs);
    return audio;
}

juce::AudioBuffer<float> play (StreamingPreview& preview, juce::AudioBuffer<float> audio)
{
    for (int start = 0; start < audio.getNumSamples(); start += block)
        preview.process ({ &audio, start, std::min (block, audio.getNumSamples() - start) });
    return audio;
}

// Equal sample for sample from `from` on.
bool identical (const juce::AudioBuffer<float>& a, const juce::AudioBuffer<float>& b, int from = 0)
{
    for (int c = 0; c < 2; ++c)
        if (std::memcmp (a.getReadPointer (c, from), b.getReadPointer (c, from),
                         sizeof (float) * (size_t) (a.getNumSamples() - from))
            != 0)
            return false;
    return true;
}
}

TEST (StreamingPreview, TheServicesGainTurnsDownAlwaysAndUpOnlyWhenAllowed)
{
    struct Row
    {
        double track, target;
        bool boost;
        double gain;
    };
    for (const auto& r :
         { Row { -8.0, -14.0, false, -6.0 }, Row { -8.0, -14.0, true, -6.0 }, Row { -20.0, -14.0, false, 0.0 },
           Row { -20.0, -14.0, true, 6.0 }, Row { -30.0, -23.0, true, 7.0 }, Row { std::nan (""), -14.0, true, 0.0 },
           Row { -100.0, -14.0, true, 0.0 }, Row { -8.0, std::nan (""), false, 0.0 } })
        EXPECT_DOUBLE_EQ (StreamingPreview::gainDb (r.track, r.target, r.boost), r.gain) << r.track << " to " << r.target;
}

TEST (StreamingPreview, ALoudTrackPlaysAtTheTargetAndAQuietOneIsLeftAloneUntilBoostIsAllowed)
{
    StreamingPreview preview;
    preview.prepare (rate, block, 2);

    const auto loud = programmeAt (-8.0);
    EXPECT_TRUE (identical (play (preview, loud), loud)) << "off touches nothing";

    preview.setTarget (-14.0);
    preview.setTrackLoudness (-8.0);
    EXPECT_NEAR (Ebur128Reference (play (preview, loud), rate).integratedLufs, -14.0, 0.2);

    const auto quiet = programmeAt (-20.0);
    preview.setTrackLoudness (-20.0);
    EXPECT_TRUE (identical (play (preview, quiet), quiet, (int) rate / 10))
        << "never raised without boost, once the -6 dB has glided up";

    preview.setAllowBoost (true);
    const Ebur128Reference boosted (play (preview, quiet), rate);
    EXPECT_NEAR (boosted.integratedLufs, -14.0, 0.5) << "raised, the limiter taking only the bursts' peaks";
    EXPECT_LE (boosted.truePeakDb, StreamingPreview::ceilingDbTP) << "no true peak past the ceiling";
    EXPECT_GT (Ebur128Reference (quiet, rate).truePeakDb + 6.0, -1.0 + 2.0) << "the bursts would have passed it";
}

TEST (StreamingPreview, TheLimiterStartingAgainGivesNothingBackFromItsLastRun)
{
    StreamingPreview preview;
    preview.prepare (rate, block, 2);
    preview.setTarget (-14.0);
    preview.setTrackLoudness (-20.0);
    preview.setAllowBoost (true);
    play (preview, programmeAt (-20.0));

    juce::AudioBuffer<float> silence (2, block * 4);
    silence.clear();
    preview.setAllowBoost (false);
    play (preview, silence); // with the limiter idle

    preview.setAllowBoost (true);
    EXPECT_EQ (play (preview, silence).getMagnitude (0, block * 4), 0.0f);
}
