#pragma once

#include "dsp/LimiterProcessor.h"
#include "state/DeckState.h"
#include "ui/HorizontalCentreSlider.h"
#include "ui/TimerRelayListener.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <array>
#include <functional>

namespace Marlode
{

//==============================================================================
/**
    A deck's limiter section: the switch, the input gain, the threshold, the release and the
    output gain, over a gain-reduction bar. It owns the LimiterProcessor the deck's engine runs
    (prepare it with the deck's rate, block size and channels, then process it last in the
    chain); everything here runs on the message thread.
*/
class LimiterComponent : public juce::Component,
                         public TimerRelayListener
{
public:
    /** `deckIsPlaying` asks the deck's play state: a deck at rest shows no reduction. */
    explicit LimiterComponent (std::function<bool()> deckIsPlaying);
    ~LimiterComponent() override;

    /** The switch and the four controls, as saved. */
    void getState (DeckState&) const;
    void setState (const DeckState&);

    void timerRelayCallback() override;
    void resized() override;
    void paint (juce::Graphics&) override;

    /** The bar and the mask that covers it from the right, in this component's coordinates. */
    [[nodiscard]] juce::Rectangle<int> getBarBounds() const noexcept { return bar; }
    [[nodiscard]] juce::Rectangle<float> getMaskBounds() const;

    /** The bar's colour at the present switch state. */
    [[nodiscard]] juce::Colour getBarColour() const;

    LimiterProcessor limiter;

    juce::ToggleButton onButton { "Limiter" };
    Slider::HorizontalCentreSlider inputSlider;
    Slider::HorizontalSlider thresholdSlider, releaseSlider, outputSlider;

private:
    std::array<juce::Component*, 8> dimmableControls();
    void switchedOnOrOff();
    void showReduction (float dB);

    std::function<bool()> deckPlaying;
    juce::Label inputLabel { {}, "Input" }, thresholdLabel { {}, "Threshold" }, releaseLabel { {}, "Release" },
        outputLabel { {}, "Output" };
    juce::DrawableRectangle mask;
    juce::Rectangle<int> bar, barTitle;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (LimiterComponent)
};

} // namespace Marlode
