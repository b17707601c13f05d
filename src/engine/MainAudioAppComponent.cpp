#include "engine/MainAudioAppComponent.h"
#include "ui/Alerts.h"

namespace Marlode
{

namespace
{
    constexpr int maxDecks = 4;

    juce::String& outputDeviceNameSlot()
    {
        static juce::String name ("None");
        return name;
    }
}

juce::String MainAudioAppComponent::currentOutputDeviceName()
{
    JUCE_ASSERT_MESSAGE_THREAD
    return outputDeviceNameSlot();
}

MainAudioAppComponent::MainAudioAppComponent (bool openAudioDevice)
{
    setOpaque (true);
    addAndMakeVisible (volumeAndPan);
    addAndMakeVisible (levelLights);
    relayListeners.add (&levelLights);

    addDeck (nullptr);

    if (openAudioDevice)
    {
        deviceManager.addChangeListener (this);
        setAudioChannels (0, numChannels, savedAudioState.get());

        // The device layer reports a device that is already open only through later changes.
        changeListenerCallback (&deviceManager);
    }

    juce::Timer::callAfterDelay (300, [safe = juce::Component::SafePointer<MainAudioAppComponent> (this)]
                                 {
                                     if (safe != nullptr)
                                         if (auto* deck = safe->getCurrentDeck())
                                             deck->restoreFocus();
                                 });
    startTimer (33);
}

MainAudioAppComponent::~MainAudioAppComponent()
{
    stopTimer();
    deviceManager.removeChangeListener (this);

    // No audio callback may reach a deck once the decks start going.
    shutdownAudio();
    currentDeck.store (nullptr);
    previousDeck.store (nullptr);
}

//==============================================================================
void MainAudioAppComponent::prepareToPlay (int samplesPerBlockExpected, double deviceRate)
{
    blockSize = samplesPerBlockExpected;

    // The decks get the truncated rate and the master equaliser the exact one, on purpose.
    sampleRate = (int) deviceRate;

    for (auto* deck : decks)
        deck->prepareToPlay (blockSize, (double) sampleRate);

    levelLights.measurement.prepare (deviceRate);
    masterEQ.prepare (deviceRate, blockSize, numChannels);

    const auto setup = deviceManager.getAudioDeviceSetup();

    if (setup.outputDeviceName.contains ("Headset"))
        juce::MessageManager::callAsync ([]
                                         {
                                             Alerts::warning ("Warning!",
                                                              juce::String ("Bluetooth Headset output device chosen.") + "\r\n"
                                                                  + "Audio quality is significantly reduced with this output option. "
                                                                  + "Try choosing 'Headphones' instead if you notice audio quality is poor.");
                                         });
}

void MainAudioAppComponent::releaseResources()
{
    for (auto* deck : decks)
        deck->trackDeck.transportSource.releaseResources();
}

void MainAudioAppComponent::getNextAudioBlock (const juce::AudioSourceChannelInfo& info)
{
    if (decksBusy.load())
    {
        if (! info.buffer->hasBeenCleared())
            info.clearActiveBufferRegion();
    }
    else
    {
        MainComponent* deck = nullptr;

        if (auto* previous = previousDeck.load())
        {
            // The deck that was playing when another became current sounds until its stop lands.
            if (previous->isPlaying.load())
                deck = previous;
            else
                previousDeck.store (nullptr);
        }
        else
        {
            deck = currentDeck.load();
        }

        if (deck != nullptr)
            deck->getNextAudioBlock (info);
        else if (! info.buffer->hasBeenCleared())
            info.clearActiveBufferRegion();
    }

    masterEQ.process (info);
    volumeAndPan.gainStage.process (info);
    levelLights.measurement.process (info);
}

//==============================================================================
void MainAudioAppComponent::changeListenerCallback (juce::ChangeBroadcaster* source)
{
    if (source == &deviceManager)
    {
        const auto setup = deviceManager.getAudioDeviceSetup();
        const bool available = setup.outputDeviceName.isNotEmpty() && deviceManager.getCurrentAudioDevice() != nullptr;

        for (auto* deck : decks)
        {
            if (! available && deck->trackDeck.getState() == TransportState::Playing)
                deck->trackDeck.changeState (TransportState::Pausing);

            deck->trackDeck.audioDeviceAvailable = available;
        }

        outputDeviceNameSlot() = available ? setup.outputDeviceName : juce::String ("None");
        return;
    }

    // The deferred delete of a playing deck (deck bank) hangs here once it exists.
}

void MainAudioAppComponent::buttonClicked (juce::Button*)
{
    for (int i = 0; i < decks.size() && i < deckButtons.size(); ++i)
    {
        if (! deckButtons[i]->getToggleState())
            continue;

        auto* deck = decks[i];
        auto* current = currentDeck.load();

        if (deck != current && current != nullptr && current->isPlaying.load())
            previousDeck.store (current);

        currentDeck.store (deck);
    }
}

//==============================================================================
void MainAudioAppComponent::addDeck (juce::XmlElement*)
{
    if (decks.size() >= maxDecks)
        return;

    if (auto* current = currentDeck.load(); current != nullptr && current->isPlaying.load())
        previousDeck.store (current);

    auto* deck = new MainComponent (commandManager.getKeyMappings(), activePopup);
    addChildComponent (deck);
    deck->prepareToPlay (blockSize, (double) sampleRate);
    deck->trackDeck.audioDeviceAvailable = outputDeviceNameSlot() != "None";
    deck->addChangeListener (this);
    relayListeners.add (deck);
    currentDeck.store (deck);

    auto* tab = new juce::TextButton (juce::String (deckButtons.size() + 1));
    tab->setRadioGroupId (1);
    tab->setClickingTogglesState (true);
    tab->setMouseClickGrabsKeyboardFocus (false);
    tab->setWantsKeyboardFocus (false);
    tab->addListener (this);
    tab->addListener (deck);
    deck->deckTab = tab;
    addChildComponent (tab);

    decks.add (deck);
    deckButtons.add (tab);

    tab->setToggleState (true, juce::sendNotificationSync);
    showDeck (*deck);

    for (auto* b : deckButtons)
        b->setVisible (decks.size() > 1);

    resized();
}

void MainAudioAppComponent::showDeck (MainComponent& deck)
{
    for (auto* d : decks)
        d->setVisible (d == &deck);
}

void MainAudioAppComponent::openCommandLine (const juce::String& commandLine)
{
    if (auto* deck = getCurrentDeck())
        deck->openCommandLine (commandLine);
}

void MainAudioAppComponent::requestQuit()
{
    auto* deck = getCurrentDeck();

    if (deck != nullptr && deck->isPlaying.load())
    {
        deck->trackDeck.quitWhenStopped = true;
        deck->trackDeck.stopButtonClicked();
        return;
    }

    juce::MessageManager::getInstance()->stopDispatchLoop();
}

//==============================================================================
void MainAudioAppComponent::timerCallback()
{
    tickRelayListeners();
}

void MainAudioAppComponent::resized()
{
    auto area = getLocalBounds();
    auto title = area.removeFromTop (titleAreaHeight).reduced (8, 4);

    levelLights.setBounds (title.removeFromRight (120).reduced (0, 4));
    title.removeFromRight (10);
    volumeAndPan.setBounds (title.removeFromRight (220));

    auto tabs = title.removeFromLeft (4 * 30);
    for (auto* b : deckButtons)
        b->setBounds (tabs.removeFromLeft (30).reduced (1, 0));

    for (auto* deck : decks)
        deck->setBounds (area);
}

void MainAudioAppComponent::paint (juce::Graphics& g)
{
    g.fillAll (juce::Colour (0xff282a28));
}

} // namespace Marlode
