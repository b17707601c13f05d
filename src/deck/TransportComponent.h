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

    juce::ShapeButton playButton { "Play Button", juce::Colours::white, juce::Colours::lightgrey, juce::Colours::grey };
    juce::ShapeButton stopButton { "Stop Button", juce::Colours::white, juce::Colours::lightgrey, juce::Colours::grey };
    juce::ShapeButton skipForwardButton { "Skip Forward", juce::Colours::white, juce::Colours::lightgrey, juce::Colours::grey };
    juce::ShapeButton skipBackwardButton { "Skip Backward", juce::Colours::white, juce::Colours::lightgrey, juce::Colours::grey };


private:
    juce::Path playShape, stopShape, nextShape, previousShape;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TransportComponent)
};

} // namespace Marlode
