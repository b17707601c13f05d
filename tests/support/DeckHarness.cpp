#include "support/DeckHarness.h"

namespace MarlodeTest
{

AlertRecorder::AlertRecorder()
    : presenter (Marlode::Alerts::Presenter {
        [this] (const juce::String& t, const juce::String& m) {
            shown.push_back ({ "warning", t, m });
        },
        [this] (const juce::String& t, const juce::String& m, std::function<void (bool)> reply)
        {
            shown.push_back ({ "question", t, m });
            reply (answer);
        },
        [this] (const juce::String& t, const juce::String& m, const juce::StringArray&, std::function<void (int)> chosen)
        {
            shown.push_back ({ "choice", t, m });
            chosen (choice);
        },
        [this] (const juce::String& t, const juce::String& m, juce::Component* c) {
            shown.push_back ({ "window", t, m, c });
        } })
{
}

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

DeckHarness::DeckHarness() : deck (keyMappings, activePopup)
{
    deck.setBounds (0, 0, 830, 685);
    deck.prepareToPlay (512, 44100.0);
    deck.trackDeck.audioDeviceAvailable = true;
    deck.waveform.autoPlayButton.setToggleState (false, juce::dontSendNotification);
}

bool DeckHarness::load (const juce::File& file)
{
    deck.openFiles ({ file });
    return pumpUntil ([&] { return deck.trackDeck.getCurrentTrackPath() == file.getFullPathName(); }, 2000);
}

} // namespace MarlodeTest
