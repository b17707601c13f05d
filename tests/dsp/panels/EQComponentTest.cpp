#include "dsp/panels/EQComponent.h"
#include "support/EqBand.h"
#include "support/TestAudio.h"
#include "support/TestEnv.h"
#include "support/WaitFor.h"
#include "ui/Palette.h"

#include <gtest/gtest.h>

using namespace Marlode;

namespace
{
struct EQEditor : ::testing::Test
{
    void SetUp() override
    {
        eq.equaliser.prepare (48000.0, 512, 2);
        eq.setSize (900, 420);
    }

    // A press on the band's point, then a drag of the pointer by `by` (editor pixels).
    void drag (int band, juce::Point<float> by, juce::ModifierKeys mods = {})
    {
        auto& button = eq.getBandButton (band);
        const juce::Point<float> centre (button.getWidth() / 2.0f, button.getHeight() / 2.0f);
        button.mouseDown (MarlodeTest::mouseAt (button, centre, mods));
        const auto to = centre + by;
        button.mouseDrag (juce::MouseEvent (juce::Desktop::getInstance().getMainMouseSource(), to, mods, 0.0f, 0.0f, 0.0f, 0.0f,
                                            0.0f, &button, &button, juce::Time(), centre, juce::Time(), 1, true));
    }

    juce::TextButton opener;
    EQComponent eq { &opener, true };
};
} // namespace

// A dragged point stops at the plot's edges, which are 20 Hz, 20 kHz and +-24 dB, and the
// equaliser follows the sliders.
TEST_F (EQEditor, DraggingAPointStopsAtThePlotsEdges)
{
    eq.addBandButtonClicked();
    auto& band = eq.getBand (0);
    const auto plot = eq.getPlotBounds().toFloat();
    const auto freqAndGain = [&] { return std::pair (band.frequencySlider.getValue(), band.gainSlider.getValue()); };

    drag (0, { -5000.0f, -5000.0f });
    EXPECT_EQ (freqAndGain(), std::pair (20.0, 24.0));
    EXPECT_EQ (eq.getBandButton (0).getBounds().getCentre(), plot.getTopLeft().roundToInt());

    drag (0, { 5000.0f, 5000.0f });
    EXPECT_EQ (freqAndGain(), std::pair (20000.0, -24.0));
    EXPECT_EQ (eq.equaliser.getBand (0), band.getValues());

    // Halfway across three decades is 632 Hz, at +12 dB a quarter of the way down.
    const auto target = juce::Point<float> (plot.getCentreX(), plot.getY() + plot.getHeight() / 4.0f);
    drag (0, target - eq.getBandButton (0).getBounds().getCentre().toFloat());
    EXPECT_NEAR (band.frequencySlider.getValue(), 632.0, 632.0 * 3.0 / plot.getWidth() * 2.3 + 1.0);
    EXPECT_NEAR (band.gainSlider.getValue(), 12.0, 48.0 / plot.getHeight() + 0.1);

    // Ctrl-drag and the wheel change Q only.
    auto before = band.getValues();
    drag (0, { 40.0f, -200.0f }, juce::ModifierKeys::commandModifier);
    const auto q = band.qSlider.getValue();
    EXPECT_GT (q, before.q);
    before.q = q;
    EXPECT_EQ (band.getValues(), before);
    eq.getBandButton (0).mouseWheelMove (MarlodeTest::mouseAt (eq.getBandButton (0), {}), { 0.0f, -0.5f, false, false, false });
    EXPECT_LT (band.qSlider.getValue(), q);
    EXPECT_EQ (eq.equaliser.getBand (0), band.getValues());
}

// The first type choice moves a new band to the type's start; a pass filter has no gain, so its
// point sits at mid-height and drags only sideways.
TEST_F (EQEditor, TypeChoicesMoveANewBandOnce)
{
    eq.addBandButtonClicked();
    auto& band = eq.getBand (0);
    const auto plot = eq.getPlotBounds();
    band.gainSlider.setValue (6.0, juce::sendNotificationSync);

    band.filterTypeCombo.setSelectedId (EQBandValues::lowPass, juce::sendNotificationSync);
    EXPECT_EQ (std::pair (band.frequencySlider.getValue(), band.gainSlider.getValue()), std::pair (20000.0, 0.0));
    EXPECT_FALSE (band.gainSlider.isEnabled() || band.qSlider.isEnabled());
    EXPECT_EQ (eq.getBandButton (0).getBounds().getCentre(), juce::Point<int> (plot.getRight(), plot.getCentreY()));
    EXPECT_EQ (eq.equaliser.getBand (0), band.getValues());

    drag (0, { -100.0f, -100.0f });
    EXPECT_EQ (band.gainSlider.getValue(), 0.0);
    EXPECT_EQ (eq.getBandButton (0).getBounds().getCentreY(), plot.getCentreY());

    const auto f = band.frequencySlider.getValue();
    band.filterTypeCombo.setSelectedId (EQBandValues::lowShelf, juce::sendNotificationSync);
    EXPECT_EQ (band.frequencySlider.getValue(), f) << "only the first choice moves the band";
    EXPECT_TRUE (band.gainSlider.isEnabled());

    // A band from saved values keeps its frequency whatever type is then chosen.
    const auto saved = MarlodeTest::eqBand (EQBandValues::peak, 777.0);
    eq.addBandButtonClicked (&saved);
    eq.getBand (1).filterTypeCombo.setSelectedId (EQBandValues::highPass, juce::sendNotificationSync);
    EXPECT_EQ (eq.getBand (1).frequencySlider.getValue(), 777.0);
}

TEST_F (EQEditor, DeletingRenumbersAndShowsTheNeighbour)
{
    for (int i = 0; i < 3; ++i)
        eq.addBandButtonClicked();
    EXPECT_EQ (eq.getVisibleBandIndex(), 2);
    EXPECT_TRUE (eq.nextButton.isEnabled());

    eq.getBand (0).frequencySlider.setValue (100.0, juce::sendNotificationSync);
    eq.showBand (1);
    eq.deleteVisibleBand();
    ASSERT_EQ (eq.getNumBands(), 2);
    EXPECT_EQ (eq.getVisibleBandIndex(), 1) << "the band that took its place";
    EXPECT_EQ (eq.getBand (1).getBandNumber(), 2);
    EXPECT_EQ (eq.equaliser.getNumBands(), 2);
    EXPECT_EQ (eq.equaliser.getBand (0).freq, 100.0);

    eq.deleteVisibleBand();
    EXPECT_EQ (eq.getVisibleBandIndex(), 0) << "the new last one";
    EXPECT_EQ (eq.getBand (0).getBandNumber(), 1);
    EXPECT_FALSE (eq.nextButton.isEnabled());
    EXPECT_FALSE (eq.previousButton.isEnabled());

    eq.deleteVisibleBand();
    EXPECT_EQ (std::pair (eq.getNumBands(), eq.equaliser.getNumBands()), std::pair (0, 0));
}

// The opening button turns green while the equaliser changes anything: a band on, or the output
// gain or pan away from neutral.
TEST_F (EQEditor, TheOpeningButtonShowsAnActiveEqualiser)
{
    const auto colours = [&]
    {
        return std::pair (opener.findColour (juce::TextButton::buttonColourId),
                          opener.findColour (juce::TextButton::buttonOnColourId));
    };
    const auto idle = std::pair (widgetColour, midGreyColour), active = std::pair (bandOnButtonColour, eqActiveOnColour);
    EXPECT_EQ (colours(), idle);

    eq.addBandButtonClicked();
    EXPECT_EQ (colours(), active);
    eq.getBand (0).onButton.setToggleState (false, juce::sendNotificationSync);
    EXPECT_FALSE (eq.equaliser.getBand (0).on);
    EXPECT_EQ (colours(), idle);

    eq.outputGainSlider.setValue (0.1, juce::sendNotificationSync);
    EXPECT_EQ (colours(), active);
    EXPECT_FLOAT_EQ (eq.equaliser.getOutputGain(), juce::Decibels::decibelsToGain (0.1f));
    eq.outputGainSlider.setValue (0.0, juce::sendNotificationSync);
    eq.panSlider.setValue (-30.0, juce::sendNotificationSync);
    EXPECT_EQ (colours(), active);
    EXPECT_NEAR (eq.equaliser.getPan(), -1.0 / 3.0, 1e-9);

    eq.resetEQ();
    EXPECT_EQ (colours(), idle);
    EXPECT_EQ (eq.getNumBands(), 0);
}

// The editor with three bands over the spectrum of pink noise it has filtered, drawn as on screen
// and saved for review: the spectrum fills the plot's width under a curve that is the response,
// column by column (read away from the band points, which cover it at the bands' own frequencies).
TEST_F (EQEditor, PictureWithThreeBandsOverPinkNoise)
{
    MARLODE_REQUIRE_DISPLAY();

    eq.addToDesktop (0);
    eq.setVisible (true);
    ASSERT_TRUE (MarlodeTest::pumpUntil ([&] { return eq.isShowing(); }, 2000));
    eq.spectrumButton.setToggleState (true, juce::sendNotificationSync);

    for (const auto& v : { MarlodeTest::eqBand (EQBandValues::highPass, 60.0, 0.0, 1.0),
                           MarlodeTest::eqBand (EQBandValues::peak, 900.0, -9.0, 1.0),
                           MarlodeTest::eqBand (EQBandValues::highShelf, 8000.0, 6.0, 1.0) })
        eq.addBandButtonClicked (&v);

    const auto pink = MarlodeTest::pinkNoise (48000 * 2);
    for (int start = 0; start < 48000 * 2; start += 512)
    {
        auto block = MarlodeTest::makeBuffer (2, 512, [&] (int, int i) { return pink[(size_t) (start + i)]; });
        eq.timerRelayCallback(); // the tap follows the spectrum switch and the editor showing
        eq.equaliser.process (juce::AudioSourceChannelInfo (block));
    }

    const auto image = eq.createComponentSnapshot (eq.getLocalBounds());
    const auto png = juce::File (MARLODE_BUILD_DIR).getChildFile ("marlode-eq-editor.png");
    png.deleteFile();
    juce::FileOutputStream out (png);
    ASSERT_TRUE (juce::PNGImageFormat().writeImageToStream (image, out));

    const auto plot = eq.getPlotBounds();
    for (const auto hz : { 30.0, 200.0, 2500.0, 15000.0 })
    {
        const auto x = juce::roundToInt (EQBandButton::xForFrequency (plot, hz));
        int whiteY = -1;
        for (int y = plot.getY(); y < plot.getBottom() && whiteY < 0; ++y)
            if (image.getPixelAt (x, y).getBrightness() > 0.95f)
                whiteY = y;
        EXPECT_NEAR (whiteY, EQBandButton::yForGain (plot, eq.equaliser.responseDb (hz)), 2.0) << hz << " Hz";
    }
    EXPECT_LT (eq.equaliser.responseDb (30.0), -6.0);

    // Columns of the plot where the spectrum's fill shows at its foot.
    const auto foot = plot.getBottom() - 20;
    const auto plotColour = image.getPixelAt (plot.getX() + 3, plot.getY() + 3);
    int filled = 0;
    for (int x = plot.getX() + 10; x < plot.getRight() - 10; ++x)
        if (image.getPixelAt (x, foot).getBlue() > plotColour.getBlue() + 20)
            ++filled;
    EXPECT_GT (filled, plot.getWidth() * 3 / 4);
    eq.removeFromDesktop();
}
