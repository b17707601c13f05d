#include "dsp/panels/TimeStretchComponent.h"

namespace Marlode
{
namespace
{
    constexpr int timeButtonGroup = 3401;

    void setUpSlider (juce::Slider& slider, double low, double high, double step)
    {
        slider.setSliderStyle (juce::Slider::LinearHorizontal);
        slider.setTextBoxStyle (juce::Slider::TextBoxRight, false, 56, 20);
        slider.setRange (low, high, step);
        slider.setValue (0.0, juce::dontSendNotification);
        slider.setDoubleClickReturnValue (true, 0.0);
    }
} // namespace

TimeStretchComponent::TimeStretchComponent (std::atomic<bool>& switchToWrite) : timeStretchOn (switchToWrite)
{
    timeStretchButton.setToggleState (timeStretchOn.load (std::memory_order_relaxed), juce::dontSendNotification);
    timeStretchButton.onClick = [this] { timeStretchButtonClicked(); };
    addAndMakeVisible (timeStretchButton);

    for (auto& b : timeButtons)
    {
        b.setRadioGroupId (timeButtonGroup);
        b.onClick = [this, &b] { timeButtonClicked (b); };
        addAndMakeVisible (b);
    }
    timeButtons[2].setToggleState (true, juce::dontSendNotification);

    setUpSlider (speedSlider, -10.0, 10.0, 0.1);
    setUpSlider (semiTonesSlider, -12.0, 12.0, 1.0);
    setUpSlider (centsSlider, -50.0, 50.0, 1.0);
    setUpSlider (variSpeedSlider, -50.0, 50.0, 0.01);
    speedSlider.onValueChange = [this] { speedSliderChanged(); };
    semiTonesSlider.onValueChange = [this] { semiTonesSliderChanged(); };
    centsSlider.onValueChange = [this] { centsSliderChanged(); };
    variSpeedSlider.onValueChange = [this] { variSpeedSliderChanged(); };
    for (auto* s : { &speedSlider, &semiTonesSlider, &centsSlider, &variSpeedSlider })
        addAndMakeVisible (s);
    for (auto* l : { &speedLabel, &semiTonesLabel, &centsLabel })
        addAndMakeVisible (l);

    variSpeedButton.onClick = [this] { variSpeedButtonClicked(); };
    resetButton.onClick = [this] { resetButtonClicked(); };
    optionsButton.setClickingTogglesState (true);
    optionsButton.onClick = [this] { optionsButtonClicked(); };
    for (auto* c : std::initializer_list<juce::Component*> { &variSpeedButton, &resetButton, &optionsButton })
        addAndMakeVisible (c);
    addChildComponent (options);

    dimInactiveMode();
}

TimeStretchComponent::~TimeStretchComponent() = default;

//==============================================================================
void TimeStretchComponent::timeStretchButtonClicked()
{
    timeStretchOn.store (timeStretchButton.getToggleState(), std::memory_order_relaxed);
}

void TimeStretchComponent::timeButtonClicked (TimeButton& button)
{
    const double r = 1.0 / (double) button.speedFactor;
    if (r == baseTimeRatio)
        return;

    baseTimeRatio = timeRatio = r;
    stretcher.setTimeRatio (r);
    speedSlider.setValue (0.0, juce::dontSendNotification);
}

void TimeStretchComponent::speedSliderChanged()
{
    // Written as the sum so saved sessions give the very same double.
    timeRatio = (speedSlider.getValue() / -100.0) * baseTimeRatio + baseTimeRatio;
    stretcher.setTimeRatio (timeRatio);
}

void TimeStretchComponent::semiTonesSliderChanged()
{
    basePitchScale = pitchScale = std::pow (2.0, semiTonesSlider.getValue() / 12.0);
    stretcher.setPitchScale (pitchScale);
    centsSlider.setValue (0.0, juce::sendNotificationAsync);
}

void TimeStretchComponent::centsSliderChanged()
{
    pitchScale = std::pow (2.0, centsSlider.getValue() / 1200.0) - 1.0 + basePitchScale;
    stretcher.setPitchScale (pitchScale);
}

void TimeStretchComponent::variSpeedSliderChanged()
{
    const double v = variSpeedSlider.getValue();
    varispeedPitchScale = v / 100.0 + 1.0;
    varispeedTimeRatio = 1.0;
    if (v > 0.0)
        varispeedTimeRatio = 1.0 - 0.5 * v / 100.0;
    else if (v < 0.0)
        varispeedTimeRatio = 1.0 / (v * 50.0) + 1.0; // not the mirror of the positive side; kept

    stretcher.setTimeRatio (varispeedTimeRatio);
    stretcher.setPitchScale (varispeedPitchScale);
}

void TimeStretchComponent::variSpeedButtonClicked()
{
    sendModeToStretcher();
    dimInactiveMode();
}

void TimeStretchComponent::resetButtonClicked()
{
    variSpeedSlider.setValue (0.0, juce::dontSendNotification);
    timeRatio = pitchScale = varispeedTimeRatio = varispeedPitchScale = 1.0;
    baseTimeRatio = basePitchScale = 1.0;
    stretcher.setTimeRatio (1.0);
    stretcher.setPitchScale (1.0);
}

void TimeStretchComponent::optionsButtonClicked()
{
    options.setVisible (optionsButton.getToggleState());
}

//==============================================================================
namespace
{
    template <typename State>
    auto optionsOf (State& s)
    {
        return std::array { &s.pitch, &s.formant, &s.phase, &s.transients, &s.detector };
    }
}

void TimeStretchComponent::getState (DeckState& s) const
{
    s.timeStretchOn = timeStretchButton.getToggleState();
    s.timeButtonID = getTimeButtonID();
    s.speedSlider = speedSlider.getValue();
    s.semiTonesSlider = semiTonesSlider.getValue();
    s.centsSlider = centsSlider.getValue();
    s.variSpeedOn = isVariSpeedOn();
    s.variSpeedSlider = variSpeedSlider.getValue();
    s.timeRatio = timeRatio;
    s.pitchScale = pitchScale;
    s.varispeedTimeRatio = varispeedTimeRatio;
    s.varispeedPitchScale = varispeedPitchScale;

    const auto ids = optionsOf (s);
    for (size_t o = 0; o < ids.size(); ++o)
        *ids[o] = stretcher.getOption ((TimeStretcher::Option) o);
}

void TimeStretchComponent::setState (const DeckState& s)
{
    const auto ids = optionsOf (s);
    for (size_t o = 0; o < ids.size(); ++o)
        if (auto& combo = options.getCombo ((TimeStretcher::Option) o); combo.indexOfItemId (*ids[o]) >= 0)
            combo.setSelectedId (*ids[o], juce::sendNotificationSync);

    timeStretchButton.setToggleState (s.timeStretchOn, juce::sendNotificationSync);
    setTimeButtonID (s.timeButtonID);
    speedSlider.setValue (s.speedSlider, juce::sendNotificationSync);
    semiTonesSlider.setValue (s.semiTonesSlider, juce::sendNotificationSync);
    centsSlider.setValue (s.centsSlider, juce::sendNotificationSync);
    variSpeedSlider.setValue (s.variSpeedSlider, juce::sendNotificationSync);
    variSpeedButton.setToggleState (s.variSpeedOn, juce::sendNotificationSync);
    restoreRatios (s.timeRatio, s.pitchScale, s.varispeedTimeRatio, s.varispeedPitchScale);
}

int TimeStretchComponent::getTimeButtonID() const noexcept
{
    for (size_t i = 0; i < timeButtons.size(); ++i)
        if (timeButtons[i].getToggleState())
            return (int) i + 1;
    return 3;
}

void TimeStretchComponent::setTimeButtonID (int id)
{
    auto index = (size_t) id - 1;
    if (id < 1 || index >= timeButtons.size())
        index = (size_t) std::distance (
            timeButtons.begin(),
            std::find_if (timeButtons.begin(), timeButtons.end(), [] (const TimeButton& b) { return b.speedFactor == 1.0f; }));

    timeButtons[index].setToggleState (true, juce::sendNotificationSync);
}

void TimeStretchComponent::restoreRatios (double newTimeRatio, double newPitchScale, double newVarispeedTimeRatio,
                                          double newVarispeedPitchScale)
{
    timeRatio = newTimeRatio;
    pitchScale = newPitchScale;
    varispeedTimeRatio = newVarispeedTimeRatio;
    varispeedPitchScale = newVarispeedPitchScale;
    sendModeToStretcher();
}

void TimeStretchComponent::sendModeToStretcher()
{
    const bool vari = isVariSpeedOn();
    stretcher.setTimeRatio (vari ? varispeedTimeRatio : timeRatio);
    stretcher.setPitchScale (vari ? varispeedPitchScale : pitchScale);
}

void TimeStretchComponent::dimInactiveMode()
{
    const bool vari = isVariSpeedOn();
    auto live = [] (juce::Component& c, bool on)
    {
        c.setEnabled (on);
        c.setAlpha (on ? 1.0f : dimmedAlpha);
    };

    for (auto& b : timeButtons)
        live (b, ! vari);
    for (auto* c : std::initializer_list<juce::Component*> { &speedSlider, &semiTonesSlider, &centsSlider, &speedLabel,
                                                             &semiTonesLabel, &centsLabel })
        live (*c, ! vari);
    live (variSpeedSlider, vari);
}

void TimeStretchComponent::resized()
{
    auto area = getLocalBounds().reduced (4);
    const int row = std::max (20, area.getHeight() / 7);

    auto top = area.removeFromTop (row);
    optionsButton.setBounds (top.removeFromRight (70).reduced (2));
    timeStretchButton.setBounds (top);

    auto presets = area.removeFromTop (row);
    const int presetWidth = presets.getWidth() / (int) timeButtons.size();
    for (auto& b : timeButtons)
        b.setBounds (presets.removeFromLeft (presetWidth).reduced (2));

    for (auto [label, slider] : { std::pair { &speedLabel, &speedSlider }, std::pair { &semiTonesLabel, &semiTonesSlider },
                                  std::pair { &centsLabel, &centsSlider } })
    {
        auto line = area.removeFromTop (row);
        label->setBounds (line.removeFromLeft (80));
        slider->setBounds (line);
    }

    auto vari = area.removeFromTop (row);
    variSpeedButton.setBounds (vari.removeFromLeft (80));
    variSpeedSlider.setBounds (vari);
    resetButton.setBounds (area.removeFromTop (row).withSizeKeepingCentre (80, row - 4));

    options.setBounds (getLocalBounds().withTrimmedTop (row + 4));
}

} // namespace Marlode
