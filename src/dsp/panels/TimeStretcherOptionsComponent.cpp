#include "dsp/panels/TimeStretcherOptionsComponent.h"

namespace Marlode
{
namespace
{
    struct OptionTexts
    {
        const char* label;
        juce::StringArray choices;
    };

    const OptionTexts& textsOf (int option)
    {
        static const std::array<OptionTexts, TimeStretcher::numOptions> texts { {
            { "Pitch", { "High Speed", "High Quality", "High Consistency" } },
            { "Formant", { "Shifted", "Preserved" } },
            { "Phase", { "Laminar", "Independent" } },
            { "Transients", { "Crisp", "Mixed", "Smooth" } },
            { "Detector", { "Compound", "Percussive", "Soft" } },
        } };
        return texts[(size_t) option];
    }
} // namespace

TimeStretcherOptionsComponent::TimeStretcherOptionsComponent (TimeStretcher& s) : stretcher (s)
{
    for (int o = 0; o < TimeStretcher::numOptions; ++o)
    {
        const auto option = (TimeStretcher::Option) o;
        auto& combo = combos[(size_t) o];
        combo.addItemList (textsOf (o).choices, 1);
        combo.setSelectedId (stretcher.getOption (option), juce::dontSendNotification);
        combo.onChange = [this, option, &combo] { stretcher.setOption (option, combo.getSelectedId()); };
        addAndMakeVisible (combo);

        auto& label = labels[(size_t) o];
        label.setText (textsOf (o).label, juce::dontSendNotification);
        label.attachToComponent (&combo, true);
        addAndMakeVisible (label);
    }

    defaultsButton.onClick = [this] { defaultsButtonClicked(); };
    addAndMakeVisible (defaultsButton);
}

void TimeStretcherOptionsComponent::defaultsButtonClicked()
{
    for (auto& combo : combos)
        combo.setSelectedId (1, juce::sendNotificationSync);
}

void TimeStretcherOptionsComponent::paint (juce::Graphics& g)
{
    // It opens over the section's own controls.
    g.fillAll (getLookAndFeel().findColour (juce::ResizableWindow::backgroundColourId));
}

void TimeStretcherOptionsComponent::resized()
{
    auto area = getLocalBounds().reduced (4);
    const int row = std::max (18, area.getHeight() / (TimeStretcher::numOptions + 1));
    for (auto& combo : combos)
        combo.setBounds (area.removeFromTop (row).withTrimmedLeft (80).reduced (0, 2));
    defaultsButton.setBounds (area.removeFromTop (row).withSizeKeepingCentre (90, row - 4));
}

} // namespace Marlode
