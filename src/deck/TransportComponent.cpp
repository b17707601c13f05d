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

TransportComponent::PlayPauseButton::PlayPauseButton()
    : juce::ShapeButton ("Play Button", juce::Colours::white, juce::Colours::lightgrey, juce::Colours::grey),
      playShape (triangleRight()), pauseShape (pauseBars())
{
    setShape (playShape, false, true, false);
}

void TransportComponent::PlayPauseButton::buttonStateChanged()
{
    // The deck sets the toggle without notification, which still lands here.
    if (getToggleState() != showingPause)
    {
        showingPause = getToggleState();
        setShape (showingPause ? pauseShape : playShape, false, true, false);
    }

    juce::ShapeButton::buttonStateChanged();
}

TransportComponent::TransportComponent()
{
    stopShape.addRectangle (0.0f, 0.0f, 1.0f, 1.0f);

    nextShape.addTriangle (0.0f, 0.0f, 0.0f, 1.0f, 0.7f, 0.5f);
    nextShape.addRectangle (0.75f, 0.0f, 0.2f, 1.0f);

    previousShape.addRectangle (0.0f, 0.0f, 0.2f, 1.0f);
    previousShape.addTriangle (0.95f, 0.0f, 0.95f, 1.0f, 0.25f, 0.5f);

    stopButton.setShape (stopShape, false, true, false);
    skipForwardButton.setShape (nextShape, false, true, false);
    skipBackwardButton.setShape (previousShape, false, true, false);

    for (juce::ShapeButton* b : { static_cast<juce::ShapeButton*> (&skipBackwardButton),
                                  static_cast<juce::ShapeButton*> (&playButton), &stopButton, &skipForwardButton })
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

    for (juce::ShapeButton* b : { static_cast<juce::ShapeButton*> (&skipBackwardButton),
                                  static_cast<juce::ShapeButton*> (&playButton), &stopButton, &skipForwardButton })
    {
        b->setBounds (juce::Rectangle<int> (x, 0, cellWidth, getHeight()).reduced (12, 12));
        x += cellWidth;
    }
}

} // namespace Marlode
