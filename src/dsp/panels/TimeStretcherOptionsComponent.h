#pragma once

#include "dsp/TimeStretcher.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <array>

namespace Marlode
{

//==============================================================================
/**
    The stretcher's "Options": one combo per library option ("Pitch", "Formant", "Phase",
    "Transients", "Detector"), whose ids are the stretcher's option ids, and "Defaults", which
    selects the first choice of each. A change reaches the stretcher at once. Message thread.
*/
class TimeStretcherOptionsComponent : public juce::Component
{
public:
    explicit TimeStretcherOptionsComponent (TimeStretcher&);

    /** The combo of one option; the session file sets these with notification. */
    [[nodiscard]] juce::ComboBox& getCombo (TimeStretcher::Option o) noexcept { return combos[(size_t) o]; }

    void defaultsButtonClicked();

    void paint (juce::Graphics&) override;
    void resized() override;

    juce::TextButton defaultsButton { "Defaults" };

private:
    TimeStretcher& stretcher;
    std::array<juce::ComboBox, TimeStretcher::numOptions> combos;
    std::array<juce::Label, TimeStretcher::numOptions> labels;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TimeStretcherOptionsComponent)
};

} // namespace Marlode
