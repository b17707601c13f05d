#include "dsp/panels/LimiterComponent.h"
#include "ui/Palette.h"

namespace Marlode
{

namespace
{
    constexpr int margin = 10, rowHeight = 25, rowGap = 6, labelWidth = 70;
    constexpr float dimmedAlpha = 0.25f;

    void setUp (Slider::HorizontalSlider& slider, double min, double max, double step, double value, const juce::String& suffix,
                int decimals, std::function<void (double)> changed)
    {
        slider.setRange (min, max, step);
        slider.setValue (value, juce::dontSendNotification);
        slider.setDoubleClickReturnValue (true, value);
        slider.setTextValueSuffix (" " + suffix);
        slider.textFromValueFunction = [decimals, suffix] (double v) { return juce::String (v, decimals) + " " + suffix; };
        slider.onValueChange = [&slider, changed = std::move (changed)] { changed (slider.getValue()); };
    }
}

LimiterComponent::LimiterComponent (std::function<bool()> deckIsPlaying) : deckPlaying (std::move (deckIsPlaying))
{
    const auto maxDb = (double) LimiterProcessor::maxReductionDb;
    setUp (inputSlider, -maxDb, maxDb, 0.1, 0.0, "dB", 1, [this] (double v) { limiter.setInputDb (v); });
    setUp (thresholdSlider, -maxDb, 0.0, 0.1, 0.0, "dB", 1, [this] (double v) { limiter.setThresholdDb (v); });
    setUp (releaseSlider, 1.0, 1000.0, 1.0, limiter.limiter.getReleaseMs(), "ms", 0,
           [this] (double v) { limiter.setReleaseMs (v); });
    setUp (outputSlider, -maxDb, 0.0, 0.1, 0.0, "dB", 1, [this] (double v) { limiter.setOutputDb (v); });

    onButton.setToggleState (limiter.isLimiterOn(), juce::dontSendNotification);
    onButton.onClick = [this] { switchedOnOrOff(); };
    addAndMakeVisible (onButton);

    for (auto* c : dimmableControls())
        addAndMakeVisible (c);

    mask.setFill (sliderBackColour);
    mask.setInterceptsMouseClicks (false, false);
    addAndMakeVisible (mask);

    switchedOnOrOff();
    setSize (300, 250);
}

LimiterComponent::~LimiterComponent() = default;

//==============================================================================
std::array<juce::Component*, 8> LimiterComponent::dimmableControls()
{
    return { &inputLabel,  &thresholdLabel,  &releaseLabel,  &outputLabel,
             &inputSlider, &thresholdSlider, &releaseSlider, &outputSlider };
}

void LimiterComponent::getState (DeckState& s) const
{
    s.limiterOn = onButton.getToggleState();
    s.limiterInput = inputSlider.getValue();
    s.limiterThreshold = thresholdSlider.getValue();
    s.limiterRelease = releaseSlider.getValue();
    s.limiterOutput = outputSlider.getValue();
}

void LimiterComponent::setState (const DeckState& s)
{
    onButton.setToggleState (s.limiterOn, juce::sendNotificationSync);
    inputSlider.setValue (s.limiterInput, juce::sendNotificationSync);
    thresholdSlider.setValue (s.limiterThreshold, juce::sendNotificationSync);
    releaseSlider.setValue (s.limiterRelease, juce::sendNotificationSync);
    outputSlider.setValue (s.limiterOutput, juce::sendNotificationSync);
}

void LimiterComponent::switchedOnOrOff()
{
    const auto on = onButton.getToggleState();
    limiter.setLimiterOn (on);

    for (auto* c : dimmableControls())
        c->setAlpha (on ? 1.0f : dimmedAlpha);

    repaint();
}

juce::Colour LimiterComponent::getBarColour() const
{
    return meterBarColour.withAlpha (onButton.getToggleState() ? 1.0f : dimmedAlpha);
}

void LimiterComponent::showReduction (float dB)
{
    // The mask hides the bar from the right, so the colour shows from the left as reduction grows.
    const auto width = (float) bar.getWidth() * (LimiterProcessor::maxReductionDb - dB) / LimiterProcessor::maxReductionDb;
    mask.setRectangle (
        juce::Rectangle<float> ((float) bar.getRight() - width, (float) bar.getY(), width, (float) bar.getHeight()));
}

juce::Rectangle<float> LimiterComponent::getMaskBounds() const
{
    return mask.getRectangle().getBoundingBox();
}

void LimiterComponent::timerRelayCallback()
{
    if (! deckPlaying() || ! limiter.isLimiterOn())
    {
        if (limiter.getReductionDb() > 0.0f)
        {
            limiter.clearReduction();
            showReduction (0.0f);
        }
        return;
    }

    if (limiter.takeUpdate())
        showReduction (limiter.getReductionDb());
}

//==============================================================================
void LimiterComponent::resized()
{
    auto area = getLocalBounds().reduced (margin);
    onButton.setBounds (area.removeFromTop (rowHeight).withWidth (100));

    const std::pair<juce::Label*, juce::Slider*> rows[] = { { &inputLabel, &inputSlider },
                                                            { &thresholdLabel, &thresholdSlider },
                                                            { &releaseLabel, &releaseSlider },
                                                            { &outputLabel, &outputSlider } };
    for (auto [label, slider] : rows)
    {
        area.removeFromTop (rowGap);
        auto row = area.removeFromTop (rowHeight);
        label->setBounds (row.removeFromLeft (labelWidth));
        slider->setBounds (row);
    }

    area.removeFromTop (rowGap);
    barTitle = area.removeFromTop (18);
    bar = area.removeFromTop (20).reduced (18, 0);
    showReduction (limiter.getReductionDb());
}

void LimiterComponent::paint (juce::Graphics& g)
{
    g.fillAll (backgroundColour);

    g.setColour (textColour);
    g.setFont (13.0f);
    g.drawText ("Gain Reduction dB:", barTitle, juce::Justification::centredLeft, false);
    g.drawText ("0", bar.withX (bar.getX() - 18).withWidth (16), juce::Justification::centredRight, false);
    g.drawText (juce::String (juce::roundToInt (LimiterProcessor::maxReductionDb)), bar.withX (bar.getRight() + 2).withWidth (16),
                juce::Justification::centredLeft, false);

    g.setColour (getBarColour());
    g.fillRect (bar);
}

} // namespace Marlode
