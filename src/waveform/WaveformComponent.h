#pragma once

#include "engine/DeckEngine.h"
#include "ui/TimerRelayListener.h"
#include "waveform/ThumbnailLoader.h"
#include "waveform/TimelineHeader.h"
#include "waveform/WaveformBackground.h"
#include "waveform/WaveformMarkerTab.h"

#include <juce_audio_utils/juce_audio_utils.h>

#include <array>
#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    The deck's large panel: the track's waveform between viewStart and viewEnd, the play head,
    an overview of the whole track with a scroll bar, the replay and loop markers with their
    tabs and the ruler, and the buttons over it all.

    Drawing a thumbnail is slow, so the waveform is rendered into two images exactly one view
    wide and moved by an offset while playing; a new image is rendered only when the view has
    moved a whole span, and a repaint draws the two images straight into its context. While the
    thumbnail is still filling (on the loader's thread), the view draws straight from it.

    Message thread, except the atomics marked below, which the audio thread reads.
*/
class WaveformComponent : public juce::Component,
                          public juce::ChangeListener,
                          private MarkerModel::Listener,
                          public TimerRelayListener,
                          public juce::ScrollBar::Listener,
                          public WaveformTabDraggerListener
{
public:
    enum ZoomAnchor
    {
        anchorPosition = 0,
        anchorReplay = 1,
        anchorLoopStart = 2,
        anchorLoopEnd = 3
    };

    /** What the view asks of its deck. Message thread. */
    struct Listener
    {
        virtual ~Listener() = default;
        virtual void seekRequested (double seconds) = 0;
        virtual void ejectRequested() = 0;
        virtual void focusChanged() = 0;
    };

    /** Draws the deck's markers and play position; changes the markers through the model. */
    WaveformComponent (juce::AudioFormatManager&, DeckEngine&, WaveformBackground&);
    ~WaveformComponent() override;

    void addListener (Listener* l) { listeners.add (l); }
    void removeListener (Listener* l) { listeners.remove (l); }

    //==============================================================================
    /** Takes a newly loaded file (the transport already plays it); false if it can't be read. */
    bool loadTrack (const juce::File& file);
    void clearTrack();
    void enableTrackControls();

    void redrawWaveformImages();
    void updatePlayhead();
    void updateReplayMarker();
    void updateLoopMarkers();
    void drawOverview();

    void zoomIn (int anchor, double mouseX, bool fromWheel = false);
    void zoomOut (int anchor, double mouseX);
    void scrollView (bool right);

    // Marker commands.
    void nudgeReplay (bool right);
    void nudgeLoopStart (bool right);
    void nudgeLoopEnd (bool right);
    void setReplayMarker();
    void setLoopStartMarker();
    void setLoopEndMarker();
    void setLoopToStartOfTrack();
    void setLoopToEndOfTrack();

    //==============================================================================
    void changeListenerCallback (juce::ChangeBroadcaster*) override;
    void timerRelayCallback() override;
    void scrollBarMoved (juce::ScrollBar*, double newRangeStart) override;
    void tabDragged (WaveformMarkerTab*, int newX) override;

    void paint (juce::Graphics&) override;
    void resized() override;
    void mouseMove (const juce::MouseEvent&) override;
    void mouseExit (const juce::MouseEvent&) override;
    void mouseDown (const juce::MouseEvent&) override;
    void mouseWheelMove (const juce::MouseEvent&, const juce::MouseWheelDetails&) override;
    void modifierKeysChanged (const juce::ModifierKeys&) override;
    void focusGained (FocusChangeType) override;
    void focusLost (FocusChangeType) override;

    //==============================================================================
    [[nodiscard]] bool isTrackLoaded() const noexcept { return trackLoaded; }
    [[nodiscard]] double getTrackLength() const noexcept { return trackLength; }
    [[nodiscard]] juce::Rectangle<int> getWaveformArea() const noexcept { return waveformArea; }
    [[nodiscard]] bool isDrawingDirect() const noexcept { return drawThumbnailDirect; }
    [[nodiscard]] juce::AudioThumbnail& getThumbnail() noexcept { return thumbnail; }

    /** Renders the waveform area as paint would, through the images or straight from the thumbnail. */
    juce::Image renderWaveformArea (bool direct);

    // A marker nudge is this fraction of the view's span.
    const double markerNudgeDivisor = 300.0;

    double viewStart = 0.0, viewEnd = 0.0, viewSpan = 0.0;

    juce::TextButton openButton { "Open" }, ejectButton { "Eject" }, autoPlayButton { "Auto-Play" },
        playNextButton { "Play-Next" }, followButton { "Follow" }, replayButton { "Replay" }, loopButton { "Loop" },
        zoomOutButton { "-" }, zoomInButton { "+" };

    juce::DrawableRectangle playHead, centreHead, overviewHead, replayLine, loopStartLine, loopEndLine, loopShade;
    WaveformMarkerTab replayTab { WaveformMarkerTab::replay }, loopStartTab { WaveformMarkerTab::loopStart },
        loopEndTab { WaveformMarkerTab::loopEnd };
    juce::ScrollBar scrollBar { false };
    TimelineHeader timeline { &viewStart, &viewEnd, &viewSpan };

private:
    struct TrackedImageSlot
    {
        juce::Image image;
        double startTime = 0.0, endTime = 0.0, span = 0.0;
    };

    void renderSlot (TrackedImageSlot&, bool drawInto);
    void drawChannels (juce::Graphics&, juce::Rectangle<int> area, double start, double end, float zoom);
    void drawWaveform (juce::Graphics&, juce::Rectangle<int> area, bool direct);
    void afterViewChange();
    void followButtonClicked();
    void markersChanged() override;
    void showMarkerSwitches();
    void switchFollowOffLater();
    static void place (juce::DrawableRectangle&, juce::Rectangle<float>);
    juce::MouseCursor::StandardCursorType cursorForModifiers (const juce::ModifierKeys&) const;
    double timeAt (double pixel) const noexcept { return pixel / imageWidth * viewSpan + viewStart; }

    juce::AudioFormatManager& formatManager;
    DeckEngine& engine;
    MarkerModel& markers;
    WaveformBackground& background;
    juce::ListenerList<Listener> listeners;

    juce::AudioThumbnailCache thumbnailCache { 20 };
    juce::AudioThumbnail thumbnail { 128, formatManager, thumbnailCache };
    ThumbnailLoader thumbnailLoader { formatManager, thumbnail, thumbnailCache }; // after the thumbnail: stops first

    juce::Label fileNameLabel;
    juce::ImageComponent overview;

    std::array<TrackedImageSlot, 2> slots;
    int visibleSlot = 0, nextSlot = 1;
    float firstImageWidth = 0.0f, secondImageWidth = 0.0f;

    double trackLength = 0.0, lastPosition = 0.0;
    bool trackLoaded = false, needsFullRedraw = true, drawThumbnailDirect = true;
    bool mouseInsideWaveform = false;

    const float waveformZoom = 0.95f, overviewZoom = 0.75f;
    float headWidth = 2.0f;
    int imageWidth = 0, imageHeight = 0;
    float headTop = 0.0f, headHeight = 0.0f;
    juce::Rectangle<int> laneArea, waveformArea, mouseArea, imageArea;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (WaveformComponent)
};

} // namespace Marlode
