#include "export/AudioFileExportComponent.h"

#include <array>

namespace Marlode
{

namespace
{
    constexpr std::array<double, 4> sampleRates { 44100.0, 48000.0, 88200.0, 96000.0 };
}

double AudioFileExportComponent::sampleRateFor (int itemId) noexcept
{
    return juce::isPositiveAndBelow (itemId - 1, (int) sampleRates.size()) ? sampleRates[(size_t) (itemId - 1)] : 0.0;
}

int AudioFileExportComponent::bitDepthFor (int itemId) noexcept
{
    return itemId >= 1 && itemId <= 3 ? 8 * (itemId + 1) : 0;
}

AudioFileExportComponent::AudioFileExportComponent (AudioFileWriter& w, PopupDisplayComponent*& slot)
    : PopupDisplayComponent (460, 290, slot), writer (w)
{
    setTitle ("Export Audio");

    for (auto [label, text] : { std::pair { &formatLabel, "Format" }, std::pair { &rateLabel, "Sample Rate" },
                                std::pair { &depthLabel, "Bit Depth" }, std::pair { &pathLabel, "File Path" } })
    {
        label->setText (text, juce::dontSendNotification);
        label->setJustificationType (juce::Justification::centredRight);
        addAndMakeVisible (label);
    }

    formatBox.addItem ("Wav", 1);
    for (size_t i = 0; i < sampleRates.size(); ++i)
        rateBox.addItem (juce::String (sampleRates[i], 0), (int) i + 1);
    depthBox.addItemList ({ "16", "24", "32" }, 1);
    depthBox.setTooltip ("16 and 24 bits are integer PCM; 32 bits is 32-bit floating point.");

    // What an earlier export chose stays chosen.
    formatBox.setSelectedId (writer.format, juce::dontSendNotification);
    const auto rate = std::find (sampleRates.begin(), sampleRates.end(), writer.sampleRate);
    rateBox.setSelectedId (rate == sampleRates.end() ? 0 : (int) (rate - sampleRates.begin()) + 1, juce::dontSendNotification);
    depthBox.setSelectedId (writer.bitDepth == 0 ? 0 : writer.bitDepth / 8 - 1, juce::dontSendNotification);
    pathText.setText (writer.file.getFullPathName(), juce::dontSendNotification);
    bypassButton.setToggleState (writer.bypassFX, juce::dontSendNotification);

    formatBox.onChange = [this]
    {
        writer.format = formatBox.getSelectedId();
        settingsChanged();
    };
    rateBox.onChange = [this]
    {
        writer.sampleRate = sampleRateFor (rateBox.getSelectedId());
        settingsChanged();
    };
    depthBox.onChange = [this]
    {
        writer.bitDepth = bitDepthFor (depthBox.getSelectedId());
        settingsChanged();
    };
    bypassButton.onClick = [this] { writer.bypassFX = bypassButton.getToggleState(); };
    chooseButton.onClick = [this] { openFileChooser(); };

    cancelButton.onClick = [this]
    {
        writer.readyToExport = false;
        closeButton.onClick();
    };

    // Closed first, so the progress window comes up over the deck rather than the popup.
    exportButton.onClick = [this]
    {
        closeButton.onClick();
        writer.buttonClicked (&exportButton);
    };
    exportButton.setEnabled (writer.readyToExport);

    chooseFile = [this] (std::function<void (const juce::File&)> chosen)
    {
        chooser = std::make_unique<juce::FileChooser> ("Choose a file name and location",
                                                       juce::File::getSpecialLocation (juce::File::userHomeDirectory), "*.wav");
        // The framework's own dialog also wants to be told that files are what is chosen.
        chooser->launchAsync (juce::FileBrowserComponent::saveMode | juce::FileBrowserComponent::canSelectFiles
                                  | juce::FileBrowserComponent::warnAboutOverwriting,
                              [chosen] (const juce::FileChooser& fc) { chosen (fc.getResult()); });
    };

    for (auto* c : std::initializer_list<juce::Component*> { &formatBox, &rateBox, &depthBox, &pathText, &chooseButton,
                                                             &bypassButton, &exportButton, &cancelButton })
        addAndMakeVisible (c);
}

void AudioFileExportComponent::openFileChooser()
{
    juce::Component::SafePointer<AudioFileExportComponent> safe (this);
    chooseFile (
        [safe] (const juce::File& file)
        {
            if (safe == nullptr || file == juce::File())
                return;

            safe->writer.file = file;
            safe->pathText.setText (file.getFullPathName(), juce::dontSendNotification);
            safe->settingsChanged();
        });
}

void AudioFileExportComponent::settingsChanged()
{
    // Once ready it stays so until "Cancel".
    if (writer.bitDepth != 0 && writer.sampleRate != 0.0 && writer.format != 0 && writer.file != juce::File())
        writer.readyToExport = true;

    exportButton.setEnabled (writer.readyToExport);
}

void AudioFileExportComponent::resized()
{
    PopupDisplayComponent::resized();
    auto area = getContentBounds().reduced (16, 10);
    const auto row = [&area] { return area.removeFromTop (30).reduced (0, 3); };

    for (auto [label, box] :
         { std::pair { &formatLabel, &formatBox }, std::pair { &rateLabel, &rateBox }, std::pair { &depthLabel, &depthBox } })
    {
        auto r = row();
        label->setBounds (r.removeFromLeft (110));
        box->setBounds (r.removeFromLeft (140).withTrimmedLeft (8));
    }

    auto path = row();
    pathLabel.setBounds (path.removeFromLeft (110));
    chooseButton.setBounds (path.removeFromRight (40));
    pathText.setBounds (path.withTrimmedLeft (8).withTrimmedRight (6));

    bypassButton.setBounds (row().withTrimmedLeft (118).removeFromLeft (140));

    auto buttons = area.removeFromBottom (34).withSizeKeepingCentre (250, 30);
    exportButton.setBounds (buttons.removeFromLeft (120));
    cancelButton.setBounds (buttons.removeFromRight (120));
}

} // namespace Marlode
