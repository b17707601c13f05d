#include "dsp/LevelMeterHorizontalLights.h"

namespace Marlode
{

LevelMeterHorizontalLights::LevelMeterHorizontalLights()
{
    setInterceptsMouseClicks (false, false);
}

void LevelMeterHorizontalLights::timerRelayCallback()
{
    const decltype (shownDb) now { measurement.getDisplayedDb (0), measurement.getDisplayedDb (1) };

    if (now != shownDb)
    {
        shownDb = now;
        repaint();
    }
}

void LevelMeterHorizontalLights::paint (juce::Graphics& g)
{
    const auto rowHeight = (float) getHeight() / (float) MasterLevelMeasurement::numChannels;

    for (size_t c = 0; c < shownDb.size(); ++c)
    {
        const auto row = juce::Rectangle<float> (0.0f, (float) c * rowHeight, (float) getWidth(), rowHeight).reduced (1.0f);
        g.setColour (juce::Colours::black);
        g.fillRoundedRectangle (row, 2.0f);

        // The strip spans the meters' 70 dB scale.
        const auto proportion = juce::jlimit (0.0f, 1.0f, (shownDb[c] + 70.0f) / 70.0f);
        g.setColour (shownDb[c] >= 0.0f ? juce::Colours::red : juce::Colour (0xff008000));
        g.fillRoundedRectangle (row.withWidth (row.getWidth() * proportion), 2.0f);
    }
}

} // namespace Marlode
