#include "dsp/panels/EQComponent.h"
#include "support/TestAudio.h"
#include "support/TestEnv.h"
#include "support/WaitFor.h"
#include "ui/Palette.h"

#include <gtest/gtest.h>

using namespace Marlode;

namespace
{
struct Editor
{
    Editor()
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
TEST (EQComponent, DraggingAPointStopsAtThePlotsEdges)
{
    Editor e;
    e.eq.addBandButtonClicked();
    auto& band = e.eq.getBand (0);
    const auto plot = e.eq.getPlotBounds().toFloat();
    ASSERT_GT (plot.getWidth(), 100.0f);

    e.drag (0, { -5000.0f, -5000.0f });
    EXPECT_EQ (band.frequencySlider.getValue(), 20.0);
    EXPECT_EQ (band.gainSlider.getValue(), 24.0);
    EXPECT_EQ (e.eq.getBandButton (0).getBounds().getCentre(), plot.getTopLeft().roundToInt());

    e.drag (0, { 5000.0f, 5000.0f });
    EXPECT_EQ (band.frequencySlider.getValue(), 20000.0);
    EXPECT_EQ (band.gainSlider.getValue(), -24.0);
    EXPECT_EQ (e.eq.equaliser.getBand (0).freq, 20000.0);
    EXPECT_EQ (e.eq.equaliser.getBand (0).gain, -24.0);

    // Halfway across three decades is 632 Hz, at +12 dB a quarter of the way down.
    const auto target = juce::Point<float> (plot.getCentreX(), plot.getY() + plot.getHeight() / 4.0f);
    e.drag (0, target - e.eq.getBandButton (0).getBounds().getCentre().toFloat());
    EXPECT_NEAR (band.frequencySlider.getValue(), 632.0, 632.0 * 3.0 / plot.getWidth() * 2.3 + 1.0);
    EXPECT_NEAR (band.gainSlider.getValue(), 12.0, 48.0 / plot.getHeight() + 0.1);

    // Ctrl-drag and the wheel change Q only.
    const auto before = band.getValues();
    e.drag (0, { 40.0f, -200.0f }, juce::ModifierKeys::commandModifier);
    EXPECT_GT (band.qSlider.getValue(), before.q);
    EXPECT_EQ (band.frequencySlider.getValue(), before.freq);
    EXPECT_EQ (band.gainSlider.getValue(), before.gain);
    const auto q = band.qSlider.getValue();
    juce::MouseWheelDetails wheel {};
    wheel.deltaY = -0.5f;
    e.eq.getBandButton (0).mouseWheelMove (MarlodeTest::mouseAt (e.eq.getBandButton (0), {}), wheel);
    EXPECT_LT (band.qSlider.getValue(), q);
    EXPECT_EQ (e.eq.equaliser.getBand (0).q, band.qSlider.getValue());
}

// The first type choice moves a new band to the type's start; a pass filter has no gain, so its
// point sits at mid-height and drags only sideways.
TEST (EQComponent, TypeChoicesMoveANewBandOnce)
{
    Editor e;
    e.eq.addBandButtonClicked();
    auto& band = e.eq.getBand (0);
    const auto plot = e.eq.getPlotBounds();
    band.gainSlider.setValue (6.0, juce::sendNotificationSync);

    band.filterTypeCombo.setSelectedId (EQBandValues::lowPass, juce::sendNotificationSync);
    EXPECT_EQ (band.frequencySlider.getValue(), 20000.0);
    EXPECT_EQ (band.gainSlider.getValue(), 0.0);
    EXPECT_FALSE (band.gainSlider.isEnabled());
    EXPECT_FALSE (band.qSlider.isEnabled());
    EXPECT_EQ (e.eq.getBandButton (0).getBounds().getCentre(), juce::Point<int> (plot.getRight(), plot.getCentreY()));
    EXPECT_EQ (e.eq.equaliser.getBand (0).filterType, EQBandValues::lowPass);

    e.drag (0, { -100.0f, -100.0f });
    EXPECT_EQ (band.gainSlider.getValue(), 0.0);
    EXPECT_EQ (e.eq.getBandButton (0).getBounds().getCentreY(), plot.getCentreY());

    const auto f = band.frequencySlider.getValue();
    band.filterTypeCombo.setSelectedId (EQBandValues::lowShelf, juce::sendNotificationSync);
    EXPECT_EQ (band.frequencySlider.getValue(), f) << "only the first choice moves the band";
    EXPECT_TRUE (band.gainSlider.isEnabled());

    // A band from saved values keeps its frequency whatever type is then chosen.
    EQBandValues saved;
    saved.freq = 777.0;
    e.eq.addBandButtonClicked (&saved);
    e.eq.getBand (1).filterTypeCombo.setSelectedId (EQBandValues::highPass, juce::sendNotificationSync);
    EXPECT_EQ (e.eq.getBand (1).frequencySlider.getValue(), 777.0);
}

TEST (EQComponent, DeletingRenumbersAndShowsTheNeighbour)
{
    Editor e;
    for (int i = 0; i < 3; ++i)
        e.eq.addBandButtonClicked();
    EXPECT_EQ (e.eq.getVisibleBandIndex(), 2);
    EXPECT_TRUE (e.eq.nextButton.isEnabled());

    e.eq.getBand (0).frequencySlider.setValue (100.0, juce::sendNotificationSync);
    e.eq.showBand (1);
    e.eq.deleteVisibleBand();
    ASSERT_EQ (e.eq.getNumBands(), 2);
    EXPECT_EQ (e.eq.getVisibleBandIndex(), 1) << "the band that took its place";
    EXPECT_EQ (e.eq.getBand (1).getBandNumber(), 2);
    EXPECT_EQ (e.eq.equaliser.getNumBands(), 2);
    EXPECT_EQ (e.eq.equaliser.getBand (0).freq, 100.0);

    e.eq.deleteVisibleBand();
    EXPECT_EQ (e.eq.getVisibleBandIndex(), 0) << "the new last one";
    EXPECT_EQ (e.eq.getBand (0).getBandNumber(), 1);
    EXPECT_FALSE (e.eq.nextButton.isEnabled());
    EXPECT_FALSE (e.eq.previousButton.isEnabled());

    e.eq.deleteVisibleBand();
    EXPECT_EQ (e.eq.getNumBands(), 0);
    EXPECT_EQ (e.eq.equaliser.getNumBands(), 0);
    EXPECT_TRUE (e.eq.addButton.isEnabled());
}

// The opening button turns green while the equaliser changes anything: a band on, or the output
// gain or pan away from neutral.
TEST (EQComponent, TheOpeningButtonShowsAnActiveEqualiser)
{
    Editor e;
    const auto colours = [&]
    {
        return std::pair (e.opener.findColour (juce::TextButton::buttonColourId),
                          e.opener.findColour (juce::TextButton::buttonOnColourId));
    };
    const auto idle = std::pair (widgetColour, midGreyColour), active = std::pair (bandOnButtonColour, eqActiveOnColour);
    EXPECT_EQ (colours(), idle);

    e.eq.addBandButtonClicked();
    EXPECT_EQ (colours(), active);
    e.eq.getBand (0).onButton.setToggleState (false, juce::sendNotificationSync);
    EXPECT_FALSE (e.eq.getBand (0).isOn());
    EXPECT_FALSE (e.eq.equaliser.getBand (0).on);
    EXPECT_EQ (colours(), idle);

    e.eq.outputGainSlider.setValue (0.1, juce::sendNotificationSync);
    EXPECT_EQ (colours(), active);
    EXPECT_FLOAT_EQ (e.eq.equaliser.getOutputGain(), juce::Decibels::decibelsToGain (0.1f));
    e.eq.outputGainSlider.setValue (0.0, juce::sendNotificationSync);
    e.eq.panSlider.setValue (-30.0, juce::sendNotificationSync);
    EXPECT_EQ (colours(), active);
    EXPECT_NEAR (e.eq.equaliser.getPan(), -1.0 / 3.0, 1e-9);

    e.eq.resetEQ();
    EXPECT_EQ (colours(), idle);
    EXPECT_EQ (e.eq.getNumBands(), 0);
}

// The drawn curve is the equaliser's response, column by column (read beside the band's point,
// which covers it at the band's own frequency).
TEST (EQComponent, TheCurveIsTheResponse)
{
    Editor e;
    EQBandValues peak;
    peak.freq = 1000.0;
    peak.gain = 12.0;
    peak.q = 2.0;
    e.eq.addBandButtonClicked (&peak);

    juce::Image image (juce::Image::ARGB, e.eq.getWidth(), e.eq.getHeight(), true);
    {
        juce::Graphics g (image);
        e.eq.paintEntireComponent (g, true);
    }
    const auto plot = e.eq.getPlotBounds();
    for (const auto hz : { 100.0, 700.0, 1400.0, 5000.0 })
    {
        const auto x = juce::roundToInt (EQBandButton::xForFrequency (plot, hz));
        int whiteY = -1;
        for (int y = plot.getY(); y < plot.getBottom() && whiteY < 0; ++y)
            if (image.getPixelAt (x, y).getBrightness() > 0.95f)
                whiteY = y;
        EXPECT_NEAR (whiteY, EQBandButton::yForGain (plot, e.eq.equaliser.responseDb (hz)), 2.0) << hz << " Hz";
    }
    EXPECT_GT (e.eq.equaliser.responseDb (700.0), 3.0);
}

// The editor with three bands over the spectrum of pink noise it has filtered, drawn as on screen
// and saved for review: the spectrum fills the plot's width under a curve that is the response.
TEST (EQComponent, PictureWithThreeBandsOverPinkNoise)
{
    MARLODE_REQUIRE_DISPLAY();

    Editor e;
    e.eq.addToDesktop (0);
    e.eq.setVisible (true);
    ASSERT_TRUE (MarlodeTest::pumpUntil ([&] { return e.eq.isShowing(); }, 2000));
    e.eq.spectrumButton.setToggleState (true, juce::sendNotificationSync);

    const std::array<std::tuple<int, double, double>, 3> bands {
        { { EQBandValues::highPass, 60.0, 0.0 }, { EQBandValues::peak, 900.0, -9.0 }, { EQBandValues::highShelf, 8000.0, 6.0 } }
    };
    for (const auto& [type, hz, dB] : bands)
    {
        EQBandValues v;
        v.filterType = type;
        v.freq = hz;
        v.gain = dB;
        v.q = 1.0;
        e.eq.addBandButtonClicked (&v);
    }

    const auto pink = MarlodeTest::pinkNoise (48000 * 2);
    juce::AudioBuffer<float> block (2, 512);
    for (size_t start = 0; start + 512 <= pink.size(); start += 512)
    {
        for (int c = 0; c < 2; ++c)
            block.copyFrom (c, 0, pink.data() + start, 512);
        e.eq.timerRelayCallback(); // the tap follows the spectrum switch and the editor showing
        e.eq.equaliser.process (juce::AudioSourceChannelInfo (&block, 0, 512));
    }

    const auto image = e.eq.createComponentSnapshot (e.eq.getLocalBounds());
    const auto png = juce::File (MARLODE_BUILD_DIR).getChildFile ("marlode-eq-editor.png");
    png.deleteFile();
    juce::FileOutputStream out (png);
    ASSERT_TRUE (juce::PNGImageFormat().writeImageToStream (image, out));

    // Columns of the plot where the spectrum's fill shows at its foot.
    const auto plot = e.eq.getPlotBounds();
    const auto foot = plot.getBottom() - 20;
    const auto plotColour = image.getPixelAt (plot.getX() + 3, plot.getY() + 3);
    int filled = 0;
    for (int x = plot.getX() + 10; x < plot.getRight() - 10; ++x)
        if (image.getPixelAt (x, foot).getBlue() > plotColour.getBlue() + 20)
            ++filled;
    EXPECT_GT (filled, plot.getWidth() * 3 / 4);
    e.eq.removeFromDesktop();
}
