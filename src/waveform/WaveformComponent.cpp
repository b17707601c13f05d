#include "waveform/WaveformComponent.h"
#include "engine/FormatTime.h"
#include "ui/Palette.h"

#include <cmath>

namespace Marlode
{

namespace
{
    constexpr int bottomBarHeight = 25;
    constexpr int buttonRowHeight = 50;
    constexpr int laneHeight = 12;
    constexpr double smallestSpan = 0.025;

    // The keys held with a click or a hover, mouse buttons left out, and the marker each sets.
    // The command key is Ctrl here, Cmd on a Mac.
    constexpr int loopStartModifiers = juce::ModifierKeys::commandModifier;
    constexpr int loopEndModifiers = juce::ModifierKeys::commandModifier | juce::ModifierKeys::shiftModifier;
    constexpr int replayModifiers = juce::ModifierKeys::altModifier;

    int modifierCode (const juce::ModifierKeys& m)
    {
        return m.withoutMouseButtons().getRawFlags();
    }
}

WaveformComponent::WaveformComponent (juce::AudioFormatManager& formats, DeckEngine& engineToUse,
                                      WaveformBackground& backgroundToUse)
    : formatManager (formats), engine (engineToUse), markers (engineToUse.markers), background (backgroundToUse)
{
    markers.addListener (this);
    setWantsKeyboardFocus (true);
    thumbnail.addChangeListener (this);

    addAndMakeVisible (timeline);
    fileNameLabel.setJustificationType (juce::Justification::centred);
    fileNameLabel.setInterceptsMouseClicks (false, false);
    timeline.centreLabel.setText ({}, juce::dontSendNotification);
    addAndMakeVisible (fileNameLabel);

    for (auto* b : { &openButton, &ejectButton, &autoPlayButton, &playNextButton, &followButton, &replayButton, &loopButton,
                     &zoomOutButton, &zoomInButton })
    {
        b->setWantsKeyboardFocus (false);
        b->setMouseClickGrabsKeyboardFocus (false);
        addAndMakeVisible (b);
    }

    for (auto* b : { &autoPlayButton, &playNextButton, &followButton, &replayButton, &loopButton })
    {
        b->setClickingTogglesState (true);
        b->setColour (juce::TextButton::buttonOnColourId, midGreyColour);
    }

    autoPlayButton.setToggleState (true, juce::dontSendNotification);
    playNextButton.setToggleState (true, juce::dontSendNotification);

    ejectButton.onClick = [this] { listeners.call ([] (Listener& l) { l.ejectRequested(); }); };
    followButton.onClick = [this] { followButtonClicked(); };
    loopButton.onClick = [this] { markers.setLoopOn (loopButton.getToggleState()); };
    replayButton.onClick = [this] { markers.setReplayOn (replayButton.getToggleState()); };
    zoomInButton.onClick = [this] { zoomIn (anchorPosition, 0.0); };
    zoomOutButton.onClick = [this] { zoomOut (anchorPosition, 0.0); };

    overview.setInterceptsMouseClicks (false, false);
    addAndMakeVisible (overview);
    scrollBar.setAutoHide (false);
    scrollBar.setColour (juce::ScrollBar::thumbColourId, midGreyColour);
    scrollBar.setAlpha (1.0f - 64.0f / 255.0f);
    scrollBar.addListener (this);
    addAndMakeVisible (scrollBar);

    const std::pair<juce::DrawableRectangle*, juce::Colour> drawables[] = { { &playHead, onColour },
                                                                            { &centreHead, onColour },
                                                                            { &overviewHead, onColour },
                                                                            { &replayLine, replayMarkerColour },
                                                                            { &loopStartLine, loopMarkerColour },
                                                                            { &loopEndLine, loopMarkerColour },
                                                                            { &loopShade, loopShadeColour } };

    for (auto& [drawable, colour] : drawables)
    {
        drawable->setFill (colour);
        drawable->setInterceptsMouseClicks (false, false);
        addChildComponent (drawable);
    }

    for (auto* tab : { &replayTab, &loopStartTab, &loopEndTab })
    {
        tab->listener = this;
        addChildComponent (tab);
    }

    clearTrack();
}

WaveformComponent::~WaveformComponent()
{
    markers.removeListener (this);
    thumbnail.removeChangeListener (this);
}

//==============================================================================
void WaveformComponent::clearTrack()
{
    fileNameLabel.setText ({}, juce::dontSendNotification);
    thumbnailLoader.clear();
    trackLength = viewStart = viewEnd = viewSpan = lastPosition = 0.0;
    overview.setImage ({});
    scrollBar.setRangeLimits (0.0, 1.0, juce::dontSendNotification);
    scrollBar.setCurrentRange (0.0, 1.0, juce::dontSendNotification);
    timeline.leftLabel.setText ({}, juce::dontSendNotification);
    timeline.rightLabel.setText ({}, juce::dontSendNotification);
    trackLoaded = false;
    needsFullRedraw = true;

    followButton.setToggleState (false, juce::dontSendNotification);

    for (juce::Component* c : { static_cast<juce::Component*> (&playHead), static_cast<juce::Component*> (&centreHead),
                                static_cast<juce::Component*> (&overviewHead), static_cast<juce::Component*> (&replayLine),
                                static_cast<juce::Component*> (&loopStartLine), static_cast<juce::Component*> (&loopEndLine),
                                static_cast<juce::Component*> (&loopShade), static_cast<juce::Component*> (&replayTab),
                                static_cast<juce::Component*> (&loopStartTab), static_cast<juce::Component*> (&loopEndTab) })
        c->setVisible (false);

    for (auto* b : { &followButton, &replayButton, &loopButton, &zoomOutButton, &zoomInButton })
        b->setEnabled (false);

    background.setFading (true);
    repaint();
}

bool WaveformComponent::loadTrack (const juce::File& file)
{
    fileNameLabel.setText (file.getFileName(), juce::dontSendNotification);
    viewStart = 0.0;

    trackLength = markers.getTrackLength();
    viewEnd = viewSpan = trackLength;

    playHead.setVisible (true);
    overviewHead.setVisible (true);
    centreHead.setVisible (false);
    loopStartLine.setVisible (true);
    loopEndLine.setVisible (true);
    loopStartTab.setVisible (true);
    loopEndTab.setVisible (true);
    showMarkerSwitches();
    updateLoopMarkers();

    scrollBar.setRangeLimits (0.0, juce::jmax (trackLength, 1.0e-9), juce::dontSendNotification);
    scrollBar.setCurrentRange (0.0, juce::jmax (trackLength, 1.0e-9), juce::dontSendNotification);

    const bool sourceSet = thumbnailLoader.load (file);
    trackLoaded = viewSpan > 0.0;
    drawThumbnailDirect = true;
    needsFullRedraw = true;
    enableTrackControls();
    resized();
    repaint();
    return sourceSet;
}

void WaveformComponent::enableTrackControls()
{
    for (auto* b : { &followButton, &replayButton, &loopButton, &zoomOutButton, &zoomInButton })
        b->setEnabled (true);
}

void WaveformComponent::changeListenerCallback (juce::ChangeBroadcaster* source)
{
    if (source != &thumbnail)
        return;

    if (thumbnailLoader.isComplete() && trackLoaded)
    {
        needsFullRedraw = true;
        drawThumbnailDirect = false;
        redrawWaveformImages();
        drawOverview();
        background.setFading (false);
    }
    else
    {
        drawThumbnailDirect = true;
        repaint();
    }
}

//==============================================================================
void WaveformComponent::resized()
{
    const auto w = getWidth();
    const auto rest = juce::jmax (0, getHeight() - bottomBarHeight - buttonRowHeight);
    const auto innerWidth = (int) ((double) w - 2.0);
    headWidth = 2.0f;

    laneArea = { 0, buttonRowHeight, innerWidth, laneHeight };
    waveformArea = { 0, buttonRowHeight + laneHeight, innerWidth, juce::jmax (0, rest - laneHeight) };
    mouseArea =
        (innerWidth > 0 && rest > 0) ? juce::Rectangle<int> (0, buttonRowHeight, innerWidth, rest) : juce::Rectangle<int>();
    timeline.setBounds (laneArea);

    auto bottom = getLocalBounds().removeFromBottom (bottomBarHeight);
    zoomInButton.setBounds (bottom.removeFromRight (25).reduced (0, 2));
    zoomOutButton.setBounds (bottom.removeFromRight (25).reduced (0, 2));
    scrollBar.setBounds (bottom.reduced (2));
    overview.setBounds (scrollBar.getBounds());

    int x = (int) (w / 2 - 262.5);
    for (auto* b : { &openButton, &ejectButton, &autoPlayButton, &playNextButton, &followButton, &replayButton, &loopButton })
    {
        b->setBounds (x, (buttonRowHeight - 25) / 2, 75, 25);
        x += 75;
    }

    fileNameLabel.setBounds (waveformArea.withHeight (20).translated (0, 2));

    imageWidth = juce::jmax (w - 2, 0);
    imageHeight = juce::jmax (waveformArea.getHeight() - 2, 0);
    imageArea = { waveformArea.getX(), waveformArea.getY() + 1, imageWidth, imageHeight };
    headTop = (float) waveformArea.getY() + 2.0f;
    headHeight = (float) waveformArea.getHeight() - 4.0f;
    place (centreHead, { (float) imageWidth * 0.5f, headTop, headWidth, headHeight });

    for (auto* tab : { &replayTab, &loopStartTab, &loopEndTab })
        tab->setSize (laneHeight + 2, laneHeight);
    replayTab.setTopLeftPosition (laneArea.getX() - 1, laneArea.getY());
    loopStartTab.setTopLeftPosition (laneArea.getX() - 1, laneArea.getY());
    loopEndTab.setTopLeftPosition (laneArea.getRight() - 11, laneArea.getY());

    background.setWaveformArea (waveformArea.translated (getX() - background.getX(), getY() - background.getY()));

    if (trackLoaded)
    {
        updatePlayhead();
        updateReplayMarker();
        updateLoopMarkers();
        needsFullRedraw = true;
        drawOverview();
        redrawWaveformImages();
    }
}

//==============================================================================
void WaveformComponent::place (juce::DrawableRectangle& d, juce::Rectangle<float> r)
{
    // A changed drawable repaints, so it is touched only when a corner moves.
    const juce::Parallelogram<float> p (r);
    if (d.getRectangle() != p)
        d.setRectangle (p);
}

void WaveformComponent::drawChannels (juce::Graphics& g, juce::Rectangle<int> area, double start, double end, float zoom)
{
    const auto n = thumbnail.getNumChannels();

    for (int i = 0; i < n; ++i)
    {
        const auto top = (int) std::floor ((double) area.getHeight() * i / n);
        const auto bottom = (int) std::floor ((double) area.getHeight() * (i + 1) / n);
        thumbnail.drawChannel (g, { area.getX(), area.getY() + top, area.getWidth(), bottom - top }, start, end, i, zoom);
    }
}

void WaveformComponent::renderSlot (TrackedImageSlot& slot, bool drawInto)
{
    slot.image = juce::Image (juce::Image::ARGB, juce::jmax (1, imageWidth), juce::jmax (1, imageHeight), false);
    slot.image.clear (slot.image.getBounds());

    if (! drawInto)
        return;

    juce::Graphics g (slot.image);
    g.setColour (textColour);
    drawChannels (g, { 0, 0, imageWidth, imageHeight }, slot.startTime, slot.endTime, waveformZoom);
}

void WaveformComponent::redrawWaveformImages()
{
    const auto now = engine.getPosition();

    if (followButton.getToggleState())
    {
        viewStart = now - viewSpan * 0.5;
        viewEnd = now + viewSpan * 0.5;
    }

    auto& visible = slots[(size_t) visibleSlot];
    auto& next = slots[(size_t) nextSlot];

    const bool cheap = ! needsFullRedraw && juce::approximatelyEqual (viewSpan, visible.span) && viewStart < next.endTime
                       && visible.startTime - viewStart <= 2.0 * viewSpan;

    if (cheap)
    {
        if (next.startTime <= viewStart)
        {
            // Moved right by a whole image: the old visible slot becomes the one after.
            std::swap (visibleSlot, nextSlot);
            auto& recycled = slots[(size_t) nextSlot];
            recycled.startTime = slots[(size_t) visibleSlot].endTime;
            recycled.endTime = recycled.startTime + recycled.span;
            renderSlot (recycled, true);
        }
        else if (viewStart < visible.startTime)
        {
            std::swap (visibleSlot, nextSlot);
            auto& shown = slots[(size_t) visibleSlot];
            shown.endTime = slots[(size_t) nextSlot].startTime;
            shown.startTime = shown.endTime - shown.span;
            renderSlot (shown, true);
        }
    }
    else
    {
        visibleSlot = 0;
        nextSlot = 1;

        if (viewStart >= 0.0)
        {
            slots[0] = { {}, viewStart, viewEnd, viewSpan };
            slots[1] = { {}, viewEnd, viewEnd + viewSpan, viewSpan };
            renderSlot (slots[0], true);
            renderSlot (slots[1], true);
        }
        else
        {
            slots[0] = { {}, -viewSpan, 0.0, viewSpan };
            slots[1] = { {}, 0.0, viewSpan, viewSpan };
            renderSlot (slots[0], false);
            renderSlot (slots[1], true);
        }

        needsFullRedraw = false;
    }

    const auto offset =
        viewSpan > 0.0 ? std::abs (slots[(size_t) visibleSlot].startTime - viewStart) / viewSpan * imageWidth : 0.0;
    const auto d = (float) juce::jlimit (0.0, (double) imageWidth, offset);
    firstImageWidth = (float) imageWidth - d;
    secondImageWidth = (float) imageWidth - firstImageWidth;

    scrollBar.setCurrentRange (viewStart, viewSpan, juce::dontSendNotification);

    if (trackLength > 0.0)
        place (overviewHead, { (float) (scrollBar.getX() + scrollBar.getWidth() / trackLength * now), (float) scrollBar.getY(),
                               headWidth, (float) scrollBar.getHeight() });

    updateReplayMarker();
    updateLoopMarkers();
    repaint();
}

void WaveformComponent::drawOverview()
{
    juce::Image image (juce::Image::ARGB, juce::jmax (1, overview.getWidth()), juce::jmax (1, overview.getHeight()), true);
    juce::Graphics g (image);
    g.setColour (textColour);
    drawChannels (g, image.getBounds(), 0.0, trackLength, overviewZoom);
    overview.setImage (image);
    overview.repaint();
}

void WaveformComponent::drawWaveform (juce::Graphics& g, juce::Rectangle<int> area, bool direct)
{
    g.setColour (textColour);

    if (direct)
    {
        drawChannels (g, area, viewStart, viewEnd, waveformZoom);
        return;
    }

    // The visible image ends firstImageWidth into the area and the next begins there; both are
    // drawn as they are, with no image of the area in between.
    const juce::Graphics::ScopedSaveState saved (g);
    g.reduceClipRegion (area);
    const auto seam = area.getX() + juce::roundToInt (firstImageWidth);
    g.drawImageAt (slots[(size_t) visibleSlot].image, seam - imageWidth, area.getY());

    if (secondImageWidth > 0.0f)
        g.drawImageAt (slots[(size_t) nextSlot].image, seam, area.getY());
}

juce::Image WaveformComponent::renderWaveformArea (bool direct)
{
    juce::Image image (juce::Image::ARGB, juce::jmax (1, imageWidth), juce::jmax (1, imageHeight), true);
    juce::Graphics g (image);
    drawWaveform (g, image.getBounds(), direct);
    return image;
}

void WaveformComponent::paint (juce::Graphics& g)
{
    if (! trackLoaded)
    {
        g.setColour (placeholderTextColour);
        g.setFont (36.0f);
        g.drawText ("No File Loaded", waveformArea, juce::Justification::centred, true);
        return;
    }

    drawWaveform (g, imageArea, drawThumbnailDirect);

    // The track's limits, when the view shows time outside it (Follow near either end).
    auto lineX = [this] (double t)
    { return (float) juce::jlimit (0.0, (double) imageWidth, (t - viewStart) / viewSpan * imageWidth); };
    float left = (float) waveformArea.getX(), right = (float) waveformArea.getRight();

    if (viewStart < 0.0)
    {
        left = lineX (0.0);
        g.fillRect (juce::Rectangle<float> (left, (float) imageArea.getY(), 1.0f, (float) imageHeight));
    }

    if (viewEnd > trackLength)
    {
        right = lineX (trackLength);
        g.fillRect (juce::Rectangle<float> (right, (float) imageArea.getY(), 1.0f, (float) imageHeight));
    }

    g.fillRect (juce::Rectangle<float> (left, (float) waveformArea.getCentreY(), right - left, 1.0f));

    auto label = [this] (double t)
    {
        const auto text = formatTime (t);
        return viewSpan > 5.0 ? text.upToFirstOccurrenceOf (".", false, false) : text;
    };
    timeline.leftLabel.setText (label (viewStart), juce::dontSendNotification);
    timeline.rightLabel.setText (label (viewEnd), juce::dontSendNotification);
}

//==============================================================================
void WaveformComponent::timerRelayCallback()
{
    const auto now = engine.getPosition();

    if (juce::approximatelyEqual (now, lastPosition))
        return;

    if (followButton.getToggleState())
        redrawWaveformImages();
    else
        updatePlayhead();

    lastPosition = now;
}

void WaveformComponent::updatePlayhead()
{
    if (! trackLoaded || viewSpan <= 0.0)
        return;

    const auto now = engine.getPosition();
    const auto x = (now - viewStart) * imageWidth / viewSpan;
    place (playHead, { (float) x, headTop, headWidth, headHeight });

    if (trackLength > 0.0)
        place (overviewHead, { (float) (scrollBar.getX() + scrollBar.getWidth() / trackLength * now), (float) scrollBar.getY(),
                               headWidth, (float) scrollBar.getHeight() });
}

void WaveformComponent::updateReplayMarker()
{
    if (viewSpan <= 0.0)
        return;

    const auto x = (markers.getReplay() - viewStart) * imageWidth / viewSpan;
    place (replayLine, { (float) x, headTop, headWidth, headHeight });

    const auto v = x - replayTab.getWidth() / 2 + 1.0;
    replayTab.setTopLeftPosition ((int) v, replayTab.getY());
    replayTab.setPathOffset ((float) std::abs (v - (int) v) + 0.5f);
}

void WaveformComponent::updateLoopMarkers()
{
    if (! trackLoaded || viewSpan <= 0.0)
        return;

    const auto scale = imageWidth / viewSpan;
    const auto startX = (markers.getLoopStart() - viewStart) * scale;
    place (loopStartLine, { (float) startX, headTop, headWidth, headHeight });

    const auto endX = (markers.getLoopEnd() - viewStart) * scale;
    place (loopEndLine, { (float) endX, headTop, headWidth, headHeight });

    loopStartTab.setTopLeftPosition ((int) startX, loopStartTab.getY());
    loopStartTab.setPathOffset ((float) std::abs (startX - (int) startX));

    const auto e = endX + headWidth;
    loopEndTab.setPathOffset ((float) std::abs (e - (int) e));
    loopEndTab.setTopLeftPosition ((int) ((double) (int) e + 1.0) - loopEndTab.getWidth(), loopEndTab.getY());

    place (loopShade, { (float) startX, headTop, (float) (endX - startX), headHeight });
}

//==============================================================================
void WaveformComponent::afterViewChange()
{
    redrawWaveformImages();
    updatePlayhead();
    updateReplayMarker();
    updateLoopMarkers();
}

void WaveformComponent::switchFollowOffLater()
{
    if (followButton.getToggleState())
        followButton.triggerClick();
}

void WaveformComponent::zoomIn (int anchor, double mouseX, bool fromWheel)
{
    if (! trackLoaded || viewSpan <= 0.0)
        return;

    double c = 0.0;

    if (mouseX > 0.0)
    {
        c = timeAt (mouseX);
    }
    else
    {
        c = anchor == anchorReplay      ? markers.getReplay()
            : anchor == anchorLoopStart ? markers.getLoopStart()
            : anchor == anchorLoopEnd   ? markers.getLoopEnd()
                                        : engine.getPosition();

        if (c < viewStart || c > viewEnd)
            c = (double) (imageWidth / 2) / imageWidth * viewSpan + viewStart;
    }

    const auto newStart = (c - viewStart) / (fromWheel ? 8.0 : 2.0) + viewStart;
    const auto newEnd = (viewEnd - c) / (fromWheel ? 1.142857143 : 2.0) + c;

    if (newEnd - newStart <= smallestSpan)
        return;

    viewStart = newStart;
    viewEnd = newEnd;
    viewSpan = newEnd - newStart;
    afterViewChange();
}

void WaveformComponent::zoomOut (int anchor, double mouseX)
{
    if (! trackLoaded)
        return;

    trackLength = markers.getTrackLength();

    if (viewStart <= 0.0 && trackLength <= viewEnd)
        return;

    if (mouseX > 0.0)
    {
        const auto c = viewStart + viewSpan * (mouseX / imageWidth);
        viewStart -= (c - viewStart) / 6.0;
        viewEnd += (viewEnd - c) / 6.0;
    }
    else
    {
        const auto c = anchor == anchorReplay      ? markers.getReplay()
                       : anchor == anchorLoopStart ? markers.getLoopStart()
                                                   : markers.getLoopEnd();

        if (anchor != anchorPosition && c >= viewStart && c <= viewEnd)
        {
            viewStart -= (c - viewStart) / 3.0;
            viewEnd += (viewEnd - c) / 3.0;
        }
        else
        {
            viewStart -= viewSpan * 0.5;
            viewEnd += viewSpan * 0.5;
        }
    }

    const bool following = followButton.getToggleState();
    if (viewStart < 0.0 && ! following)
        viewStart = 0.0;
    if (viewEnd > trackLength && ! following)
        viewEnd = trackLength;

    viewSpan = viewEnd - viewStart;
    afterViewChange();
}

void WaveformComponent::scrollView (bool right)
{
    if (followButton.getToggleState())
        followButton.setToggleState (false, juce::sendNotification);

    const auto step = viewSpan / 10.0;

    if (right)
    {
        viewEnd = juce::jmin (viewEnd + step, trackLength);
        viewStart = viewEnd - viewSpan;
    }
    else
    {
        viewStart = juce::jmax (viewStart - step, 0.0);
        viewEnd = viewStart + viewSpan;
    }

    afterViewChange();
}

void WaveformComponent::scrollBarMoved (juce::ScrollBar* bar, double newRangeStart)
{
    if (bar != &scrollBar || ! trackLoaded)
        return;

    viewStart = newRangeStart;
    viewEnd = newRangeStart + viewSpan;
    switchFollowOffLater();
    afterViewChange();
}

void WaveformComponent::followButtonClicked()
{
    needsFullRedraw = true;

    if (followButton.getToggleState())
    {
        centreHead.setVisible (true);
        playHead.setVisible (false);
        redrawWaveformImages();
        return;
    }

    centreHead.setVisible (false);

    // Back inside the track, keeping the span unless it is longer than the track.
    if (viewStart < 0.0)
    {
        viewStart = 0.0;
        viewEnd = viewSpan;
        if (viewSpan > trackLength)
            viewEnd = viewSpan = trackLength;
        redrawWaveformImages();
    }
    else if (viewEnd > trackLength)
    {
        viewEnd = trackLength;
        viewStart = trackLength - viewSpan;
        if (viewStart < 0.0)
        {
            viewStart = 0.0;
            viewSpan = trackLength;
        }
        redrawWaveformImages();
    }

    updatePlayhead();
    playHead.setVisible (trackLoaded);
}

void WaveformComponent::markersChanged()
{
    replayButton.setToggleState (markers.isReplayOn(), juce::dontSendNotification);
    loopButton.setToggleState (markers.isLoopOn(), juce::dontSendNotification);
    showMarkerSwitches();
    updateReplayMarker();
    updateLoopMarkers();
}

void WaveformComponent::showMarkerSwitches()
{
    replayLine.setVisible (markers.isReplayOn());
    replayTab.setVisible (markers.isReplayOn());

    const auto on = markers.isLoopOn();
    loopShade.setVisible (on && trackLoaded);

    // Both loop lines and tabs always show, dimmed while the loop is off.
    for (juce::Component* c : { static_cast<juce::Component*> (&loopStartLine), static_cast<juce::Component*> (&loopEndLine),
                                static_cast<juce::Component*> (&loopStartTab), static_cast<juce::Component*> (&loopEndTab) })
        c->setAlpha (on ? 1.0f : 128.0f / 255.0f);
}

//==============================================================================
void WaveformComponent::tabDragged (WaveformMarkerTab* tab, int x)
{
    const auto left = laneArea.getX();
    const auto right = left + laneArea.getWidth();

    if (tab == &loopStartTab)
    {
        const auto w = tab->getWidth();
        auto p = x + w > right ? right - w : juce::jmax (x, left);
        if (p + w / 2 > loopEndTab.getX())
            p = loopEndTab.getX() - w / 2;
        markers.setLoopStart (timeAt (p));
    }
    else if (tab == &loopEndTab)
    {
        auto p = juce::jlimit (left, right, (int) (x - headWidth));
        const auto half = tab->getWidth() / 2;
        if (p - half < loopStartTab.getRight())
            p = half + loopStartTab.getRight() - 3;
        markers.setLoopEnd (timeAt (p));
    }
    else if (tab == &replayTab)
    {
        markers.setReplay (timeAt (juce::jlimit (left, right, x)));
    }
}

void WaveformComponent::nudgeReplay (bool right)
{
    markers.nudgeReplay (right, viewSpan / markerNudgeDivisor, viewEnd);
}

void WaveformComponent::nudgeLoopStart (bool right)
{
    markers.nudgeLoopStart (right, viewSpan / markerNudgeDivisor, viewEnd);
}

void WaveformComponent::nudgeLoopEnd (bool right)
{
    markers.nudgeLoopEnd (right, viewSpan / markerNudgeDivisor, viewEnd);
}

void WaveformComponent::setReplayMarker()
{
    if (! trackLoaded)
        return;

    markers.setReplay (engine.getPosition());
    markers.setReplayOn (true);
}

void WaveformComponent::setLoopStartMarker()
{
    if (trackLoaded)
        markers.setLoopStart (engine.getPosition());
}

void WaveformComponent::setLoopEndMarker()
{
    const auto now = engine.getPosition();

    if (! trackLoaded || now <= markers.getLoopStart())
        return;

    markers.setLoopEnd (now);

    if (now > 0.0)
        listeners.call ([now] (Listener& l) { l.seekRequested (now); });

    markers.setLoopOn (true);
    loopEndLine.setVisible (true);
}

void WaveformComponent::setLoopToStartOfTrack()
{
    markers.setLoopStart (0.0);
}

void WaveformComponent::setLoopToEndOfTrack()
{
    markers.setLoopEnd (trackLength);
}

//==============================================================================
// The cursor's type, not a cursor: a cursor kept in a static would outlive the windowing system
// and bring it back to life at exit.
juce::MouseCursor::StandardCursorType WaveformComponent::cursorForModifiers (const juce::ModifierKeys& m) const
{
    const auto code = modifierCode (m);

    if (code == loopStartModifiers && loopStartTab.isVisible())
        return juce::MouseCursor::RightEdgeResizeCursor;
    if (code == loopEndModifiers && loopEndTab.isVisible())
        return juce::MouseCursor::LeftEdgeResizeCursor;
    if (code == replayModifiers && replayTab.isVisible())
        return juce::MouseCursor::LeftRightResizeCursor;

    return juce::MouseCursor::NormalCursor;
}

void WaveformComponent::mouseMove (const juce::MouseEvent& e)
{
    mouseInsideWaveform = mouseArea.contains (e.getPosition());

    if (! mouseInsideWaveform)
        setMouseCursor (juce::MouseCursor::NormalCursor);
    else if (const auto tabCursor = cursorForModifiers (e.mods); tabCursor != juce::MouseCursor::NormalCursor)
        setMouseCursor (tabCursor);
}

void WaveformComponent::mouseExit (const juce::MouseEvent&)
{
    mouseInsideWaveform = false;
    setMouseCursor (juce::MouseCursor::NormalCursor);
}

void WaveformComponent::modifierKeysChanged (const juce::ModifierKeys& modifiers)
{
    if (! mouseInsideWaveform)
        return;

    setMouseCursor (cursorForModifiers (modifiers));
}

void WaveformComponent::mouseDown (const juce::MouseEvent& e)
{
    if (! mouseArea.getUnion (waveformArea).contains (e.getPosition()))
        return;

    switchFollowOffLater();

    if (viewSpan <= 0.0 || ! trackLoaded)
        return;

    const auto t = viewSpan * ((double) e.x / imageWidth) + viewStart;
    const auto code = modifierCode (e.mods);

    if (code == loopStartModifiers && loopStartTab.isVisible())
    {
        markers.setLoopStart (t);
        return;
    }

    if (code == loopEndModifiers && loopEndTab.isVisible())
    {
        if (t > markers.getLoopStart())
            markers.setLoopEnd (t);
        return;
    }

    if (code == replayModifiers && replayTab.isVisible())
    {
        markers.setReplay (t);
        markers.setReplayOn (true);
        return;
    }

    if (! waveformArea.contains (e.getPosition()))
        return;

    const auto seek = juce::jmax (0.0, t);
    if (seek >= trackLength)
        return;

    // A seek past the end of a running loop leaves the loop.
    if (seek > markers.getLoopEnd() && markers.isLoopOn())
        markers.setLoopOn (false);

    listeners.call ([seek] (Listener& l) { l.seekRequested (seek); });

    updatePlayhead();
}

void WaveformComponent::mouseWheelMove (const juce::MouseEvent& e, const juce::MouseWheelDetails& wheel)
{
    if (! trackLoaded || viewSpan <= 0.0)
        return;

    const auto dx = wheel.deltaX, dy = wheel.deltaY;

    if (std::abs (dx) > std::abs (dy))
    {
        auto start = juce::jmin (viewStart + viewSpan * dx / -10.0, juce::jmax (trackLength - viewSpan, 0.0));
        viewStart = start < 0.0 ? 0.0 : start;
        viewEnd = viewStart + viewSpan;
        redrawWaveformImages();
        switchFollowOffLater();
        repaint();
        updatePlayhead();
        updateReplayMarker();
        updateLoopMarkers();
    }
    else if (std::abs (dy) > std::abs (dx))
    {
        if (dy > 0.0f)
            zoomIn (anchorPosition, e.x, true);
        else
            zoomOut (anchorPosition, e.x);
    }
}

void WaveformComponent::focusGained (FocusChangeType)
{
    listeners.call ([] (Listener& l) { l.focusChanged(); });
}
void WaveformComponent::focusLost (FocusChangeType)
{
    listeners.call ([] (Listener& l) { l.focusChanged(); });
}

} // namespace Marlode
