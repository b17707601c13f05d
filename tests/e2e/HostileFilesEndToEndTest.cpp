#include "e2e/AppProcess.h"
#include "support/HostileFiles.h"
#include "support/JackRecorder.h"
#include "support/TestAudio.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

using namespace MarlodeTest;

namespace
{
// About 3.8 GB of address space: room for the application, none for a buffer sized from a
// hostile file's claims. A sanitizer maps terabytes of shadow memory up front, so no limit can
// hold there; its own checks stand in.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr juce::int64 addressSpaceKB = 0;
#else
constexpr juce::int64 addressSpaceKB = 4000000;
#endif

struct HostileEndToEnd : ::testing::Test
{
    TempFolder temp;
    juce::File home = temp.file ("home");
    juce::File errors = temp.file ("stderr.txt");

    struct Outcome
    {
        bool windowShown = false, seen = false, stillRunning = false, readErrorShown = false;
        juce::String log;
    };

    /** Starts the real binary with `argument` on its command line under the address space
            limit, waits until `seen` holds for it, and looks. */
    Outcome open (const juce::File& argument, const std::function<bool (const AppProcess&)>& seen)
    {
        Outcome o;
        AppProcess app ({ argument.getFullPathName() }, home, { addressSpaceKB, errors });
        o.windowShown = findMainWindow (20000, &app).isNotEmpty();
        o.seen = waitFor ([&] { return seen (app) || ! app.isRunning(); }, 20000) && app.isRunning();
        o.stillRunning = app.isRunning();
        o.readErrorShown = findWindow ("Error reading files", 0, &app).isNotEmpty();
        o.log = errors.loadFileAsString();
        return o;
    }

    bool logSays (const juce::String& text) const { return errors.loadFileAsString().contains (text); }

    static std::function<bool (const AppProcess&)> alert (const juce::String& title)
    {
        return [title] (const AppProcess& app) { return findWindow (title, 0, &app).isNotEmpty(); };
    }
};
}

TEST_F (HostileEndToEnd, AGenuineTrackLoadsUnderTheAddressSpaceLimit)
{
    // It loads when, with Auto-Play, JACK hears it.
    JackRecorder recorder;
    const auto track = writeWav (
        temp.file ("tone.wav"), 44100.0, 2, 44100 * 30, [] (int, int i) { return 0.2f * (float) std::sin (i * 0.05); }, 16);
    const auto o =
        open (track, [&] (const AppProcess&) { return recorder.connectTo ("Marlode", 0) && recorder.recentPeak (4410) > 0.1f; });
    EXPECT_TRUE (o.windowShown);
    EXPECT_TRUE (o.seen) << "it never played\n" << o.log;
    EXPECT_FALSE (o.log.contains ("Refused")) << o.log;
    EXPECT_FALSE (o.readErrorShown);
}

TEST_F (HostileEndToEnd, HostileAudioOnTheCommandLineIsRefusedWithItsMessage)
{
    const auto all = writeHostileAudio (temp.folder);

    // The user's 256 GB RF64 and one of each kind of lie; the rest go through the unit tests.
    for (auto* name : { "absurd.rf64.wav", "4 GB metadata.wav", "4 GB instrument.aiff", "4 bit.aiff", "4 billion frames.flac",
                        "tag only.mp3", "pipe.wav", "noise 3.flac", "cut at 8.ogg", "0 Hz.wav", "4 GB format chunk.wav" })
    {
        const auto file = temp.file (name);
        ASSERT_TRUE (std::any_of (all.begin(), all.end(), [&] (const HostileFile& h) { return h.file == file && h.mustRefuse; }));

        const auto refusal = "Refused audio file " + file.getFullPathName() + ": ";
        const auto o =
            open (file, [&] (const AppProcess& app) { return logSays (refusal) && alert ("Error reading files") (app); });
        EXPECT_TRUE (o.windowShown) << name;
        EXPECT_TRUE (o.readErrorShown) << name;
        EXPECT_TRUE (o.stillRunning) << name << "\n" << o.log;
        EXPECT_TRUE (o.log.contains (refusal)) << name << "\n" << o.log;
    }
}

TEST_F (HostileEndToEnd, HostilePlaylistsOnTheCommandLineNeitherHangNorCrash)
{
    juce::MemoryOutputStream attributes;
    attributes << "<PLAYLIST_DATA";
    for (int i = 0; i < 1000000; ++i)
        attributes << " a" << i << "=\"\"";
    attributes << "/>";
    temp.file ("million attributes.xml").replaceWithData (attributes.getData(), attributes.getDataSize());
    temp.file ("deep.xml").replaceWithText ("<PLAYLIST_DATA>" + juce::String::repeatedString ("<TRACK>", 1000000));

    juce::MemoryOutputStream hang, overread;
    juce::Base64::convertFromBase64 (
        hang,
        "PFRBQkxFTEFZT1VUIHNvcnRlZENvbD0iMCIgc29SdEZvcndhcmRzPSIxIj48Py4wb24iPz6NQQoNDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NZD0iPdE8L1RBQkxFTEFZT1VUPg==");
    juce::Base64::convertFromBase64 (overread, "PD94bWwgdmVyc2n//////////////////////////2U9IjEiIHdpZP9T/y4wIj8+PEEvPgo=");
    temp.file ("hang.xml").replaceWithData (hang.getData(), hang.getDataSize());
    temp.file ("overread.xml").replaceWithData (overread.getData(), overread.getDataSize());

    for (auto* name : { "million attributes.xml", "deep.xml", "hang.xml", "overread.xml" })
    {
        const auto file = temp.file (name);
        const auto notice = "Not a playlist, nothing added: " + file.getFullPathName();
        const auto o = open (file, [&] (const AppProcess&) { return logSays (notice); });
        EXPECT_TRUE (o.windowShown) << name;
        EXPECT_TRUE (o.stillRunning) << name << "\n" << o.log;
        EXPECT_TRUE (o.log.contains (notice)) << name << "\n" << o.log;
    }

    // The loop that held the framework's parser, in a playlist that is otherwise fine: reading
    // it to the end reaches the missing track and its alert.
    const auto pi = temp.file ("instruction then text.xml");
    pi.replaceWithText ("<PLAYLIST_DATA><?x?>text<TRACK ID=\"0\" Path=\"/nowhere/gone.wav\"/></PLAYLIST_DATA>");
    const auto o = open (pi, alert ("File(s) not found"));
    EXPECT_TRUE (o.seen);
    EXPECT_TRUE (o.stillRunning) << o.log;
}

// The whole corpus at once on both programs' command lines: messages and refusals, no fault.
TEST_F (HostileEndToEnd, TheWholeCorpusOnBothCommandLinesGivesMessagesNotFaults)
{
    const auto all = writeHostileAudio (temp.folder);
    juce::StringArray paths;
    for (const auto& hostile : all)
        if (hostile.file.existsAsFile()) // the pipe would wait for a writer in a plain open
            paths.add (hostile.file.getFullPathName());

    {
        AppProcess app (paths, home, { addressSpaceKB, errors });
        EXPECT_TRUE (findMainWindow (20000, &app).isNotEmpty());
        EXPECT_TRUE (waitFor ([&] { return alert ("Error reading files") (app) || ! app.isRunning(); }, 30000));
        EXPECT_TRUE (app.isRunning()) << errors.loadFileAsString();
    }

    for (const auto& hostile : all)
        if (hostile.mustRefuse && hostile.file.existsAsFile())
            EXPECT_TRUE (logSays ("Refused audio file " + hostile.file.getFullPathName() + ": ")) << hostile.file.getFileName();

    // The measuring program under the same limit: each file measured or reported, then status 1.
    const auto analyse = juce::File (MARLODE_ANALYSE_BINARY);
    const auto report = temp.file ("analyse.txt");
    const auto limit = addressSpaceKB > 0 ? "ulimit -v " + juce::String (addressSpaceKB) + "; " : juce::String();
    juce::StringArray command { "/bin/sh", "-c", limit + "exec \"$0\" --csv \"$@\" 2>'" + report.getFullPathName() + "'",
                                analyse.getFullPathName() };
    command.addArray (paths);
    juce::ChildProcess process;
    ASSERT_TRUE (process.start (command, juce::ChildProcess::wantStdOut));
    const auto out = process.readAllProcessOutput();
    ASSERT_TRUE (process.waitForProcessToFinish (120000)) << "marlode-analyse hung";
    EXPECT_EQ (process.getExitCode(), 1u);

    const auto measured = juce::StringArray::fromLines (out.trim()).size() - 1; // less the header
    int reported = 0;
    for (const auto& line : juce::StringArray::fromLines (report.loadFileAsString()))
        reported += line.startsWith ("marlode-analyse: ") ? 1 : 0;
    EXPECT_EQ (measured + reported, paths.size());
    EXPECT_GT (reported, 150);
}
