#include "deck/TimerComponent.h"
#include "engine/FormatTime.h"

namespace Marlode
{

TimerComponent::TimerComponent (const DeckEngine& engineToShow) : engine (engineToShow)
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
