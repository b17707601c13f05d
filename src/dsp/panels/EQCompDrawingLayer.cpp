#include "dsp/panels/EQCompDrawingLayer.h"
#include "dsp/panels/EQBandButton.h"
#include "ui/Palette.h"

namespace Marlode
{

EQCompDrawingLayer::EQCompDrawingLayer (const juce::Rectangle<int>& p, const juce::Path& c) : plot (p), curve (c)
{
    setInterceptsMouseClicks (false, false);
}

void EQCompDrawingLayer::paint (juce::Graphics& g)
{
    static const std::array<std::pair<double, const char*>, 10> grid { { { 20.0, "20" },
                                                                         { 50.0, "50" },
                                                                         { 100.0, "100" },
                                                                         { 200.0, "200" },
                                                                         { 500.0, "500" },
                                                                         { 1000.0, "1k" },
                                                                         { 2000.0, "2k" },
                                                                         { 5000.0, "5k" },
                                                                         { 10000.0, "10k" },
                                                                         { 20000.0, "20k" } } };
    g.setFont (11.0f);

    for (const auto& [hz, text] : grid)
    {
        const auto x = EQBandButton::xForFrequency (plot, hz);
        g.setColour (textColour.withAlpha (0.15f));
        g.drawVerticalLine (juce::roundToInt (x), (float) plot.getY(), (float) plot.getBottom());
        g.setColour (textColour.withAlpha (0.6f));
        const auto label = juce::Rectangle<float> (x - 20.0f, (float) plot.getBottom() - 14.0f, 40.0f, 14.0f)
                               .constrainedWithin (plot.toFloat().withTrimmedLeft (50.0f));
        g.drawText (text, label, juce::Justification::centred);
    }

    for (const auto dB : { -12, 0, 12 })
    {
        const auto y = EQBandButton::yForGain (plot, dB);
        g.setColour (textColour.withAlpha (0.15f));
        g.drawHorizontalLine (juce::roundToInt (y), (float) plot.getX(), (float) plot.getRight());
        g.setColour (textColour.withAlpha (0.6f));
        g.drawText (juce::String (dB) + " dB", juce::Rectangle<float> ((float) plot.getX() + 4.0f, y - 7.0f, 50.0f, 14.0f),
                    juce::Justification::centredLeft);
    }

    g.reduceClipRegion (plot);
    g.setColour (juce::Colours::white);
    g.strokePath (curve, juce::PathStrokeType (2.0f));
}

} // namespace Marlode
