#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** The panel behind the waveform; it shows while no track is loaded. Message thread. */
class WaveformBackground : public juce::Component
{
public:
    WaveformBackground();
    void paint (juce::Graphics&) override;
};

} // namespace Marlode
