#pragma once

#include "state/StoredSettings.h"
#include "ui/PopupDisplayComponent.h"

#include <juce_audio_utils/juce_audio_utils.h>

#include <array>

namespace Marlode
{

//==============================================================================
/**
    "Settings": the display scale, applied at once through the framework's global scale factor,
    "Automatically check for updates", and the audio device the master plays through. The
    choices are kept in the user's stored settings, which the session file writes. Message
    thread.
*/
class SettingsComponent : public PopupDisplayComponent
{
public:
    SettingsComponent (juce::AudioDeviceManager&, StoredSettings&, PopupDisplayComponent*& activePopup);

    /** The box's scales by item id, from 1. */
    static constexpr std::array<double, 6> scales { 0.5, 0.75, 1.0, 1.25, 1.5, 2.0 };

    /** The scale a stored box id and value stand for: the id must name an item of the box before
        the value is read at all, and a value the box doesn't offer counts as 1.0. */
    [[nodiscard]] static double storedScale (int comboId, double value) noexcept;

    /** Whether a scale read at the start is applied: within 0.5 to 2.0 and not 1.0. */
    [[nodiscard]] static bool appliesAtStart (double scale) noexcept;

    /** Shows the stored choices in the controls. */
    void refresh();

    /** "Reset Display": 100 % again, applied and stored. */
    void resetScale();

    juce::Label displayScaleLabel { {}, "Display Scale:" };
    juce::ComboBox displayScaleCombo;
    juce::ToggleButton checkForUpdatesToggle { "Automatically check for updates" };
    juce::Label audioSettingsLabel { {}, "---------- Audio Settings ----------" };
    juce::AudioDeviceSelectorComponent audioDeviceSelector;

    void resized() override;

private:
    void scaleChosen (int id);

    StoredSettings& settings;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (SettingsComponent)
};

} // namespace Marlode
