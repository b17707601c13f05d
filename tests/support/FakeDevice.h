#pragma once

#include <juce_audio_basics/juce_audio_basics.h>

#include <atomic>
#include <functional>
#include <thread>

namespace MarlodeTest
{

/** Calls a deck's block path from a thread of its own at the device's pace, like a device. */
class FakeDevice
{
public:
    FakeDevice (std::function<void (const juce::AudioSourceChannelInfo&)> callback, int blockSize = 512,
                double sampleRate = 44100.0);
    ~FakeDevice();

    /** Blocks delivered so far. */
    [[nodiscard]] int blocks() const noexcept { return count.load(); }

    /** Peak of channel 0 over all blocks delivered since the last call. */
    float takePeak() noexcept { return peak.exchange (0.0f); }

private:
    std::function<void (const juce::AudioSourceChannelInfo&)> callback;
    std::atomic<bool> running { true };
    std::atomic<int> count { 0 };
    std::atomic<float> peak { 0.0f };
    std::thread thread;
};

} // namespace MarlodeTest
