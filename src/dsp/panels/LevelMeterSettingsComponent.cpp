#include "dsp/panels/LevelMeterSettingsComponent.h"

namespace Marlode
{

const std::array<double, 5> LevelMeterSettingsComponent::decayTimes { 0.1, 0.5, 1.0, 3.0, 5.0 };

const juce::StringArray LevelMeterSettingsComponent::referenceLabels = []
{
    juce::StringArray labels;
    for (int dB = -8; dB >= -24; --dB)
        labels.add (juce::String (dB).paddedLeft (' ', 3) + "dB");
    return labels;
}();

namespace
{
    int decayId (double seconds)
    {
        for (size_t i = 0; i < LevelMeterSettingsComponent::decayTimes.size(); ++i)
            if (juce::approximatelyEqual (LevelMeterSettingsComponent::decayTimes[i], seconds))
                return (int) i + 1;
        return 0; // an unknown stored value selects nothing
    }
}

LevelMeterSettingsComponent::LevelMeterSettingsComponent (const juce::String& meterTitle, LevelMeter& meterToEdit,
                                                          PopupDisplayComponent*& slot)
    : PopupDisplayComponent (420, 300, slot), meter (meterToEdit)
{
    setTitle (meterTitle + " Meter");

    auto addRow = [this] (juce::Label& label, const juce::String& text, juce::ComboBox& box)
    {
        label.setText (text, juce::dontSendNotification);
        label.setJustificationType (juce::Justification::centredRight);
        addAndMakeVisible (label);
        addAndMakeVisible (box);
    };

    addRow (typeLabel, "Meter Type", typeBox);
    typeBox.addItemList (LevelMeter::typeNames, 1);
    typeBox.setSelectedId (meter.processor.meterType.load(), juce::dontSendNotification);
    typeBox.onChange = [this]
    {
        meter.setMeterType (typeBox.getSelectedId());
        updateVisibility();
    };

    addRow (levelDecayLabel, "Level Decay", levelDecayBox);
    addRow (peakDecayLabel, "Peak Decay", peakDecayBox);
    for (auto* box : { &levelDecayBox, &peakDecayBox })
        box->addItemList ({ "0.1 secs", "0.5 secs", "1.0 secs", "3.0 secs", "5.0 secs" }, 1);

    levelDecayBox.setSelectedId (decayId (meter.processor.smoothedLevelDecayTime.load()), juce::dontSendNotification);
    peakDecayBox.setSelectedId (decayId (meter.processor.smoothedPeakDecayTime.load()), juce::dontSendNotification);

    auto applyDecays = [this]
    {
        auto chosen = [] (juce::ComboBox& box, double fallback)
        { return box.getSelectedId() > 0 ? decayTimes[(size_t) box.getSelectedId() - 1] : fallback; };
        meter.processor.setDecayTimes (chosen (levelDecayBox, meter.processor.smoothedLevelDecayTime.load()),
                                       chosen (peakDecayBox, meter.processor.smoothedPeakDecayTime.load()));
    };
    levelDecayBox.onChange = applyDecays;
    peakDecayBox.onChange = applyDecays;

    addRow (lufsTypeLabel, "LUFS Type", lufsTypeBox);
    lufsTypeBox.addItemList (LevelMeter::lufsTypeNames, 1);
    lufsTypeBox.setSelectedId (meter.processor.lufsMeterType.load(), juce::dontSendNotification);
    lufsTypeBox.onChange = [this]
    {
        meter.processor.lufsMeterType.store (lufsTypeBox.getSelectedId());
        meter.setMeterType (meter.processor.meterType.load());
    };

    addRow (referenceLabel, "LUFS Reference", referenceBox);
    referenceBox.addItemList (referenceLabels, 1);
    referenceBox.setSelectedId (-8 - meter.lufsReference + 1, juce::dontSendNotification);
    referenceBox.onChange = [this]
    {
        meter.lufsReference = -8 - (referenceBox.getSelectedId() - 1);
        meter.setMeterType (meter.processor.meterType.load());
    };

    peakHoldToggle.setToggleState (meter.maxPeakHold, juce::dontSendNotification);
    clipHoldToggle.setToggleState (meter.clipHold, juce::dontSendNotification);
    enabledToggle.setToggleState (meter.meterEnabled, juce::dontSendNotification);
    peakHoldToggle.onClick = [this] { meter.maxPeakHold = peakHoldToggle.getToggleState(); };
    clipHoldToggle.onClick = [this] { meter.clipHold = clipHoldToggle.getToggleState(); };
    enabledToggle.onClick = [this] { meter.meterEnabled = enabledToggle.getToggleState(); };

    for (auto* t : { &peakHoldToggle, &clipHoldToggle, &enabledToggle })
        addAndMakeVisible (t);

    updateVisibility();
}

void LevelMeterSettingsComponent::updateVisibility()
{
    const auto type = typeBox.getSelectedId();
    const bool lufsType = type == LevelMeterProcessor::lufs || type == LevelMeterProcessor::lufsAndTruePeak;
    const bool plainLufs = type == LevelMeterProcessor::lufs;

    for (juce::Component* c : { static_cast<juce::Component*> (&lufsTypeBox), static_cast<juce::Component*> (&lufsTypeLabel),
                                static_cast<juce::Component*> (&referenceBox), static_cast<juce::Component*> (&referenceLabel) })
        c->setVisible (lufsType);

    levelDecayBox.setVisible (! lufsType);
    levelDecayLabel.setVisible (! lufsType);
    peakDecayBox.setVisible (! plainLufs);
    peakDecayLabel.setVisible (! plainLufs);
    peakHoldToggle.setVisible (! plainLufs);
    clipHoldToggle.setVisible (! plainLufs);

    if (plainLufs)
    {
        // No hold exists in this type: the toggles are cleared with it.
        peakHoldToggle.setToggleState (false, juce::dontSendNotification);
        clipHoldToggle.setToggleState (false, juce::dontSendNotification);
        meter.maxPeakHold = false;
        meter.clipHold = false;
    }
}

void LevelMeterSettingsComponent::resized()
{
    PopupDisplayComponent::resized();
    auto area = getContentBounds().reduced (20, 10);

    for (auto [label, box] : { std::pair { &typeLabel, &typeBox }, std::pair { &levelDecayLabel, &levelDecayBox },
                               std::pair { &peakDecayLabel, &peakDecayBox }, std::pair { &lufsTypeLabel, &lufsTypeBox },
                               std::pair { &referenceLabel, &referenceBox } })
    {
        auto row = area.removeFromTop (30).reduced (0, 3);
        label->setBounds (row.removeFromLeft (row.getWidth() / 2));
        box->setBounds (row.withTrimmedLeft (10));
    }

    auto toggles = area.removeFromTop (30);
    const auto w = toggles.getWidth() / 3;
    for (auto* t : { &peakHoldToggle, &clipHoldToggle, &enabledToggle })
        t->setBounds (toggles.removeFromLeft (w));
}

} // namespace Marlode
