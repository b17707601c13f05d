#include "e2e/AppProcess.h"
#include "support/Ebur128Reference.h"
#include "support/JackRecorder.h"
#include "support/TestAudio.h"
#include "support/WaitFor.h"
#include "app/InstanceChannel.h"
#include "state/EncryptedXml.h"

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

    // The title bar's menu button at its left end.
    juce::Point<int> menuButton() const { return { border + titleBar, border + titleBar / 2 }; }

    // A row's control in the export popup, from the top (0 "Format" ... 3 "File Path"'s "..."),
    // and its buttons: the box of 460 x 290 stands in the middle of the window's content.
    juce::Point<int> exportRow (int row) const
    {
        const auto box =
            juce::Rectangle<int> (border, border, width - 2 * border, height - 2 * border).withSizeKeepingCentre (460, 290);
        const auto y = box.getY() + 30 + 10 + 30 * row + 15;
        return { row == 3 ? box.getRight() - 16 - 20 : box.getX() + 16 + 110 + 8 + 66, y };
    }
    juce::Point<int> exportButton() const
    {
        const auto box =
            juce::Rectangle<int> (border, border, width - 2 * border, height - 2 * border).withSizeKeepingCentre (460, 290);
        return { box.getCentreX() - 65, box.getBottom() - 10 - 17 };
    }

    // Deck tab n (from 1), in the master strip's left end, then the "Match" toggle after them.
    juce::Point<int> deckTab (int n) const { return { border + 8 + 40 * (n - 1) + 20, border + titleBar + masterStrip / 2 }; }
    juce::Point<int> matchToggle() const { return { border + 8 + 4 * 40 + 10 + 35, border + titleBar + 4 + 10 }; }
};

Layout windowLayout (const juce::String& windowId)
{
    const auto geometry =
        run ({ "xdotool", "getwindowgeometry", windowId }).fromLastOccurrenceOf ("Geometry:", false, false).trim();
    return { geometry.upToFirstOccurrenceOf ("x", false, false).getIntValue(),
             geometry.fromFirstOccurrenceOf ("x", false, false).getIntValue() };
}

void click (const juce::String& windowId, juce::Point<int> p)
{
    clickAt (windowId, p.x, p.y);
}

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

// A ThreadSanitizer build plays several times slower than real time, so tests that compare
// what JACK hears at set moments with the file can't hold there; the rest still run under it.
#if defined(__SANITIZE_THREAD__)
#define MARLODE_SKIP_WITHOUT_REAL_TIME() GTEST_SKIP() << "the player can't keep real time under ThreadSanitizer"
#else
#define MARLODE_SKIP_WITHOUT_REAL_TIME()
#endif

// Keys as a user types them: X focus to the window, then XTEST events.
void press (const juce::String& windowId, const juce::String& keys)
{
    run ({ "xdotool", "windowfocus", "--sync", windowId });
    run ({ "xdotool", "key", keys });
}

struct EndToEnd : ::testing::Test
{
    TempFolder temp;
    juce::File home = temp.file ("home");
    JackRecorder recorder;
    juce::File track;
    juce::AudioBuffer<float> trackAudio;
    std::unique_ptr<AppProcess> app;
    juce::String window;

    void SetUp() override
    {
        if (std::getenv ("DISPLAY") == nullptr || std::getenv ("JACK_DEFAULT_SERVER") == nullptr)
            GTEST_SKIP() << "needs the test run's Xvfb and JACK (scripts/with-test-env.sh)";

        ASSERT_TRUE (recorder.isOpen());
        track = writeWav (temp.file ("sweep.wav"), recorder.getSampleRate(), 2, (int) recorder.getSampleRate() * 10,
                          [this] (int c, int i) { return sweep (c, i, recorder.getSampleRate()); });
        trackAudio = readAll (track);
    }

    // Starts Marlode with these arguments and waits for its window and its JACK ports.
    void launch (const juce::StringArray& arguments)
    {
        app = std::make_unique<AppProcess> (arguments, home);
        window = findMainWindow (20000, app.get());
        ASSERT_TRUE (window.isNotEmpty()) << "no Marlode window appeared";
        ASSERT_TRUE (recorder.connectTo ("Marlode", 10000)) << "Marlode's JACK ports never appeared";

        // A fresh home shows the welcome over the window each start; Escape closes it.
        press (window, "Escape");
        pumpMessages (200);
    }

    // Marlode playing `first` on deck 1, then deck 2 (Auto-Play off) given `second` by a later
    // launch; the window's layout.
    Layout launchTwoDecks (const juce::File& first, const juce::File& second)
    {
        launch ({ first.getFullPathName() });
        press (window, "ctrl+d");
        press (window, "a");
        AppProcess later ({ second.getFullPathName() }, home);
        EXPECT_EQ (later.waitForExit (10000), 0);
        return windowLayout (window);
    }

    void quitWithCtrlQ()
    {
        press (window, "ctrl+q");
        EXPECT_EQ (app->waitForExit (10000), 0);
    }

    size_t frames (int milliseconds) const { return (size_t) (recorder.getSampleRate() * milliseconds / 1000.0); }

    // What JACK delivers over the next stretch of the player's time, which a loaded machine
    // stretches on the wall clock.
    std::vector<float> record (int milliseconds)
    {
        recorder.restart();
        hear (milliseconds);
        return recorder.take()[0];
    }

    void hear (int milliseconds)
    {
        const auto target = recorder.framesTaken() + frames (milliseconds);
        EXPECT_TRUE (waitFor ([&] { return recorder.framesTaken() >= target; }, milliseconds + 10000)) << "JACK stalled";
    }

    float peakOver (int milliseconds) { return peak (record (milliseconds)); }

    // Waits until the last 100 ms that JACK delivered hold a peak that `holds`; the checks that
    // follow say what went wrong if none came.
    bool waitForRecentPeak (const std::function<bool (float)>& holds)
    {
        recorder.restart();
        return waitFor ([&] { return recorder.framesTaken() >= frames (100) && holds (recorder.recentPeak (frames (100))); },
                        10000);
    }

    bool waitForSound()
    {
        return waitForRecentPeak ([] (float p) { return p > 0.01f; });
    }
    bool waitForSilence()
    {
        return waitForRecentPeak ([] (float p) { return p < 1.0e-6f; });
    }
    bool waitForPeak (float amplitude)
    {
        return waitForRecentPeak ([=] (float p) { return std::abs (p - amplitude) < 0.01f; });
    }

    juce::File crashLog() const { return home.getChildFile (".config/Marlode/CrashLog.log"); }

    // A 440 Hz sine whose peak tells which track sounds.
    juce::File tone (const juce::String& name, float amplitude)
    {
        const auto rate = recorder.getSampleRate();
        return writeWav (temp.file (name), rate, 2, (int) rate * 10,
                         [=] (int, int i)
                         { return amplitude * (float) std::sin (juce::MathConstants<double>::twoPi * 440.0 * i / rate); });
    }
};

}

TEST_F (EndToEnd, PlaysTheFileItWasGivenPausesResumesAndQuitsCleanly)
{
    MARLODE_SKIP_WITHOUT_REAL_TIME();

    ASSERT_NO_FATAL_FAILURE (launch ({ track.getFullPathName() }));

    const auto layout = windowLayout (window);
    EXPECT_EQ (layout.width, 850);
    EXPECT_EQ (layout.height, 720);
    const auto position =
        run ({ "xdotool", "getwindowgeometry", window }).fromFirstOccurrenceOf ("Position:", false, false).trim();
    EXPECT_TRUE (position.startsWith ("215,40")) << "centred on the 1280 x 800 display, got " << position;

    // Auto-Play is on by default: the file given on the command line plays at once.
    EXPECT_TRUE (waitForSound());
    const auto playing = align (record (1500), trackAudio);
    ASSERT_GE (playing.fileOffset, 0) << "nothing sounded";
    EXPECT_GT (playing.correlation, 0.99);
    EXPECT_GT (playing.length, 40000);

    // The play button pauses; nothing sounds while paused.
    click (window, layout.playButton());
    EXPECT_TRUE (waitForSilence());
    EXPECT_LT (peakOver (500), 1.0e-6f);

    // And resumes from where it paused.
    click (window, layout.playButton());
    EXPECT_TRUE (waitForSound());
    const auto resumed = align (record (1000), trackAudio);
    ASSERT_GE (resumed.fileOffset, 0) << "nothing sounded after resuming";
    EXPECT_GT (resumed.correlation, 0.99);
    EXPECT_GT (resumed.fileOffset, playing.fileOffset + playing.length - 2048);
    EXPECT_LT (resumed.fileOffset, playing.fileOffset + playing.length + (int) recorder.getSampleRate());

    click (window, layout.stopButton());
    EXPECT_TRUE (waitForSilence());
    EXPECT_LT (peakOver (300), 1.0e-6f);

    // A picture of the running window for whoever reviews the build.
    run ({ "python3", MARLODE_SOURCE_DIR "/scripts/screenshot.py",
           juce::File (MARLODE_BUILD_DIR).getChildFile ("marlode-main-window.png").getFullPathName() });

    click (window, layout.closeButton());
    EXPECT_EQ (app->waitForExit (10000), 0);
    EXPECT_TRUE (crashLog().existsAsFile());
    EXPECT_EQ (crashLog().getSize(), 0);
}

TEST_F (EndToEnd, ASecondLaunchHandsItsFileToTheFirstAndQuitWhilePlayingStopsFirst)
{
    MARLODE_SKIP_WITHOUT_REAL_TIME();

    ASSERT_NO_FATAL_FAILURE (launch ({}));
    EXPECT_LT (peakOver (300), 1.0e-6f) << "no track, no sound";

    AppProcess second ({ track.getFullPathName() }, home);
    EXPECT_EQ (second.waitForExit (10000), 0) << "the second launch should hand over and leave";
    EXPECT_TRUE (app->isRunning());

    EXPECT_TRUE (waitForSound());
    const auto heard = align (record (1000), trackAudio);
    ASSERT_GE (heard.fileOffset, 0) << "the handed-over file didn't play";
    EXPECT_GT (heard.correlation, 0.99);

    // Closing while it plays: the deck stops first, then the process ends normally.
    click (window, windowLayout (window).closeButton());
    EXPECT_EQ (app->waitForExit (10000), 0);
    EXPECT_EQ (crashLog().getSize(), 0);
}

TEST_F (EndToEnd, KeysPlayPauseStopWalkThePlaylistAddADeckAndQuit)
{
    MARLODE_SKIP_WITHOUT_REAL_TIME();

    const auto b = tone ("b.wav", 0.25f), c = tone ("c.wav", 0.5f);
    const auto list = temp.file ("list.xml");
    list.replaceWithText ("<PLAYLIST_DATA><TRACK ID=\"0\" Path=\"" + track.getFullPathName() + "\"/><TRACK ID=\"1\" Path=\""
                          + b.getFullPathName() + "\"/><TRACK ID=\"2\" Path=\"" + c.getFullPathName() + "\"/></PLAYLIST_DATA>");

    // A playlist on the command line: its first track loads and, with Auto-Play, plays.
    ASSERT_NO_FATAL_FAILURE (launch ({ list.getFullPathName() }));
    EXPECT_TRUE (waitForSound());
    EXPECT_GT (align (record (1000), trackAudio).correlation, 0.99);

    // Focus moves from the playlist (where Return would load a row) to the waveform.
    press (window, "Tab");
    press (window, "space");
    EXPECT_TRUE (waitForSilence());
    EXPECT_LT (peakOver (500), 1.0e-6f) << "Space pauses";
    press (window, "space");
    EXPECT_TRUE (waitForSound());
    EXPECT_GT (align (record (1000), trackAudio).correlation, 0.99) << "Space plays";

    press (window, "Return");
    EXPECT_TRUE (waitForSilence());
    EXPECT_LT (peakOver (500), 1.0e-6f) << "Return stops";
    press (window, "space");
    EXPECT_TRUE (waitForSound());
    const auto fromStart = align (record (1000), trackAudio);
    EXPECT_GT (fromStart.correlation, 0.99);
    EXPECT_LT (fromStart.fileOffset, (int) recorder.getSampleRate()) << "and returns to the start";

    // x and z walk the playlist while playing.
    for (auto [key, amplitude] : { std::pair { "x", 0.25f }, { "x", 0.5f }, { "z", 0.25f } })
    {
        press (window, key);
        EXPECT_TRUE (waitForPeak (amplitude)) << key;
        EXPECT_NEAR (peakOver (500), amplitude, 0.01f) << key;
    }

    // A new deck takes over: the playing one pauses. 1 and 2 switch between them.
    press (window, "ctrl+d");
    EXPECT_TRUE (waitForSilence());
    EXPECT_LT (peakOver (500), 1.0e-6f);
    press (window, "1");
    press (window, "space");
    EXPECT_TRUE (waitForPeak (0.25f));
    EXPECT_NEAR (peakOver (500), 0.25f, 0.01f) << "deck 1 plays again";
    press (window, "2");
    EXPECT_TRUE (waitForSilence());
    EXPECT_LT (peakOver (500), 1.0e-6f) << "deck 2 shows, deck 1 paused";

    quitWithCtrlQ();
    EXPECT_EQ (crashLog().getSize(), 0);
}

TEST_F (EndToEnd, LoopsSetByKeysAndSkipsNeverPutSilenceInTheOutput)
{
    const auto rate = recorder.getSampleRate();
    const auto file = writeWav (temp.file ("noise.wav"), rate, 2, (int) rate * 12, noise);
    const auto fileAudio = readAll (file);

    ASSERT_NO_FATAL_FAILURE (launch ({ file.getFullPathName() }));
    ASSERT_TRUE (waitForSound());
    press (window, "Tab");

    // A loop of about 0.8 s set with "," and "." while playing, heard wrapping for four seconds,
    // then the loop off and skips forward and back.
    recorder.restart();
    press (window, "comma");
    hear (650);
    press (window, "period");
    const auto loopSetAt = recorder.framesTaken();
    hear (4000);
    press (window, "l");
    for (const auto* key : { "Right", "Right", "Left", "Right", "Left" })
    {
        press (window, key);
        hear (150);
    }
    hear (300);
    const auto heard = recorder.take()[0];

    ASSERT_GT (peak (heard), 0.4f);
    EXPECT_LT (longestZeroRun (heard), 32) << "a hole in what JACK received";

    // It really looped: a second and three seconds after the loop began, both stretches come
    // from inside the same 0.8 s of the file. Of a few short stretches near each time, the best
    // match counts, since one may straddle a wrap.
    const auto stretchAt = [&] (double seconds)
    {
        Match best;
        for (int n = 0; n < 4; ++n)
        {
            const auto from = heard.begin() + (long) loopSetAt + (long) ((seconds + 0.1 * n) * rate);
            const auto m = align (std::vector<float> (from, from + 2048), fileAudio);
            if (m.correlation > best.correlation)
                best = m;
        }
        return best;
    };
    const auto early = stretchAt (1.0), late = stretchAt (3.0);
    EXPECT_GT (early.correlation, 0.99);
    EXPECT_GT (late.correlation, 0.99);
    EXPECT_LT (std::abs (late.fileOffset - early.fileOffset), (int) rate);

    quitWithCtrlQ();
}

TEST_F (EndToEnd, ClickingAnotherDeckTabPausesThePlayingDeckUntilTheOtherPlays)
{
    MARLODE_SKIP_WITHOUT_REAL_TIME();

    const auto b = tone ("b.wav", 0.25f);
    Layout layout {};
    ASSERT_NO_FATAL_FAILURE (layout = launchTwoDecks (track, b));
    EXPECT_TRUE (waitForSilence());
    EXPECT_LT (peakOver (300), 1.0e-6f);

    click (window, layout.deckTab (1));
    press (window, "space");
    EXPECT_TRUE (waitForSound());
    EXPECT_GT (align (record (800), trackAudio).correlation, 0.99) << "deck 1 plays its track";

    // From the click on tab 2 on, silence: deck 1 has paused and deck 2 hasn't started.
    click (window, layout.deckTab (2));
    EXPECT_TRUE (waitForSilence());
    EXPECT_LT (peakOver (1000), 1.0e-6f);

    press (window, "space");
    EXPECT_TRUE (waitForPeak (0.25f));
    EXPECT_NEAR (peakOver (500), 0.25f, 0.01f) << "deck 2 plays its own track";

    run ({ "python3", MARLODE_SOURCE_DIR "/scripts/screenshot.py",
           juce::File (MARLODE_BUILD_DIR).getChildFile ("marlode-two-decks.png").getFullPathName() });
    quitWithCtrlQ();
}

//==============================================================================

TEST_F (EndToEnd, OpenWithFromTheDesktopEntryHandsEveryFileToTheRunningCopy)
{
    MARLODE_SKIP_WITHOUT_REAL_TIME();

    // As a file manager does it: GLib reads our desktop entry and runs its Exec line with the files.
    const auto desktopEntry = juce::File (MARLODE_SOURCE_DIR).getChildFile ("packaging/org.marlode.Marlode.desktop");
    const juce::File files[] = { tone ("my mix (final) v2.wav", 0.2f),
                                 tone (juce::String (juce::CharPointer_UTF8 ("\xc3\xbcn\xc3\xaf c\xc3\xb8"
                                                                             "d\xc3\xa9 \xe2\x99\xab.wav")),
                                       0.3f) };

    ASSERT_NO_FATAL_FAILURE (launch ({}));
    const auto binFolder = juce::File (MARLODE_BINARY).getParentDirectory().getFullPathName();
    run ({ "env", "HOME=" + home.getFullPathName(),
           "PATH=" + binFolder + ":" + juce::SystemStats::getEnvironmentVariable ("PATH", {}), "gio", "launch",
           desktopEntry.getFullPathName(), files[0].getFullPathName(), files[1].getFullPathName() });

    EXPECT_TRUE (waitForPeak (0.2f)) << "the first file didn't reach the running copy";
    press (window, "x");
    EXPECT_TRUE (waitForPeak (0.3f)) << "the second file didn't reach the running copy";
    EXPECT_EQ (countWindows ("Marlode"), 1);
    quitWithCtrlQ();
}

TEST_F (EndToEnd, EachAccountHasItsOwnInstanceAndLaterLaunchesReachOnlyTheirOwn)
{
    // Two HOMEs stand for two accounts logged into one machine; each instance has its own JACK
    // client, and a second recorder listens to theirs.
    const auto otherHome = temp.file ("other-home");
    ASSERT_NO_FATAL_FAILURE (launch ({}));

    AppProcess theirs ({}, otherHome);
    const auto theirWindow = findMainWindow (20000, &theirs);
    ASSERT_TRUE (theirWindow.isNotEmpty()) << "the other account's launch opened no window of its own";
    EXPECT_TRUE (app->isRunning());
    JackRecorder theirRecorder ("marlode-e2e-other-account");
    ASSERT_TRUE (theirRecorder.connectTo ("Marlode-01", 10000));

    // A later launch in the other account hands its file to that account's instance, which plays
    // it: this one stays silent meanwhile.
    AppProcess again ({ track.getFullPathName() }, otherHome);
    EXPECT_EQ (again.waitForExit (10000), 0);
    recorder.restart();
    EXPECT_TRUE (waitFor ([&] { return theirRecorder.recentPeak (frames (100)) > 0.01f; }, 10000))
        << "their instance never played it";
    hear (300);
    EXPECT_LT (peak (recorder.take()[0]), 1.0e-6f) << "the file went to the wrong account's instance";
    EXPECT_EQ (countWindows ("Marlode"), 2);

    press (theirWindow, "ctrl+q");
    EXPECT_EQ (theirs.waitForExit (10000), 0);
    EXPECT_TRUE (app->isRunning());
    EXPECT_EQ (otherHome.getChildFile (".config/Marlode/CrashLog.log").getSize(), 0);

    quitWithCtrlQ();
}

TEST_F (EndToEnd, ALockOnTheFrameworksMachineWideFileDoesNotStopALaunch)
{
    // In a private mount namespace /var/tmp is a fresh tmpfs, so the lock taken here reaches
    // no other process on the machine. A separate process holds both kinds of lock on the file
    // the framework uses, then the launch becomes Marlode by exec.
    const juce::String script = "mount -t tmpfs marlode-test /var/tmp || exit 97\n"
                                "exec python3 -c '\n"
                                "import fcntl, os, sys, time\n"
                                "fd = os.open(\"/var/tmp/juceAppLock_Marlode\", os.O_RDWR | os.O_CREAT, 0o644)\n"
                                "ready, told = os.pipe()\n"
                                "launcher = os.getpid()\n"
                                "if os.fork() == 0:\n"
                                "    fcntl.lockf(fd, fcntl.LOCK_EX | fcntl.LOCK_NB)\n"
                                "    fcntl.flock(fd, fcntl.LOCK_EX | fcntl.LOCK_NB)\n"
                                "    os.write(told, b\"x\")\n"
                                "    while os.getppid() == launcher:\n"
                                "        time.sleep(0.1)\n"
                                "    os._exit(0)\n"
                                "if os.read(ready, 1) != b\"x\":\n"
                                "    sys.exit(98)\n"
                                "os.execv(sys.argv[1], sys.argv[1:])\n"
                                "' \"$@\"\n";

    if (! juce::File ("/usr/bin/unshare").existsAsFile())
        GTEST_SKIP() << "needs unshare(1)";

    app = std::make_unique<AppProcess> ("/usr/bin/unshare",
                                        juce::StringArray { "--mount", "--propagation", "private", "sh", "-c", script, "sh",
                                                            MARLODE_BINARY, track.getFullPathName() },
                                        home);
    waitFor ([&] { return (window = findMainWindow (0, app.get())).isNotEmpty() || ! app->isRunning(); }, 20000);

    if (window.isEmpty() && app->waitForExit (0) == 97)
        GTEST_SKIP() << "no private mount namespace here (needs CAP_SYS_ADMIN)";

    ASSERT_TRUE (window.isNotEmpty()) << "the launch gave up while another process held the framework's lock";
    ASSERT_TRUE (recorder.connectTo ("Marlode", 10000));
    EXPECT_TRUE (waitForSound());
    EXPECT_GT (align (record (1000), trackAudio).correlation, 0.99);

    quitWithCtrlQ();
}

TEST_F (EndToEnd, EightSimultaneousLaunchesGiveOneWindowHoldingAllEightFiles)
{
    MARLODE_SKIP_WITHOUT_REAL_TIME();

    // Names a shell or a re-split command line would mangle; the amplitude tells each file apart.
    const juce::StringArray names { "-leading dash.wav",
                                    "\"double\" 'single'.wav",
                                    "tab\there.wav",
                                    "new\nline.wav",
                                    "  spaces  .wav",
                                    juce::String (juce::CharPointer_UTF8 ("\xc3\xbcn\xc3\xaf"
                                                                          "c\xc3\xb8"
                                                                          "d\xc3\xa9 \xe2\x99\xab.wav")),
                                    "$(echo x) `y` ;|&.wav",
                                    "plain.wav" };
    std::vector<float> amplitudes;
    std::vector<std::unique_ptr<AppProcess>> launches;

    for (int i = 0; i < names.size(); ++i)
    {
        amplitudes.push_back (0.1f + 0.05f * (float) i);
        launches.push_back (
            std::make_unique<AppProcess> (juce::StringArray { tone (names[i], amplitudes.back()).getFullPathName() }, home));
    }

    // Seven hand over and leave; one stays. A launch may retry a slow instance for a while, so
    // this waits as long as several of its answer time-outs.
    const auto running = [&]
    {
        std::vector<AppProcess*> r;
        for (auto& launch : launches)
            if (launch->isRunning())
                r.push_back (launch.get());
        return r;
    };
    waitFor ([&] { return running().size() <= 1; }, 3 * Marlode::InstanceChannel::answerTimeoutMs);

    const auto survivors = running();
    ASSERT_EQ (survivors.size(), 1u) << "a launch started an instance of its own instead of handing over";
    for (auto& launch : launches)
        if (launch.get() != survivors[0])
            EXPECT_EQ (launch->waitForExit (0), 0);

    const auto window = findMainWindow (20000, survivors[0]);
    ASSERT_TRUE (window.isNotEmpty());
    EXPECT_EQ (countWindows ("Marlode"), 1);
    ASSERT_TRUE (recorder.connectTo ("Marlode", 10000));
    EXPECT_TRUE (waitForSound());

    // Each handed-over file loads as it arrives, after the survivor's own. Back to that first row
    // (within two seconds of a load z goes up a row), then x walks down; every file sounds once.
    for (int i = 0; i < 8; ++i)
        press (window, "z");

    const auto own = std::find_if (launches.begin(), launches.end(), [&] (auto& l) { return l.get() == survivors[0]; });
    EXPECT_TRUE (waitForPeak (amplitudes[(size_t) (own - launches.begin())])) << "not back at the survivor's own file";

    std::vector<float> heard;
    for (int row = 0; row < 8; ++row)
    {
        if (row > 0)
        {
            const auto before = recorder.recentPeak (frames (100));
            press (window, "x");
            waitForRecentPeak ([&] (float p) { return std::abs (p - before) > 0.02f; });
        }
        heard.push_back (peakOver (400));
    }

    std::sort (heard.begin(), heard.end());
    for (size_t i = 0; i < amplitudes.size(); ++i)
        EXPECT_NEAR (heard[i], amplitudes[i], 0.01f) << "row " << i;

    press (window, "ctrl+q");
    EXPECT_EQ (survivors[0]->waitForExit (10000), 0);
    EXPECT_EQ (crashLog().getSize(), 0);
}

TEST_F (EndToEnd, ACrashWhilePlayingIsLoggedAndEndsTheProcessByItsSignal)
{
    crashLog().getParentDirectory().createDirectory();
    crashLog().replaceWithText ("an earlier crash\r\n");

    ASSERT_NO_FATAL_FAILURE (launch ({ track.getFullPathName() }));
    ASSERT_TRUE (waitForSound());
    ASSERT_GT (peakOver (300), 0.1f);

    ::kill (app->pid(), SIGSEGV);
    EXPECT_EQ (app->waitForExit (2000), -1);
    EXPECT_FALSE (app->isRunning()) << "not ended within 2 s";
    EXPECT_EQ (app->endingSignal(), SIGSEGV);

    const auto log = crashLog().loadFileAsString();
    EXPECT_TRUE (log.startsWith ("an earlier crash\r\n\r\n" + juce::String::repeatedString ("*", 58)
                                 + "\r\nCrash stack back trace:\r\nLog started: "))
        << log.substring (0, 200);
    EXPECT_TRUE (log.contains ("\r\n\r\n/")) << "the frames follow the header";
    EXPECT_TRUE (log.endsWith ("\r\n\r\n"));
}

namespace
{
// The harness's own check on a child's stderr, shown on a program that asserts or leaks on
// request and otherwise exits 0.
void runFailureProbe (const char* fault)
{
    TempFolder temp;
    AppProcess probe (MARLODE_FAILURE_PROBE, { fault }, temp.file ("home"));
    EXPECT_EQ (probe.waitForExit (10000), 0);
}
}

namespace
{
// The window's master strip (deck tabs, master equaliser, mute, volume, pan and lights) as the
// screen shows it now.
juce::Image masterStrip (const juce::String& windowId, const juce::File& shot)
{
    run ({ "python3", MARLODE_SOURCE_DIR "/scripts/screenshot.py", shot.getFullPathName() });
    const auto screen = juce::ImageFileFormat::loadFrom (shot);
    const auto at = run ({ "xdotool", "getwindowgeometry", windowId }).fromFirstOccurrenceOf ("Position:", false, false);
    const auto layout = windowLayout (windowId);
    const auto x = at.getIntValue(), y = at.fromFirstOccurrenceOf (",", false, false).getIntValue();
    return screen.getClippedImage (
        { x + Layout::border, y + Layout::border + Layout::titleBar, layout.width - 2 * Layout::border, Layout::masterStrip });
}

int differingPixels (const juce::Image& a, const juce::Image& b)
{
    if (a.getBounds() != b.getBounds())
        return a.getWidth() * a.getHeight();

    int differing = 0;
    for (int y = 0; y < a.getHeight(); ++y)
        for (int x = 0; x < a.getWidth(); ++x)
            differing += a.getPixelAt (x, y) != b.getPixelAt (x, y) ? 1 : 0;
    return differing;
}
}

TEST_F (EndToEnd, QuitAndStartAgainBringsBackTheDecksTracksAndSettings)
{
    const auto sessionFile = home.getChildFile (".config/Marlode/PreviousState.cfg");
    const auto read = [&] { return Marlode::EncryptedXml::readEncryptedXml (sessionFile, Marlode::EncryptedXml::sessionKey); };

    ASSERT_NO_FATAL_FAILURE (launch ({ track.getFullPathName() }));
    EXPECT_TRUE (waitForSound());

    // Deck 1 without Auto-Play, a second deck, then deck 1 again by its tab; the master muted,
    // two steps quieter and panned left.
    press (window, "a");
    press (window, "ctrl+d");
    EXPECT_TRUE (waitForSilence()) << "the new deck pauses the first";
    click (window, windowLayout (window).deckTab (1));
    press (window, "0");
    press (window, "minus");
    press (window, "minus");
    press (window, "ctrl+minus");
    run ({ "xdotool", "mousemove", "1", "1" }); // no tab lit by the pointer over it
    pumpMessages (1500);                        // the lights fall back to rest
    const auto before = masterStrip (window, temp.file ("before.png"));
    quitWithCtrlQ();

    const auto first = read();
    ASSERT_NE (first, nullptr) << "no readable session after the quit";
    EXPECT_EQ (first->getIntAttribute ("num_decks"), 2);
    EXPECT_EQ (first->getIntAttribute ("active_deck"), 0);
    EXPECT_TRUE (first->getBoolAttribute ("mute"));
    EXPECT_NEAR (first->getDoubleAttribute ("volume"), 0.96, 1.0e-9);
    EXPECT_DOUBLE_EQ (first->getDoubleAttribute ("pan"), -45.0);
    EXPECT_TRUE (first->getStringAttribute ("window_state").isNotEmpty());
    const auto* deck0 = first->getChildByName ("DECK_STATE_0");
    ASSERT_NE (deck0, nullptr);
    EXPECT_FALSE (deck0->getBoolAttribute ("auto_play"));
    EXPECT_TRUE (first->getChildByName ("DECK_STATE_1")->getBoolAttribute ("auto_play"));
    const auto* tracks = deck0->getChildByName ("TABLELAYOUT")->getChildByName ("PLAYLIST_DATA");
    ASSERT_NE (tracks, nullptr);
    EXPECT_EQ (tracks->getChildByName ("TRACK")->getStringAttribute ("Path"), track.getFullPathName());

    // No file this time: the session alone brings the decks, the playlist and the master back.
    ASSERT_NO_FATAL_FAILURE (launch ({}));
    pumpMessages (1500);
    const auto after = masterStrip (window, temp.file ("after.png"));
    EXPECT_EQ (differingPixels (before, after), 0) << "the master strip looks as it did at the quit";
    EXPECT_LT (peakOver (300), 1.0e-6f) << "nothing plays by itself at the start";
    quitWithCtrlQ();

    const auto second = read();
    ASSERT_NE (second, nullptr);
    EXPECT_EQ (second->toString(), first->toString()) << "a session read and written again is the same session";
    EXPECT_EQ (crashLog().getSize(), 0);
}

// The same noise on two decks 6 dB apart. With Match on (a click on the strip), what JACK
// receives is as loud from either deck, and a tab click goes on from one to the other with no
// silent sample between.
TEST_F (EndToEnd, MatchPlaysTwoDecksAtOneLoudnessAndATabSwitchLeavesNoGap)
{
    MARLODE_SKIP_WITHOUT_REAL_TIME();

    const auto rate = recorder.getSampleRate();
    const auto pink = pinkNoise ((int) rate * 20);
    const auto noise = [&] (const char* name, float gain)
    {
        return writeWav (
            temp.file (name), rate, 2, (int) pink.size(), [&] (int, int i) { return gain * pink[(size_t) i]; }, 24);
    };
    const auto loud = noise ("loud.wav", 1.0f), quiet = noise ("quiet.wav", 0.5f);
    const auto loudness = [&] (const std::vector<std::vector<float>>& take, size_t from)
    {
        const auto n = (int) (take[0].size() - from);
        return Ebur128Reference (makeBuffer (2, n, [&] (int c, int i) { return take[(size_t) c][from + (size_t) i]; }), rate)
            .integratedLufs;
    };

    Layout layout {};
    ASSERT_NO_FATAL_FAILURE (layout = launchTwoDecks (loud, quiet));
    click (window, layout.matchToggle());
    pumpMessages (2000); // both tracks measured in the background
    click (window, layout.deckTab (1));
    press (window, "space");
    ASSERT_TRUE (waitForSound());
    recorder.restart();
    hear (3000);
    const auto first = loudness (recorder.take(), 0);

    recorder.restart();
    hear (200);
    click (window, layout.deckTab (2));
    hear (3000);
    const auto across = recorder.take();
    EXPECT_LT (longestZeroRun (across[0]), 4) << "a gap at the switch";
    const auto afterSwitch = loudness (across, frames (1200));

    EXPECT_NEAR (afterSwitch, first, 0.2) << "as loud from either deck";
    EXPECT_NEAR (first, Ebur128Reference (readAll (quiet), rate).integratedLufs, 0.3) << "the louder deck came down";
    quitWithCtrlQ();
}

// "Export Audio" from the menu by keys, the popup's boxes by mouse and keys, the file named in
// the save dialog, "Export": a WAV of the track's length appears, and the deck plays again.
TEST_F (EndToEnd, ExportAudioFromTheMenuWritesTheTrackAndTheDeckPlaysOn)
{
    MARLODE_SKIP_WITHOUT_REAL_TIME();

    ASSERT_NO_FATAL_FAILURE (launch ({ track.getFullPathName() }));
    EXPECT_TRUE (waitForSound());
    const auto layout = windowLayout (window);

    click (window, layout.menuButton());
    pumpMessages (500);
    run ({ "xdotool", "key", "Down", "Down", "Down", "Down", "Down", "Return" }); // past the three sub-menus and "Save Playlist"
    EXPECT_TRUE (waitForSilence()) << "the deck stops for the export";

    for (int row = 0; row < 3; ++row)
    {
        click (window, layout.exportRow (row));
        pumpMessages (400);
        run ({ "xdotool", "key", "Down", "Return" });
        pumpMessages (200);
    }

    const auto target = temp.file ("exported.wav");
    click (window, layout.exportRow (3));
    const auto dialog = findWindow ("Choose a file name and location", 10000, app.get());
    ASSERT_TRUE (dialog.isNotEmpty()) << "no save dialog";
    pumpMessages (500);

    // The framework's own dialog: its "file:" box runs along the bottom, "Save" below its end.
    const auto size = windowLayout (dialog);
    clickAt (dialog, size.width / 2, size.height - 64);
    run ({ "xdotool", "type", target.getFullPathName() });
    clickAt (dialog, size.width - 55, size.height - 24);
    ASSERT_TRUE (waitFor ([&] { return findWindow ("Choose a file name and location", 0, app.get()).isEmpty(); }, 5000));
    pumpMessages (300);

    click (window, layout.exportButton());
    ASSERT_TRUE (waitFor ([&] { return target.existsAsFile(); }, 20000)) << "no file was written";
    pumpMessages (500);

    double rate = 0.0;
    const auto written = readAll (target, &rate);
    EXPECT_EQ (rate, 44100.0);
    EXPECT_EQ (written.getNumSamples(), (trackAudio.getNumSamples() + 511) / 512 * 512);
    EXPECT_EQ (written.getNumChannels(), 2);

    press (window, "space");
    EXPECT_TRUE (waitForSound()) << "the deck plays again after the export";
    quitWithCtrlQ();
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
