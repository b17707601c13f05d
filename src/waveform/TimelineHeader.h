#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <vector>

namespace Marlode
{

/** The ruler above the waveform: the view's start and end times at its edges and ticks in
    between, on seconds or minutes by the span. It reads the view through pointers to the
    waveform's own fields. Message thread. */
class TimelineHeader : public juce::Component
{
public:
    TimelineHeader (const double* viewStart, const double* viewEnd, const double* viewSpan);

    void paint (juce::Graphics&) override;
    void resized() override;

    /** The tick times of the present view, in seconds, whether or not they fall between the labels. */
    [[nodiscard]] std::vector<double> getTickTimes() const;

    juce::Label leftLabel, rightLabel, centreLabel;

private:
    const double* viewStart;
    const double* viewEnd;
    const double* viewSpan;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (TimelineHeader)
};

} // namespace Marlode
