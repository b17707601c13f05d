#include "app/ComparisonComponent.h"
#include "dsp/LoudnessMatch.h"
#include "ui/Palette.h"

#include <array>
#include <cmath>

namespace Marlode
{

namespace
{
    // The box's levels in LUFS, item id = index + 1; the first is "Off".
    const std::array<double, 4> previewLevels { std::nan (""), -14.0, -16.0, -23.0 };

    const juce::Identifier matchKey ("match"), previewKey ("preview_lufs"), boostKey ("preview_allow_boost");

    // A true minus sign, as the level texts are set.
    juce::String signedText (double value, int decimals)
    {
        const auto magnitude = juce::String (std::abs (value), decimals);
        return value < 0.0 ? juce::String (juce::CharPointer_UTF8 ("\xe2\x88\x92")) + magnitude : magnitude;
    }
}

ComparisonComponent::ComparisonComponent (StreamingPreview& previewToUse) : preview (previewToUse)
{
    for (size_t i = 0; i < previewLevels.size(); ++i)
        previewBox.addItem (i == 0 ? juce::String ("Off") : signedText (previewLevels[i], 0) + " LUFS", (int) i + 1);
    previewBox.setSelectedId (1, juce::dontSendNotification);
    previewBox.onChange = [this] { previewChosen(); };

    matchButton.onClick = [this]
    {
        if (onChange != nullptr)
            onChange();
    };
    boostButton.onClick = [this] { previewChosen(); };

    previewLabel.setJustificationType (juce::Justification::centredRight);
    previewGainLabel.setColour (juce::Label::textColourId, textColour);

    for (auto* c : std::initializer_list<juce::Component*> { &matchButton, &boostButton, &previewLabel, &previewBox,
                                                             &previewGainLabel, &blindTestButton })
    {
        c->setWantsKeyboardFocus (false);
        c->setMouseClickGrabsKeyboardFocus (false);
        addAndMakeVisible (c);
    }
}

juce::String ComparisonComponent::gainText (double dB)
{
    // Rounded first, so that -0.04 dB reads "0.0 dB" rather than a minus zero.
    return signedText (std::round (dB * 10.0) / 10.0, 1) + " dB";
}

double ComparisonComponent::previewTargetFor (int itemId)
{
    return juce::isPositiveAndBelow (itemId - 1, (int) previewLevels.size()) ? previewLevels[(size_t) (itemId - 1)]
                                                                             : std::nan ("");
}

void ComparisonComponent::previewChosen()
{
    preview.setTarget (previewTargetFor (previewBox.getSelectedId()));
    preview.setAllowBoost (boostButton.getToggleState());

    if (onChange != nullptr)
        onChange();
}

juce::StringArray ComparisonComponent::update (const juce::OwnedArray<MainComponent>& decks, const MainComponent* current)
{
    const bool match = isMatchOn();
    std::vector<double> loudness;

    for (auto* deck : decks)
    {
        const bool loaded = deck->trackDeck.hasTrack();
        loudness.push_back (loaded ? deck->playlist.getLoadedLoudness() : std::nan (""));

        if (loaded && (match || (preview.isOn() && deck == current)))
            deck->playlist.analyseLoadedRowInBackground();
    }

    const auto gains = LoudnessMatch::gainsDb (loudness);
    juce::StringArray texts;

    for (int i = 0; i < decks.size(); ++i)
    {
        auto* deck = decks[i];
        const auto gainDb = match ? gains[(size_t) i] : 0.0;
        deck->engine.matchGain.store (juce::Decibels::decibelsToGain ((float) gainDb), std::memory_order_relaxed);

        const bool measuring = deck->trackDeck.hasTrack() && std::isnan (loudness[(size_t) i]);
        texts.add (! match ? juce::String() : measuring ? juce::String ("...") : gainText (gainDb));

        // The preview hears the current deck as the match left it.
        if (deck == current)
            preview.setTrackLoudness (loudness[(size_t) i] + gainDb);
    }

    if (current == nullptr)
        preview.setTrackLoudness (std::nan (""));

    previewGainLabel.setText (preview.isOn() ? gainText (preview.getGainDb()) : juce::String(), juce::dontSendNotification);
    return texts;
}

void ComparisonComponent::getState (juce::XmlElement& session) const
{
    session.setAttribute (matchKey, isMatchOn());
    const auto target = previewTargetFor (previewBox.getSelectedId());
    session.setAttribute (previewKey, std::isnan (target) ? 0.0 : target);
    session.setAttribute (boostKey, boostButton.getToggleState());
}

void ComparisonComponent::setState (const juce::XmlElement& session)
{
    matchButton.setToggleState (session.getBoolAttribute (matchKey, false), juce::dontSendNotification);
    boostButton.setToggleState (session.getBoolAttribute (boostKey, false), juce::dontSendNotification);

    // Only a level the box offers; anything else is off.
    const auto stored = session.getDoubleAttribute (previewKey, 0.0);
    auto id = 1;
    for (size_t i = 1; i < previewLevels.size(); ++i)
        if (previewLevels[i] == stored)
            id = (int) i + 1;

    previewBox.setSelectedId (id, juce::dontSendNotification);
    previewChosen();
}

void ComparisonComponent::resized()
{
    auto area = getLocalBounds();
    auto top = area.removeFromTop (area.getHeight() / 2);
    matchButton.setBounds (top.removeFromLeft (70));
    previewBox.setBounds (top.removeFromRight (100).reduced (0, 1));
    previewLabel.setBounds (top);
    boostButton.setBounds (area.removeFromLeft (100));
    blindTestButton.setBounds (area.removeFromRight (80).reduced (0, 1));
    previewGainLabel.setBounds (area);
}

} // namespace Marlode
