#include "dsp/panels/EQBandButton.h"
#include "dsp/panels/EQBand.h"
#include "ui/Palette.h"

#include <cmath>

namespace Marlode
{

namespace
{
    constexpr double log10Of20 = 1.3010299956639813;
    constexpr double maxGainDb = 24.0;
} // namespace

EQBandButton::EQBandButton (EQBand& b, const juce::Rectangle<int>& plotArea, std::function<bool()> visibleBand)
    : juce::Button ({}), band (b), plot (plotArea), isVisibleBand (std::move (visibleBand))
{
    setSize (size, size);
}

float EQBandButton::xForFrequency (const juce::Rectangle<int>& p, double hz) noexcept
{
    return (float) (p.getX() + p.getWidth() * (std::log10 (hz) - log10Of20) / 3.0);
}

float EQBandButton::yForGain (const juce::Rectangle<int>& p, double dB) noexcept
{
    return (float) ((dB + maxGainDb) * (p.getY() - p.getBottom()) / (2.0 * maxGainDb) + p.getBottom());
}

void EQBandButton::updatePosition()
{
    const auto y = band.ignoresGain() ? (float) plot.getCentreY() : yForGain (plot, band.gainSlider.getValue());
    setCentrePosition (juce::roundToInt (xForFrequency (plot, band.frequencySlider.getValue())), juce::roundToInt (y));
    repaint();
}

void EQBandButton::paintButton (juce::Graphics& g, bool, bool)
{
    auto colour = band.isOn() ? onColour : bandPointOffColour;

    // The band shown in the panel stands out, lightened halfway to white.
    if (isVisibleBand())
        colour = colour.interpolatedWith (juce::Colours::white, 0.5f);

    g.setColour (colour);
    g.fillEllipse (getLocalBounds().toFloat());
    g.setColour (blackColour);
    g.setFont (12.0f);
    g.drawText (juce::String (band.getBandNumber()), getLocalBounds(), juce::Justification::centred);
}

void EQBandButton::mouseDown (const juce::MouseEvent& e)
{
    juce::Button::mouseDown (e);
    startPosition = getPosition();
    lastY = e.getEventRelativeTo (getParentComponent()).position.y;
}

void EQBandButton::mouseDrag (const juce::MouseEvent& e)
{
    const auto inParent = e.getEventRelativeTo (getParentComponent()).position;

    if (e.mods.isCommandDown())
    {
        band.changeQ ((lastY - inParent.y) / 1000.0);
        lastY = inParent.y;
        return;
    }

    const auto half = (float) size / 2.0f;
    const auto centre = startPosition.toFloat() + e.getOffsetFromDragStart().toFloat() + juce::Point<float> (half, half);
    const auto area = plot.toFloat();
    const auto x = juce::jlimit (area.getX(), area.getRight(), centre.x);
    const auto y = juce::jlimit (area.getY(), area.getBottom(), centre.y);

    auto& f = band.frequencySlider;
    const auto t = juce::jlimit (0.0, 1.0, (double) (x - area.getX()) / area.getWidth());
    const auto logMin = std::log10 (f.getMinimum()), logMax = std::log10 (f.getMaximum());
    f.setValue (std::pow (10.0, logMin + t * (logMax - logMin)), juce::sendNotificationSync);

    auto& g = band.gainSlider;
    g.setValue (band.ignoresGain() ? 0.0
                                   : (y - area.getBottom()) * (g.getMaximum() - g.getMinimum()) / (area.getY() - area.getBottom())
                                         + g.getMinimum(),
                juce::sendNotificationSync);

    updatePosition();
}

void EQBandButton::mouseWheelMove (const juce::MouseEvent&, const juce::MouseWheelDetails& wheel)
{
    band.changeQ (wheel.deltaY / 10.0);
}

} // namespace Marlode
