#include "app/InstanceChannel.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using Marlode::InstanceChannel;
using namespace MarlodeTest;

TEST (InstanceChannel, ASecondLaunchHandsItsCommandLineToTheFirst)
{
    TempFolder temp;
    const auto socket = temp.file ("instance.sock");

    InstanceChannel first (socket);
    ASSERT_EQ (first.claim ("ignored"), InstanceChannel::Role::first);

    // A launch that comes before the first instance listens waits in the backlog.
    juce::StringArray received;
    std::thread second ([&] { EXPECT_EQ (InstanceChannel (socket).claim ("/music/a b.wav"), InstanceChannel::Role::handedOver); });
    juce::Thread::sleep (50);
    first.startListening ([&] (const juce::String& line) { received.add (line); });
    second.join();

    // An empty line (a launch with no files) is dropped; a second line arrives on its own.
    EXPECT_EQ (InstanceChannel (socket).claim ({}), InstanceChannel::Role::handedOver);
    EXPECT_EQ (InstanceChannel (socket).claim ("/x.flac"), InstanceChannel::Role::handedOver);
    ASSERT_TRUE (pumpUntil ([&] { return received.size() >= 2; }, 2000));
    pumpMessages (50);
    EXPECT_EQ (received, juce::StringArray ({ "/music/a b.wav", "/x.flac" }));
}

TEST (InstanceChannel, ASocketLeftByACrashIsTakenOver)
{
    TempFolder temp;
    const auto socket = temp.file ("instance.sock");

    {
        // Bind and close without unlinking: what a killed process leaves behind.
        const auto fd = ::socket (AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        std::strcpy (address.sun_path, socket.getFullPathName().toRawUTF8());
        ASSERT_EQ (::bind (fd, reinterpret_cast<sockaddr*> (&address), sizeof (address)), 0);
        ::close (fd);
    }

    ASSERT_TRUE (socket.exists());
    InstanceChannel channel (socket);
    EXPECT_EQ (channel.claim ("x"), InstanceChannel::Role::first);
}

TEST (InstanceChannel, CommandLinePathsBecomeAbsoluteAndOversizeLinesAreDropped)
{
    const char* argv[] = { "Marlode", "song.wav", "/abs/with space.flac", "--flag" };
    const auto line = InstanceChannel::makeCommandLine (4, argv, juce::File ("/home/user/music"));
    EXPECT_EQ (line, "/home/user/music/song.wav \"/abs/with space.flac\" --flag");

    TempFolder temp;
    const auto socket = temp.file ("instance.sock");
    InstanceChannel first (socket);
    ASSERT_EQ (first.claim ({}), InstanceChannel::Role::first);
    int received = 0;
    first.startListening ([&] (const juce::String&) { ++received; });

    EXPECT_EQ (InstanceChannel (socket).claim (juce::String::repeatedString ("a", InstanceChannel::maxMessageBytes + 10)),
               InstanceChannel::Role::handedOver);
    pumpMessages (300);
    EXPECT_EQ (received, 0);

    // A path too long for a local socket means no channel, not a failure to start.
    const auto deep = temp.file (juce::String::repeatedString ("d", 120)).getChildFile ("instance.sock");
    EXPECT_EQ (InstanceChannel (deep).claim ("x"), InstanceChannel::Role::unavailable);
}
