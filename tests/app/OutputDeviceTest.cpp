#include "app/MainAudioAppComponent.h"
#include "support/DeckHarness.h"
#include "support/JackRecorder.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

TEST (OutputDevice, AHeadsetIsWarnedAboutAtEveryStartButOnlyByItsCapitalisedName)
{
    MARLODE_REQUIRE_JACK();

    // Two more JACK clients with input ports: to the device layer, two more output devices.
    JackRecorder headset ("Bluetooth Headset", 1.0), lowerCase ("usb headset", 1.0);
    AlertRecorder alerts;
    MainAudioAppComponent app;
    ASSERT_NE (app.deviceManager.getCurrentAudioDevice(), nullptr);
    EXPECT_EQ (MainAudioAppComponent::currentOutputDeviceName(), "system");

    auto useDevice = [&] (const juce::String& name)
    {
        app.deviceManager.getCurrentDeviceTypeObject()->scanForDevices();
        auto setup = app.deviceManager.getAudioDeviceSetup();
        setup.outputDeviceName = name;
        EXPECT_EQ (app.deviceManager.setAudioDeviceSetup (setup, true), juce::String());
        pumpMessages (200);
    };

    useDevice ("usb headset");
    EXPECT_TRUE (alerts.shown.empty());

    useDevice ("Bluetooth Headset");
    ASSERT_EQ (alerts.shown.size(), 1u);
    EXPECT_EQ (alerts.shown[0].title, "Warning!");
    EXPECT_EQ (alerts.shown[0].message,
               "Bluetooth Headset output device chosen.\r\nAudio quality is significantly reduced with this output option. "
               "Try choosing 'Headphones' instead if you notice audio quality is poor.");
    EXPECT_EQ (MainAudioAppComponent::currentOutputDeviceName(), "Bluetooth Headset");
    EXPECT_TRUE (app.getCurrentDeck()->trackDeck.audioDeviceAvailable);

    // Every start of such a device warns again.
    app.deviceManager.restartLastAudioDevice();
    app.deviceManager.closeAudioDevice();
    app.deviceManager.restartLastAudioDevice();
    pumpMessages (200);
    EXPECT_EQ (alerts.shown.size(), 2u);
}
