#include "support/FakeDevice.h"

namespace MarlodeTest
{

FakeDevice::FakeDevice (std::function<void (const juce::AudioSourceChannelInfo&)> cb, int blockSize, double sampleRate)
    : callback (std::move (cb))
{
    thread = std::thread (
        [this, blockSize, sampleRate]
        {
            juce::AudioBuffer<float> buffer (2, blockSize);
            const auto period = (double) blockSize / sampleRate * 1000.0;
            auto next = juce::Time::getMillisecondCounterHiRes();

            while (running.load())
            {
                buffer.clear();
                callback (juce::AudioSourceChannelInfo (&buffer, 0, blockSize));
                const auto p = buffer.getMagnitude (0, 0, blockSize);
                if (p > peak.load())
                    peak.store (p);
                count.fetch_add (1);
                next += period;
                const auto wait = next - juce::Time::getMillisecondCounterHiRes();
                if (wait > 0)
                    juce::Thread::sleep ((int) wait);
            }
        });
}

FakeDevice::~FakeDevice()
{
    running.store (false);
    thread.join();
}

} // namespace MarlodeTest
