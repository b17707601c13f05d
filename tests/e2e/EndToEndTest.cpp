#include "e2e/AppProcess.h"
#include "support/JackRecorder.h"
#include "support/TestAudio.h"

#include <juce_dsp/juce_dsp.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

using namespace MarlodeTest;

namespace
{
    // Where the layout puts things, for a main window of the given size: the resize border around
    // the content, then the window's own bar and the master strip above the deck.
    struct Layout
    {
        int width, height;

        static constexpr int border = 4, titleBar = 25, masterStrip = 50;
        juce::Point<int> deckOrigin() const { return { border, border + titleBar + masterStrip }; }
        int deckWidth() const { return width - 2 * border; }
        int deckHeight() const { return height - 2 * border - titleBar - masterStrip; }

        juce::Point<int> playButton() const
        {
            const int h = deckHeight(), iw = deckWidth() - 20, ih = h - 20 + 10;
            const int upper = std::clamp ((int) (0.5f * (float) h), 300, h - 300);
            const int strip = 25, uh = std::min (ih - strip, upper), bar = std::min (ih - strip - uh, 10);
            const int ly = strip + uh + bar, lh = ih - ly, mw = 75, sp = iw - 150, ts = std::min (lh, 100);
            const int rowTop = ly + lh - ts + 10 + 30, rowY = rowTop + (ly + lh - rowTop - 50) / 2;
            const int transportX = mw + (sp - 400) / 2 + 5 + 210;
            return deckOrigin() + juce::Point<int> (transportX + 50 + 25, rowY + 25);
        }

        juce::Point<int> stopButton() const { return playButton() + juce::Point<int> (50, 0); }
        juce::Point<int> closeButton() const { return { width - border - titleBar, border + titleBar / 2 }; }

        // Deck tab n (from 1), in the master strip's left end.
        juce::Point<int> deckTab (int n) const { return { border + 8 + 30 * (n - 1) + 15, border + titleBar + masterStrip / 2 }; }
    };

    Layout windowLayout (const juce::String& windowId)
    {
        const auto geometry = run ({ "xdotool", "getwindowgeometry", windowId }).fromLastOccurrenceOf ("Geometry:", false, false).trim();
        return { geometry.upToFirstOccurrenceOf ("x", false, false).getIntValue(),
                 geometry.fromFirstOccurrenceOf ("x", false, false).getIntValue() };
    }

    void click (const juce::String& windowId, juce::Point<int> p) { clickAt (windowId, p.x, p.y); }

    struct Match
    {
        int fileOffset = -1; // where in the file the recording's first sounding sample lies
        double correlation = 0.0;
        int length = 0;
    };

    // Finds the recording's sounding part in the file by FFT cross-correlation, then measures the
    // normalised correlation of the whole aligned stretch.
    Match align (const std::vector<float>& recording, const juce::AudioBuffer<float>& file)
    {
        Match m;
        const auto first = std::find_if (recording.begin(), recording.end(), [] (float s) { return std::abs (s) > 1.0e-4f; });
        const auto last = std::find_if (recording.rbegin(), recording.rend(), [] (float s) { return std::abs (s) > 1.0e-4f; });
        if (first == recording.end())
            return m;

        const auto start = (int) (first - recording.begin());
        const auto end = (int) (recording.rend() - last);
        const int probeLength = std::min (8192, end - start);
        const int fileLength = file.getNumSamples();
        const int order = juce::roundToInt (std::ceil (std::log2 ((double) (fileLength + probeLength))));
        const int size = 1 << order;

        juce::dsp::FFT fft (order);
        std::vector<float> a ((size_t) size * 2, 0.0f), b ((size_t) size * 2, 0.0f);
        std::copy (file.getReadPointer (0), file.getReadPointer (0) + fileLength, a.begin());
        std::copy (recording.begin() + start, recording.begin() + start + probeLength, b.begin());
        fft.performRealOnlyForwardTransform (a.data());
        fft.performRealOnlyForwardTransform (b.data());

        for (int k = 0; k < size; ++k)
        {
            const std::complex<float> x (a[(size_t) 2 * k], a[(size_t) 2 * k + 1]), y (b[(size_t) 2 * k], b[(size_t) 2 * k + 1]);
            const auto product = x * std::conj (y);
            a[(size_t) 2 * k] = product.real();
            a[(size_t) 2 * k + 1] = product.imag();
        }

        fft.performRealOnlyInverseTransform (a.data());
        m.fileOffset = (int) (std::max_element (a.begin(), a.begin() + (fileLength - probeLength)) - a.begin());

        double sxy = 0.0, sxx = 0.0, syy = 0.0;
        m.length = std::min (end - start, fileLength - m.fileOffset);
        for (int i = 0; i < m.length; ++i)
        {
            const double x = recording[(size_t) (start + i)], y = file.getSample (0, m.fileOffset + i);
            sxy += x * y;
            sxx += x * x;
            syy += y * y;
        }

        m.correlation = sxx > 0.0 && syy > 0.0 ? sxy / std::sqrt (sxx * syy) : 0.0;
        return m;
    }

    float peak (const std::vector<float>& v)
    {
        float p = 0.0f;
        for (auto s : v)
            p = std::max (p, std::abs (s));
        return p;
    }

    struct EndToEnd : ::testing::Test
    {
        TempFolder temp;
        juce::File home = temp.file ("home");
        JackRecorder recorder;
        juce::File track;
        juce::AudioBuffer<float> trackAudio;

        void SetUp() override
        {
            if (std::getenv ("DISPLAY") == nullptr || std::getenv ("JACK_DEFAULT_SERVER") == nullptr)
                GTEST_SKIP() << "needs the test run's Xvfb and JACK (scripts/with-test-env.sh)";

            ASSERT_TRUE (recorder.isOpen());
            track = writeWav (temp.file ("sweep.wav"), recorder.getSampleRate(), 2, (int) recorder.getSampleRate() * 10,
                              [this] (int c, int i) { return sweep (c, i, recorder.getSampleRate()); });
            trackAudio = readAll (track);
        }

        std::vector<float> record (int milliseconds)
        {
            recorder.restart();
            juce::Thread::sleep (milliseconds);
            return recorder.take()[0];
        }

        juce::File crashLog() const { return home.getChildFile (".config/Marlode/CrashLog.log"); }

        // A 440 Hz sine whose peak tells which track sounds.
        juce::File tone (const juce::String& name, float amplitude)
        {
            const auto rate = recorder.getSampleRate();
            return writeWav (temp.file (name), rate, 2, (int) rate * 10,
                             [=] (int, int i) { return amplitude * (float) std::sin (juce::MathConstants<double>::twoPi * 440.0 * i / rate); });
        }

        float peakOver (int milliseconds) { return peak (record (milliseconds)); }
    };

    // Keys as a user types them: X focus to the window, then XTEST events.
    void press (const juce::String& windowId, const juce::String& keys)
    {
        run ({ "xdotool", "windowfocus", "--sync", windowId });
        run ({ "xdotool", "key", keys });
        juce::Thread::sleep (150);
    }
}

TEST_F (EndToEnd, PlaysTheFileItWasGivenPausesResumesAndQuitsCleanly)
{
    AppProcess app ({ track.getFullPathName() }, home);
    const auto window = findMainWindow (20000);
    ASSERT_TRUE (window.isNotEmpty()) << "no Marlode window appeared";

    const auto layout = windowLayout (window);
    EXPECT_EQ (layout.width, 850);
    EXPECT_EQ (layout.height, 720);
    const auto position = run ({ "xdotool", "getwindowgeometry", window }).fromFirstOccurrenceOf ("Position:", false, false).trim();
    EXPECT_TRUE (position.startsWith ("215,40")) << "centred on the 1280 x 800 display, got " << position;
    ASSERT_TRUE (recorder.connectTo ("Marlode", 10000)) << "Marlode's JACK ports never appeared";

    // Auto-Play is on by default: the file given on the command line plays at once.
    juce::Thread::sleep (500);
    const auto playing = align (record (1500), trackAudio);
    ASSERT_GE (playing.fileOffset, 0) << "nothing sounded";
    EXPECT_GT (playing.correlation, 0.99);
    EXPECT_GT (playing.length, 40000);

    // The play button pauses; nothing sounds while paused.
    click (window, layout.playButton());
    juce::Thread::sleep (300);
    EXPECT_LT (peak (record (500)), 1.0e-6f);

    // And resumes from where it paused.
    click (window, layout.playButton());
    juce::Thread::sleep (200);
    const auto resumed = align (record (1000), trackAudio);
    ASSERT_GE (resumed.fileOffset, 0) << "nothing sounded after resuming";
    EXPECT_GT (resumed.correlation, 0.99);
    EXPECT_GT (resumed.fileOffset, playing.fileOffset + playing.length - 2048);
    EXPECT_LT (resumed.fileOffset, playing.fileOffset + playing.length + (int) recorder.getSampleRate());

    click (window, layout.stopButton());
    juce::Thread::sleep (300);
    EXPECT_LT (peak (record (300)), 1.0e-6f);

    // A picture of the running window for whoever reviews the build.
    run ({ "python3", MARLODE_SOURCE_DIR "/scripts/screenshot.py",
           juce::File (MARLODE_BUILD_DIR).getChildFile ("marlode-main-window.png").getFullPathName() });

    click (window, layout.closeButton());
    EXPECT_EQ (app.waitForExit (10000), 0);
    EXPECT_TRUE (crashLog().existsAsFile());
    EXPECT_EQ (crashLog().getSize(), 0);
}

TEST_F (EndToEnd, ASecondLaunchHandsItsFileToTheFirstAndQuitWhilePlayingStopsFirst)
{
    AppProcess first ({}, home);
    const auto window = findMainWindow (20000);
    ASSERT_TRUE (window.isNotEmpty());
    ASSERT_TRUE (recorder.connectTo ("Marlode", 10000));
    EXPECT_LT (peak (record (300)), 1.0e-6f) << "no track, no sound";

    AppProcess second ({ track.getFullPathName() }, home);
    EXPECT_EQ (second.waitForExit (10000), 0) << "the second launch should hand over and leave";
    EXPECT_TRUE (first.isRunning());

    juce::Thread::sleep (500);
    const auto heard = align (record (1000), trackAudio);
    ASSERT_GE (heard.fileOffset, 0) << "the handed-over file didn't play";
    EXPECT_GT (heard.correlation, 0.99);

    // Closing while it plays: the deck stops first, then the process ends normally.
    click (window, windowLayout (window).closeButton());
    EXPECT_EQ (first.waitForExit (10000), 0);
    EXPECT_EQ (crashLog().getSize(), 0);
}

TEST_F (EndToEnd, KeysPlayPauseStopWalkThePlaylistAddADeckAndQuit)
{
    const auto b = tone ("b.wav", 0.25f), c = tone ("c.wav", 0.5f);
    const auto list = temp.file ("list.xml");
    list.replaceWithText ("<PLAYLIST_DATA><TRACK ID=\"0\" Path=\"" + track.getFullPathName() + "\"/><TRACK ID=\"1\" Path=\""
                          + b.getFullPathName() + "\"/><TRACK ID=\"2\" Path=\"" + c.getFullPathName() + "\"/></PLAYLIST_DATA>");

    // A playlist on the command line: its first track loads and, with Auto-Play, plays.
    AppProcess app ({ list.getFullPathName() }, home);
    const auto window = findMainWindow (20000);
    ASSERT_TRUE (window.isNotEmpty());
    ASSERT_TRUE (recorder.connectTo ("Marlode", 10000));
    juce::Thread::sleep (500);
    EXPECT_GT (align (record (1000), trackAudio).correlation, 0.99);

    // Focus moves from the playlist (where Return would load a row) to the waveform.
    press (window, "Tab");
    press (window, "space");
    juce::Thread::sleep (200);
    EXPECT_LT (peakOver (500), 1.0e-6f) << "Space pauses";
    press (window, "space");
    juce::Thread::sleep (200);
    EXPECT_GT (align (record (1000), trackAudio).correlation, 0.99) << "Space plays";

    press (window, "Return");
    juce::Thread::sleep (200);
    EXPECT_LT (peakOver (500), 1.0e-6f) << "Return stops";
    press (window, "space");
    juce::Thread::sleep (200);
    const auto fromStart = align (record (1000), trackAudio);
    EXPECT_GT (fromStart.correlation, 0.99);
    EXPECT_LT (fromStart.fileOffset, (int) recorder.getSampleRate()) << "and returns to the start";

    // x and z walk the playlist while playing.
    press (window, "x");
    juce::Thread::sleep (300);
    EXPECT_NEAR (peakOver (500), 0.25f, 0.01f);
    press (window, "x");
    juce::Thread::sleep (300);
    EXPECT_NEAR (peakOver (500), 0.5f, 0.01f);
    press (window, "z");
    juce::Thread::sleep (300);
    EXPECT_NEAR (peakOver (500), 0.25f, 0.01f);

    // A new deck takes over: the playing one pauses. 1 and 2 switch between them.
    press (window, "ctrl+d");
    juce::Thread::sleep (300);
    EXPECT_LT (peakOver (500), 1.0e-6f);
    press (window, "1");
    press (window, "space");
    juce::Thread::sleep (300);
    EXPECT_NEAR (peakOver (500), 0.25f, 0.01f) << "deck 1 plays again";
    press (window, "2");
    juce::Thread::sleep (300);
    EXPECT_LT (peakOver (500), 1.0e-6f) << "deck 2 shows, deck 1 paused";

    press (window, "ctrl+q");
    EXPECT_EQ (app.waitForExit (10000), 0);
    EXPECT_EQ (crashLog().getSize(), 0);
}

TEST_F (EndToEnd, ClickingAnotherDeckTabPausesThePlayingDeckUntilTheOtherPlays)
{
    const auto b = tone ("b.wav", 0.25f);
    AppProcess app ({ track.getFullPathName() }, home);
    const auto window = findMainWindow (20000);
    ASSERT_TRUE (window.isNotEmpty());
    ASSERT_TRUE (recorder.connectTo ("Marlode", 10000));
    const auto layout = windowLayout (window);

    // Deck 2, Auto-Play off, gets its own track from a second launch.
    press (window, "ctrl+d");
    press (window, "a");
    AppProcess second ({ b.getFullPathName() }, home);
    EXPECT_EQ (second.waitForExit (10000), 0);
    juce::Thread::sleep (300);
    EXPECT_LT (peakOver (300), 1.0e-6f);

    click (window, layout.deckTab (1));
    press (window, "space");
    juce::Thread::sleep (300);
    EXPECT_GT (align (record (800), trackAudio).correlation, 0.99) << "deck 1 plays its track";

    // From the click on tab 2 on, silence: deck 1 has paused and deck 2 hasn't started.
    click (window, layout.deckTab (2));
    juce::Thread::sleep (100);
    EXPECT_LT (peakOver (1000), 1.0e-6f);

    press (window, "space");
    juce::Thread::sleep (300);
    EXPECT_NEAR (peakOver (500), 0.25f, 0.01f) << "deck 2 plays its own track";

    run ({ "python3", MARLODE_SOURCE_DIR "/scripts/screenshot.py",
           juce::File (MARLODE_BUILD_DIR).getChildFile ("marlode-two-decks.png").getFullPathName() });
    press (window, "ctrl+q");
    EXPECT_EQ (app.waitForExit (10000), 0);
}

namespace
{
    // The harness's own check on a child's stderr, shown on a program that asserts or leaks on
    // request and otherwise exits 0.
    void runFailureProbe (const char* fault)
    {
        TempFolder temp;
        AppProcess probe ({ fault }, temp.file ("home"), MARLODE_FAILURE_PROBE);
        EXPECT_EQ (probe.waitForExit (10000), 0);
    }
}

TEST (AppProcessCheck, AnAssertionOrALeakInTheAppFailsTheTest)
{
   #if ! JUCE_LOG_ASSERTIONS
    GTEST_SKIP() << "assertions are compiled out of this build; the checked build runs this";
   #endif
    EXPECT_NONFATAL_FAILURE (runFailureProbe ("assertion"), "JUCE Assertion failure");
    EXPECT_NONFATAL_FAILURE (runFailureProbe ("leak"), "juce_LeakedObjectDetector");
    runFailureProbe ("none");
}

int main (int argc, char** argv)
{
    ::testing::InitGoogleTest (&argc, argv);
    juce::ScopedJuceInitialiser_GUI juce;
    return RUN_ALL_TESTS();
}
