#include "state/DeckState.h"
#include "state/SafeXml.h"

#include <cmath>
#include <type_traits>
#include <variant>

namespace Marlode
{

namespace
{
    const juce::Identifier eqSettingsTag ("EQ_SETTINGS"), fxWindowTag ("FX_WINDOW"), tableLayoutTag ("TABLELAYOUT"),
        playlistTag ("PLAYLIST_DATA"), analyseTag ("ANALYSE_WINDOW_SETTINGS"), numBandsKey ("num_bands");

    /** One attribute of the file: its name, the member that holds it, and what a file without
        it reads as. Each element's table lists its attributes in the file's order. */
    template <typename Record>
    struct Attribute
    {
        const char* name;
        std::variant<bool Record::*, int Record::*, double Record::*> member;
        double whenMissing = 0.0;
    };

    template <typename Record>
    using AttributesOf = std::initializer_list<Attribute<Record>>;
    using Attributes = AttributesOf<DeckState>;

    const Attributes deckAttributes {
        { "window_ratio", &DeckState::windowRatio },
        { "playlist_centre_line", &DeckState::playlistCentreLine },
        { "in_maxPeakHold", &DeckState::inMaxPeakHold },
        { "out_maxPeakHold", &DeckState::outMaxPeakHold },
        { "in_clipHold", &DeckState::inClipHold },
        { "out_clipHold", &DeckState::outClipHold },
        { "in_smoothedLevelDecayTime", &DeckState::inSmoothedLevelDecayTime },
        { "out_smoothedLevelDecayTime", &DeckState::outSmoothedLevelDecayTime },
        { "in_smoothedPeakDecayTime", &DeckState::inSmoothedPeakDecayTime },
        { "out_smoothedPeakDecayTime", &DeckState::outSmoothedPeakDecayTime },
        { "in_meterTypeSelection", &DeckState::inMeterTypeSelection },
        { "out_meterTypeSelection", &DeckState::outMeterTypeSelection },
        { "in_lufsMeterTypeSelection", &DeckState::inLufsMeterTypeSelection },
        { "out_lufsMeterTypeSelection", &DeckState::outLufsMeterTypeSelection },
        { "auto_play", &DeckState::autoPlay },
        { "play_next", &DeckState::playNext },
        { "spectrum_on", &DeckState::spectrumOn },
        { "spectrum_speed", &DeckState::spectrumSpeed },
    };

    const Attributes deckEQAttributes {
        { "bypass", &DeckState::eqBypass },
        { "gain", &DeckState::eqGain },
        { "pan", &DeckState::eqPan },
    };

    const Attributes masterSpectrumAttributes {
        { "spectrum_on", &DeckState::spectrumOn },
        { "spectrum_speed", &DeckState::spectrumSpeed, 2.0 },
    };

    const Attributes masterEQAttributes {
        { "bypass", &DeckState::eqBypass },
        { "gain", &DeckState::eqGain, 1.0 },
    };

    const Attributes fxAttributes {
        { "isLandscape", &DeckState::isLandscape },
        { "timeStretchOn", &DeckState::timeStretchOn },
        { "timeButtonID", &DeckState::timeButtonID },
        { "speedSlider", &DeckState::speedSlider },
        { "semiTonesSlider", &DeckState::semiTonesSlider },
        { "centsSlider", &DeckState::centsSlider },
        { "variSpeedOn", &DeckState::variSpeedOn },
        { "variSpeedSlider", &DeckState::variSpeedSlider },
        { "timeRatio", &DeckState::timeRatio },
        { "pitchScale", &DeckState::pitchScale },
        { "varispeedTimeRatio", &DeckState::varispeedTimeRatio },
        { "varispeedPitchScale", &DeckState::varispeedPitchScale },
        { "monoOn", &DeckState::monoOn },
        { "xOver", &DeckState::xOver },
        { "xOverFreq", &DeckState::xOverFreq },
        { "soloHigh", &DeckState::soloHigh },
        { "soloLow", &DeckState::soloLow },
        { "midSide", &DeckState::midSide },
        { "midSolo", &DeckState::midSolo },
        { "sideSolo", &DeckState::sideSolo },
        { "midGain", &DeckState::midGain },
        { "sideGain", &DeckState::sideGain },
        { "limiterOn", &DeckState::limiterOn },
        { "limiterInput", &DeckState::limiterInput },
        { "limiterThreshold", &DeckState::limiterThreshold },
        { "limiterRelease", &DeckState::limiterRelease },
        { "limiterOutput", &DeckState::limiterOutput },
        { "pitch", &DeckState::pitch },
        { "formant", &DeckState::formant },
        { "phase", &DeckState::phase },
        { "transients", &DeckState::transients },
        { "detector", &DeckState::detector },
    };

    template <typename Record>
    void write (juce::XmlElement& e, const Record& s, AttributesOf<Record> attributes)
    {
        for (const auto& a : attributes)
            std::visit ([&] (auto member) { e.setAttribute (a.name, s.*member); }, a.member);
    }

    // A number that is not finite reads as missing: the owners clamp ranges, but not NaN.
    template <typename Record>
    void read (const juce::XmlElement& e, Record& s, AttributesOf<Record> attributes)
    {
        for (const auto& a : attributes)
            std::visit (
                [&] (auto member)
                {
                    using Value = std::decay_t<decltype (s.*member)>;

                    if constexpr (std::is_same_v<Value, bool>)
                        s.*member = e.getBoolAttribute (a.name, a.whenMissing != 0.0);
                    else if constexpr (std::is_same_v<Value, int>)
                        s.*member = e.getIntAttribute (a.name, (int) a.whenMissing);
                    else if (const auto v = e.getDoubleAttribute (a.name, a.whenMissing); std::isfinite (v))
                        s.*member = v;
                    else
                        s.*member = a.whenMissing;
                },
                a.member);
    }

    juce::String bandTag (int index)
    {
        return "band_" + juce::String (index);
    }

    const AttributesOf<EQBandValues> bandAttributes {
        { "on", &EQBandValues::on },
        { "filter_type", &EQBandValues::filterType },
        { "slope_type", &EQBandValues::slopeType },
        { "freq", &EQBandValues::freq },
        { "gain", &EQBandValues::gain },
        { "q", &EQBandValues::q },
    };

    void writeBands (juce::XmlElement& e, const juce::Array<EQBandValues>& bands)
    {
        e.setAttribute (numBandsKey, bands.size());

        for (int i = 0; i < bands.size(); ++i)
            write (*e.createNewChildElement (bandTag (i)), bands.getReference (i), bandAttributes);
    }

    // As many band_<i> as num_bands says and an equaliser can hold; a missing one reads as zeros.
    juce::Array<EQBandValues> readBands (const juce::XmlElement& e)
    {
        juce::Array<EQBandValues> bands;
        const juce::XmlElement missing ("band");
        const auto count = juce::jlimit (0, EQBandValues::maxBands, e.getIntAttribute (numBandsKey));

        for (int i = 0; i < count; ++i)
        {
            const auto* band = e.getChildByName (bandTag (i));
            EQBandValues b;
            read (band != nullptr ? *band : missing, b, bandAttributes);
            bands.add (b);
        }

        return bands;
    }

    // The header's text without the playlist the session file nests in it. Not single-line:
    // the framework's single-line writer dereferences a null line end after a text piece.
    juce::String layoutText (const juce::XmlElement& stored)
    {
        juce::XmlElement layout (stored);

        while (auto* p = layout.getChildByName (playlistTag))
            layout.removeChildElement (p, true);

        return layout.toString (juce::XmlElement::TextFormat().withoutHeader());
    }
}

//==============================================================================
std::unique_ptr<juce::XmlElement> DeckState::createXml (int index) const
{
    auto deck = std::make_unique<juce::XmlElement> ("DECK_STATE_" + juce::String (index));
    write (*deck, *this, deckAttributes);

    auto* eq = deck->createNewChildElement (eqSettingsTag);
    writeBands (*eq, bands);
    write (*eq, *this, deckEQAttributes);

    write (*deck->createNewChildElement (fxWindowTag), *this, fxAttributes);

    juce::String error;
    if (auto layout = SafeXml::parse (tableLayout, error); layout != nullptr && layout->hasTagName (tableLayoutTag))
    {
        if (playlist.has_value())
            layout->addChildElement (new juce::XmlElement (*playlist));

        deck->addChildElement (layout.release());
    }

    auto* analyse = deck->createNewChildElement (analyseTag);
    for (const auto& view : analyseViews)
        analyse->setAttribute (view.name, (bool) view.value);

    return deck;
}

DeckState DeckState::fromXml (const juce::XmlElement& deck)
{
    DeckState s;
    read (deck, s, deckAttributes);

    if (const auto* eq = deck.getChildByName (eqSettingsTag))
    {
        s.hasEQSettings = true;
        read (*eq, s, deckEQAttributes);
        s.bands = readBands (*eq);
    }

    if (const auto* fx = deck.getChildByName (fxWindowTag))
    {
        s.hasFXWindow = true;
        read (*fx, s, fxAttributes);
    }

    if (const auto* layout = deck.getChildByName (tableLayoutTag))
    {
        s.tableLayout = layoutText (*layout);

        if (const auto* p = layout->getChildByName (playlistTag))
            s.playlist.emplace (*p);
    }

    if (const auto* analyse = deck.getChildByName (analyseTag))
    {
        s.hasAnalyseSettings = true;

        for (int i = 0; i < analyse->getNumAttributes(); ++i)
            s.analyseViews.set (analyse->getAttributeName (i), analyse->getBoolAttribute (analyse->getAttributeName (i)));
    }

    return s;
}

//==============================================================================
std::unique_ptr<juce::XmlElement> DeckState::createMasterEQXml() const
{
    auto master = std::make_unique<juce::XmlElement> ("MASTER_EQ_AND_SPECTRUM");
    write (*master, *this, masterSpectrumAttributes);
    writeBands (*master, bands);
    write (*master, *this, masterEQAttributes);
    return master;
}

DeckState DeckState::fromMasterEQXml (const juce::XmlElement& master)
{
    DeckState s;
    s.hasEQSettings = true;
    read (master, s, masterSpectrumAttributes);
    read (master, s, masterEQAttributes);
    s.bands = readBands (master);
    return s;
}

} // namespace Marlode
