#pragma once

#include "deck/MainComponent.h"
#include "dsp/StreamingPreview.h"

#include <juce_gui_basics/juce_gui_basics.h>

namespace Marlode
{

//==============================================================================
/**
    The master section's listening aids for comparing: "Match" plays every deck at the level of
    the quietest loaded track, and "Preview at" plays the current track as a streaming service
    normalising to that loudness would ("Allow boost" lets it raise a quiet one, guarded by the
    preview's true-peak limiter). Both off leave the decks and the master as they are.

    Loudness comes from the playlists' analysis; a loaded track not yet analysed is measured in
    the background while a tool is on. Message thread.
*/
class ComparisonComponent : public juce::Component
{
public:
    explicit ComparisonComponent (StreamingPreview&);

    /** Brings the decks' match gains and the preview's loudness up to date, and returns for each
        deck the text beside its tab: its gain while Match is on, "..." while its track is being
        measured, empty otherwise. */
    juce::StringArray update (const juce::OwnedArray<MainComponent>& decks, const MainComponent* current);

    [[nodiscard]] bool isMatchOn() const { return matchButton.getToggleState(); }

    /** Whether either aid is on, so update() has work to do each tick. */
    [[nodiscard]] bool isActive() const { return isMatchOn() || preview.isOn(); }

    /** "−2.3 dB": one decimal, with a true minus sign. */
    [[nodiscard]] static juce::String gainText (double dB);

    /** The preview levels by the box's item ids, 1 being "Off" (NaN). */
    [[nodiscard]] static double previewTargetFor (int itemId);

    /** As extra attributes of the session's root, which readers that don't know them pass by. */
    void getState (juce::XmlElement& session) const;
    void setState (const juce::XmlElement& session);

    /** A control changed. */
    std::function<void()> onChange;

    juce::ToggleButton matchButton { "Match" }, boostButton { "Allow boost" };
    juce::TextButton blindTestButton { "Blind test" };
    juce::Label previewLabel { {}, "Preview at" }, previewGainLabel;
    juce::ComboBox previewBox;

    void resized() override;

private:
    void previewChosen();

    StreamingPreview& preview;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (ComparisonComponent)
};

} // namespace Marlode
