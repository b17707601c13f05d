#pragma once

#include "state/EQBandValues.h"

#include <juce_core/juce_core.h>

#include <optional>

namespace Marlode
{

//==============================================================================
/**
    One deck's saved values on their way between its components and the session file's
    DECK_STATE_<n> element, in the element's order. Each owning component fills its part with
    getState and takes it back with setState; the equaliser's part also carries the master's
    MASTER_EQ_AND_SPECTRUM.

    Values read from a file are as stored, except that a number that is not finite reads as the
    missing value: the owners clamp ranges when they apply them. Message thread.
*/
struct DeckState
{
    double windowRatio = 0.0;
    int playlistCentreLine = 0;

    bool inMaxPeakHold = false, outMaxPeakHold = false;
    bool inClipHold = false, outClipHold = false;
    double inSmoothedLevelDecayTime = 0.0, outSmoothedLevelDecayTime = 0.0; // seconds
    double inSmoothedPeakDecayTime = 0.0, outSmoothedPeakDecayTime = 0.0;   // seconds
    int inMeterTypeSelection = 0, outMeterTypeSelection = 0;
    int inLufsMeterTypeSelection = 0, outLufsMeterTypeSelection = 0;

    bool autoPlay = false, playNext = false;
    bool spectrumOn = false;
    int spectrumSpeed = 0;

    // EQ_SETTINGS; a deck read without it keeps its equaliser as it is.
    bool hasEQSettings = false;
    bool eqBypass = false;
    double eqGain = 1.0; // linear
    double eqPan = 0.0;  // the pan control's -90 to 90
    juce::Array<EQBandValues> bands;

    // FX_WINDOW; a deck read without it keeps its effects as they are.
    bool hasFXWindow = false;
    bool isLandscape = false;
    bool timeStretchOn = false;
    int timeButtonID = 0;
    double speedSlider = 0.0, semiTonesSlider = 0.0, centsSlider = 0.0;
    bool variSpeedOn = false;
    double variSpeedSlider = 0.0;
    double timeRatio = 0.0, pitchScale = 0.0, varispeedTimeRatio = 0.0, varispeedPitchScale = 0.0;
    bool monoOn = false, xOver = false;
    double xOverFreq = 0.0; // Hz
    bool soloHigh = false, soloLow = false, midSide = false, midSolo = false, sideSolo = false;
    double midGain = 0.0, sideGain = 0.0; // linear
    bool limiterOn = false;
    double limiterInput = 0.0, limiterThreshold = 0.0, limiterRelease = 0.0, limiterOutput = 0.0; // dB, dB, ms, dB
    int pitch = 0, formant = 0, phase = 0, transients = 0, detector = 0;

    // TABLELAYOUT as the header's text (empty: none), and the PLAYLIST_DATA it carries.
    juce::String tableLayout;
    std::optional<juce::XmlElement> playlist;

    // ANALYSE_WINDOW_SETTINGS: attribute name to shown, in the options' order; read only when present.
    bool hasAnalyseSettings = false;
    juce::NamedValueSet analyseViews;

    //==============================================================================
    /** DECK_STATE_<index> with every attribute and child in the file's order. */
    [[nodiscard]] std::unique_ptr<juce::XmlElement> createXml (int index) const;

    /** A deck's element as stored; a missing attribute reads as 0, 0.0 or false. */
    [[nodiscard]] static DeckState fromXml (const juce::XmlElement& deck);

    /** The master's MASTER_EQ_AND_SPECTRUM from the equaliser's part. */
    [[nodiscard]] std::unique_ptr<juce::XmlElement> createMasterEQXml() const;

    /** The equaliser's part from MASTER_EQ_AND_SPECTRUM, with the master's defaults. */
    [[nodiscard]] static DeckState fromMasterEQXml (const juce::XmlElement& master);
};

} // namespace Marlode
