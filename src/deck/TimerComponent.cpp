#include "deck/TimerComponent.h"

#include <cmath>

namespace Marlode
{

juce::String timerText (bool showHours, double seconds)
{
    // Whole milliseconds first: 3599.999 - 3599 is 0.998999... in binary, and truncating that
    // would show a millisecond less than the position says.
    const auto totalMs = (juce::int64) std::floor (juce::jmax (0.0, seconds) * 1000.0 + 1.0e-6);
    const auto s = (int) (totalMs / 1000);
    const auto ms = (int) (totalMs % 1000);
    char text[32];

    if (showHours)
        std::snprintf (text, sizeof (text), "%02d:%02d:%02d.%01d", s / 3600, (s % 3600) / 60, s % 60, ms / 100);
    else
        std::snprintf (text, sizeof (text), "%02d:%02d.%03d", (s % 3600) / 60, s % 60, ms);

    return text;
}

TimerComponent::TimerComponent (const DeckEngine& engineToShow)
    : engine (engineToShow)
{
    timeLabel.setFont (juce::Font (juce::Font::getDefaultMonospacedFontName(), normalFontHeight, fontStyle));
    timeLabel.setJustificationType (juce::Justification::centred);
    timeLabel.setText (timerText (false, 0.0), juce::dontSendNotification);
    timeLabel.setInterceptsMouseClicks (false, false);
    addAndMakeVisible (timeLabel);
}

void TimerComponent::timerRelayCallback()
{
    timeLabel.setText (timerText (showHours, engine.getPosition()), juce::dontSendNotification);
}

void TimerComponent::resized()
{
    timeLabel.setBounds (getLocalBounds());
}

void TimerComponent::setTrackLength (double seconds)
{
    const auto hours = (int) (seconds / 3600.0);

    if ((hours > 0) != showHours)
    {
        const auto height = normalFontHeight * (hours > 0 ? 0.75f : 1.0f);
        const juce::Font font (juce::Font::getDefaultMonospacedFontName(), height, fontStyle);

        if (font != timeLabel.getFont())
        {
            timeLabel.setFont (font);
            repaint();
        }
    }

    showHours = hours > 0;
}

} // namespace Marlode
