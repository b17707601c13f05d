#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** The loaded track's name over the deck's transport row. Message thread. */
class TrackNameLabel : public juce::Component
{
public:
    TrackNameLabel();

    void setText (const juce::String& newText);
    [[nodiscard]] const juce::String& getText() const noexcept { return text; }

    void paint (juce::Graphics&) override;

    static constexpr const char* noTrackText = "No track selected.";

private:
    juce::String text { noTrackText };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TrackNameLabel)
};

} // namespace Marlode
