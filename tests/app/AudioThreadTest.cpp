#include "app/MainAudioAppComponent.h"
#include "support/DeckHarness.h"
#include "support/DeviceApp.h"
#include "support/RealtimeWatch.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <mutex>
#include <netinet/in.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

using namespace Marlode;
using namespace MarlodeTest;
using Kind = RealtimeWatch::Kind;

namespace
{
// The application's content with the device's callback watched: every call a real-time
// thread must not make, made inside the application's block, counts. A positive control can
// add one such call of its own to each block.
struct WatchedApp : DeviceApp
{
    WatchedApp() { openOutputDevice(); }

    void runBlock (const juce::AudioSourceChannelInfo& info) override
    {
        RealtimeWatch::Scope watch;
        DeviceApp::runBlock (info);

        if (auto* fault = misbehave.load())
            fault();
    }

    // Written by the test's thread, read by the device's.
    std::atomic<void (*)()> misbehave { nullptr };
};

// What the positive controls use, made before the callback touches it.
struct ControlResources
{
    ControlResources()
    {
        sem_init (&semaphore, 0, 0);
        socketpair (AF_UNIX, SOCK_STREAM, 0, pair);
        udp = socket (AF_INET, SOCK_DGRAM, 0);
        nullFile = std::fopen ("/dev/null", "w");
    }

    ~ControlResources()
    {
        std::fclose (nullFile);
        ::close (udp);
        ::close (pair[0]);
        ::close (pair[1]);
        ::close (nullFd);
        sem_destroy (&semaphore);
        pthread_rwlock_destroy (&rwlock);
        pthread_cond_destroy (&condition);
        pthread_mutex_destroy (&conditionMutex);
    }

    std::mutex mutex;
    pthread_rwlock_t rwlock = PTHREAD_RWLOCK_INITIALIZER;
    sem_t semaphore {};
    pthread_mutex_t conditionMutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    int nullFd = ::open ("/dev/null", O_RDWR);
    int pair[2] { -1, -1 };
    int udp = -1;
    FILE* nullFile = nullptr;
    char byte[1] {};
};

ControlResources* res = nullptr;

// A deadline long past: the timed waits return at once, after making their call.
const timespec zero {};

struct Control
{
    const char* functions; // the watched functions it calls, space separated; empty for allocations
    Kind kind;
    void (*fault)();
};

// One of each kind of call the watch must see, made the way real code makes it.
const Control controls[] = {
    { "", Kind::allocation,
      []
      {
          auto* p = new int (1);
          asm volatile("" : : "r"(p) : "memory");
          delete p;
      } },
    { "pthread_mutex_lock", Kind::lock, [] { const std::scoped_lock lock (res->mutex); } },
    { "pthread_rwlock_rdlock", Kind::lock, [] { pthread_rwlock_rdlock (&res->rwlock), pthread_rwlock_unlock (&res->rwlock); } },
    { "pthread_rwlock_wrlock", Kind::lock, [] { pthread_rwlock_wrlock (&res->rwlock), pthread_rwlock_unlock (&res->rwlock); } },
    { "sem_wait", Kind::wait, [] { sem_post (&res->semaphore), sem_wait (&res->semaphore); } },
    { "sem_timedwait", Kind::wait, [] { sem_post (&res->semaphore), sem_timedwait (&res->semaphore, &zero); } },
    // Returns at the next signal, which a helper thread sends every half millisecond.
    { "pthread_cond_wait", Kind::wait,
      []
      {
          pthread_mutex_lock (&res->conditionMutex), pthread_cond_wait (&res->condition, &res->conditionMutex),
              pthread_mutex_unlock (&res->conditionMutex);
      } },
    { "pthread_cond_timedwait", Kind::wait,
      []
      {
          pthread_mutex_lock (&res->conditionMutex), pthread_cond_timedwait (&res->condition, &res->conditionMutex, &zero),
              pthread_mutex_unlock (&res->conditionMutex);
      } },
    { "nanosleep", Kind::sleep, [] { nanosleep (&zero, nullptr); } },
    { "clock_nanosleep", Kind::sleep, [] { clock_nanosleep (CLOCK_MONOTONIC, 0, &zero, nullptr); } },
    { "usleep", Kind::sleep, [] { usleep (0); } },
    { "sched_yield", Kind::sleep, [] { sched_yield(); } },
    { "open read close", Kind::io,
      []
      {
          const int fd = ::open ("/dev/zero", O_RDONLY);
          char byte = 0;
          [[maybe_unused]] const auto n = ::read (fd, &byte, 1);
          ::close (fd);
      } },
    { "write", Kind::io, [] { [[maybe_unused]] const auto n = ::write (res->nullFd, "x", 1); } },
    { "fwrite", Kind::io, [] { std::fwrite ("x", 1, 1, res->nullFile); } },
    { "socket", Kind::io, [] { ::close (::socket (AF_INET, SOCK_DGRAM, 0)); } },
    { "connect", Kind::io,
      []
      {
          sockaddr_in address {};
          address.sin_family = AF_INET;
          address.sin_port = htons (9);
          address.sin_addr.s_addr = htonl (INADDR_LOOPBACK);
          ::connect (res->udp, reinterpret_cast<const sockaddr*> (&address), sizeof (address));
      } },
    { "send recv", Kind::io, [] { ::send (res->pair[0], "x", 1, 0), ::recv (res->pair[1], res->byte, 1, 0); } },
};
}

TEST (AudioThread, TheWatchSeesEveryKindOfForbiddenCallOnTheDeviceThread)
{
    MARLODE_REQUIRE_JACK();

    TempFolder temp;
    AlertRecorder alerts;
    ControlResources made;
    res = &made;
    WatchedApp app;
    ASSERT_NE (app.deviceManager.getCurrentAudioDevice(), nullptr) << "no JACK device opened";
    ASSERT_TRUE (app.waitForCallbacks (10)) << "the device's callback isn't running";

    std::atomic<bool> signalling { true };
    std::thread signaller (
        [&]
        {
            while (signalling.load())
            {
                pthread_mutex_lock (&made.conditionMutex);
                pthread_cond_signal (&made.condition);
                pthread_mutex_unlock (&made.conditionMutex);
                usleep (500);
            }
        });

    // A clean callback counts nothing, so each control's count is its own.
    RealtimeWatch::reset();
    ASSERT_TRUE (app.waitForCallbacks (5));
    EXPECT_EQ (RealtimeWatch::report(), "allocations 0");

    for (const auto& control : controls)
    {
        SCOPED_TRACE (control.functions);
        RealtimeWatch::reset();
        app.misbehave = control.fault;
        EXPECT_TRUE (app.waitForCallbacks (4));
        app.misbehave = nullptr;
        EXPECT_TRUE (app.waitForCallbacks (2));

        EXPECT_GE (RealtimeWatch::count (control.kind), 3) << RealtimeWatch::report();
        for (const auto& name : juce::StringArray::fromTokens (control.functions, false))
            EXPECT_GE (RealtimeWatch::calls (name.toRawUTF8()), 3) << RealtimeWatch::report();
    }

    signalling = false;
    signaller.join();
    res = nullptr;
}

TEST (AudioThread, ThePlayingCallbackMakesNoForbiddenCall)
{
    MARLODE_REQUIRE_JACK();

    TempFolder temp;
    AlertRecorder alerts;
    WatchedApp app;
    app.setSize (850, 720);
    ASSERT_NE (app.deviceManager.getCurrentAudioDevice(), nullptr) << "no JACK device opened";
    ASSERT_TRUE (app.waitForCallbacks (10)) << "the device's callback isn't running";

    // A long stereo track at another rate than the device's, a short one whose end hands over to
    // the next row through Play-Next, and a mono one.
    const auto make = [&] (const char* name, double rate, int channels, double seconds)
    {
        return writeWav (temp.file (name), rate, channels, (int) (rate * seconds),
                         [rate] (int c, int i) { return sweep (c, i, rate); });
    };
    const auto longTrack = make ("long.wav", 48000.0, 2, 8.0);
    const auto shortTrack = make ("short.wav", 44100.0, 2, 1.0);
    const auto monoTrack = make ("mono.wav", 44100.0, 1, 6.0);

    // The costliest meter types: loudness with true peak in, true peak out.
    auto* deck = app.getCurrentDeck();
    deck->inputMeter.setMeterType (LevelMeterProcessor::lufsAndTruePeak);
    deck->outputMeter.setMeterType (LevelMeterProcessor::truePeak);
    deck->waveform.autoPlayButton.setToggleState (false, juce::dontSendNotification);
    deck->waveform.playNextButton.setToggleState (true, juce::dontSendNotification);
    deck->openFiles ({ longTrack, shortTrack, monoTrack });
    ASSERT_TRUE (pumpUntil ([&] { return deck->trackDeck.getCurrentTrackPath() == longTrack.getFullPathName(); }, 2000));
    pumpMessages (100);

    RealtimeWatch::reset();
    const auto before = app.callbacks.load();
    const auto playing = [&] { return pumpUntil ([&] { return deck->engine.isPlaying(); }, 2000); };
    const auto playingTrack = [&] (const juce::File& f)
    {
        return pumpUntil (
            [&] { return deck->engine.isPlaying() && deck->trackDeck.getCurrentTrackPath() == f.getFullPathName(); }, 4000);
    };

    deck->trackDeck.playButtonClicked();
    ASSERT_TRUE (playing());
    pumpMessages (400);

    // Everything a user does while it plays: seek, loop wrap on the audio thread, volume, pan,
    // mute, pause and resume.
    deck->engine.transport.setPosition (3.0);
    pumpMessages (200);
    deck->engine.markers.setLoopStart (1.0);
    deck->engine.markers.setLoopEnd (1.5);
    deck->waveform.loopButton.setToggleState (true, juce::sendNotificationSync);
    pumpMessages (600);
    deck->waveform.loopButton.setToggleState (false, juce::sendNotificationSync);
    app.volumeAndPan.volumeSlider.setValue (0.5, juce::sendNotificationSync);
    app.volumeAndPan.panSlider.setValue (-30.0, juce::sendNotificationSync);
    pumpMessages (200);
    app.volumeAndPan.muteButton.setToggleState (true, juce::sendNotificationSync);
    pumpMessages (100);
    app.volumeAndPan.muteButton.setToggleState (false, juce::sendNotificationSync);
    deck->trackDeck.playButtonClicked();
    ASSERT_TRUE (pumpUntil ([&] { return deck->trackDeck.getState() == TransportState::Paused; }, 2000));
    deck->trackDeck.playButtonClicked();
    ASSERT_TRUE (playing());
    pumpMessages (200);
    EXPECT_GT (juce::Decibels::gainToDecibels (app.loudest.load()), -12.0f) << "the deck was heard";

    // A track change while playing, then that track's end: Play-Next brings the mono track.
    deck->playlist.selectRow (1);
    ASSERT_TRUE (playingTrack (shortTrack));
    ASSERT_TRUE (playingTrack (monoTrack)) << "Play-Next didn't follow the end of the short track";
    // The master volume is at half from here on: -6 dB below the tracks' -6 dBFS.
    app.loudest = 0.0f;
    pumpMessages (300);
    EXPECT_GT (juce::Decibels::gainToDecibels (app.loudest.load()), -13.0f) << "the mono track was heard";

    // The device manager closes and reopens the JACK device under the playing deck.
    app.deviceManager.closeAudioDevice();
    pumpMessages (100);
    app.deviceManager.restartLastAudioDevice();
    ASSERT_NE (app.deviceManager.getCurrentAudioDevice(), nullptr) << "the JACK device didn't reopen";
    ASSERT_TRUE (app.waitForCallbacks (10));
    pumpMessages (100);
    if (! deck->engine.isPlaying())
        deck->trackDeck.playButtonClicked();
    ASSERT_TRUE (playing());
    app.loudest = 0.0f;
    pumpMessages (300);
    EXPECT_GT (juce::Decibels::gainToDecibels (app.loudest.load()), -13.0f) << "the deck was heard after the restart";

    // A second deck takes over: the first sounds until its stop lands.
    app.addDeck (nullptr);
    ASSERT_TRUE (pumpUntil ([&] { return app.masterEngine.getPreviousDeck() == nullptr; }, 2000));
    pumpMessages (200);

    EXPECT_GT (app.callbacks.load() - before, 300) << "too few callbacks ran to mean anything";
    EXPECT_EQ (RealtimeWatch::report(), "allocations 0");
}
