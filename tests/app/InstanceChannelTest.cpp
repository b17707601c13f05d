#include "app/InstanceChannel.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using Marlode::InstanceChannel;
using Role = InstanceChannel::Role;
using namespace MarlodeTest;

namespace
{
sockaddr_un addressOf (const juce::File& socket)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::strcpy (address.sun_path, socket.getFullPathName().toRawUTF8());
    return address;
}

// A client that speaks the wire format by hand, or doesn't speak at all.
struct RawClient
{
    explicit RawClient (const juce::File& socket)
    {
        const auto address = addressOf (socket);
        fd = ::socket (AF_UNIX, SOCK_STREAM, 0);
        connected = ::connect (fd, reinterpret_cast<const sockaddr*> (&address), sizeof (address)) == 0;
    }

    ~RawClient() { ::close (fd); }

    void send (const std::string& bytes) const { (void) ::send (fd, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

    // Ends the message and returns the instance's answer, or 0 when none came.
    char finish() const
    {
        ::shutdown (fd, SHUT_WR);
        const timeval wait { 10, 0 };
        ::setsockopt (fd, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof (wait));
        char answer = 0;
        return ::recv (fd, &answer, 1, 0) == 1 ? answer : 0;
    }

    int fd = -1;
    bool connected = false;
};

// Lists as the first instance's receiver gets them.
struct Received
{
    std::vector<juce::StringArray> lists;

    void listenTo (InstanceChannel& channel)
    {
        channel.setReceiver ([this] (const juce::StringArray& paths) { lists.push_back (paths); });
    }

    bool waitFor (size_t count, int timeoutMs = 5000)
    {
        return pumpUntil ([&] { return lists.size() >= count; }, timeoutMs);
    }
};

void leaveACrashedSocket (const juce::File& socket)
{
    // Bind and close without unlinking: what a killed process leaves behind.
    const auto fd = ::socket (AF_UNIX, SOCK_STREAM, 0);
    const auto address = addressOf (socket);
    ASSERT_EQ (::bind (fd, reinterpret_cast<const sockaddr*> (&address), sizeof (address)), 0);
    ::close (fd);
}

// A running first instance on a private socket; its lists are collected once a test listens.
struct RunningInstance : ::testing::Test
{
    TempFolder temp;
    juce::File socket = temp.file ("instance.sock");
    InstanceChannel first { socket };
    Received received;

    void SetUp() override { ASSERT_EQ (first.claim ({}), Role::first); }
};
} // namespace

TEST_F (RunningInstance, AnyPathArrivesExactlyAndListsWaitForTheReceiver)
{
    struct stat info;
    ASSERT_EQ (::stat (socket.getFullPathName().toRawUTF8(), &info), 0);
    EXPECT_EQ (info.st_mode & 0777, 0600u) << "only this account may connect";

    const juce::StringArray awkward { "/music/a b.wav",
                                      "/q/\"double\" and 'single' quotes.wav",
                                      "/t/tab\there.wav",
                                      "/n/new\nline.wav",
                                      "/-/-leading dash.flac",
                                      juce::String (L"/u/\u00dcn\u00efc\u00f8d\u00e9 \u266b \u65e5\u672c.ogg"),
                                      "/b/back\\slash.wav",
                                      "/s/trailing space .wav ",
                                      "/sh/$(HOME) `x` ;&|*?.mp3",
                                      "/cr/\r\n.wav" };

    // Launches that come before the application is ready are answered and kept.
    EXPECT_EQ (InstanceChannel (socket).claim (awkward), Role::handedOver);
    EXPECT_EQ (InstanceChannel (socket).claim ({}), Role::handedOver);

    received.listenTo (first);
    EXPECT_EQ (InstanceChannel (socket).claim ({ "/x.flac" }), Role::handedOver);

    ASSERT_TRUE (received.waitFor (3));
    pumpMessages (50);
    ASSERT_EQ (received.lists.size(), 3u);
    EXPECT_EQ (received.lists[0], awkward);
    EXPECT_TRUE (received.lists[1].isEmpty());
    EXPECT_EQ (received.lists[2], juce::StringArray ({ "/x.flac" }));
}

TEST (InstanceChannel, ArgumentsBecomeAbsoluteWithEveryCharacterKeptAndALongPathMeansNoChannel)
{
    // A socket path too long for a local socket means no channel, not a failure to start.
    TempFolder temp;
    const auto deep = temp.file (juce::String::repeatedString ("d", 120)).getChildFile ("instance.sock");
    EXPECT_EQ (InstanceChannel (deep).claim ({ "/x.wav" }), Role::unavailable);

    const juce::StringArray arguments {
        "song.wav", "-lead.wav", "~not-home.wav", "/abs/x.wav", "", "sub/../y.wav", "a\tb c\n.wav"
    };
    EXPECT_EQ (InstanceChannel::absolutePaths (arguments, juce::File ("/home/user/music")),
               juce::StringArray ({ "/home/user/music/song.wav", "/home/user/music/-lead.wav", "/home/user/music/~not-home.wav",
                                    "/abs/x.wav", "/home/user/music/sub/../y.wav", "/home/user/music/a\tb c\n.wav" }));
    EXPECT_EQ (InstanceChannel::absolutePaths ({ "x.wav" }, juce::File ("/")), juce::StringArray ({ "/x.wav" }));
}

TEST (InstanceChannel, SimultaneousLaunchesMakeOneFirstAndLoseNoList)
{
    constexpr int launches = 8;

    // A third of the rounds start from a socket a crash left behind, which every launch may try to
    // take over; a third on a fresh profile, whose folder every launch makes at once.
    for (int round = 0; round < 18; ++round)
    {
        TempFolder temp;
        const auto socket = round % 3 == 2 ? temp.file ("fresh/profile/instance.sock") : temp.file ("instance.sock");

        if (round % 3 == 1)
            leaveACrashedSocket (socket);

        std::atomic<int> ready { 0 };
        std::mutex firstLock;
        std::vector<std::unique_ptr<InstanceChannel>> firsts;
        juce::StringArray all; // every launch's list as the first instance ends up with it
        std::atomic<int> handedOver { 0 };
        std::vector<std::thread> threads;

        for (int i = 0; i < launches; ++i)
            threads.emplace_back (
                [&, i]
                {
                    auto channel = std::make_unique<InstanceChannel> (socket);
                    ++ready;
                    while (ready < launches)
                        std::this_thread::yield();

                    const auto role = channel->claim ({ "/track/" + juce::String (i) });
                    handedOver += role == Role::handedOver ? 1 : 0;

                    if (role == Role::first)
                    {
                        const std::lock_guard<std::mutex> guard (firstLock);
                        firsts.push_back (std::move (channel));
                        all.add ("/track/" + juce::String (i));
                    }
                });

        for (auto& t : threads)
            t.join();

        ASSERT_EQ (firsts.size(), 1u) << "round " << round;
        ASSERT_EQ (handedOver.load(), launches - 1) << "round " << round;

        Received received;
        received.listenTo (*firsts[0]);
        ASSERT_TRUE (received.waitFor (launches - 1)) << "round " << round;

        for (const auto& list : received.lists)
            all.addArray (list);
        EXPECT_EQ (all.size(), launches) << "round " << round;
        for (int i = 0; i < launches; ++i)
            EXPECT_TRUE (all.contains ("/track/" + juce::String (i))) << "round " << round;
    }
}

TEST_F (RunningInstance, SilentAndTricklingClientsDoNotHoldUpARealLaunch)
{
    received.listenTo (first);
    RawClient silent (socket);
    ASSERT_TRUE (silent.connected);

    // One byte every 300 ms: each recv gets something, the whole list never ends.
    RawClient trickle (socket);
    ASSERT_TRUE (trickle.connected);
    std::atomic<bool> stopTrickling { false };
    std::thread trickler (
        [&]
        {
            for (int i = 0; i < 40 && ! stopTrickling; ++i)
            {
                trickle.send ("/");
                juce::Thread::sleep (300);
            }
        });

    const auto start = juce::Time::getMillisecondCounter();
    std::atomic<int> role { -1 };
    std::thread launch ([&] { role = (int) InstanceChannel (socket).claim ({ "/real.wav" }); });

    const auto arrived = received.waitFor (1, 9000);
    const auto elapsed = (int) (juce::Time::getMillisecondCounter() - start);
    stopTrickling = true;
    trickler.join();
    launch.join();

    ASSERT_TRUE (arrived);
    EXPECT_EQ (role.load(), (int) Role::handedOver);
    EXPECT_LT (elapsed, InstanceChannel::receiveTimeoutMs + InstanceChannel::messageDeadlineMs + 1500);
    EXPECT_EQ (received.lists[0], juce::StringArray ({ "/real.wav" }));
    EXPECT_EQ (silent.finish(), 0) << "the silent client was dropped unanswered";
}

TEST_F (RunningInstance, RefusesWhatIsNotAListOfAbsoluteUtf8Paths)
{
    received.listenTo (first);
    for (const std::string& hostile :
         { std::string ("relative.wav\0", 13), std::string ("/no terminator"), std::string ("/bad \xff\xfe utf-8") + '\0',
           std::string ("\0", 1), std::string ("/a\0\0/b\0", 7), std::string (InstanceChannel::maxMessageBytes + 1, '/') })
    {
        RawClient client (socket);
        ASSERT_TRUE (client.connected);
        client.send (hostile);
        EXPECT_EQ (client.finish(), 'N') << hostile.substr (0, 20);
    }

    // Our own launch gets the same answer for a list that is too long.
    const auto longName = "/" + juce::String::repeatedString ("a", 4096);
    juce::StringArray tooMany;
    for (size_t bytes = 0; bytes <= InstanceChannel::maxMessageBytes; bytes += 4098)
        tooMany.add (longName);
    EXPECT_EQ (InstanceChannel (socket).claim (tooMany), Role::refused);

    EXPECT_EQ (InstanceChannel (socket).claim ({ "/fine.wav" }), Role::handedOver);
    ASSERT_TRUE (received.waitFor (1));
    pumpMessages (100);
    ASSERT_EQ (received.lists.size(), 1u);
    EXPECT_EQ (received.lists[0], juce::StringArray ({ "/fine.wav" }));
}

TEST_F (RunningInstance, ShutdownStopsDeliveringAndRemovesOnlyItsOwnSocket)
{
    received.listenTo (first);
    // A list taken but not yet delivered when the instance shuts down goes nowhere.
    EXPECT_EQ (InstanceChannel (socket).claim ({ "/too/late.wav" }), Role::handedOver);
    first.shutdown();
    EXPECT_FALSE (socket.exists());
    pumpMessages (100);
    EXPECT_TRUE (received.lists.empty());

    // After it, a launch starts its own instance.
    InstanceChannel older (socket);
    ASSERT_EQ (older.claim ({}), Role::first);

    // Someone deletes the older instance's socket and a newer one binds the name: the older
    // one's shutdown must leave the newer socket alone.
    ASSERT_EQ (::unlink (socket.getFullPathName().toRawUTF8()), 0);
    InstanceChannel newer (socket);
    ASSERT_EQ (newer.claim ({}), Role::first);
    received.listenTo (newer);
    older.shutdown();
    ASSERT_TRUE (socket.exists());

    EXPECT_EQ (InstanceChannel (socket).claim ({ "/still/reaches/the/newer.wav" }), Role::handedOver);
    ASSERT_TRUE (received.waitFor (1));
    EXPECT_EQ (received.lists[0], juce::StringArray ({ "/still/reaches/the/newer.wav" }));
}
