#pragma once

#include "deck/MainComponent.h"
#include "support/TestAudio.h"
#include "ui/Alerts.h"

#include <atomic>
#include <thread>

namespace MarlodeTest
{

/** Records every alert the application would have shown, and answers questions with `answer`. */
struct AlertRecorder
{
    AlertRecorder();

    struct Shown
    {
        juce::String kind, title, message;
        juce::Component* centredOn = nullptr; // a text window's
    };

    std::vector<Shown> shown;
    bool answer = false;
    int choice = 2; // the button index a three-way choice answers with
    Marlode::Alerts::ScopedPresenter presenter;
};

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

/** One real deck with a prepared transport and an available device. Auto-Play off. */
struct DeckHarness
{
    DeckHarness();

    juce::KeyPressMappingSet* keyMappings = nullptr;
    Marlode::PopupDisplayComponent* activePopup = nullptr;
    Marlode::MainComponent deck;

    /** Loads a file through the playlist, as a chooser would, and waits for it. */
    bool load (const juce::File& file);

    Marlode::TrackDeck& player() { return deck.trackDeck; }
};

} // namespace MarlodeTest
