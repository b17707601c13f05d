#include "playlist/AnalyseComponent.h"
#include "ui/Palette.h"

namespace Marlode::Analyse
{

namespace
{
    constexpr int buttonRowHeight = 25, buttonWidth = 150, gap = 5;
    constexpr float cornerSize = 7.0f;
}

Component::Component (OptionsComponent& optionsToUse) : textBox (optionsToUse.items), options (optionsToUse)
{
    addAndMakeVisible (analyseButton);
    addAndMakeVisible (optionsButton);
    addAndMakeVisible (viewport);
    viewport.setViewedComponent (&textBox, false);
    viewport.setScrollBarsShown (true, false);
    analyseButton.setEnabled (false);

    optionsButton.onClick = [this]
    {
        // Over the whole window, like every popup.
        auto* host = getTopLevelComponent();
        if (host != this && options.getParentComponent() != host)
            host->addChildComponent (options);
        options.show();
    };

    options.addActionListener (this);
    textBox.showStatus (noTrackSelected);
}

Component::~Component()
{
    options.removeActionListener (this);
}

PlaylistRow Component::totalsOf (const juce::Array<const PlaylistRow*>& rows)
{
    PlaylistRow totals;
    const auto count = (double) juce::jmax (1, rows.size());
    double lufs = 0.0, rmsStereo = 0.0, rmsLeft = 0.0, rmsRight = 0.0;
    float truePeak = 0.0f;
    double peakLeft = 0.0, peakRight = 0.0;

    for (auto* r : rows)
    {
        lufs += r->lufs;
        rmsStereo += r->rmsStereo;
        rmsLeft += r->rmsLeft;
        rmsRight += r->rmsRight;
        truePeak = juce::jmax (truePeak, r->truePeakMax);
        peakLeft = juce::jmax (peakLeft, r->peakLeft);
        peakRight = juce::jmax (peakRight, r->peakRight);
    }

    totals.lufs = (float) (lufs / count);
    totals.truePeakMax = truePeak;
    totals.rmsStereo = rmsStereo / count;
    totals.rmsLeft = rmsLeft / count;
    totals.rmsRight = rmsRight / count;
    totals.peakLeft = peakLeft;
    totals.peakRight = peakRight;
    return totals;
}

void Component::showResults (const juce::Array<const PlaylistRow*>& rows)
{
    const auto unmeasured = std::count_if (rows.begin(), rows.end(), [] (const PlaylistRow* r) { return ! r->isAnalysed; });
    analyseButton.setEnabled (unmeasured > 0);

    if (unmeasured > 0)
        textBox.showStatus (notAllAnalysed);
    else if (rows.isEmpty())
        textBox.showStatus (noTrackSelected);
    else if (rows.size() == 1)
        textBox.showRow (*rows.getFirst(), rows.getFirst()->fileName, false);
    else
        textBox.showRow (totalsOf (rows), totalsTitle, true);
}

void Component::actionListenerCallback (const juce::String& message)
{
    if (message == OptionsComponent::changedMessage)
        layOutText();
}

void Component::layOutText()
{
    textBox.layOut (viewport.getMaximumVisibleWidth());
    textBox.repaint();
}

//==============================================================================
void Component::paint (juce::Graphics& g)
{
    const auto area = viewport.getBounds().toFloat();
    g.setColour (sliderBackColour);
    g.fillRoundedRectangle (area, cornerSize);
    g.setColour (midGreyColour);
    g.drawRoundedRectangle (area, cornerSize, 1.0f);
}

void Component::resized()
{
    auto area = getLocalBounds();
    analyseButton.setBounds (area.removeFromTop (buttonRowHeight).withSizeKeepingCentre (buttonWidth, buttonRowHeight));
    optionsButton.setBounds (area.removeFromTop (buttonRowHeight).withSizeKeepingCentre (buttonWidth, buttonRowHeight));
    viewport.setBounds (area.withTrimmedTop (gap));
    layOutText();
}

} // namespace Marlode::Analyse
