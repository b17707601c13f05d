#include "dsp/panels/EQBand.h"
#include "ui/Palette.h"

namespace Marlode
{

EQBand::EQBand (const EQBandValues* values)
{
    const EQBandValues start = values != nullptr ? *values : EQBandValues {};
    frequencyIsSet = values != nullptr;

    frequencySlider.setSkewFactorFromMidPoint (2000.0);
    qSlider.setSkewFactorFromMidPoint (1.0);
    qSlider.setNumDecimalPlacesToDisplay (3);

    filterTypeCombo.addItemList ({ "Peak", "LPF", "HPF", "LShelf", "HShelf" }, 1);
    slopeCombo.addItemList ({ "6dB", "12dB", "24dB" }, 1);

    onButton.setClickingTogglesState (true);
    onButton.setColour (juce::TextButton::buttonColourId, closeHoverColour);
    onButton.setColour (juce::TextButton::buttonOnColourId, bandOnButtonColour);

    frequencySlider.setValue (start.freq, juce::dontSendNotification);
    gainSlider.setValue (start.gain, juce::dontSendNotification);
    qSlider.setValue (start.q, juce::dontSendNotification);
    filterTypeCombo.setSelectedId (start.filterType, juce::dontSendNotification);
    slopeCombo.setSelectedId (start.slopeType, juce::dontSendNotification);
    onButton.setToggleState (start.on, juce::dontSendNotification);
    showGainControls();

    for (auto* s : { &frequencySlider, &gainSlider, &qSlider })
        s->onValueChange = [this] { changed(); };
    filterTypeCombo.onChange = [this] { filterTypeChanged(); };
    slopeCombo.onChange = [this] { changed(); };
    onButton.onClick = [this]
    {
        changed();
        if (onOnStateChanged)
            onOnStateChanged();
    };
    deleteButton.onClick = [this]
    {
        if (onDeleteClicked)
            onDeleteClicked();
    };

    for (auto* l : { &frequencyLabel, &gainLabel, &qLabel, &typeLabel, &slopeLabel, &onLabel, &numberLabel })
    {
        l->setJustificationType (juce::Justification::centred);
        l->setColour (juce::Label::textColourId, textColour);
        addAndMakeVisible (l);
    }

    for (juce::Component* c : std::initializer_list<juce::Component*> { &frequencySlider, &gainSlider, &qSlider, &filterTypeCombo,
                                                                        &slopeCombo, &onButton, &deleteButton })
        addAndMakeVisible (c);
}

double EQBand::startFrequencyFor (int filterType) noexcept
{
    switch (filterType)
    {
        case EQBandValues::lowPass: return 20000.0;
        case EQBandValues::highPass: return 20.0;
        case EQBandValues::lowShelf: return 150.0;
        case EQBandValues::highShelf: return 10000.0;
        default: return 1000.0;
    }
}

EQBandValues EQBand::getValues() const
{
    EQBandValues v;
    v.on = onButton.getToggleState();
    v.filterType = filterTypeCombo.getSelectedId();
    v.slopeType = slopeCombo.getSelectedId();
    v.freq = frequencySlider.getValue();
    v.gain = gainSlider.getValue();
    v.q = qSlider.getValue();
    return v;
}

void EQBand::setBandNumber (int number)
{
    bandNumber = number;
    numberLabel.setText (juce::String (number), juce::dontSendNotification);
}

void EQBand::changeQ (double proportionDelta)
{
    const auto p = juce::jlimit (0.0, 1.0, qSlider.valueToProportionOfLength (qSlider.getValue()) + proportionDelta);
    qSlider.setValue (qSlider.proportionOfLengthToValue (p), juce::sendNotificationSync);
}

void EQBand::filterTypeChanged()
{
    showGainControls();

    // A new band's first type choice moves it to where that type usually starts; the move itself
    // reports the change.
    if (! frequencyIsSet)
    {
        frequencyIsSet = true;
        const auto f = startFrequencyFor (filterTypeCombo.getSelectedId());
        if (f != frequencySlider.getValue())
        {
            frequencySlider.setValue (f, juce::sendNotificationSync);
            return;
        }
    }

    changed();
}

void EQBand::showGainControls()
{
    gainIsIgnored = getValues().ignoresGain();

    for (juce::Component* c : std::initializer_list<juce::Component*> { &gainSlider, &qSlider, &gainLabel, &qLabel })
    {
        c->setEnabled (! gainIsIgnored);
        c->setAlpha (gainIsIgnored ? 0.5f : 1.0f);
    }

    if (gainIsIgnored)
        gainSlider.setValue (0.0, juce::dontSendNotification);
}

void EQBand::changed()
{
    if (onValuesChanged)
        onValuesChanged();
}

void EQBand::resized()
{
    // Two rows of 75 x 25 controls, each under its title, beside a column of small buttons.
    constexpr int w = 75, h = 25, gap = 10, column = 35;
    onLabel.setBounds (0, 0, column, h);
    onButton.setBounds (5, h, h, h);
    numberLabel.setBounds (5, 2 * h + 5, h, h - 5);
    deleteButton.setBounds (5, 3 * h + 5, h, h);

    const std::array<std::pair<juce::Label*, juce::Component*>, 5> cells { { { &frequencyLabel, &frequencySlider },
                                                                             { &gainLabel, &gainSlider },
                                                                             { &qLabel, &qSlider },
                                                                             { &typeLabel, &filterTypeCombo },
                                                                             { &slopeLabel, &slopeCombo } } };
    for (size_t i = 0; i < cells.size(); ++i)
    {
        const auto x = column + 5 + (int) (i % 3) * (w + gap);
        const auto y = i < 3 ? 0 : 2 * h + 5;
        cells[i].first->setBounds (x, y, w, h);
        cells[i].second->setBounds (x, y + h, w, h);
    }
}

} // namespace Marlode
