#pragma once

#include "dsp/LevelMeterProcessor.h"
#include "state/DeckState.h"
#include "ui/TimerRelayListener.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <array>
#include <atomic>
#include <functional>

namespace Marlode
{

//==============================================================================
/**
    A deck's two-bar level meter: sample peak, true peak, RMS, RMS with peak, LUFS or LUFS with
    true peak, with a peak mark, hold, a clip bar and a numeric box above each bar. The scale is
    rendered once per resize; each 30 Hz tick only moves rectangles and changes texts.

    The measuring is the deck engine's `processor`, on the audio thread; everything here runs
    on the message thread.
*/
class LevelMeter : public juce::Component,
                   public TimerRelayListener
{
public:
    /** Shows what `processorToShow` measures. `deckIsPlaying` asks the deck's play state; a meter
        of a deck at rest falls to its floor. */
    LevelMeter (const juce::String& meterName, LevelMeterProcessor& processorToShow, std::function<bool()> deckIsPlaying);
    ~LevelMeter() override;

    void reset();

    //==============================================================================
    /** The meter's title: its type's name, and for the LUFS types the LUFS type's behind it. */
    [[nodiscard]] juce::String getSelectedTypeName() const;

    /** Changes the type and redraws the scale for it. */
    void setMeterType (int type);

    /** The saved settings of the meter's side: "in_" fields for the meter named "in", "out_"
        for any other. Both meters take the same state; a stored type that isn't one shows peaks. */
    void getState (DeckState&) const;
    void setState (const DeckState&);

    //==============================================================================
    void timerRelayCallback() override;
    void resized() override;
    void paint (juce::Graphics&) override;
    void mouseDown (const juce::MouseEvent&) override;

    /** The text a displayed value reads as: a tenth of a dB, or "-∞" at and below the floor. */
    static juce::String valueText (float dB);

    /** The tick values of the scale in the present type, top to bottom. */
    [[nodiscard]] std::vector<int> getTickValues() const;

    [[nodiscard]] juce::String getPeakText (int channel) const;
    [[nodiscard]] bool isClipBarVisible (int channel) const { return clipBars[(size_t) channel].isVisible(); }
    [[nodiscard]] bool isPeakMarkVisible (int channel) const { return peakMarks[(size_t) channel].isVisible(); }
    [[nodiscard]] juce::Colour getPeakMarkColour (int channel) const;
    [[nodiscard]] juce::Rectangle<int> getTextBoxBounds (int channel) const { return textBoxes[(size_t) channel]; }

    // The deck's engine owns it and runs it on the audio thread.
    LevelMeterProcessor& processor;

    // Settings the panel writes directly (message thread).
    bool maxPeakHold = false;
    bool clipHold = false;
    bool clipped = false;
    bool meterEnabled = true;
    int lufsReference = -14;

    const juce::String name;

    /** The frame around the meter; a click opens its settings. Its owner listens to it. */
    juce::TextButton surround;

    static const juce::StringArray typeNames, lufsTypeNames;

private:
    void renderBackground();
    float yForDb (float dB) const noexcept;

    std::function<bool()> deckPlaying;
    juce::Image background;
    std::array<juce::DrawableRectangle, 2> bars, peakMarks, clipBars;
    std::array<juce::Label, 2> peakTexts;
    std::array<juce::Rectangle<int>, 2> textBoxes, barAreas;
    juce::Rectangle<int> scaleArea;
    float pixelsPerDb = 1.0f;
    int barHeight = 0;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (LevelMeter)
};

} // namespace Marlode
