#include "dsp/panels/LevelMeterHorizontalLights.h"

namespace Marlode
{

LevelMeterHorizontalLights::LevelMeterHorizontalLights (const MasterLevelMeasurement& measurementToShow)
    : measurement (measurementToShow)
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
    const auto cellWidth = (float) getWidth() / (float) thresholds.size();

    for (size_t c = 0; c < shownDb.size(); ++c)
        for (size_t cell = 0; cell < thresholds.size(); ++cell)
        {
            const auto area =
                juce::Rectangle<float> ((float) cell * cellWidth, (float) c * rowHeight, cellWidth, rowHeight).reduced (1.5f);
            g.setColour (shownDb[c] >= thresholds[cell] ? colours[cell] : blackColour);
            g.fillRoundedRectangle (area, 2.0f);
            g.setColour (midGreyColour);
            g.drawRoundedRectangle (area, 2.0f, 1.0f);
        }
}

} // namespace Marlode
