#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

/** The panel behind the waveform. While the thumbnail fills, its waveform area fades in. */
class WaveformBackground : public juce::Component
{
public:
    WaveformBackground();

    void paint (juce::Graphics&) override;

    /** The waveform area, in this component's coordinates. */
    void setWaveformArea (juce::Rectangle<int> area);

    /** Set while a thumbnail fills; cleared when it is complete. */
    void setFading (bool shouldFade);
    [[nodiscard]] bool isFading() const noexcept { return fading; }

private:
    juce::Rectangle<int> waveformArea;
    juce::DrawableRectangle fade;
    bool fading = true;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (WaveformBackground)
};

} // namespace Marlode
