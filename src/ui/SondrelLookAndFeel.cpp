#include "ui/SondrelLookAndFeel.h"

namespace Marlode
{

SondrelLookAndFeel::SondrelLookAndFeel()
{
    setColour (juce::Slider::backgroundColourId, sliderBackColour);
    setColour (juce::Slider::trackColourId, textColour);
    setColour (juce::Slider::thumbColourId, thumbColour);
    setColour (juce::Slider::rotarySliderFillColourId, textColour);
    setColour (juce::Slider::rotarySliderOutlineColourId, textColour);
    setColour (juce::PopupMenu::backgroundColourId, menuBackColour);
    setColour (juce::PopupMenu::textColourId, blackColour);
    setColour (juce::TextButton::buttonColourId, widgetColour);
}

void SondrelLookAndFeel::drawTableHeaderColumn (juce::Graphics& g, juce::TableHeaderComponent& header,
                                                const juce::String& columnName, int, int width, int height, bool, bool,
                                                int columnFlags)
{
    auto area = juce::Rectangle<int> (width, height).reduced (4, 0);

    if ((columnFlags & (juce::TableHeaderComponent::sortedForwards | juce::TableHeaderComponent::sortedBackwards)) != 0)
    {
        juce::Path sortArrow;
        sortArrow.addTriangle (0.0f, 0.0f, 0.5f, (columnFlags & juce::TableHeaderComponent::sortedForwards) != 0 ? -1.0f : 1.0f,
                               1.0f, 0.0f);

        const auto side = (float) juce::jmin (juce::jmax (width - 8, 0), height / 2) - 4.0f;
        const auto box = area.removeFromRight ((int) side).toFloat().withSizeKeepingCentre (side, side);
        g.setColour (sortArrowColour);
        g.fillPath (sortArrow, sortArrow.getTransformToScaleToFit (box.reduced (2.0f), true));
    }

    g.setColour (header.findColour (juce::TableHeaderComponent::textColourId));
    g.setFont (juce::Font ((float) height * 0.5f, juce::Font::bold));
    g.drawFittedText (columnName, area, juce::Justification::centredLeft, 1);
}

} // namespace Marlode
