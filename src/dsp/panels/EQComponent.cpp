#include "dsp/panels/EQComponent.h"
#include "ui/Palette.h"

#include <cmath>

namespace Marlode
{

EQComponent::EQComponent (juce::Button* opener, bool applyPan) : equaliser (applyPan), openButton (opener), hasPan (applyPan)
{
    addAndMakeVisible (spectrumDisplay);
    addAndMakeVisible (drawingLayer);

    bandsOnButton.setClickingTogglesState (true);
    bandsOnButton.setToggleState (true, juce::dontSendNotification);
    bandsOnButton.setColour (juce::TextButton::buttonOnColourId, onColour);
    bandsOnButton.onClick = [this] { equaliser.setBandsOn (bandsOnButton.getToggleState()); };

    spectrumButton.setClickingTogglesState (true);
    spectrumButton.setColour (juce::TextButton::buttonOnColourId, onColour);
    spectrumSpeed.addItemList (SpectrumAnalyzer::speedNames(), 1);
    spectrumSpeed.onChange = [this] { spectrumDisplay.setSpeed (spectrumSpeed.getSelectedId()); };
    spectrumSpeed.setSelectedId (2);
    resetButton.onClick = [this] { resetEQ(); };

    outputGainSlider.setRange (-24.0, 24.0, 0.1);
    outputGainSlider.setValue (0.0, juce::dontSendNotification);
    outputGainSlider.setDoubleClickReturnValue (true, 0.0);
    outputGainSlider.textFromValueFunction = [] (double dB) { return juce::String (dB, 1) + " dB"; };
    for (auto* s : std::initializer_list<juce::Slider*> { &outputGainSlider, &panSlider })
        s->onValueChange = [this] { outputChanged(); };

    addButton.onClick = [this] { addBandButtonClicked(); };
    previousButton.onClick = [this] { step (-1); };
    nextButton.onClick = [this] { step (1); };
    addLabel.setJustificationType (juce::Justification::centred);
    addLabel.setColour (juce::Label::textColourId, textColour);

    for (juce::Component* c :
         std::initializer_list<juce::Component*> { &bandsOnButton, &spectrumButton, &resetButton, &spectrumSpeed, &addButton,
                                                   &addLabel, &previousButton, &nextButton, &gainBox })
        addAndMakeVisible (c);
    addChildComponent (panBox);
    panBox.setVisible (hasPan);

    updateStepButtons();
    updateIndicator();
}

EQComponent::~EQComponent() = default;

//==============================================================================
void EQComponent::addBandButtonClicked (const EQBandValues* values)
{
    auto band = std::make_unique<EQBand> (values);
    if (! equaliser.addBand (band->getValues()))
        return;

    for (auto& b : bands)
        b->setVisible (false);

    auto& b = *band;
    b.onValuesChanged = [this, &b] { bandChanged (b); };
    b.onOnStateChanged = [this] { bandOnStateChanged(); };
    b.onDeleteClicked = [this] { deleteVisibleBand(); };
    b.setBandNumber ((int) bands.size() + 1);
    b.setBounds (bandPanel);
    addAndMakeVisible (b);
    bands.push_back (std::move (band));

    auto button = std::make_unique<EQBandButton> (b, plot, [this, &b] { return b.isVisible(); });
    addAndMakeVisible (*button);
    button->updatePosition();
    bandButtons.push_back (std::move (button));

    for (auto& other : bandButtons)
        other->repaint();

    addButton.setEnabled (bands.size() < (size_t) ParametricEqualiser::maxBands);
    updateStepButtons();
    bandOnStateChanged();
}

void EQComponent::deleteVisibleBand()
{
    const auto index = getVisibleBandIndex();
    if (index < 0)
        return;

    const bool wasOn = bands[(size_t) index]->isOn();
    bandButtons.erase (bandButtons.begin() + index);
    bands.erase (bands.begin() + index);
    equaliser.removeBand (index);

    for (size_t i = 0; i < bands.size(); ++i)
        bands[i]->setBandNumber ((int) i + 1);

    if (! bands.empty())
        showBand (juce::jmin (index, (int) bands.size() - 1));

    if (wasOn)
        bandOnStateChanged();

    addButton.setEnabled (true);
    updateStepButtons();
    updateCurve();
}

void EQComponent::resetEQ()
{
    bandButtons.clear();
    bands.clear();
    equaliser.removeAllBands();
    outputGainSlider.setValue (0.0, juce::sendNotificationSync);
    panSlider.setValue (0.0, juce::sendNotificationSync);
    addButton.setEnabled (true);
    updateStepButtons();
    bandOnStateChanged();
}

void EQComponent::getState (DeckState& state) const
{
    state.spectrumOn = spectrumButton.getToggleState();
    state.spectrumSpeed = spectrumSpeed.getSelectedId();
    state.eqBypass = ! bandsOnButton.getToggleState();
    state.eqGain = juce::Decibels::decibelsToGain (outputGainSlider.getValue());
    state.eqPan = panSlider.getValue();
    state.bands.clearQuick();

    for (const auto& b : bands)
        state.bands.add (b->getValues());
}

void EQComponent::setState (const DeckState& state)
{
    const auto known = [] (int id, int last, int otherwise) { return id >= 1 && id <= last ? id : otherwise; };

    spectrumButton.setToggleState (state.spectrumOn, juce::sendNotificationSync);
    spectrumSpeed.setSelectedId (known (state.spectrumSpeed, spectrumSpeed.getNumItems(), 2), juce::sendNotificationSync);

    if (! state.hasEQSettings)
        return;

    resetEQ();

    for (auto values : state.bands)
    {
        values.filterType = known (values.filterType, EQBandValues::highShelf, EQBandValues::peak);
        values.slopeType = known (values.slopeType, 3, 1);
        addBandButtonClicked (&values);
    }

    bandsOnButton.setToggleState (! state.eqBypass, juce::sendNotificationSync);
    outputGainSlider.setValue (juce::Decibels::gainToDecibels (state.eqGain), juce::sendNotificationSync);

    if (hasPan)
        panSlider.setValue (state.eqPan, juce::sendNotificationSync);
}

void EQComponent::showBand (int index)
{
    for (size_t i = 0; i < bands.size(); ++i)
        bands[i]->setVisible ((int) i == index);
    for (auto& b : bandButtons)
        b->repaint();
}

int EQComponent::getVisibleBandIndex() const
{
    for (size_t i = 0; i < bands.size(); ++i)
        if (bands[i]->isVisible())
            return (int) i;
    return -1;
}

void EQComponent::step (int delta)
{
    const auto n = (int) bands.size();
    if (n > 1)
        showBand ((getVisibleBandIndex() + delta + n) % n);
}

void EQComponent::updateStepButtons()
{
    const bool canStep = bands.size() >= 2;
    for (auto* b : { &previousButton, &nextButton })
    {
        b->setEnabled (canStep);
        b->setColour (juce::TextButton::textColourOffId, textColour.withAlpha (canStep ? (juce::uint8) 255 : (juce::uint8) 191));
    }
}

//==============================================================================
void EQComponent::bandChanged (EQBand& band)
{
    for (size_t i = 0; i < bands.size(); ++i)
        if (bands[i].get() == &band)
        {
            equaliser.setBand ((int) i, band.getValues());
            bandButtons[i]->updatePosition();
        }

    updateCurve();
}

void EQComponent::bandOnStateChanged()
{
    anyBandOn = std::any_of (bands.begin(), bands.end(), [] (auto& b) { return b->isOn(); });
    updateIndicator();
    updateCurve();
}

void EQComponent::outputChanged()
{
    equaliser.setOutputGain (juce::Decibels::decibelsToGain ((float) outputGainSlider.getValue()));
    if (hasPan)
        equaliser.setPanFromSlider (panSlider.getValue());
    updateIndicator();
}

void EQComponent::updateIndicator()
{
    gainActive = std::abs (outputGainSlider.getValue()) >= outputGainSlider.getInterval() || panSlider.getValue() != 0.0;

    if (openButton == nullptr)
        return;

    const bool active = anyBandOn || gainActive;
    openButton->setColour (juce::TextButton::buttonColourId, active ? bandOnButtonColour : widgetColour);
    openButton->setColour (juce::TextButton::buttonOnColourId, active ? eqActiveOnColour : midGreyColour);
}

void EQComponent::updateCurve()
{
    curveNeedsUpdate = true;
    repaint();
}

//==============================================================================
void EQComponent::timerRelayCallback()
{
    // The tap runs only while someone can see it; hidden, the curve falls and the feed rests.
    const bool showing = isShowing();
    equaliser.setSpectrumWanted (showing && spectrumButton.getToggleState());
    if (showing)
        spectrumDisplay.timerRelayCallback();
}

void EQComponent::paint (juce::Graphics& g)
{
    g.fillAll (sliderBackColour);
    g.setColour (backgroundColour);
    g.fillRoundedRectangle (plot.toFloat(), 7.0f);

    if (! curveNeedsUpdate)
        return;

    curveNeedsUpdate = false;
    curvePath.clear();

    // One point per pixel column across three decades from 20 Hz.
    const auto width = plot.getWidth();
    for (int i = 0; i < width && ! bands.empty(); ++i)
    {
        const auto hz = std::pow (10.0, 3.0 * i / width + std::log10 (20.0));
        const auto p = juce::Point<float> ((float) (plot.getX() + i), EQBandButton::yForGain (plot, equaliser.responseDb (hz)));
        if (i == 0)
            curvePath.startNewSubPath (p);
        else
            curvePath.lineTo (p);
    }

    drawingLayer.repaint();
}

void EQComponent::resized()
{
    const auto w = getWidth(), h = getHeight();
    const auto bar = juce::jmin (h, 35);

    const auto firstX = (w - 75) / 2 - 85;
    const auto barY = (bar - 25) / 2;
    bandsOnButton.setBounds (firstX, barY, 75, 25);
    spectrumButton.setBounds (firstX + 85, barY, 75, 25);
    resetButton.setBounds (firstX + 170, barY, 75, 25);
    spectrumSpeed.setBounds (firstX + 255, barY, 75, 25);

    // Along the bottom: the output box, the add box, the visible band's panel.
    const auto y0 = h - 130;
    const juce::Rectangle<int> outputBox (w / 2 - 222, y0, 85, 110);
    const juce::Rectangle<int> addBox (outputBox.getRight(), y0, 70, 110);
    bandPanel = { addBox.getRight(), y0, 290, 110 };

    if (hasPan)
    {
        auto box = outputBox;
        gainBox.setBounds (box.removeFromTop (55).reduced (0, 1));
        panBox.setBounds (box.reduced (0, 1));
    }
    else
    {
        gainBox.setBounds (outputBox);
    }

    addLabel.setBounds (addBox.getX(), y0, 70, 25);
    addButton.setBounds (addBox.getCentreX() - 12, y0 + 25, 25, 25);
    previousButton.setBounds (addBox.getX() + 5, y0 + 80, 25, 25);
    nextButton.setBounds (addBox.getX() + 40, y0 + 80, 25, 25);

    for (auto& b : bands)
        b->setBounds (bandPanel);

    plot = { 0, juce::jmin (y0, 55) - 10, w, juce::jmax (y0, 55) - 55 };
    spectrumDisplay.setBounds (plot);
    drawingLayer.setBounds (getLocalBounds());

    for (auto& b : bandButtons)
        b->updatePosition();

    updateCurve();
}

} // namespace Marlode
