#include "support/DeviceApp.h"
#include "support/TestAudio.h"

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

} // namespace MarlodeTest
