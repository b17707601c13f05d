#pragma once

#include "playlist/AnalyseOptionsComponent.h"
#include "playlist/AnalyseTextBox.h"

namespace Marlode::Analyse
{

//==============================================================================
/**
    The panel beside the playlist: the "Analyse" and "Options" buttons over the results of the
    selected rows, one track's values or several tracks' totals. Message thread.
*/
class Component : public juce::Component,
                  public juce::ActionListener
{
public:
    explicit Component (OptionsComponent&);
    ~Component() override;

    /** Shows the selection's results: a status text while any row is unmeasured or none is
        selected, else one row's values or the totals. "Analyse" is enabled only while some
        selected row is unmeasured. */
    void showResults (const juce::Array<const PlaylistRow*>& rows);

    /** Several rows in one: mean loudness and RMS (in dB), largest peaks, with the peaks'
        running maximum starting at 0 dB. Nothing else is filled. */
    [[nodiscard]] static PlaylistRow totalsOf (const juce::Array<const PlaylistRow*>& rows);

    void actionListenerCallback (const juce::String& message) override;
    void paint (juce::Graphics&) override;
    void resized() override;

    juce::TextButton analyseButton { "Analyse" }, optionsButton { "Options" };
    juce::Viewport viewport;
    TextBox textBox;

    static constexpr const char* notAllAnalysed = "Not all tracks in selection analysed";
    static constexpr const char* noTrackSelected = "No Track selected";
    static constexpr const char* totalsTitle = "Totals for selection";

private:
    void layOutText();

    OptionsComponent& options;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (Component)
};

} // namespace Marlode::Analyse
