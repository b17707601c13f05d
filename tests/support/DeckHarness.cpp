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

bool openWithoutAutoPlay (Marlode::MainComponent& deck, const juce::Array<juce::File>& files, bool playNext)
{
    deck.waveform.autoPlayButton.setToggleState (false, juce::dontSendNotification);
    deck.waveform.playNextButton.setToggleState (playNext, juce::dontSendNotification);
    deck.openFiles (files);
    const auto first = files.getFirst().getFullPathName();
    return pumpUntil ([&] { return deck.trackDeck.getCurrentTrackPath() == first; }, 3000);
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
