#pragma once

#include "export/AudioFileWriter.h"
#include "ui/PopupDisplayComponent.h"

namespace Marlode
{

//==============================================================================
/**
    The export popup: "Format", "Sample Rate", "Bit Depth" and "File Path", "Bypass FX", and
    "Export", which is enabled once all four are chosen, and "Cancel". It edits the writer's
    settings in place; "Export" closes it and starts the writer. Message thread.
*/
class AudioFileExportComponent : public PopupDisplayComponent
{
public:
    AudioFileExportComponent (AudioFileWriter&, PopupDisplayComponent*& activePopup);

    /** The save dialog, "Choose a file name and location", from the home folder. */
    void openFileChooser();

    /** How a file is chosen: the save dialog unless a test puts another way in. */
    std::function<void (std::function<void (const juce::File&)> chosen)> chooseFile;

    /** The sample rates by the box's item ids; 0 for an id outside them. */
    [[nodiscard]] static double sampleRateFor (int itemId) noexcept;

    /** The bit depth of the box's item id; 0 for an id outside them. */
    [[nodiscard]] static int bitDepthFor (int itemId) noexcept;

    juce::Label formatLabel, rateLabel, depthLabel, pathLabel, pathText;
    juce::ComboBox formatBox, rateBox, depthBox;
    juce::TextButton chooseButton { "..." }, exportButton { "Export" }, cancelButton { "Cancel" };
    juce::ToggleButton bypassButton { "Bypass FX" };

    void resized() override;

private:
    void settingsChanged();

    AudioFileWriter& writer;
    std::unique_ptr<juce::FileChooser> chooser;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (AudioFileExportComponent)
};

} // namespace Marlode
