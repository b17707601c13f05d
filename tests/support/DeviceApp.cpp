#include "support/DeviceApp.h"
#include "support/TestAudio.h"
#include "support/TestEnv.h"

namespace MarlodeTest
{

DeviceApp::DeviceApp() : MainAudioAppComponent (false)
{
}

DeviceApp::~DeviceApp()
{
    shutdownAudio();
}

void DeviceApp::getNextAudioBlock (const juce::AudioSourceChannelInfo& info)
{
    runBlock (info);

    const auto peak = info.buffer->getMagnitude (0, info.startSample, info.numSamples);
    if (peak > loudest.load())
        loudest.store (peak);

    callbacks.fetch_add (1);
}

void DeviceApp::runBlock (const juce::AudioSourceChannelInfo& info)
{
    MainAudioAppComponent::getNextAudioBlock (info);
}

bool DeviceApp::openOnDesktop (int width, int height)
{
    openOutputDevice();
    setBounds (0, 0, width, height);
    addToDesktop (0);
    setVisible (true);
    return pumpUntil ([this] { return getPeer() != nullptr && isShowing(); }, 3000);
}

bool DeviceApp::waitForCallbacks (int n, int timeoutMs)
{
    const auto target = callbacks.load() + n;
    return pumpUntil ([&] { return callbacks.load() >= target; }, timeoutMs);
}

bool DeviceApp::heardWithin (int ms)
{
    loudest.store (0.0f);
    return pumpUntil ([this] { return loudest.load() > 0.0f; }, ms);
}

bool clickOn (juce::Component& c, const std::function<bool()>& outcome, int timeoutMs)
{
    const auto centre = c.getScreenBounds().getCentre();
    if (! xdotool ({ "mousemove", "--sync", juce::String (centre.x), juce::String (centre.y), "click", "1" }))
        return false;

    // One long dispatch slice first: when the click's modal batch ran inside a 5 ms slice, later
    // pointer events under Xvfb went undelivered to the slices that followed.
    pumpMessages (300);
    return pumpUntil (outcome, timeoutMs);
}

} // namespace MarlodeTest
