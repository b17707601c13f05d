#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** The deck's play, stop, next and previous buttons. Their click functions are the deck's.
    The play button shows a pause symbol while toggled on (playing). Message thread. */
class TransportComponent : public juce::Component
{
public:
    TransportComponent();

    void resized() override;

    /** Shows the play symbol, or the pause symbol while its toggle is on (the deck plays). */
    class PlayPauseButton : public juce::ShapeButton
    {
    public:
        PlayPauseButton();
        void buttonStateChanged() override;

    private:
        juce::Path playShape, pauseShape;
        bool showingPause = false;
    };

    PlayPauseButton playButton;
    juce::ShapeButton stopButton { "Stop Button", juce::Colours::white, juce::Colours::lightgrey, juce::Colours::grey };
    juce::ShapeButton skipForwardButton { "Skip Forward", juce::Colours::white, juce::Colours::lightgrey, juce::Colours::grey };
    juce::ShapeButton skipBackwardButton { "Skip Backward", juce::Colours::white, juce::Colours::lightgrey, juce::Colours::grey };

private:
    juce::Path stopShape, nextShape, previousShape;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TransportComponent)
};

} // namespace Marlode
