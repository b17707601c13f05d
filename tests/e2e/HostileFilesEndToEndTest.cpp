#include "e2e/AppProcess.h"
#include "support/HostileFiles.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace MarlodeTest;

namespace
{
    // About 3.8 GB of address space: room for the application, none for a buffer sized from a
    // hostile file's claims. A sanitizer maps terabytes of shadow memory up front, so no limit can
    // hold there; its own checks stand in.
   #if defined (__SANITIZE_ADDRESS__) || defined (__SANITIZE_THREAD__)
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
            bool windowShown = false, alertShown = false, stillRunning = false;
            juce::String log;
        };

        static bool waitForWindow (const juce::String& title, int timeoutMs)
        {
            const auto end = juce::Time::getMillisecondCounter() + (juce::uint32) timeoutMs;

            while (juce::Time::getMillisecondCounter() < end)
            {
                const auto pattern = "^" + title.replace ("(", "\\(").replace (")", "\\)") + "$";
                if (run ({ "xdotool", "search", "--onlyvisible", "--name", pattern }).isNotEmpty())
                    return true;
                juce::Thread::sleep (100);
            }

            return false;
        }

        /** Starts the real binary with `argument` on its command line under the address space
            limit, waits for `alertTitle` (if any), gives the deck time to load, and looks. */
        Outcome open (const juce::File& argument, const juce::String& alertTitle)
        {
            Outcome o;
            AppProcess app ({ argument.getFullPathName() }, home, { addressSpaceKB, errors });
            o.windowShown = findMainWindow (20000).isNotEmpty();
            o.alertShown = alertTitle.isNotEmpty() && waitForWindow (alertTitle, 10000);
            juce::Thread::sleep (1500);
            o.stillRunning = app.isRunning();
            o.log = errors.loadFileAsString();
            return o;
        }
    };
}

TEST_F (HostileEndToEnd, AGenuineTrackLoadsUnderTheAddressSpaceLimit)
{
    const auto track = writeWav (temp.file ("tone.wav"), 44100.0, 2, 44100 * 30, [] (int, int i) { return 0.2f * (float) std::sin (i * 0.05); }, 16);
    const auto o = open (track, {});
    EXPECT_TRUE (o.windowShown);
    EXPECT_TRUE (o.stillRunning) << o.log;
    EXPECT_FALSE (o.log.contains ("Refused")) << o.log;
    EXPECT_FALSE (waitForWindow ("Error reading files", 0));
}

TEST_F (HostileEndToEnd, HostileAudioOnTheCommandLineIsRefusedWithItsMessage)
{
    const auto all = writeHostileAudio (temp.folder);

    // The user's 256 GB RF64 and one of each kind of lie; the rest go through the unit tests.
    for (auto* name : { "absurd.rf64.wav", "4 GB metadata.wav", "4 GB instrument.aiff", "4 bit.aiff", "4 billion frames.flac",
                        "2 billion frames.mp3", "pipe.wav", "noise.flac", "cut at 30.wav" })
    {
        const auto file = temp.file (name);
        ASSERT_TRUE (std::any_of (all.begin(), all.end(), [&] (const HostileFile& h) { return h.file == file && h.mustRefuse; }));

        const auto o = open (file, "Error reading files");
        EXPECT_TRUE (o.windowShown) << name;
        EXPECT_TRUE (o.alertShown) << name;
        EXPECT_TRUE (o.stillRunning) << name << "\n" << o.log;
        EXPECT_TRUE (o.log.contains ("Refused audio file " + file.getFullPathName() + ": ")) << name << "\n" << o.log;
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
    juce::Base64::convertFromBase64 (hang, "PFRBQkxFTEFZT1VUIHNvcnRlZENvbD0iMCIgc29SdEZvcndhcmRzPSIxIj48Py4wb24iPz6NQQoNDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NZD0iPdE8L1RBQkxFTEFZT1VUPg==");
    juce::Base64::convertFromBase64 (overread, "PD94bWwgdmVyc2n//////////////////////////2U9IjEiIHdpZP9T/y4wIj8+PEEvPgo=");
    temp.file ("hang.xml").replaceWithData (hang.getData(), hang.getDataSize());
    temp.file ("overread.xml").replaceWithData (overread.getData(), overread.getDataSize());

    for (auto* name : { "million attributes.xml", "deep.xml", "hang.xml", "overread.xml" })
    {
        const auto file = temp.file (name);
        const auto o = open (file, {});
        EXPECT_TRUE (o.windowShown) << name;
        EXPECT_TRUE (o.stillRunning) << name << "\n" << o.log;
        EXPECT_TRUE (o.log.contains ("Not a playlist, nothing added: " + file.getFullPathName())) << name << "\n" << o.log;
    }

    // The loop that held the framework's parser, in a playlist that is otherwise fine: reading
    // it to the end reaches the missing track and its alert.
    const auto pi = temp.file ("instruction then text.xml");
    pi.replaceWithText ("<PLAYLIST_DATA><?x?>text<TRACK ID=\"0\" Path=\"/nowhere/gone.wav\"/></PLAYLIST_DATA>");
    const auto o = open (pi, "File(s) not found");
    EXPECT_TRUE (o.alertShown);
    EXPECT_TRUE (o.stillRunning) << o.log;
}
