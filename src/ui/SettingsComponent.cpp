#include "ui/SettingsComponent.h"

namespace Marlode
{

SettingsComponent::SettingsComponent (juce::AudioDeviceManager& devices, StoredSettings& stored, PopupDisplayComponent*& slot)
    : PopupDisplayComponent (550, 320, slot), audioDeviceSelector (devices, 0, 0, 0, 2, false, false, true, false),
      settings (stored)
{
    setTitle ("Settings");

    for (size_t i = 0; i < scales.size(); ++i)
        displayScaleCombo.addItem (juce::String (juce::roundToInt (scales[i] * 100.0)) + "%", (int) i + 1);
    displayScaleCombo.onChange = [this] { scaleChosen (displayScaleCombo.getSelectedId()); };

    checkForUpdatesToggle.onClick = [this]
    { settings.setBool (StoredSettings::checkForUpdates, checkForUpdatesToggle.getToggleState()); };

    displayScaleLabel.setJustificationType (juce::Justification::centredRight);
    audioSettingsLabel.setJustificationType (juce::Justification::centred);

    for (auto* c : std::initializer_list<juce::Component*> { &displayScaleLabel, &displayScaleCombo, &checkForUpdatesToggle,
                                                             &audioSettingsLabel, &audioDeviceSelector })
        addAndMakeVisible (c);

    refresh();
}

double SettingsComponent::storedScale (int comboId, double value) noexcept
{
    if (comboId <= 0 || comboId > (int) scales.size())
        return 1.0;

    return std::find (scales.begin(), scales.end(), value) != scales.end() ? value : 1.0;
}

bool SettingsComponent::appliesAtStart (double scale) noexcept
{
    return scale >= 0.5 && scale <= 2.0 && scale != 1.0;
}

void SettingsComponent::refresh()
{
    const auto scale = settings.getDouble (StoredSettings::displayScale, 1.0);
    const auto at = std::find (scales.begin(), scales.end(), scale);
    displayScaleCombo.setSelectedId (at == scales.end() ? 3 : (int) (at - scales.begin()) + 1, juce::dontSendNotification);
    checkForUpdatesToggle.setToggleState (settings.getBool (StoredSettings::checkForUpdates, true), juce::dontSendNotification);
}

void SettingsComponent::scaleChosen (int id)
{
    if (id < 1 || id > (int) scales.size())
        return;

    const auto scale = scales[(size_t) (id - 1)];
    juce::Desktop::getInstance().setGlobalScaleFactor ((float) scale);
    settings.setDouble (StoredSettings::displayScale, scale);
    settings.setInt (StoredSettings::displayScaleComboId, id);
}

void SettingsComponent::resetScale()
{
    displayScaleCombo.setSelectedId (3, juce::dontSendNotification);
    scaleChosen (3);
}

void SettingsComponent::resized()
{
    PopupDisplayComponent::resized();

    // Below the title, less a strip of the close button's size.
    auto area = getContentBounds().withTrimmedTop (closeButtonSize);
    const auto centre = area.getCentreX();

    auto row = area.removeFromTop (juce::jmin (area.getHeight(), 50));
    displayScaleCombo.setBounds (centre + 5, row.getCentreY() - 12, 75, 25);
    const auto labelLeft = juce::jmin (centre - 5, boxBounds.getX() + boxBounds.getWidth() / 4);
    displayScaleLabel.setBounds (labelLeft, row.getCentreY() - 12, centre - 5 - labelLeft, 25);

    row = area.removeFromTop (juce::jmin (area.getHeight(), 50));
    checkForUpdatesToggle.setBounds (row.getX(), row.getCentreY() - 12, row.getWidth(), 25);
    const auto textWidth = juce::Font (15.0f).getStringWidth (checkForUpdatesToggle.getButtonText()) + 30;
    checkForUpdatesToggle.setBounds (
        checkForUpdatesToggle.getBounds().withSizeKeepingCentre (textWidth, 25).withX (centre - textWidth / 2));

    row = area.removeFromTop (juce::jmin (area.getHeight(), 50));
    audioSettingsLabel.setBounds (row.withSizeKeepingCentre (row.getWidth(), 25));

    audioDeviceSelector.setBounds (area);
}

} // namespace Marlode
