#pragma once

#include "engine/DeckEngine.h"
#include "ui/TimerRelayListener.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <atomic>

namespace Marlode
{

/** The deck's time readout: the engine's position, read on the interface tick. Message thread. */
class TimerComponent : public juce::Component,
                       public TimerRelayListener
{
public:
    explicit TimerComponent (const DeckEngine&);

    void timerRelayCallback() override;
    void resized() override;

    /** Switches between the short and long form when a track of another kind loads. */
    void setTrackLength (double seconds);

    [[nodiscard]] juce::String getText() const { return timeLabel.getText(); }
    [[nodiscard]] bool isShowingHours() const noexcept { return showHours; }
    [[nodiscard]] float getFontHeight() const { return timeLabel.getFont().getHeight(); }

private:
    const DeckEngine& engine;
    juce::Label timeLabel;
    bool showHours = false;
    float normalFontHeight = 30.0f;
    int fontStyle = juce::Font::bold;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TimerComponent)
};

} // namespace Marlode
