#pragma once

#include "dsp/ParametricEqualiser.h"
#include "state/DeckState.h"
#include "dsp/panels/EQBand.h"
#include "dsp/panels/EQBandButton.h"
#include "dsp/panels/EQCompDrawingLayer.h"
#include "dsp/panels/EQGainComponent.h"
#include "dsp/panels/PanSliderComponent.h"
#include "dsp/panels/SpectrumAnalyzer.h"
#include "ui/TimerRelayListener.h"

#include <memory>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    The parametric equaliser's editor, and the owner of the equaliser the deck's or the master's
    engine runs: a plot with a point per band over the response curve and the live spectrum of
    what the equaliser puts out, the visible band's panel, the output gain (and a deck's pan),
    and the switches for the whole equaliser and the spectrum. The button that opens it shows
    whether the equaliser changes anything. Message thread.
*/
class EQComponent : public juce::Component,
                    public TimerRelayListener
{
public:
    /** Pan takes part on a deck's equaliser; the master's pan is the master's own. */
    EQComponent (juce::Button* openButton, bool applyPan);
    ~EQComponent() override;

    /** A new band from saved values, or from the defaults when null; it becomes the visible one. */
    void addBandButtonClicked (const EQBandValues* values = nullptr);

    /** Removes the band in the panel; the one that takes its place (or the new last) shows. */
    void deleteVisibleBand();

    /** Back to no bands, unity gain and centre. */
    void resetEQ();

    /** The spectrum's switch and speed, the bands, the on switch (as "bypass"), the output gain
        and the pan, as saved. setState takes the equaliser's part only when the state has one,
        rebuilding the bands through the adding path; stored ids that aren't one read as the
        defaults. */
    void getState (DeckState&) const;
    void setState (const DeckState&);

    void showBand (int index);
    [[nodiscard]] int getVisibleBandIndex() const;
    [[nodiscard]] int getNumBands() const noexcept { return (int) bands.size(); }
    [[nodiscard]] EQBand& getBand (int index) const { return *bands[(size_t) index]; }
    [[nodiscard]] EQBandButton& getBandButton (int index) const { return *bandButtons[(size_t) index]; }

    [[nodiscard]] juce::Rectangle<int> getPlotBounds() const noexcept { return plot; }

    void timerRelayCallback() override;
    void paint (juce::Graphics&) override;
    void resized() override;

    // Declared first: everything below edits it.
    ParametricEqualiser equaliser;

    juce::TextButton bandsOnButton { "On" }, spectrumButton { "Spectrum" }, resetButton { "Reset EQ" };
    juce::ComboBox spectrumSpeed;
    juce::TextButton addButton { "+" }, previousButton { "<" }, nextButton { ">" };
    Slider::HorizontalCentreSlider outputGainSlider;
    Slider::PanSliderComponent panSlider;

private:
    void bandChanged (EQBand&);
    void bandOnStateChanged();
    void outputChanged();
    void updateIndicator();
    void updateCurve();
    void updateStepButtons();
    void step (int delta);

    juce::Button* openButton;
    const bool hasPan;

    std::vector<std::unique_ptr<EQBand>> bands;
    std::vector<std::unique_ptr<EQBandButton>> bandButtons;
    juce::Path curvePath;
    juce::Rectangle<int> plot, bandPanel;
    bool curveNeedsUpdate = true;
    bool anyBandOn = false, gainActive = false;

    EQGainComponent gainBox { "Gain", outputGainSlider }, panBox { "Pan", panSlider };
    SpectrumAnalyzer spectrumDisplay { equaliser.spectrum };
    EQCompDrawingLayer drawingLayer { plot, curvePath };
    juce::Label addLabel { {}, "Add" };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (EQComponent)
};

} // namespace Marlode
