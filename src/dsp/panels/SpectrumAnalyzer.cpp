#include "SpectrumAnalyzer.h"

#include "ui/Palette.h"

#include <cmath>

namespace Marlode
{

namespace
{
    // Pixels per tick of "Slow", "Med" and "Fast", in the order of speedNames().
    constexpr std::array<int, 3> fallSpeeds { 2, 5, 10 };

    constexpr float silenceDb = -100.0f;

    // A full-scale sine through the normalised window and a 2048-point transform peaks at half the
    // frame size; below one unit of that magnitude (about -60 dB) is taken as silence.
    constexpr float fullScaleMagnitude = (float) SpectrumFeed::frameSize / 2.0f;
    constexpr int topBin = SpectrumFeed::frameSize / 2;

    // Three decades from 20 Hz over the 512 points: 20 Hz times ten to the 3 i / 512.
    double pointFrequency (int point) noexcept
    {
        return std::pow (10.0, 3.0 * point * 0.001953125 + 1.3010299956639813);
    }

    // Bins past the transform's top (a rate below 40 kHz) all land one past it and read as silence,
    // rather than past the frame. Ties go to the even bin, the default rounding mode.
    int binOf (int point, double sampleRate) noexcept
    {
        const auto exact = pointFrequency (point) * SpectrumFeed::frameSize / sampleRate;
        return exact < topBin ? (int) std::nearbyint (exact) : topBin + 1;
    }

    float levelDb (const float* magnitudes, int bin) noexcept
    {
        if (bin > topBin)
            return silenceDb;

        // A point standing for a group of bins reads only the group's top bin.
        const auto magnitude = magnitudes[bin];
        if (! (magnitude >= 1.0f))
            return silenceDb;

        return juce::jmax (20.0f * std::log10 (magnitude / fullScaleMagnitude), silenceDb);
    }
}

SpectrumAnalyzer::SpectrumAnalyzer (SpectrumFeed& feedToShow) : feed (feedToShow)
{
    setInterceptsMouseClicks (false, false);
    resetPoints();
}

juce::StringArray SpectrumAnalyzer::speedNames()
{
    return { "Slow", "Med", "Fast" };
}

void SpectrumAnalyzer::setSpeed (int comboId)
{
    if (comboId >= 1 && comboId <= (int) fallSpeeds.size())
        fallSpeed = fallSpeeds[(size_t) comboId - 1];
}

void SpectrumAnalyzer::resetPoints() noexcept
{
    pointDb.fill (minDb);
    pointY.fill (height);
}

void SpectrumAnalyzer::resized()
{
    width = getWidth();
    height = getHeight();
    pixelsPerDb = (float) height / maxDb;
    pointY.fill (height);
}

//==============================================================================
void SpectrumAnalyzer::timerRelayCallback()
{
    JUCE_ASSERT_MESSAGE_THREAD
    auto* frame = feed.takeFrame();

    // The grid's bins change with the rate: the points start again from the bottom.
    const auto sampleRate = feed.getSampleRate();
    if (sampleRate != pointsSampleRate)
    {
        pointsSampleRate = sampleRate;
        resetPoints();
    }

    if (frame != nullptr)
    {
        window.multiplyWithWindowingTable (frame, (size_t) SpectrumFeed::frameSize);
        fft.performFrequencyOnlyForwardTransform (frame, true);
    }

    workingPath.clear();
    workingPath.startNewSubPath (0.0f, (float) height);

    int prevBin = -1;

    for (int i = 0; i < numPoints; ++i)
    {
        const auto old = pointY[(size_t) i];
        auto y = old;

        if (frame != nullptr)
        {
            const auto bin = binOf (i, sampleRate);

            // On the logarithmic grid the low points fall on the same bin: only the first is drawn.
            if (bin == prevBin)
            {
                pointY[(size_t) i] = -1;
                continue;
            }

            prevBin = bin;
            pointDb[(size_t) i] = levelDb (frame, bin);
            y = (int) ((float) height - (pointDb[(size_t) i] + maxDb) * pixelsPerDb);
        }
        else if (old == -1)
        {
            continue;
        }

        // Up at once; down, or with nothing new, by the fall speed. A point that shared a bin
        // before has no height to fall from and never shows below the bottom.
        if (old == -1)
            y = juce::jmin (height, y);
        else if (y > old || frame == nullptr)
            y = juce::jmin (height, old + fallSpeed);

        pointY[(size_t) i] = y;
        workingPath.lineTo ((float) (width * i / numPoints), (float) y);
    }

    workingPath.lineTo ((float) width, (float) height);
    workingPath.closeSubPath();

    spectrumPath.swapWithPath (workingPath);
    repaint();

    if (frame != nullptr)
        feed.releaseFrame();
}

void SpectrumAnalyzer::paint (juce::Graphics& g)
{
    if (spectrumPath.isEmpty())
        return;

    g.setColour (spectrumColour.withAlpha (0.25f));
    g.fillPath (spectrumPath);
}

} // namespace Marlode
