#include "dsp/panels/LevelMeter.h"
#include "ui/Palette.h"

#include <cmath>
#include <tuple>

namespace Marlode
{

namespace
{
    constexpr int titleHeight = 18;
    constexpr int textBoxHeight = 20;
    const juce::String infinity = juce::String ("-") + juce::String (juce::CharPointer_UTF8 ("\xe2\x88\x9e"));
}

const juce::StringArray LevelMeter::typeNames { "PEAK", "TRUE PEAK", "RMS", "RMS/PK", "LUFS", "LUFS/TP" };
const juce::StringArray LevelMeter::lufsTypeNames { "Momentary", "Short Term", "Intergrated" };

LevelMeter::LevelMeter (const juce::String& meterName, LevelMeterProcessor& processorToShow, std::function<bool()> deckIsPlaying)
    : processor (processorToShow), name (meterName), deckPlaying (std::move (deckIsPlaying))
{
    surround.setWantsKeyboardFocus (false);
    surround.setMouseClickGrabsKeyboardFocus (false);
    addAndMakeVisible (surround);

    for (size_t ch = 0; ch < 2; ++ch)
    {
        bars[ch].setFill (meterBarColour);
        peakMarks[ch].setFill (onColour);
        clipBars[ch].setFill (offColour);
        addAndMakeVisible (bars[ch]);
        addChildComponent (peakMarks[ch]);
        addChildComponent (clipBars[ch]);

        auto& text = peakTexts[ch];
        text.setJustificationType (juce::Justification::centred);
        text.setFont (juce::Font (12.0f));
        text.setInterceptsMouseClicks (false, false);
        text.setText (infinity, juce::dontSendNotification);
        addAndMakeVisible (text);
    }

    surround.setButtonText (getSelectedTypeName());
}

LevelMeter::~LevelMeter() = default;

//==============================================================================
juce::String LevelMeter::getSelectedTypeName() const
{
    const auto type = processor.meterType.load();

    if (type < 1 || type > typeNames.size())
        return {};

    auto text = typeNames[type - 1];

    if (type == LevelMeterProcessor::lufs || type == LevelMeterProcessor::lufsAndTruePeak)
        text += lufsTypeNames[juce::jlimit (1, 3, processor.lufsMeterType.load()) - 1];

    return text;
}

void LevelMeter::setMeterType (int type)
{
    processor.meterType.store (type);
    surround.setButtonText (getSelectedTypeName());
    resized();
    repaint();
}

namespace
{
    // One side's fields of the deck's state, so that both directions name them once.
    template <typename State>
    auto sideOf (State& s, bool input)
    {
        return std::tie (input ? s.inMaxPeakHold : s.outMaxPeakHold, input ? s.inClipHold : s.outClipHold,
                         input ? s.inSmoothedLevelDecayTime : s.outSmoothedLevelDecayTime,
                         input ? s.inSmoothedPeakDecayTime : s.outSmoothedPeakDecayTime,
                         input ? s.inMeterTypeSelection : s.outMeterTypeSelection,
                         input ? s.inLufsMeterTypeSelection : s.outLufsMeterTypeSelection);
    }
}

void LevelMeter::getState (DeckState& state) const
{
    sideOf (state, name == "in") =
        std::make_tuple (maxPeakHold, clipHold, processor.smoothedLevelDecayTime.load(), processor.smoothedPeakDecayTime.load(),
                         processor.meterType.load(), processor.lufsMeterType.load());
}

void LevelMeter::setState (const DeckState& state)
{
    const auto [peakHold, clip, levelDecay, peakDecay, type, lufsType] = sideOf (state, name == "in");
    maxPeakHold = peakHold;
    clipHold = clip;
    const auto known = [] (int id, int last) { return id >= 1 && id <= last ? id : 1; };
    processor.lufsMeterType.store (known (lufsType, LevelMeterProcessor::integrated));
    processor.setDecayTimes (levelDecay, peakDecay);
    setMeterType (known (type, LevelMeterProcessor::lufsAndTruePeak));
}

void LevelMeter::reset()
{
    clipped = false;
    processor.reset();

    for (size_t ch = 0; ch < 2; ++ch)
    {
        clipBars[ch].setVisible (false);
        peakMarks[ch].setVisible (false);
        peakTexts[ch].setText (infinity, juce::dontSendNotification);
    }
}

//==============================================================================
juce::String LevelMeter::valueText (float dB)
{
    if (! (dB > LevelMeterProcessor::floorDb))
        return infinity;

    const auto tenths = std::nearbyint (10.0f * dB + 1.5e-8f);
    return juce::String (tenths / 10.0f);
}

juce::String LevelMeter::getPeakText (int channel) const
{
    return peakTexts[(size_t) juce::jlimit (0, 1, channel)].getText();
}

juce::Colour LevelMeter::getPeakMarkColour (int channel) const
{
    return peakMarks[(size_t) juce::jlimit (0, 1, channel)].getFill().colour;
}

float LevelMeter::yForDb (float dB) const noexcept
{
    return (float) barAreas[0].getY() + (float) barHeight - (dB + LevelMeterProcessor::rangeDb) * pixelsPerDb;
}

std::vector<int> LevelMeter::getTickValues() const
{
    if (processor.meterType.load() != LevelMeterProcessor::lufs)
        return { -6, -12, -18, -24, -30, -36, -42, -48, -54, -60 };

    // Every 6 dB through the reference, from the highest such value that fits under -8.
    auto start = lufsReference;
    if (lufsReference < -8)
        start = lufsReference + 6 * (int) std::ceil ((-8.0 - lufsReference) / 6.0);

    std::vector<int> ticks;
    for (int v = start; v >= -70; v -= 6)
    {
        ticks.push_back (v);
        if (v < -58)
            break;
    }
    return ticks;
}

//==============================================================================
void LevelMeter::resized()
{
    const auto w = getWidth(), h = getHeight();
    surround.setBounds (0, 0, w, titleHeight);

    const auto working = juce::jmax (0, w - 12);
    const auto barWidth = juce::roundToInt ((float) working * 0.36f);
    const auto top = titleHeight + 2 + textBoxHeight + 10;
    barHeight = juce::jmax (1, h - top - 14);
    pixelsPerDb = (float) barHeight / LevelMeterProcessor::rangeDb;

    barAreas[0] = { 6, top, barWidth, barHeight };
    barAreas[1] = { 6 + working - barWidth, top, barWidth, barHeight };
    scaleArea = { barAreas[0].getRight(), top, barAreas[1].getX() - barAreas[0].getRight(), barHeight };

    for (size_t ch = 0; ch < 2; ++ch)
    {
        textBoxes[ch] = { barAreas[ch].getX() - 4, titleHeight + 2, barWidth + 8, textBoxHeight };
        peakTexts[ch].setBounds (textBoxes[ch]);
        clipBars[ch].setRectangle (barAreas[ch].withHeight (4).toFloat());
    }

    renderBackground();
}

void LevelMeter::renderBackground()
{
    background = juce::Image (juce::Image::ARGB, juce::jmax (1, getWidth()), juce::jmax (1, getHeight()), true);
    juce::Graphics g (background);
    g.fillAll (backgroundColour);

    const auto type = processor.meterType.load();
    const auto bottom = (float) (barAreas[0].getBottom());

    for (const auto& area : barAreas)
    {
        g.setColour (sliderBackColour);
        g.fillRect (area);

        // Three regions: safe, loud (from -12) and hot (from -6); in LUFS, at and above the reference.
        if (type == LevelMeterProcessor::lufs)
        {
            g.setColour (scaleAboveReferenceColour);
            g.fillRect (juce::Rectangle<float> ((float) area.getX(), (float) area.getY(), (float) area.getWidth(),
                                                yForDb ((float) lufsReference) - (float) area.getY()));
        }
        else
        {
            g.setColour (scaleCautionColour);
            g.fillRect (
                juce::Rectangle<float> ((float) area.getX(), yForDb (-6.0f), (float) area.getWidth(), 6.0f * pixelsPerDb));
            g.setColour (scaleWarningColour);
            g.fillRect (juce::Rectangle<float> ((float) area.getX(), yForDb (0.0f), (float) area.getWidth(), 6.0f * pixelsPerDb));
        }

        g.setColour (midGreyColour);
        g.drawRect (area.expanded (1), 1);
    }

    g.setFont (10.0f);

    for (auto tick : getTickValues())
    {
        const auto y = yForDb ((float) tick);
        g.setColour (juce::Colours::white.withAlpha (0.5f));
        g.drawHorizontalLine ((int) y, (float) barAreas[0].getX(), (float) barAreas[1].getRight());
        g.setColour (juce::Colours::white);
        g.drawText (juce::String (tick), scaleArea.withY ((int) y - 6).withHeight (12), juce::Justification::centred);
    }

    if (type != LevelMeterProcessor::lufs)
    {
        g.drawText ("0", scaleArea.withY (scaleArea.getY() - 12).withHeight (12), juce::Justification::centred);
        g.drawText (infinity, scaleArea.withY ((int) bottom).withHeight (12), juce::Justification::centred);
    }
}

void LevelMeter::paint (juce::Graphics& g)
{
    g.drawImageAt (background, 0, 0);
}

void LevelMeter::mouseDown (const juce::MouseEvent& e)
{
    for (const auto& box : textBoxes)
        if (box.contains (e.getPosition()))
        {
            reset();
            return;
        }
}

//==============================================================================
void LevelMeter::timerRelayCallback()
{
    processor.fallWhenIdle (deckPlaying != nullptr && deckPlaying());

    const auto type = processor.meterType.load();
    const auto decaysEqual =
        juce::approximatelyEqual (processor.smoothedLevelDecayTime.load(), processor.smoothedPeakDecayTime.load());

    for (size_t ch = 0; ch < 2; ++ch)
    {
        const auto& shown = processor.display ((int) ch);
        const auto level = shown.level.load (std::memory_order_relaxed);
        const auto area = barAreas[ch].toFloat();
        const auto barTop = juce::jlimit (area.getY(), area.getBottom(), yForDb (level));
        bars[ch].setRectangle (juce::Rectangle<float> (area.getX(), barTop, area.getWidth(), area.getBottom() - barTop));

        const auto v = type == LevelMeterProcessor::lufs ? level
                       : maxPeakHold                     ? shown.maxHold.load (std::memory_order_relaxed)
                                                         : shown.peak.load (std::memory_order_relaxed);

        if (v >= 0.0f)
        {
            clipped = true;
            peakMarks[ch].setVisible (false);
        }
        else
        {
            clipBars[ch].setVisible (false);

            if (type == LevelMeterProcessor::lufs || decaysEqual)
            {
                peakMarks[ch].setVisible (false);
            }
            else
            {
                auto colour = blackColour;
                if (type == LevelMeterProcessor::lufsAndTruePeak)
                    colour = juce::Colours::white;
                else if (v < -12.0f)
                    colour = onColour;
                else if (v >= -12.0f && v < -6.0f)
                    colour = cautionColour;
                else if (v >= -6.0f && v < 0.0f)
                    colour = warningColour;

                peakMarks[ch].setFill (colour);
                peakMarks[ch].setRectangle (
                    juce::Rectangle<float> (area.getX(), (float) (int) yForDb (v), area.getWidth(), 1.0f));
                peakMarks[ch].setVisible (v > LevelMeterProcessor::floorDb);
            }
        }

        clipBars[ch].setVisible (v >= 0.0f || (clipHold && clipped));

        const auto text = valueText (v);
        if (text != peakTexts[ch].getText())
            peakTexts[ch].setText (text, juce::dontSendNotification);
    }
}

} // namespace Marlode
