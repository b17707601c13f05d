#pragma once

#include "app/BlindTestWindow.h"
#include "app/ComparisonComponent.h"
#include "deck/MainComponent.h"
#include "dsp/panels/EQWindow.h"
#include "dsp/panels/LevelMeterHorizontalLights.h"
#include "engine/MasterEngine.h"
#include "ui/AboutWindowComponent.h"
#include "ui/DebugDocumentWindow.h"
#include "ui/HelpWindow.h"
#include "ui/SettingsComponent.h"
#include "ui/WelcomeComponent.h"
#include "ui/TimerRelayBroadcaster.h"
#include "ui/TitleBarComponent.h"
#include "update/StartupUpdateComponent.h"
#include "update/UserUpdateComponent.h"
#include "dsp/panels/VolumeAndPanComponent.h"

#include <juce_audio_utils/juce_audio_utils.h>

#include <atomic>

namespace Marlode
{

class PopupDisplayComponent;

//==============================================================================
/**
    The main window's content and the one owner of the audio device, which it feeds from the
    master's engine (one deck per block, never summed, then the master's stages). It holds the
    bank of decks, their tabs, the master controls, the title bar and the commands. One 33 ms
    timer drives every display through the timer relay.

    getNextAudioBlock runs on the audio thread; everything else on the message thread.
*/
class MainAudioAppComponent : public juce::AudioAppComponent,
                              public juce::ChangeListener,
                              public juce::Button::Listener,
                              private juce::Timer,
                              public TimerRelayBroadcaster,
                              public juce::ApplicationCommandTarget,
                              public PlaylistComponent::Listener,
                              private juce::AsyncUpdater
{
public:
    /** Opens the output device unless told not to (tests that drive the block path themselves).
        With a session file, the session it holds is rebuilt before the device opens, and the
        session is written back to it first thing at destruction; without one, a fresh deck. */
    explicit MainAudioAppComponent (bool openAudioDevice = true, const juce::File& sessionFileToUse = {});
    ~MainAudioAppComponent() override;

    /** Message thread: listens for device changes and opens the output device. Once the device
        runs, the audio thread calls getNextAudioBlock, so a subclass that overrides it opens the
        device only when it is whole. */
    void openOutputDevice();

    //==============================================================================
    void prepareToPlay (int samplesPerBlockExpected, double sampleRate) override;
    void releaseResources() override;
    void getNextAudioBlock (const juce::AudioSourceChannelInfo&) override;
    void changeListenerCallback (juce::ChangeBroadcaster*) override;
    void buttonClicked (juce::Button*) override;

    //==============================================================================
    /** A new deck from a session's DECK_STATE_<n>, or with defaults from null; it becomes the
        current one. At most 4. */
    void addDeck (const juce::XmlElement* deckState);

    /** Removes the current deck (not the last one); the first deck becomes current. */
    void deleteCurrentDeck();

    /** Back to one fresh deck. */
    void deleteAllDecks();

    /** The deck tab's click: the deck whose tab is on becomes current. */
    void setCurrentDeckFromButtons();

    /** The current deck's selected tracks to deck 1 to 4, or to a new deck (0). */
    void sendTracksToDeck (int deckNumber, bool removeFromSource) override;

    /** Opens files from the command line or a later launch on the current deck. */
    void openFiles (const juce::Array<juce::File>& files);

    /** Quit as the user asked for it: a playing deck stops first and the loop ends from its stop. */
    void requestQuit();

    /** The main menu's choices, by id. */
    void menuItemChosen (int id);

    //==============================================================================
    /** The whole session as PREVIOUS_STATE: the window, the settings, the master section, the
        device, then every deck in order. */
    [[nodiscard]] std::unique_ptr<juce::XmlElement> createSessionXml();

    /** Rebuilds the session from a read PREVIOUS_STATE, or one fresh deck from null. Only before
        the first deck exists and before the device opens. */
    void restoreSession (const juce::XmlElement* session);

    /** The main window's bounds as the session kept them, for the window to take; empty when none. */
    juce::String windowState;

    //==============================================================================
    // The master and system commands; the current deck holds the rest.
    juce::ApplicationCommandTarget* getNextCommandTarget() override { return getCurrentDeck(); }
    void getAllCommands (juce::Array<juce::CommandID>&) override;
    void getCommandInfo (juce::CommandID, juce::ApplicationCommandInfo&) override;
    bool perform (const InvocationInfo&) override;

    void resized() override;
    void paint (juce::Graphics&) override;

    /** Escape closes the panel that is up, wherever the keyboard focus went meanwhile. */
    bool keyPressed (const juce::KeyPress&) override;

    [[nodiscard]] MainComponent* getCurrentDeck() const noexcept;
    [[nodiscard]] int getNumDecks() const noexcept { return decks.size(); }

    /** The output device's name, or "None" while there is none. */
    static juce::String currentOutputDeviceName();

    //==============================================================================
    // Declared before the decks and the master controls, which it outlives.
    MasterEngine masterEngine;

    juce::OwnedArray<MainComponent> decks;
    juce::OwnedArray<juce::TextButton> deckButtons;
    // Beside each tab, the deck's loudness-match gain while Match is on.
    juce::OwnedArray<juce::Label> deckGainLabels;

    // Interface ticks left (33 ms each, about 300 ms) before the deck first takes keyboard focus.
    int ticksUntilFocus = 9;

    const int numChannels = 2;
    int blockSize = 512;
    int sampleRate = 44100; // the device's rate, truncated; the decks get this one

    TitleBar::TitleBarComponent titleBar { "Marlode" };
    juce::TextButton masterEQButton { "EQ" };
    EQComponent masterEQ { &masterEQButton, false }; // after its button, which shows whether it is active
    EQWindow outputEQWindow { masterEQ, &masterEQButton };
    LevelMeterHorizontalLights levelLights { masterEngine.levels };
    VolumeAndPanComponent volumeAndPan { masterEngine.gainStage };
    ComparisonComponent comparison { masterEngine.preview };
    BlindTestWindow blindTest { blindTestDecks(), &comparison.blindTestButton };

    std::unique_ptr<juce::XmlElement> savedAudioState;
    const juce::File sessionFile;
    bool deleteAllPending = false;
    juce::ApplicationCommandManager commandManager;
    PopupDisplayComponent* activePopup = nullptr;
    StoredSettings storedSettings;
    SettingsComponent settingsPanel { deviceManager, storedSettings, activePopup };
    WelcomeComponent welcome { storedSettings, activePopup };
    AboutWindowComponent about { activePopup };
    std::unique_ptr<HelpWindow> help;                 // made at first use and kept
    std::unique_ptr<DebugDocumentWindow> debugWindow; // a new one replaces the last

    /** The log lines the debug window shows; the application collects them. */
    std::function<juce::String()> logLines;
    StartupUpdateComponent startupUpdate { storedSettings };
    UserUpdateComponent userUpdate;

    // The window's bar, then the strip with the deck tabs and the master controls.
    static constexpr int titleBarHeight = 25, masterStripHeight = 50, startupUpdateHeight = 35;
    static constexpr int titleAreaHeight = titleBarHeight + masterStripHeight;
    static constexpr int tabWidth = 40;

private:
    /** The deck switch while Match is on: the next deck goes on at the same time in its track and
        takes over through the master's crossfade; the previous one pauses once it has faded. */
    void handOver (MainComponent& from, MainComponent& to);
    void updateComparison();
    void showSettings();
    void showDebugWindow();

    /** The blind test's hold on the decks: the output to one of its pair, matched to the other
        and at the same time in the track, and back to the current tab's deck at its end. */
    BlindTestWindow::Decks blindTestDecks();
    void listenBlind (int deck, int other);
    void endBlindTest();

    // The deck fading out after a hand-over, paused by the timer once its fade has ended.
    juce::Component::SafePointer<MainComponent> fadingFrom;

    void timerCallback() override;
    void handleAsyncUpdate() override;
    void showDeck (MainComponent&);
    void renumberTabs();
    void deleteDecksWhenStopped (bool all);
    void askApplicationToQuit();
    std::unique_ptr<juce::ComponentTraverser> createKeyboardFocusTraverser() override;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (MainAudioAppComponent)
};

} // namespace Marlode
