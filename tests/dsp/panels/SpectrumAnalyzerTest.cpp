#include "dsp/panels/SpectrumAnalyzer.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;

namespace
{
constexpr int width = 900, height = 300;

struct SpectrumCurve : ::testing::Test
{
    SpectrumFeed feed;
    SpectrumAnalyzer analyzer { feed };

    void SetUp() override { analyzer.setSize (width, height); }

    // Pushes one frame of `signal` in stereo and turns it into the curve.
    void showFrame (const std::function<float (int index)>& signal)
    {
        auto block = MarlodeTest::makeBuffer (2, SpectrumFeed::frameSize, [&] (int, int i) { return signal (i); });
        feed.push (juce::AudioSourceChannelInfo (block));
        ASSERT_NE (feed.takeFrame(), nullptr);
        analyzer.timerRelayCallback();
    }

    std::vector<int> pointYs() const
    {
        std::vector<int> ys;
        for (int i = 0; i < SpectrumAnalyzer::numPoints; ++i)
            ys.push_back (analyzer.getPointY (i));
        return ys;
    }

    // The path's corners, in order; `closed` tells whether it ends in a close.
    bool closed = false;
    std::vector<juce::Point<float>> corners()
    {
        std::vector<juce::Point<float>> points;
        for (juce::Path::Iterator it (analyzer.getPath()); it.next();)
            if (! (closed = it.elementType == juce::Path::Iterator::closePath))
                points.push_back ({ it.x1, it.y1 });
        return points;
    }
};

// One full-scale sample in the middle of each frame: through the window it is 2 in every bin,
// 20 log10 (2 / 1024) = -54.2 dB, 15.8 dB above the bottom.
float click (int index)
{
    return index % SpectrumFeed::frameSize == SpectrumFeed::frameSize / 2 ? 1.0f : 0.0f;
}
const float clickY = (float) (int) (height - 15.8 * height / 70.0);

double xOfFrequency (double hz)
{
    return width * std::log10 (hz / 20.0) / 3.0;
}
}

TEST_F (SpectrumCurve, ASinePeaksAtItsFrequencyAtEitherRate)
{
    for (const auto rate : { 44100.0, 48000.0 })
        for (const auto hz : { 440.0, 1000.0, 5000.0, 12000.0 })
        {
            SCOPED_TRACE (juce::String (rate) + " Hz rate, " + juce::String (hz) + " Hz");
            feed.prepare (rate, 512);
            showFrame ([=] (int i) { return 0.5f * (float) std::sin (juce::MathConstants<double>::twoPi * hz * i / rate); });

            const auto points = corners();
            const auto top = std::min_element (points.begin(), points.end(), [] (auto a, auto b) { return a.y < b.y; });
            // Within one bin, and a point's width (900 / 512 pixels) for the grid's steps.
            const auto binHz = rate / SpectrumFeed::frameSize;
            EXPECT_GE (top->x, xOfFrequency (hz - binHz) - 2.0);
            EXPECT_LE (top->x, xOfFrequency (hz + binHz) + 2.0);

            // Half of full scale is -6 dB, 64 of the 70 dB above the bottom, less the window's loss
            // between bins. Up to 1 kHz every bin has a point; higher, the nearest point may read
            // a bin beside the peak.
            if (hz <= 1000.0)
                EXPECT_NEAR (top->y, height * 6.0 / 70.0, height * 2.0 / 70.0);

            // Down to the bottom before the next sine.
            for (int tick = 0; tick < height / analyzer.getFallSpeed() + 1; ++tick)
                analyzer.timerRelayCallback();
        }
}

// The curve's path, and what it paints: only under the curve.
TEST_F (SpectrumCurve, LowPointsShareBinsAndThePathIsClosedAtTheBottom)
{
    EXPECT_TRUE (corners().empty());
    auto image = analyzer.createComponentSnapshot (analyzer.getLocalBounds());
    EXPECT_EQ (image.getPixelAt (width / 2, height - 1).getAlpha(), 0) << "no curve yet, nothing painted";

    feed.prepare (44100.0, 512);
    showFrame (click);
    EXPECT_EQ (feed.takeFrame(), nullptr) << "the frame is handed back";
    image = analyzer.createComponentSnapshot (analyzer.getLocalBounds());
    EXPECT_NEAR (image.getPixelAt (width / 2, height - 1).getAlpha(), 64, 2) << "a quarter opacity below the curve";
    EXPECT_EQ (image.getPixelAt (width / 2, 1).getAlpha(), 0) << "nothing above it";

    // Below 200 Hz (point 171) 171 points meet 9 bins; from 2 kHz up every point has bins of its own.
    const auto ys = pointYs();
    EXPECT_GE (std::count (ys.begin(), ys.begin() + 171, -1), 155);
    EXPECT_EQ (std::count (ys.begin() + 342, ys.end(), -1), 0);
    EXPECT_NE (ys[0], -1) << "the first point has no point before it to share with";

    // The drawn points stand at their grid places, the click lifts every one of them, and the
    // path closes along the bottom.
    std::vector<juce::Point<float>> expected { { 0.0f, (float) height } };
    for (int i = 0; i < SpectrumAnalyzer::numPoints; ++i)
        if (ys[(size_t) i] != -1)
            expected.push_back ({ (float) (width * i / SpectrumAnalyzer::numPoints), clickY });
    expected.push_back ({ (float) width, (float) height });
    EXPECT_EQ (corners(), expected);
    EXPECT_TRUE (closed);
}

TEST_F (SpectrumCurve, TheCurveFallsBySpeedToTheBottomAndNoFurther)
{
    feed.prepare (48000.0, 512);

    for (const auto [id, speed] : { std::pair { 1, 2 }, { 3, 10 }, { 2, 5 }, { 4, 5 }, { 0, 5 } })
    {
        SCOPED_TRACE (id);
        analyzer.setSpeed (id);
        EXPECT_EQ (analyzer.getFallSpeed(), speed) << "an unknown id leaves the speed as it was";

        showFrame (click);
        auto before = pointYs();
        ASSERT_LT (*std::max_element (before.begin(), before.end()), height - 3 * speed);

        // One silent frame, then ticks with no frame at all: each a fall by the speed.
        showFrame ([] (int) { return 0.0f; });
        for (int tick = 0; tick <= height / speed + 1; ++tick, analyzer.timerRelayCallback())
        {
            const auto after = pointYs();
            for (int i = 0; i < SpectrumAnalyzer::numPoints; ++i)
                ASSERT_EQ (after[(size_t) i], before[(size_t) i] == -1 ? -1 : std::min (height, before[(size_t) i] + speed))
                    << "point " << i << ", tick " << tick;
            before = after;
        }

        for (const auto y : before)
            EXPECT_TRUE (y == -1 || y == height);
    }
}
