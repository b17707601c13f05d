#pragma once

#include "dsp/DeckEffects.h"
#include "state/DeckState.h"
#include "ui/ValueBarSlider.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <array>
#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    The "MONO" section of a deck's effects: plain mono, the crossover with its frequency and
    solos, or mid/side with solos and gains. It owns the stage the deck runs and keeps the modes
    apart: crossover and mid/side exclude each other, as do each pair of solos, and the controls
    of a mode not in use are dimmed. Message thread.
*/
class MonoComponent : public juce::Component
{
public:
    MonoComponent();

    /** The switches and sliders, as saved; setState goes through the switches' own rules, so of
        two stored modes that exclude each other the later one holds. */
    void getState (DeckState&) const;
    void setState (const DeckState&);

    void resized() override;
    void paint (juce::Graphics&) override;

    DeckEffects effects;

    juce::TextButton monoButton { "MONO" }, xOverButton { "X-Over" }, soloHighButton { "High" }, soloLowButton { "Low" },
        midSideButton { "Mid/Side" }, midSoloButton { "Mid" }, sideSoloButton { "Side" };
    Slider::ValueBarSlider xOverFreqSlider { 20.0, 20000.0, 1.0, " Hz" }, midGainSlider { 0.0, 1.0, 0.001 },
        sideGainSlider { 0.0, 1.0, 0.001 };

    /** Opacity of a control its mode doesn't use. */
    static constexpr float dimmed = 0.25f;

private:
    void exclude (juce::Button& switchedOn, juce::Button& other, juce::NotificationType);
    void updateStage();
    void updateDimming();

    juce::Label xOverFreqLabel { {}, "X-Over Freq" }, midGainLabel { {}, "Mid Gain" }, sideGainLabel { {}, "Side Gain" };

    // Each control with the saved value and the stage's value it stands for, in the saved order.
    struct Switch
    {
        juce::Button* button;
        bool DeckState::*saved;
        std::atomic<bool> DeckEffects::*live;
    };

    struct Control
    {
        juce::Slider* slider;
        double DeckState::*saved;
        std::atomic<float> DeckEffects::*live;
    };

    const std::array<Switch, 7> switches { { { &monoButton, &DeckState::monoOn, &DeckEffects::monoOn },
                                             { &xOverButton, &DeckState::xOver, &DeckEffects::xOver },
                                             { &soloHighButton, &DeckState::soloHigh, &DeckEffects::soloHigh },
                                             { &soloLowButton, &DeckState::soloLow, &DeckEffects::soloLow },
                                             { &midSideButton, &DeckState::midSide, &DeckEffects::midSide },
                                             { &midSoloButton, &DeckState::midSolo, &DeckEffects::midSolo },
                                             { &sideSoloButton, &DeckState::sideSolo, &DeckEffects::sideSolo } } };
    const std::array<Control, 3> controls { { { &xOverFreqSlider, &DeckState::xOverFreq, &DeckEffects::xOverFreq },
                                              { &midGainSlider, &DeckState::midGain, &DeckEffects::midGain },
                                              { &sideGainSlider, &DeckState::sideGain, &DeckEffects::sideGain } } };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (MonoComponent)
};

} // namespace Marlode
