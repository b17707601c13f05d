#include "support/DeckHarness.h"
#include "support/HostileFiles.h"
#include "support/ColumnExtents.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

TEST (TimelineHeader, TicksBySpan)
{
    double start = 0.0, end = 1.9, span = 1.9;
    TimelineHeader header (&start, &end, &span);
    EXPECT_TRUE (header.getTickTimes().empty()) << "under two seconds: no ticks";

    end = span = 2.0;
    EXPECT_EQ (header.getTickTimes(), (std::vector<double> { 0.0, 1.0, 2.0 }));

    start = 7.3, end = 37.3, span = 30.0;
    EXPECT_EQ (header.getTickTimes(), (std::vector<double> { 10.0, 15.0, 20.0, 25.0, 30.0, 35.0 }));

    // Minutes from 120 s: the first at trunc (step + start / 60), then one step on.
    start = 90.0, end = 690.0, span = 600.0;
    const auto ticks = header.getTickTimes();
    ASSERT_FALSE (ticks.empty());
    EXPECT_EQ (ticks[0], 120.0);
    EXPECT_EQ (ticks[1], 180.0);
}

namespace
{
struct WaveformTest : ::testing::Test
{
    TempFolder temp;
    AlertRecorder alerts;
    DeckHarness h;
    WaveformComponent& w = h.deck.waveform;
    MarkerModel& m = h.deck.engine.markers;

    void at (double seconds) { h.deck.engine.transport.setPosition (seconds); }
    double position() const { return h.deck.engine.getPosition(); }
    void loop (double start, double end) { m.setLoopStart (start), m.setLoopEnd (end), w.updateLoopMarkers(); }

    void SetUp() override
    {
        // Slow shapes, many pixels wide at any zoom used here: a column's extent then
        // depends on its time and not on how the thumbnail's bins fall into pixels.
        const auto file =
            writeWav (temp.file ("tone.wav"), 44100.0, 2, 44100 * 20,
                      [] (int c, int i) {
                          return (float) (0.5 * std::sin (2.0 * juce::MathConstants<double>::pi * (c ? 1.3 : 0.5) * i / 44100.0));
                      });
        ASSERT_TRUE (h.load (file));
        ASSERT_TRUE (pumpUntil ([&] { return ! w.isDrawingDirect(); }, 5000)) << "the thumbnail never completed";
    }
};
}

TEST_F (WaveformTest, ZoomScrollAndFollowKeepTheViewSane)
{
    EXPECT_DOUBLE_EQ (w.viewSpan, 20.0);

    // Zoom out at full view does nothing; zoom in halves about the play head.
    w.zoomOut (WaveformComponent::anchorPosition, 0.0);
    EXPECT_DOUBLE_EQ (w.viewSpan, 20.0);
    at (4.0);
    w.zoomIn (WaveformComponent::anchorPosition, 0.0);
    EXPECT_DOUBLE_EQ (w.viewStart, 2.0);
    EXPECT_DOUBLE_EQ (w.viewEnd, 12.0);

    for (int i = 0; i < 20; ++i)
        w.zoomIn (WaveformComponent::anchorPosition, 0.0);
    EXPECT_GT (w.viewSpan, 0.025) << "never below the smallest span";
    EXPECT_LT (w.viewSpan, 0.05);

    // Scrolling moves a tenth of the span and stops at the ends.
    const auto span = w.viewSpan;
    const auto before = w.viewStart;
    w.scrollView (true);
    EXPECT_NEAR (w.viewStart - before, span / 10.0, 1e-9);
    for (int i = 0; i < 100000 && w.viewEnd < w.getTrackLength(); ++i)
        w.scrollView (true);
    EXPECT_DOUBLE_EQ (w.viewEnd, 20.0);

    // Follow may look before 0; turning it off pulls the view back with its span.
    w.zoomOut (WaveformComponent::anchorPosition, 0.0);
    w.zoomOut (WaveformComponent::anchorPosition, 0.0);
    const auto followSpan = w.viewSpan;
    at (0.0);
    w.followButton.setToggleState (true, juce::sendNotificationSync);
    EXPECT_LT (w.viewStart, 0.0);
    w.followButton.setToggleState (false, juce::sendNotificationSync);
    EXPECT_DOUBLE_EQ (w.viewStart, 0.0);
    EXPECT_DOUBLE_EQ (w.viewSpan, followSpan);
}

TEST_F (WaveformTest, TabDragsNudgesAndClicksOnTheView)
{
    // Dragging the start tab into the end tab stops short of it.
    loop (10.0, 13.0);
    w.tabDragged (&w.loopStartTab, w.loopEndTab.getX() + 100);
    EXPECT_LT (m.getLoopStart(), m.getLoopEnd());
    EXPECT_LE (w.loopStartTab.getX() + w.loopStartTab.getWidth() / 2, w.loopEndTab.getX() + 1);

    // A nudge is a 300th of the span.
    loop (1.0, 3.0);
    w.nudgeLoopStart (true);
    EXPECT_NEAR (m.getLoopStart(), 1.0 + 20.0 / 300.0, 1e-9);

    // Ctrl-Shift-click left of the loop start does nothing; a click at the end doesn't seek.
    const auto area = w.getWaveformArea();
    auto click = [&] (int x, juce::ModifierKeys mods) {
        w.mouseDown (mouseAt (w, { (float) x, (float) area.getCentreY() }, mods));
    };
    const auto endBefore = m.getLoopEnd();
    click (1, juce::ModifierKeys (juce::ModifierKeys::commandModifier | juce::ModifierKeys::shiftModifier));
    EXPECT_EQ (m.getLoopEnd(), endBefore);

    w.loopButton.setToggleState (true, juce::sendNotificationSync);
    click (area.getWidth() / 2, {});
    EXPECT_NEAR (position(), 10.0, 0.05);
    EXPECT_FALSE (m.isLoopOn()) << "a seek past a running loop's end leaves the loop";
}

TEST_F (WaveformTest, CtrlCtrlShiftAndAltOnTheWindowSetTheMarkers)
{
    MARLODE_REQUIRE_DISPLAY();

    h.deck.addToDesktop (0);
    h.deck.setVisible (true);
    ASSERT_TRUE (pumpUntil ([&] { return h.deck.getPeer() != nullptr && h.deck.isShowing(); }, 2000));
    const auto window = juce::String ((juce::uint64) (juce::pointer_sized_uint) h.deck.getPeer()->getNativeHandle());
    w.replayButton.setToggleState (true, juce::sendNotificationSync); // Alt needs the replay tab shown

    // Pointer moves to pixel x on the waveform's middle row, in the window's coordinates.
    const auto y = w.getWaveformArea().getCentreY();
    auto moveTo = [&] (int x)
    {
        const auto p = h.deck.getLocalPoint (&w, juce::Point<int> (x, y));
        return juce::StringArray { "mousemove", "--window", window, juce::String (p.x), juce::String (p.y) };
    };
    auto hoverWith = [&] (const juce::String& keys, int x)
    {
        auto args = moveTo (x - 5);
        args.addArray ({ "keydown", keys });
        args.addArray (moveTo (x));
        const bool ran = xdotool (args);
        const auto cursor = pumpUntil ([&] { return w.getMouseCursor() != juce::MouseCursor::NormalCursor; }, 2000)
                                ? w.getMouseCursor()
                                : juce::MouseCursor();
        xdotool ({ "keyup", keys });
        EXPECT_TRUE (ran);
        w.setMouseCursor (juce::MouseCursor::NormalCursor);
        return cursor;
    };
    auto clickWith = [&] (const juce::String& keys, int x)
    {
        auto args = moveTo (x);
        args.addArray ({ "keydown", keys, "click", "1", "keyup", keys });
        EXPECT_TRUE (xdotool (args));
    };
    const auto timeAt = [&] (int x) { return w.viewStart + w.viewSpan * x / (double) (w.getWidth() - 2); };
    const auto pixel = w.viewSpan / (w.getWidth() - 2);

    EXPECT_TRUE (hoverWith ("ctrl", 300) == juce::MouseCursor::RightEdgeResizeCursor);
    EXPECT_TRUE (hoverWith ("ctrl+shift", 300) == juce::MouseCursor::LeftEdgeResizeCursor);
    EXPECT_TRUE (hoverWith ("alt", 300) == juce::MouseCursor::LeftRightResizeCursor);

    clickWith ("ctrl", 200);
    EXPECT_TRUE (pumpUntil ([&] { return std::abs (m.getLoopStart() - timeAt (200)) < pixel; }, 2000)) << m.getLoopStart();
    clickWith ("ctrl+shift", 600);
    EXPECT_TRUE (pumpUntil ([&] { return std::abs (m.getLoopEnd() - timeAt (600)) < pixel; }, 2000)) << m.getLoopEnd();
    clickWith ("alt", 400);
    EXPECT_TRUE (pumpUntil ([&] { return std::abs (m.getReplay() - timeAt (400)) < pixel; }, 2000)) << m.getReplay();
    EXPECT_EQ (position(), 0.0) << "a marker click doesn't seek";

    // A plain click still seeks, so the clicks above did reach the view.
    auto plainClick = moveTo (500);
    plainClick.addArray ({ "click", "1" });
    ASSERT_TRUE (xdotool (plainClick));
    EXPECT_TRUE (pumpUntil ([&] { return std::abs (position() - timeAt (500)) < pixel; }, 2000)) << position();
    h.deck.removeFromDesktop();
}

TEST_F (WaveformTest, ScrollingImagesDrawWhatDirectDrawingDraws)
{
    at (5.0);
    w.zoomIn (WaveformComponent::anchorPosition, 0.0);
    w.followButton.setToggleState (true, juce::sendNotificationSync);

    // Follow across an image boundary: several ticks, then compare the two ways of drawing.
    for (double t = 5.0; t < 12.0; t += 0.7)
    {
        at (t);
        w.redrawWaveformImages();
    }

    const auto viaImages = w.renderWaveformArea (false);
    const auto direct = w.renderWaveformArea (true);
    ASSERT_EQ (viaImages.getBounds(), direct.getBounds());

    // Each column's drawn extent, top and bottom: the thumbnail's bins fall a pixel apart when
    // the same time is drawn from another start, so a column may match its neighbour.
    const auto a = columnExtents (viaImages), b = columnExtents (direct);
    int drawn = 0, mismatched = 0;

    for (size_t x = 1; x + 1 < a.size(); ++x)
    {
        if (b[x].first < 0)
            continue;

        ++drawn;
        bool matched = false;
        for (size_t n = x - 1; n <= x + 1; ++n)
            matched |= std::abs (a[n].first - b[x].first) <= 2 && std::abs (a[n].second - b[x].second) <= 2;
        mismatched += matched ? 0 : 1;
    }

    EXPECT_GT (drawn, direct.getWidth() / 2) << "the waveform drew something";
    EXPECT_LE (mismatched, 2) << "columns where the scrolled images and direct drawing disagree";

    // The tolerance above hides a shift of a pixel or two; over all columns the two line up
    // best where neither is moved.
    auto misfit = [&] (int shift)
    {
        double sum = 0.0;
        int count = 0;
        for (size_t x = 8; x + 8 < a.size(); ++x)
            if (const auto& p = a[(size_t) ((int) x + shift)]; p.first >= 0 && b[x].first >= 0)
            {
                sum += juce::square (p.first - b[x].first) + juce::square (p.second - b[x].second);
                ++count;
            }
        return count > 0 ? sum / count : 1.0e9;
    };
    int bestShift = 0;
    for (int shift = -4; shift <= 4; ++shift)
        if (misfit (shift) < misfit (bestShift))
            bestShift = shift;
    EXPECT_EQ (bestShift, 0) << "the scrolled images stand " << bestShift << " pixels off";
}

TEST_F (WaveformTest, ADeckWithMarkersAsAPicture)
{
    h.deck.setSize (830, 640);
    loop (6.0, 11.0);
    w.loopButton.setToggleState (true, juce::sendNotificationSync);
    m.setReplay (3.0);
    w.replayButton.setToggleState (true, juce::sendNotificationSync);
    w.updateReplayMarker();
    at (8.0);
    w.updatePlayhead();

    const auto image = h.deck.createComponentSnapshot (h.deck.getLocalBounds());
    const auto png = juce::File (MARLODE_BUILD_DIR).getChildFile ("marlode-deck-waveform.png");
    png.deleteFile();
    juce::FileOutputStream out (png);
    ASSERT_TRUE (juce::PNGImageFormat().writeImageToStream (image, out));

    // The loop's shade and the replay line stand where their times put them.
    const auto area = w.getWaveformArea();
    const auto xOf = [&] (double t) { return w.getX() + (int) ((t - w.viewStart) / w.viewSpan * (w.getWidth() - 2)); };
    const auto y = w.getY() + area.getY() + 5;
    EXPECT_NE (image.getPixelAt (xOf (8.5), y), image.getPixelAt (xOf (15.0), y)) << "inside the loop is shaded";
    EXPECT_EQ (image.getPixelAt (xOf (3.0) + 1, y), juce::Colour (0xff9932cc));
}

TEST_F (WaveformTest, AHostileFileGivesTheThumbnailNothingToSizeFrom)
{
    for (const auto& hostile : writeHostileAudio (temp.folder))
    {
        if (! hostile.mustRefuse)
            continue;

        w.clearTrack();
        EXPECT_FALSE (w.loadTrack (hostile.file)) << hostile.file.getFileName();
        EXPECT_EQ (w.getThumbnail().getTotalLength(), 0.0);
        EXPECT_EQ (w.getThumbnail().getNumChannels(), 0);
    }
}
