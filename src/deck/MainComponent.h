#pragma once

#include "engine/DeckEngine.h"
#include "engine/SharedFormatManager.h"
#include "deck/TimerComponent.h"
#include "deck/TrackDeck.h"
#include "deck/TrackNameLabel.h"
#include "deck/TransportComponent.h"
#include "deck/VerticalResizeBar.h"
#include "dsp/panels/DeckFXWindow.h"
#include "dsp/panels/EQComponent.h"
#include "dsp/panels/TimeStretchComponent.h"
#include "dsp/panels/LevelMeter.h"
#include "dsp/panels/LevelMeterSettingsComponent.h"
#include "export/AudioFileExportComponent.h"
#include "ui/TimerRelayBroadcaster.h"
#include "playlist/PlaylistComponent.h"
#include "waveform/WaveformBackground.h"
#include "waveform/WaveformComponent.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

class PopupDisplayComponent;

//==============================================================================
/**
    One deck as the user sees it: the player, its playlist, waveform, meters, equaliser and
    effects, laid out with the panel buttons, and the vetting of files before they reach the
    playlist. Its audio path is `engine`, which the master's engine runs.

    Message thread, except prepareToPlay (device start).
*/
class MainComponent : public juce::Component,
                      public TimerRelayListener,
                      public TimerRelayBroadcaster,
                      public juce::ApplicationCommandTarget,
                      public juce::Button::Listener,
                      private TrackDeck::Listener,
                      private PlaylistComponent::Listener,
                      private WaveformComponent::Listener,
                      public juce::DragAndDropContainer,
                      public juce::FileDragAndDropTarget
{
public:
    MainComponent (juce::KeyPressMappingSet* keyMappings, PopupDisplayComponent*& activePopupSlot);
    ~MainComponent() override;

    //==============================================================================
    void prepareToPlay (int blockSize, double sampleRate);

    //==============================================================================
    /** Files and folders from a chooser, a drop or the command line: folders are searched,
        files whose extension no format knows are reported, the rest go to the playlist. */
    void openFiles (const juce::Array<juce::File>& files);

    void openTrack (bool fromCommand);
    void openFolder();
    void openPlaylist();

    /** Asks for a file name and writes the playlist there as ".xml". */
    void saveButtonClicked();

    /** The export panel for the loaded track; a message when there is none. */
    void exportAudioButtonClicked();

    //==============================================================================
    /** Everything of the deck a session keeps, from each part that owns it. setState applies a
        read state in the order the session file is read: the panel split, the playlist with its
        layout and analyse options, the meters, Auto-Play and Play-Next, the spectrum and the
        equaliser, then the effects and the time stretch. */
    void getState (DeckState&) const;
    void setState (const DeckState&);

    /** This deck as the session file's DECK_STATE_<index>. */
    [[nodiscard]] std::unique_ptr<juce::XmlElement> getDeckStateXml (int index) const;

    //==============================================================================
    // The deck's keyboard commands: transport, markers, view and panels.
    juce::ApplicationCommandTarget* getNextCommandTarget() override { return nullptr; }
    void getAllCommands (juce::Array<juce::CommandID>&) override;
    void getCommandInfo (juce::CommandID, juce::ApplicationCommandInfo&) override;
    bool perform (const InvocationInfo&) override;

    //==============================================================================
    void resized() override;
    void paint (juce::Graphics&) override;
    void timerRelayCallback() override;
    void buttonClicked (juce::Button*) override;
    bool isInterestedInFileDrag (const juce::StringArray&) override;
    void filesDropped (const juce::StringArray& files, int x, int y) override;

    /** Keyboard focus back to the deck: the waveform if it held it last, else the playlist. */
    void restoreFocus();

    [[nodiscard]] juce::AudioFormatManager& getFormatManager() noexcept { return *formatManager; }

    //==============================================================================
    // Declared first: every member below may use the formats.
    juce::SharedResourcePointer<SharedFormatManager> formatManager;

    // Before every view and the player, which all read or drive it.
    DeckEngine engine;

    TrackDeck trackDeck;
    PlaylistComponent playlist;
    WaveformBackground waveformBackground; // before the waveform, which draws on it from its constructor
    WaveformComponent waveform;
    TimerComponent timer { engine };
    LevelMeter inputMeter { "in", engine.inputMeter, [this] { return engine.isPlaying(); } },
        outputMeter { "out", engine.outputMeter, [this] { return engine.isPlaying(); } };
    juce::TextButton playlistButton { "Playlist" }, deckEQButton { "Deck EQ" }, fxButton { "FX" }, analysisButton { "Analysis" },
        clearButton { "Clear" };
    EQComponent deckEQ { &deckEQButton, true };                // after its button, which shows whether it is active
    TimeStretchComponent timeStretch { engine.timeStretchOn }; // before the effects panel, which shows it
    DeckFXWindow deckFX { &timeStretch, [this] { return engine.isPlaying(); } };
    VerticalResizeBar resizeBar;
    TransportComponent transport;
    TrackNameLabel trackName;

    // This deck waits for its stop to be deleted; message thread.
    bool pendingDelete = false;

    // The upper panel's share of the deck's height.
    float windowRatio = 0.5f;
    int upperPanelHeight = 300;

    // This deck's tab in the title area; not owned.
    juce::TextButton* deckTab = nullptr;

    /** Asked when the deck's tab goes off while it plays: true when the deck bank hands its
        sound over to the next deck itself, so the deck must not pause on its own. */
    std::function<bool()> handsOverOnSwitch;

    bool waveformHadFocus = false;

    /** The deck's play state changed; the deck bank listens for a deck that stops. */
    std::function<void (MainComponent&)> onPlayStateChanged;

private:
    enum class Panel
    {
        playlist,
        eq,
        fx
    };

    void showPanel (Panel);
    void skipOrJump (int commandID);
    void validateAndAdd (const juce::Array<juce::File>& files);
    juce::StringArray vetFiles (const juce::Array<juce::File>& files);
    void setResizeDrag (int offset);
    void resetMeters();
    void resetHeldMeters();

    void trackLoaded (const juce::File&) override;
    void trackUnloaded() override;
    void playStateChanged (TransportState) override;
    void newTrackSelected (const juce::String& path) override;
    void currentTrackDeleted() override;
    void playlistFocusChanged() override;
    void seekRequested (double seconds) override;
    void ejectRequested() override;
    void focusChanged() override;

    juce::KeyPressMappingSet* keyMappings;
    PopupDisplayComponent*& activePopup;
    std::unique_ptr<juce::FileChooser> chooser;
    std::unique_ptr<LevelMeterSettingsComponent> meterSettings;

    void showPopup (PopupDisplayComponent&);

    /** The deck's stages in the order its block runs them: equaliser, effects, limiter. */
    [[nodiscard]] std::array<BlockProcessor*, 3> stages() noexcept;

    // The device's block size and rate, for preparing the stages again after an export.
    int liveBlockSize = 512;
    double liveSampleRate = 44100.0;

public:
    AudioFileWriter exportWriter;
    std::unique_ptr<AudioFileExportComponent> exportPanel;

private:
    void showMeterSettings (LevelMeter&);

    Panel panel = Panel::playlist;
    juce::Rectangle<int> panelHighlight;
    juce::Rectangle<float> playlistOutline, waveformOutline;
    bool showPlaylistOutline = false, showWaveformOutline = false;
    int dragOffset = 0;
    float ratioAtDragStart = 0.5f;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (MainComponent)
};

} // namespace Marlode
