#include "app/MainAudioAppComponent.h"
#include "state/EncryptedXml.h"
#include "support/DeckHarness.h"

#include <gtest/gtest.h>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
const juce::String key (EncryptedXml::sessionKey);

struct SessionTest : ::testing::Test
{
    TempFolder temp;
    AlertRecorder alerts;
    juce::File file = temp.file ("PreviousState.cfg");

    std::unique_ptr<MainAudioAppComponent> start()
    {
        auto app = std::make_unique<MainAudioAppComponent> (false, file);
        app->setSize (850, 720);
        return app;
    }

    // A session file with `root` as its document.
    std::unique_ptr<MainAudioAppComponent> startFrom (const juce::XmlElement& root)
    {
        EXPECT_TRUE (EncryptedXml::writeEncryptedXml (root, file, key));
        return start();
    }
};

// A click as the user makes it, delivered before the next line runs.
void click (juce::Button& button)
{
    button.triggerClick();
    pumpMessages (2);
}

EQBandValues band (int filterType, double freq, double gain, double q, bool on, int slope)
{
    EQBandValues v;
    v.filterType = filterType;
    v.freq = freq;
    v.gain = gain;
    v.q = q;
    v.on = on;
    v.slopeType = slope;
    return v;
}

// Deck `i` set through its own controls, so that the three decks differ from each other and,
// between them, from the defaults in every value.
void changeEverything (MainComponent& deck, int i, const juce::StringArray& tracks)
{
    deck.windowRatio = 0.3f + 0.1f * (float) i;
    deck.playlist.addFiles (tracks, false, true, -1);
    deck.playlist.analysePanelWidth = 250 + i;
    auto& header = deck.playlist.table.getHeader();
    header.setColumnWidth (2, 150 + 10 * i);
    header.moveColumn (2, 3);
    header.setColumnVisible (6, false);
    header.setSortColumnId (2, false);
    for (int t = 0; t < (int) deck.playlist.analyseOptions.items.size(); ++t)
        if (i == 0 || t == i)
            click (deck.playlist.analyseOptions.getToggle (t));

    for (auto* meter : { &deck.inputMeter, &deck.outputMeter })
    {
        const auto out = meter == &deck.outputMeter ? 1 : 0;
        meter->maxPeakHold = meter->clipHold = true;
        meter->processor.lufsMeterType.store (2 + out);
        meter->processor.setDecayTimes (0.1 + out, 5.0 - out);
        meter->setMeterType (LevelMeterProcessor::truePeak + i + out);
    }

    click (deck.waveform.autoPlayButton);
    click (deck.waveform.playNextButton);

    click (deck.deckEQ.spectrumButton);
    deck.deckEQ.spectrumSpeed.setSelectedId (i == 1 ? 1 : 3, juce::sendNotificationSync);
    auto first = band (EQBandValues::lowShelf, 120.0 + i, -4.5, 0.9, true, 2);
    auto second = band (EQBandValues::highPass, 3000.0, 0.0, 0.6, false, 3);
    deck.deckEQ.addBandButtonClicked (&first);
    deck.deckEQ.addBandButtonClicked (&second);
    click (deck.deckEQ.bandsOnButton);
    deck.deckEQ.outputGainSlider.setValue (-3.5 + i, juce::sendNotificationSync);
    deck.deckEQ.panSlider.setValue (-40.0 + i, juce::sendNotificationSync);

    deck.deckFX.setLandscape (false);
    auto& limiter = deck.deckFX.limiter;
    click (limiter.onButton);
    limiter.inputSlider.setValue (3.0 + i, juce::sendNotificationSync);
    limiter.thresholdSlider.setValue (-6.0, juce::sendNotificationSync);
    limiter.releaseSlider.setValue (120.0, juce::sendNotificationSync);
    limiter.outputSlider.setValue (-1.5, juce::sendNotificationSync);

    // The modes that exclude each other take turns between the decks.
    auto& mono = deck.deckFX.mono;
    const bool odd = i == 1;
    click (mono.monoButton);
    click (odd ? mono.midSideButton : mono.xOverButton);
    click (odd ? mono.soloLowButton : mono.soloHighButton);
    click (odd ? mono.sideSoloButton : mono.midSoloButton);
    mono.xOverFreqSlider.setValue (450.0 + i, juce::sendNotificationSync);
    mono.midGainSlider.setValue (0.7, juce::sendNotificationSync);
    mono.sideGainSlider.setValue (0.4, juce::sendNotificationSync);

    auto& stretch = deck.timeStretch;
    for (auto o = 0; o < TimeStretcher::numOptions; ++o)
        stretch.options.getCombo ((TimeStretcher::Option) o).setSelectedId (2, juce::sendNotificationSync);
    click (stretch.timeStretchButton);
    click (stretch.timeButtons[3]);
    stretch.speedSlider.setValue (2.5 + i, juce::sendNotificationSync);
    stretch.semiTonesSlider.setValue (3.0, juce::sendNotificationSync);
    stretch.centsSlider.setValue (-10.0 - i, juce::sendNotificationSync);
    stretch.variSpeedSlider.setValue (5.5 + i, juce::sendNotificationSync);
    if (i != 1)
        click (stretch.variSpeedButton);
}

// The attributes of `written` that hold the default's value wherever they occur, as
// "TAG/.../name". Children pair up with the default's by tag and position among their like;
// every deck pairs with the default's one deck.
juce::StringArray unchangedAttributes (const juce::XmlElement& written, const juce::XmlElement& defaults)
{
    std::map<juce::String, bool> changed;
    std::function<void (const juce::XmlElement&, const juce::XmlElement*, const juce::String&)> walk;
    walk = [&] (const juce::XmlElement& w, const juce::XmlElement* d, const juce::String& path)
    {
        for (int a = 0; a < w.getNumAttributes(); ++a)
        {
            const auto name = w.getAttributeName (a);
            auto& differs = changed[path + name];
            differs = differs || d == nullptr || d->getStringAttribute (name) != w.getAttributeValue (a);
        }

        std::map<juce::String, int> seen;
        for (auto* child : w.getChildIterator())
        {
            const auto isDeck = child->getTagName().startsWith ("DECK_STATE_");
            const auto tag = isDeck ? juce::String ("DECK_STATE_0") : child->getTagName();
            const auto position = isDeck ? 0 : seen[tag]++;
            const auto* twin = d != nullptr ? d->getChildByName (tag) : nullptr;
            for (int k = 0; k < position && twin != nullptr; ++k)
                twin = twin->getNextElementWithTagName (tag);
            walk (*child, twin, path + tag + "/");
        }
    };
    walk (written, &defaults, {});

    juce::StringArray unchanged;
    for (const auto& [name, differs] : changed)
        if (! differs)
            unchanged.add (name);
    return unchanged;
}
} // namespace

TEST_F (SessionTest, EveryValueComesBackAtTheNextStart)
{
    const juce::StringArray tracks { writeWav (temp.file ("a.wav"), 44100.0, 2, 4410, noise).getFullPathName(),
                                     writeWav (temp.file ("b c.wav"), 44100.0, 1, 4410, noise).getFullPathName() };
    std::unique_ptr<juce::XmlElement> written;
    {
        auto app = start();
        click (app->volumeAndPan.muteButton);
        app->volumeAndPan.volumeSlider.setValue (0.5, juce::sendNotificationSync);
        app->volumeAndPan.panSlider.setValue (-30.0, juce::sendNotificationSync);
        app->storedSettings.setBool (StoredSettings::checkForUpdates, false);
        app->storedSettings.setBool ("show_welcome", false);

        auto low = band (EQBandValues::peak, 800.0, 6.0, 2.0, false, 2);
        app->masterEQ.addBandButtonClicked (&low);
        click (app->masterEQ.spectrumButton);
        app->masterEQ.spectrumSpeed.setSelectedId (3, juce::sendNotificationSync);
        click (app->masterEQ.bandsOnButton);
        app->masterEQ.outputGainSlider.setValue (2.0, juce::sendNotificationSync);

        app->addDeck (nullptr);
        app->addDeck (nullptr);
        for (int i = 0; i < 3; ++i)
            changeEverything (*app->decks[i], i, tracks);
        click (*app->deckButtons[1]);
        click (app->comparison.matchButton);
        click (app->comparison.boostButton);
        app->comparison.previewBox.setSelectedId (4, juce::sendNotificationSync);
        app->blindTest.showWindow();
        app->blindTest.deckA.setSelectedId (3, juce::sendNotificationSync);
        app->blindTest.deckB.setSelectedId (1, juce::sendNotificationSync);
        app->blindTest.trialCount.setSelectedId (12, juce::sendNotificationSync);
        app->settingsPanel.displayScaleCombo.setSelectedId (2, juce::sendNotificationSync);
        juce::Desktop::getInstance().setGlobalScaleFactor (1.0f); // the process's, not the session's

        written = app->createSessionXml();
    }

    // The file holds what the session was, and every value in it differs from a fresh start's.
    auto onDisk = EncryptedXml::readEncryptedXml (file, key);
    ASSERT_NE (onDisk, nullptr);
    EXPECT_TRUE (onDisk->isEquivalentTo (written.get(), false));
    {
        MainAudioAppComponent fresh (false);
        EXPECT_EQ (unchangedAttributes (*written, *fresh.createSessionXml()).joinIntoString (", "), "");
    }

    auto app = start();
    const auto reread = app->createSessionXml();
    EXPECT_EQ (reread->toString(), written->toString());

    // The values reach what plays, not only the controls that show them.
    ASSERT_EQ (app->getNumDecks(), 3);
    EXPECT_EQ (app->getCurrentDeck(), app->decks[1]);
    EXPECT_TRUE (app->masterEngine.gainStage.isMuted());
    EXPECT_EQ (app->masterEQ.equaliser.getNumBands(), 1);
    EXPECT_EQ (app->masterEQ.equaliser.getBand (0), (band (EQBandValues::peak, 800.0, 6.0, 2.0, false, 2)));
    EXPECT_FALSE (app->storedSettings.getBool (StoredSettings::checkForUpdates, true));

    for (int i = 0; i < 3; ++i)
    {
        auto& deck = *app->decks[i];
        SCOPED_TRACE (i);
        EXPECT_EQ (deck.playlist.getNumRows(), 2);
        EXPECT_EQ (deck.deckEQ.equaliser.getBand (0), (band (EQBandValues::lowShelf, 120.0 + i, -4.5, 0.9, true, 2)));
        EXPECT_EQ (deck.outputMeter.processor.meterType.load(), LevelMeterProcessor::truePeak + i + 1);
        EXPECT_DOUBLE_EQ (deck.inputMeter.processor.smoothedPeakDecayTime.load(), 5.0);
        EXPECT_TRUE (deck.deckFX.limiter.limiter.isLimiterOn());
        EXPECT_FLOAT_EQ (deck.deckFX.mono.effects.xOverFreq.load(), 450.0f + (float) i);
        EXPECT_TRUE (deck.engine.timeStretchOn.load());
        EXPECT_EQ (deck.timeStretch.stretcher.getOption (TimeStretcher::Option::detector), 2);

        const auto& stretch = deck.timeStretch;
        EXPECT_DOUBLE_EQ (deck.timeStretch.stretcher.getTimeRatio(),
                          i == 1 ? stretch.getTimeRatio() : stretch.getVarispeedTimeRatio());
        EXPECT_DOUBLE_EQ (stretch.getTimeRatio(), ((2.5 + i) / -100.0) * (1.0 / 1.5) + 1.0 / 1.5);
        EXPECT_NE (deck.playlist.analyseOptions.items[(size_t) i].visible, AnalyseItem::createAll()[(size_t) i].visible);
    }
}

// The reading rules for the number of decks, the current one and the master's bands.
TEST_F (SessionTest, DeckCountCurrentDeckAndMasterBandsFollowTheReadingRules)
{
    struct Case
    {
        const char* name;
        std::function<void (juce::XmlElement&)> edit;
        int decks, current, masterBands;
    };

    const Case cases[] {
        { "no num_decks", [] (juce::XmlElement&) {}, 1, 0, 0 },
        { "zero decks", [] (juce::XmlElement& r) { r.setAttribute ("num_decks", 0); }, 1, 0, 0 },
        { "seven decks", [] (juce::XmlElement& r) { r.setAttribute ("num_decks", 7); }, 4, 0, 0 },
        { "active deck beyond the list",
          [] (juce::XmlElement& r)
          {
              r.setAttribute ("num_decks", 3);
              r.setAttribute ("active_deck", 5);
          },
          3, 2, 0 },
        { "active deck 1 of 2",
          [] (juce::XmlElement& r)
          {
              r.setAttribute ("num_decks", 2);
              r.setAttribute ("active_deck", 1);
          },
          2, 1, 0 },
        { "a band without a count",
          [] (juce::XmlElement& r)
          {
              auto* m = r.createNewChildElement ("MASTER_EQ_AND_SPECTRUM");
              m->createNewChildElement ("band_0")->setAttribute ("freq", 900.0);
          },
          1, 0, 0 },
        { "more bands than an equaliser has",
          [] (juce::XmlElement& r)
          {
              auto* m = r.createNewChildElement ("MASTER_EQ_AND_SPECTRUM");
              m->setAttribute ("num_bands", 5000);
              for (int i = 0; i < 40; ++i)
                  m->createNewChildElement ("band_" + juce::String (i))->setAttribute ("filter_type", 2);
          },
          1, 0, EQBandValues::maxBands },
    };

    for (const auto& c : cases)
    {
        SCOPED_TRACE (c.name);
        juce::XmlElement root ("PREVIOUS_STATE");
        c.edit (root);
        auto app = startFrom (root);
        EXPECT_EQ (app->getNumDecks(), c.decks);
        EXPECT_EQ (app->decks.indexOf (app->getCurrentDeck()), c.current);
        EXPECT_TRUE (app->deckButtons[c.current]->getToggleState());
        EXPECT_EQ (app->masterEQ.getNumBands(), c.masterBands);
        EXPECT_EQ (app->createSessionXml()->getChildByName ("MASTER_EQ_AND_SPECTRUM")->getNumChildElements(), c.masterBands);
    }
}

// Outside text in every value: the start is clean or clamped, never a crash, and the next quit
// writes a file that reads again.
TEST_F (SessionTest, HostileValuesAreClampedAndTheNextQuitWritesAGoodFile)
{
    juce::XmlElement root ("PREVIOUS_STATE");
    root.setAttribute ("display_scale_combo_id", 2);
    root.setAttribute ("display_scale", 3.0);
    root.setAttribute ("num_decks", 2);
    root.setAttribute ("volume", "1e308");
    root.setAttribute ("pan", "nan");
    root.setAttribute ("active_deck", -1);
    auto* device = root.createNewChildElement ("DEVICESETUP");
    device->setAttribute ("deviceType", "No Such Type");
    device->setAttribute ("audioOutputDeviceName", "gone");
    device->setAttribute ("audioDeviceRate", "1e12");
    device->setAttribute ("audioDeviceBufferSize", -5);

    for (int n = 0; n < 2; ++n)
    {
        auto* deck = root.createNewChildElement ("DECK_STATE_" + juce::String (n));
        for (auto* name : { "window_ratio", "playlist_centre_line", "in_smoothedLevelDecayTime", "out_meterTypeSelection",
                            "in_lufsMeterTypeSelection", "spectrum_speed" })
            deck->setAttribute (name, n == 0 ? "1e300" : "-99999999999");
        auto* fx = deck->createNewChildElement ("FX_WINDOW");
        for (auto* name : { "timeButtonID", "speedSlider", "timeRatio", "pitchScale", "xOverFreq", "limiterRelease", "midGain",
                            "pitch", "detector" })
            fx->setAttribute (name, n == 0 ? "inf" : "-1e300");
        fx->setAttribute ("timeStretchOn", 1);
        auto* eq = deck->createNewChildElement ("EQ_SETTINGS");
        eq->setAttribute ("num_bands", 3);
        eq->createNewChildElement ("band_1")->setAttribute ("freq", "1e300");
        eq->createNewChildElement ("band_2")->setAttribute ("filter_type", 99);
        auto* layout = deck->createNewChildElement ("TABLELAYOUT");
        // Text before an element with children: the framework's single-line writer trips on it.
        layout->addTextElement ("text a header never writes");
        layout->createNewChildElement ("NOTE")->createNewChildElement ("COLUMN");
        layout->createNewChildElement ("COLUMN")->setAttribute ("width", 2147483647);
        layout->createNewChildElement ("PLAYLIST_DATA")->createNewChildElement ("TRACK")->setAttribute ("Path", "/no/such.wav");
    }

    {
        auto app = startFrom (root);
        ASSERT_EQ (app->getNumDecks(), 2);
        EXPECT_EQ (alerts.shown.size(), 2u) << "each deck's missing track reported once";
        EXPECT_EQ (app->storedSettings.getDouble (StoredSettings::displayScale, 0.0), 1.0) << "a scale the box doesn't offer";
        EXPECT_DOUBLE_EQ (app->volumeAndPan.volumeSlider.getValue(), 1.0);
        EXPECT_DOUBLE_EQ (app->volumeAndPan.panSlider.getValue(), 0.0);
        EXPECT_EQ (app->savedAudioState->getStringAttribute ("audioOutputDeviceName"), "gone");
        EXPECT_FALSE (app->savedAudioState->hasAttribute ("audioDeviceRate"));
        EXPECT_FALSE (app->savedAudioState->hasAttribute ("audioDeviceBufferSize"));

        for (auto* deck : app->decks)
        {
            EXPECT_GE (deck->windowRatio, 0.0f);
            EXPECT_LE (deck->windowRatio, 1.0f);
            EXPECT_EQ (deck->deckEQ.getNumBands(), 3);
            EXPECT_LE (deck->deckEQ.getBand (1).getValues().freq, 20000.0);
            EXPECT_EQ (deck->deckEQ.getBand (2).getValues().filterType, EQBandValues::peak);
            const auto ratio = deck->timeStretch.stretcher.getTimeRatio();
            EXPECT_TRUE (std::isfinite (ratio));
        }

        // The decks still play their blocks with these values.
        app->prepareToPlay (512, 44100.0);
        juce::AudioBuffer<float> block (2, 512);
        app->getNextAudioBlock (juce::AudioSourceChannelInfo (&block, 0, 512));
    }

    auto rewritten = EncryptedXml::readEncryptedXml (file, key);
    ASSERT_NE (rewritten, nullptr);
    EXPECT_EQ (rewritten->getIntAttribute ("num_decks"), 2);
}

// A file that isn't a session (noise, deep nesting, another document) starts one clean deck
// without a word, and is replaced by a good one at the next quit.
TEST_F (SessionTest, AFileThatIsNoSessionStartsCleanAndIsReplaced)
{
    juce::XmlElement deep ("PREVIOUS_STATE");
    auto* at = &deep;
    for (int i = 0; i < 1000; ++i)
        at = at->createNewChildElement ("DECK_STATE_0");
    deep.setAttribute ("num_decks", 3);

    const std::function<void()> damages[] {
        [&] { EncryptedXml::writeEncryptedXml (deep, file, key); },
        [&] { file.replaceWithData ("\0\0\0\0\0\0\0\0", 8); },
        [&] { file.replaceWithText ("<PREVIOUS_STATE num_decks=\"3\"/>"); },
    };

    for (const auto& damage : damages)
    {
        damage();
        {
            auto app = start();
            EXPECT_EQ (app->getNumDecks(), 1);
            EXPECT_TRUE (alerts.shown.empty());
            app->addDeck (nullptr);
        }
        auto written = EncryptedXml::readEncryptedXml (file, key);
        ASSERT_NE (written, nullptr);
        EXPECT_EQ (written->getIntAttribute ("num_decks"), 2);
    }
}
