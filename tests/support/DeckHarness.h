#pragma once

#include "deck/MainComponent.h"
#include "support/FakeDevice.h"
#include "support/TestAudio.h"
#include "ui/Alerts.h"

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

/** Opens `files` on `deck` with Auto-Play off and `playNext` as given, as a chooser would, and
    waits until the first is loaded. */
bool openWithoutAutoPlay (Marlode::MainComponent& deck, const juce::Array<juce::File>& files, bool playNext = true);

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
