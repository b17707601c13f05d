#pragma once

#include "deck/SharedFormatManager.h"
#include "deck/TimerComponent.h"
#include "deck/TrackDeck.h"
#include "deck/TrackNameLabel.h"
#include "deck/TransportComponent.h"
#include "deck/VerticalResizeBar.h"
#include "dsp/DeckFXWindow.h"
#include "dsp/EQComponent.h"
#include "dsp/LevelMeter.h"
#include "dsp/LevelMeterSettingsComponent.h"
#include "engine/TimerRelayBroadcaster.h"
#include "playlist/PlaylistComponent.h"
#include "waveform/WaveformBackground.h"
#include "waveform/WaveformComponent.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <atomic>

namespace RubberBand
{
class RubberBandStretcher;
}

namespace Marlode
{

class PopupDisplayComponent;

//==============================================================================
/**
    One deck as the user sees it: the player, its playlist, waveform, meters, equaliser and
    effects, laid out with the panel buttons, and the vetting of files before they reach the
    playlist. getNextAudioBlock is the deck's part of the audio path.

    Message thread, except prepareToPlay (device start) and getNextAudioBlock (audio thread).
*/
class MainComponent : public juce::Component,
                      public TimerRelayListener,
                      public TimerRelayBroadcaster,
                      public juce::ApplicationCommandTarget,
                      public juce::ActionListener,
                      public juce::Button::Listener,
                      public juce::ChangeListener,
                      public juce::ChangeBroadcaster,
                      public juce::DragAndDropContainer,
                      public juce::FileDragAndDropTarget
{
public:
    MainComponent (juce::KeyPressMappingSet* keyMappings, PopupDisplayComponent*& activePopupSlot);
    ~MainComponent() override;

    //==============================================================================
    void prepareToPlay (int blockSize, double sampleRate);

    /** Audio thread: allocates nothing and takes no lock. */
    void getNextAudioBlock (const juce::AudioSourceChannelInfo&) noexcept;

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
    // The deck's keyboard commands: transport, markers, view and panels.
    juce::ApplicationCommandTarget* getNextCommandTarget() override { return nullptr; }
    void getAllCommands (juce::Array<juce::CommandID>&) override;
    void getCommandInfo (juce::CommandID, juce::ApplicationCommandInfo&) override;
    bool perform (const InvocationInfo&) override;

    //==============================================================================
    void resized() override;
    void paint (juce::Graphics&) override;
    void timerRelayCallback() override;
    void actionListenerCallback (const juce::String& message) override;
    void buttonClicked (juce::Button*) override;
    void changeListenerCallback (juce::ChangeBroadcaster*) override;
    bool isInterestedInFileDrag (const juce::StringArray&) override;
    void filesDropped (const juce::StringArray& files, int x, int y) override;

    /** Keyboard focus back to the deck: the waveform if it held it last, else the playlist. */
    void restoreFocus();

    [[nodiscard]] juce::AudioFormatManager& getFormatManager() noexcept { return *formatManager; }

    //==============================================================================
    // Declared first: every member below may use the formats.
    juce::SharedResourcePointer<SharedFormatManager> formatManager;

    TrackDeck trackDeck;
    PlaylistComponent playlist;
    WaveformBackground waveformBackground; // before the waveform, which draws on it from its constructor
    WaveformComponent waveform;
    TimerComponent timer;
    LevelMeter inputMeter { "in", &isPlaying }, outputMeter { "out", &isPlaying };
    EQComponent deckEQ;
    DeckFXWindow deckFX;
    juce::TextButton playlistButton { "Playlist" }, deckEQButton { "Deck EQ" }, fxButton { "FX" },
        analysisButton { "Analysis" }, clearButton { "Clear" };
    VerticalResizeBar resizeBar;
    TransportComponent transport;
    TrackNameLabel trackName;

    // The message thread writes it from the deck's state changes; the master engine and the interface read.
    std::atomic<bool> isPlaying { false };

    /** Any thread: the deck still owes the output sound, playing or fading out after a stop. */
    [[nodiscard]] bool isSounding() const noexcept { return isPlaying.load() || trackDeck.transportSource.isSounding(); }

    /** Message thread: the deck plays or is about to, so a switch away must hand its output over. */
    [[nodiscard]] bool isPlayingOrStarting() const noexcept
    {
        return isPlaying.load() || trackDeck.getState() == TransportState::Starting;
    }
    std::atomic<double> positionSeconds { 0.0 };

    // This deck waits for its stop to be deleted; message thread.
    bool pendingDelete = false;

    // The upper panel's share of the deck's height.
    float windowRatio = 0.5f;
    int upperPanelHeight = 300;

    // This deck's tab in the title area; not owned.
    juce::TextButton* deckTab = nullptr;

    bool waveformHadFocus = false;

    // Created by the time stretch controls; null until then. The audio thread reads the pointer.
    std::unique_ptr<RubberBand::RubberBandStretcher> stretcher;

private:
    enum class Panel { playlist, eq, fx };

    void showPanel (Panel);
    void skipOrJump (int commandID);
    void playFromStart();
    void validateAndAdd (const juce::Array<juce::File>& files);
    juce::StringArray vetFiles (const juce::Array<juce::File>& files);
    void publishPosition (double seconds) noexcept;
    void setResizeDrag (int offset);

    juce::KeyPressMappingSet* keyMappings;
    PopupDisplayComponent*& activePopup;
    std::unique_ptr<juce::FileChooser> chooser;
    std::unique_ptr<LevelMeterSettingsComponent> meterSettings;

    void showMeterSettings (LevelMeter&);

    Panel panel = Panel::playlist;
    juce::Rectangle<int> panelHighlight;
    juce::Rectangle<float> playlistOutline, waveformOutline;
    bool showPlaylistOutline = false, showWaveformOutline = false;
    int dragOffset = 0;
    float ratioAtDragStart = 0.5f;
    int deckBlockSize = 0;
    double deckSampleRate = 0.0;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (MainComponent)
};

} // namespace Marlode
