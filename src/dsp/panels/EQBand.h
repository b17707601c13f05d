#pragma once

#include "state/EQBandValues.h"
#include "ui/ValueBarSlider.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>

namespace Marlode
{

//==============================================================================
/**
    One equaliser band's panel: on button, frequency, gain and Q, type and slope, its number and
    its delete button. It keeps the band's values in its controls; the editor hands every change
    to the equaliser. Message thread.
*/
class EQBand : public juce::Component
{
public:
    /** A band from saved values (its frequency counts as chosen), or a new one from defaults. */
    explicit EQBand (const EQBandValues* values = nullptr);

    [[nodiscard]] EQBandValues getValues() const;

    void setBandNumber (int number);
    [[nodiscard]] int getBandNumber() const noexcept { return bandNumber; }

    [[nodiscard]] bool isOn() const { return onButton.getToggleState(); }
    [[nodiscard]] bool ignoresGain() const noexcept { return gainIsIgnored; }

    /** Adds to Q in the slider's skewed proportion, within its range. */
    void changeQ (double proportionDelta);

    void resized() override;

    // What the editor hears: any value changed; the on switch changed; delete asked for.
    std::function<void()> onValuesChanged, onOnStateChanged, onDeleteClicked;

    Slider::ValueBarSlider frequencySlider { 20.0, 20000.0, 1.0, " Hz" }, gainSlider { -24.0, 24.0, 0.1, " dB" },
        qSlider { 0.1, 25.0, 0.001 };
    juce::ComboBox filterTypeCombo, slopeCombo;
    juce::TextButton onButton, deleteButton { "-" };

    /** The frequency a type moves a new band to when first chosen. */
    [[nodiscard]] static double startFrequencyFor (int filterType) noexcept;

private:
    void filterTypeChanged();
    void showGainControls();
    void changed();

    juce::Label frequencyLabel { {}, "Frequency" }, gainLabel { {}, "Band Gain" }, qLabel { {}, "Q" }, typeLabel { {}, "Type" },
        slopeLabel { {}, "Slope" }, onLabel { {}, "On" }, numberLabel;
    int bandNumber = 0;
    bool frequencyIsSet = false; // the first type choice moves the frequency, later ones don't
    bool gainIsIgnored = false;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (EQBand)
};

} // namespace Marlode
