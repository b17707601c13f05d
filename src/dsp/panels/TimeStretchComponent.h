#pragma once

#include "dsp/TimeStretcher.h"
#include "state/DeckState.h"
#include "dsp/panels/TimeButton.h"
#include "dsp/panels/TimeStretcherOptionsComponent.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <array>
#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    A deck's "Time/Pitch" section and the owner of its stretcher: the switch that sends the deck
    through the stretcher, the speed presets, "Speed", "Semi-Tones" and "Cents" on top of them,
    the "Vari-Speed" mode that ties pitch to speed, "Reset", and the stretcher's "Options".

    The fine controls act on base values: a preset sets the base time ratio and "Speed" scales
    it; "Semi-Tones" sets the base pitch scale and "Cents" adds to it (an addition, kept for the
    sound of saved sessions). The controls of the mode not in use are dimmed and dead. Every
    change reaches the stretcher at once; the stretcher hands it to the library before the
    deck's next block. Message thread.
*/
class TimeStretchComponent : public juce::Component
{
public:
    /** `switchToWrite` is the deck's time stretch switch, which the audio thread reads. */
    explicit TimeStretchComponent (std::atomic<bool>& switchToWrite);
    ~TimeStretchComponent() override;

    void timeButtonClicked (TimeButton&);
    void speedSliderChanged();
    void semiTonesSliderChanged();
    void centsSliderChanged();
    void variSpeedSliderChanged();
    void variSpeedButtonClicked();
    void resetButtonClicked();
    void timeStretchButtonClicked();
    void optionsButtonClicked();

    /** The preset's id, 1 ("1/2x") to 5 ("2x"), as saved; setting an id that isn't one presses
        the first preset whose factor is 1. */
    [[nodiscard]] int getTimeButtonID() const noexcept;
    void setTimeButtonID (int id);

    /** The values the controls made, as saved. */
    [[nodiscard]] double getTimeRatio() const noexcept { return timeRatio; }
    [[nodiscard]] double getPitchScale() const noexcept { return pitchScale; }
    [[nodiscard]] double getVarispeedTimeRatio() const noexcept { return varispeedTimeRatio; }
    [[nodiscard]] double getVarispeedPitchScale() const noexcept { return varispeedPitchScale; }
    [[nodiscard]] double getBaseTimeRatio() const noexcept { return baseTimeRatio; }
    [[nodiscard]] double getBasePitchScale() const noexcept { return basePitchScale; }
    [[nodiscard]] bool isVariSpeedOn() const noexcept { return variSpeedButton.getToggleState(); }

    /** The switch, the preset, the sliders, the mode, the four ratios and the five options, as
        saved. setState applies them in the order a session is read: options, switch, preset,
        sliders, mode, then the stored ratios to the stretcher. An option id that isn't one keeps
        the present choice. */
    void getState (DeckState&) const;
    void setState (const DeckState&);

    /** A loaded session's last step: saved ratio pairs go back, and the pair of the present
        mode to the stretcher. */
    void restoreRatios (double newTimeRatio, double newPitchScale, double newVarispeedTimeRatio, double newVarispeedPitchScale);

    void resized() override;

    // Declared first: the controls below drive it.
    TimeStretcher stretcher;

    juce::ToggleButton timeStretchButton { "Time Stretch" };
    std::array<TimeButton, 5> timeButtons {
        { { "1/2x", 0.5f }, { "3/4x", 0.75f }, { "1x", 1.0f }, { "1.5x", 1.5f }, { "2x", 2.0f } }
    };
    juce::Slider speedSlider, semiTonesSlider, centsSlider, variSpeedSlider;
    juce::Label speedLabel { {}, "Speed" }, semiTonesLabel { {}, "Semi-Tones" }, centsLabel { {}, "Cents" };
    juce::ToggleButton variSpeedButton { "Vari-Speed" };
    juce::TextButton resetButton { "Reset" }, optionsButton { "Options" };
    TimeStretcherOptionsComponent options { stretcher };

    static constexpr float dimmedAlpha = 0.35f;

private:
    void sendModeToStretcher();
    void dimInactiveMode();

    std::atomic<bool>& timeStretchOn;

    double timeRatio = 1.0, pitchScale = 1.0, varispeedTimeRatio = 1.0, varispeedPitchScale = 1.0;
    double baseTimeRatio = 1.0, basePitchScale = 1.0;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TimeStretchComponent)
};

} // namespace Marlode
