#include "deck/TransportComponent.h"

namespace Marlode
{

namespace
{
    juce::Path triangleRight()
    {
        juce::Path p;
        p.addTriangle (0.0f, 0.0f, 0.0f, 1.0f, 0.87f, 0.5f);
        return p;
    }

    juce::Path pauseBars()
    {
        juce::Path p;
        p.addRectangle (0.0f, 0.0f, 0.3f, 1.0f);
        p.addRectangle (0.55f, 0.0f, 0.3f, 1.0f);
        return p;
    }
}

TransportComponent::TransportComponent()
{
    playShape = triangleRight();

    stopShape.addRectangle (0.0f, 0.0f, 1.0f, 1.0f);

    nextShape.addTriangle (0.0f, 0.0f, 0.0f, 1.0f, 0.7f, 0.5f);
    nextShape.addRectangle (0.75f, 0.0f, 0.2f, 1.0f);

    previousShape.addRectangle (0.0f, 0.0f, 0.2f, 1.0f);
    previousShape.addTriangle (0.95f, 0.0f, 0.95f, 1.0f, 0.25f, 0.5f);

    playButton.setShape (playShape, false, true, false);
    playButton.setOnColours (juce::Colours::white, juce::Colours::lightgrey, juce::Colours::grey);
    playButton.shouldUseOnColours (true);
    stopButton.setShape (stopShape, false, true, false);
    skipForwardButton.setShape (nextShape, false, true, false);
    skipBackwardButton.setShape (previousShape, false, true, false);

    // The deck sets the toggle without notification when it starts or stops playing.
    playButton.onStateChange = [this]
    {
        const auto shape = playButton.getToggleState() ? pauseBars() : playShape;
        playButton.setShape (shape, false, true, false);
    };

    for (auto* b : { &skipBackwardButton, &playButton, &stopButton, &skipForwardButton })
    {
        b->setWantsKeyboardFocus (false);
        b->setMouseClickGrabsKeyboardFocus (false);
        addAndMakeVisible (b);
    }

    setEnabled (false);
}

void TransportComponent::resized()
{
    // Four equal cells, previous - play - stop - next, each shape centred and inset.
    const auto cellWidth = getWidth() / 4;
    int x = 0;

    for (auto* b : { &skipBackwardButton, &playButton, &stopButton, &skipForwardButton })
    {
        b->setBounds (juce::Rectangle<int> (x, 0, cellWidth, getHeight()).reduced (12, 12));
        x += cellWidth;
    }
}

} // namespace Marlode
