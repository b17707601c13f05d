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

// What the positive controls use, made before the callback touches it and kept for the
// process's lifetime.
std::mutex mutex;
pthread_rwlock_t rwlock = PTHREAD_RWLOCK_INITIALIZER;
sem_t semaphore {};
pthread_mutex_t conditionMutex = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
const int nullFd = ::open ("/dev/null", O_RDWR);
FILE* const nullFile = std::fopen ("/dev/null", "w");
const int udp = ::socket (AF_INET, SOCK_DGRAM, 0);
int pair[2] { -1, -1 };
char byte[1] {};
int* volatile allocated = nullptr;
const sockaddr_in discard { AF_INET, htons (9), { htonl (INADDR_LOOPBACK) }, {} };

// A deadline long past: the timed waits return at once, after making their call.
const timespec zero {};

// Untimed, returns at the next signal, which a helper thread sends every half millisecond.
void waitForCondition (bool timed)
{
    pthread_mutex_lock (&conditionMutex);
    timed ? pthread_cond_timedwait (&condition, &conditionMutex, &zero) : pthread_cond_wait (&condition, &conditionMutex);
    pthread_mutex_unlock (&conditionMutex);
}

struct Control
{
    const char* functions; // the watched functions it calls, space separated; empty for allocations
    Kind kind;
    void (*fault)();
};

// One of each kind of call the watch must see, made the way real code makes it.
const Control controls[] = {
    { "", Kind::allocation, [] { allocated = new int (1), delete allocated; } },
    { "pthread_mutex_lock", Kind::lock, [] { const std::scoped_lock lock (mutex); } },
    { "pthread_rwlock_rdlock", Kind::lock, [] { pthread_rwlock_rdlock (&rwlock), pthread_rwlock_unlock (&rwlock); } },
    { "pthread_rwlock_wrlock", Kind::lock, [] { pthread_rwlock_wrlock (&rwlock), pthread_rwlock_unlock (&rwlock); } },
    { "sem_wait", Kind::wait, [] { sem_post (&semaphore), sem_wait (&semaphore); } },
    { "sem_timedwait", Kind::wait, [] { sem_post (&semaphore), sem_timedwait (&semaphore, &zero); } },
    { "pthread_cond_wait", Kind::wait, [] { waitForCondition (false); } },
    { "pthread_cond_timedwait", Kind::wait, [] { waitForCondition (true); } },
    { "nanosleep", Kind::sleep, [] { nanosleep (&zero, nullptr); } },
    { "clock_nanosleep", Kind::sleep, [] { clock_nanosleep (CLOCK_MONOTONIC, 0, &zero, nullptr); } },
    { "usleep", Kind::sleep, [] { usleep (0); } },
    { "sched_yield", Kind::sleep, [] { sched_yield(); } },
    { "open read close", Kind::io, [] { ::close (::open ("/dev/zero", O_RDONLY)), (void) ::read (nullFd, byte, 1); } },
    { "write", Kind::io, [] { (void) ::write (nullFd, "x", 1); } },
    { "fwrite", Kind::io, [] { std::fwrite ("x", 1, 1, nullFile); } },
    { "socket", Kind::io, [] { ::close (::socket (AF_INET, SOCK_DGRAM, 0)); } },
    { "connect", Kind::io, [] { ::connect (udp, reinterpret_cast<const sockaddr*> (&discard), sizeof (discard)); } },
    { "send recv", Kind::io, [] { ::send (pair[0], "x", 1, 0), ::recv (pair[1], byte, 1, 0); } },
};
}

TEST (AudioThread, TheWatchSeesEveryKindOfForbiddenCallOnTheDeviceThread)
{
    MARLODE_REQUIRE_JACK();

    TempFolder temp;
    AlertRecorder alerts;
    ASSERT_EQ (socketpair (AF_UNIX, SOCK_STREAM, 0, pair), 0);
    sem_init (&semaphore, 0, 0);
    WatchedApp app;
    ASSERT_NE (app.deviceManager.getCurrentAudioDevice(), nullptr) << "no JACK device opened";
    ASSERT_TRUE (app.waitForCallbacks (10)) << "the device's callback isn't running";

    std::atomic<bool> signalling { true };
    std::thread signaller (
        [&]
        {
            while (signalling.load())
            {
                pthread_mutex_lock (&conditionMutex);
                pthread_cond_signal (&condition);
                pthread_mutex_unlock (&conditionMutex);
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
    ::close (pair[0]), ::close (pair[1]);
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
    ASSERT_TRUE (openWithoutAutoPlay (*deck, { longTrack, shortTrack, monoTrack }));
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
    // equalisers, mute, pause and resume.
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
    // Equaliser bands added, retuned and removed on the deck and the master, spectrum taps on.
    for (auto* eq : { &deck->deckEQ, &app.masterEQ })
    {
        eq->equaliser.setSpectrumWanted (true);
        eq->addBandButtonClicked();
        eq->addBandButtonClicked();
        eq->getBand (0).filterTypeCombo.setSelectedId (EQBandValues::highPass, juce::sendNotificationSync);
        eq->getBand (1).gainSlider.setValue (3.0, juce::sendNotificationSync);
        eq->outputGainSlider.setValue (-1.0, juce::sendNotificationSync);
        pumpMessages (150);
        eq->deleteVisibleBand();
        eq->outputGainSlider.setValue (0.0, juce::sendNotificationSync);
    }
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

    // The streaming preview raising the track, its true-peak limiter at work.
    app.comparison.boostButton.setToggleState (true, juce::sendNotificationSync);
    app.comparison.previewBox.setSelectedId (2, juce::sendNotificationSync);
    ASSERT_TRUE (pumpUntil ([&] { return app.comparison.previewGainLabel.getText() != "0.0 dB"; }, 5000));
    pumpMessages (300);

    // A second deck takes over: the first sounds until its stop lands.
    app.addDeck (nullptr);
    ASSERT_TRUE (pumpUntil ([&] { return app.masterEngine.getPreviousDeck() == nullptr; }, 2000));
    pumpMessages (200);

    // With Match on, a tab switch back hands over through the crossfade, the two decks playing.
    ASSERT_TRUE (openWithoutAutoPlay (*app.decks[1], { monoTrack }));
    app.decks[1]->trackDeck.playButtonClicked();
    app.comparison.matchButton.setToggleState (true, juce::sendNotificationSync);
    pumpMessages (300);
    app.deckButtons[0]->setToggleState (true, juce::sendNotificationSync);
    ASSERT_TRUE (pumpUntil ([&] { return app.getCurrentDeck() == deck && deck->engine.isPlaying(); }, 2000));
    pumpMessages (300);

    EXPECT_GT (app.callbacks.load() - before, 300) << "too few callbacks ran to mean anything";
    EXPECT_EQ (RealtimeWatch::report(), "allocations 0");
}
