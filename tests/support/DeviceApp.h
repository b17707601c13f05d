#pragma once

#include "app/MainAudioAppComponent.h"
#include "support/JackRecorder.h"

#include <atomic>

namespace MarlodeTest
{

/** The application's content on the test run's JACK device, with each block's output peak kept.
    The device opens only through openOutputDevice(), which the most derived constructor calls:
    once it runs, the device thread calls into the whole object. */
struct DeviceApp : Marlode::MainAudioAppComponent
{
    DeviceApp();
    ~DeviceApp() override;

    void getNextAudioBlock (const juce::AudioSourceChannelInfo&) override;

    /** Audio thread: the application's own block; a subclass may wrap it. */
    virtual void runBlock (const juce::AudioSourceChannelInfo&);

    /** Opens the device and puts the content in a window of this size on the display; false if
        it does not come up. */
    bool openOnDesktop (int width, int height);

    /** Pumps messages until `n` more callbacks have run. */
    bool waitForCallbacks (int n, int timeoutMs = 3000);

    /** Pumps messages for at most `ms` and says whether anything above silence reached the device. */
    bool heardWithin (int ms);

    // The device thread writes both; the test's thread reads them (and resets `loudest`).
    std::atomic<int> callbacks { 0 };
    std::atomic<float> loudest { 0.0f }; // linear peak of the first channel
};

/** The application on the display at 1100 x 800 with a recorder of what it sends to JACK. */
struct RecordedApp
{
    explicit RecordedApp (const std::string& recorderName)
        : opened (app.openOnDesktop (1100, 800)), recorder (recorderName, 10.0),
          ready (opened && recorder.connectTo ("Marlode", 5000))
    {
    }

    DeviceApp app;
    bool opened;
    JackRecorder recorder;
    bool ready; // on the display and heard
};

/** A real click (X events) on the component's centre, then messages until `outcome` holds. */
bool clickOn (juce::Component&, const std::function<bool()>& outcome, int timeoutMs = 10000);

} // namespace MarlodeTest
