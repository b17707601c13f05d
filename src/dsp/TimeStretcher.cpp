#include "dsp/TimeStretcher.h"

#include <rubberband/RubberBandStretcher.h>

namespace Marlode
{
namespace
{
    using RB = RubberBand::RubberBandStretcher;

    // Per option, the flags of ids 1, 2, 3 (0 past an option's last id).
    constexpr int optionFlags[TimeStretcher::numOptions][3] = {
        { RB::OptionPitchHighSpeed, RB::OptionPitchHighQuality, RB::OptionPitchHighConsistency },
        { RB::OptionFormantShifted, RB::OptionFormantPreserved, -1 },
        { RB::OptionPhaseLaminar, RB::OptionPhaseIndependent, -1 },
        { RB::OptionTransientsCrisp, RB::OptionTransientsMixed, RB::OptionTransientsSmooth },
        { RB::OptionDetectorCompound, RB::OptionDetectorPercussive, RB::OptionDetectorSoft },
    };

    double clampedBetween (double value, double low, double high) noexcept
    {
        // NaN compares false both ways and would pass a plain clamp.
        return value >= low ? std::min (value, high) : low;
    }

    int validId (TimeStretcher::Option o, int id) noexcept
    {
        return id >= 1 && id <= 3 && optionFlags[(size_t) o][id - 1] >= 0 ? id : 1;
    }
} // namespace

TimeStretcher::TimeStretcher() = default;
TimeStretcher::~TimeStretcher() = default;

int TimeStretcher::flagFor (Option o, int id) noexcept
{
    return optionFlags[(size_t) o][validId (o, id) - 1];
}

double TimeStretcher::libraryTimeRatio (double stored) noexcept
{
    return clampedBetween (stored, minimumTimeRatio, maximumTimeRatio);
}

double TimeStretcher::libraryPitchScale (double stored) noexcept
{
    return clampedBetween (stored, minimumPitchScale, maximumPitchScale);
}

void TimeStretcher::setTimeRatio (double ratio) noexcept
{
    timeRatio.store (ratio, std::memory_order_relaxed);
}

void TimeStretcher::setPitchScale (double scale) noexcept
{
    pitchScale.store (scale, std::memory_order_relaxed);
}

void TimeStretcher::setOption (Option o, int id) noexcept
{
    options[(size_t) o].store (validId (o, id), std::memory_order_relaxed);
}

void TimeStretcher::copySettingsFrom (const TimeStretcher& other) noexcept
{
    setTimeRatio (other.getTimeRatio());
    setPitchScale (other.getPitchScale());
    for (int o = 0; o < numOptions; ++o)
        setOption ((Option) o, other.getOption ((Option) o));
}

void TimeStretcher::prepare (int samplesPerBlock, int channels, double sampleRate)
{
    if (samplesPerBlock <= 0 || sampleRate <= 0.0 || channels <= 0)
        return;

    int flags = RB::OptionProcessRealTime | RB::OptionChannelsTogether;
    for (int o = 0; o < numOptions; ++o)
    {
        appliedOptions[(size_t) o] = getOption ((Option) o);
        flags |= flagFor ((Option) o, appliedOptions[(size_t) o]);
    }

    numChannels = std::min (channels, maxChannels);
    maxBlock = samplesPerBlock;
    stretcher.reset();
    stretcher = std::make_unique<RB> ((size_t) sampleRate, (size_t) numChannels, flags, 1.0, 1.0);
    stretcher->setMaxProcessSize ((size_t) maxBlock);
    warmUp();

    appliedTimeRatio = appliedPitchScale = 1.0;
    applyChanges();
}

void TimeStretcher::warmUp()
{
    // The library grows its buffers the first time a ratio needs them, and it would do so on the
    // audio thread. So the corners of the controls' usual range are run through here, on silence,
    // and the library is reset with those buffers already grown. Four blocks a corner are enough
    // for it to size everything (about 5 ms a deck at each device start).
    juce::AudioBuffer<float> silence (numChannels, maxBlock);
    silence.clear();
    for (auto [ratio, scale] : { std::pair (2.25, 2.1), std::pair (0.44, 0.47), std::pair (2.25, 0.47), std::pair (0.44, 2.1) })
    {
        stretcher->setTimeRatio (ratio);
        stretcher->setPitchScale (scale);
        for (int i = 0; i < 4; ++i)
        {
            stretcher->process (silence.getArrayOfReadPointers(), (size_t) maxBlock, false);
            while (stretcher->available() > 0)
                stretcher->retrieve (silence.getArrayOfWritePointers(), (size_t) juce::jmin (stretcher->available(), maxBlock));
        }
    }

    stretcher->reset();
    stretcher->setTimeRatio (1.0);
    stretcher->setPitchScale (1.0);
}

void TimeStretcher::applyChanges() noexcept
{
    const auto ratio = libraryTimeRatio (getTimeRatio());
    if (ratio != appliedTimeRatio)
    {
        stretcher->setTimeRatio (ratio);
        appliedTimeRatio = ratio;
    }

    const auto scale = libraryPitchScale (getPitchScale());
    if (scale != appliedPitchScale)
    {
        stretcher->setPitchScale (scale);
        appliedPitchScale = scale;
    }

    for (int o = 0; o < numOptions; ++o)
    {
        const auto id = getOption ((Option) o);
        if (id == appliedOptions[(size_t) o])
            continue;

        appliedOptions[(size_t) o] = id;
        const auto flag = flagFor ((Option) o, id);
        switch ((Option) o)
        {
            case Option::pitch: stretcher->setPitchOption (flag); break;
            case Option::formant: stretcher->setFormantOption (flag); break;
            case Option::phase: stretcher->setPhaseOption (flag); break;
            case Option::transients: stretcher->setTransientsOption (flag); break;
            case Option::detector: stretcher->setDetectorOption (flag); break;
        }
    }
}

void TimeStretcher::pull (juce::AudioSource& source, const juce::AudioSourceChannelInfo& info) noexcept
{
    if (stretcher == nullptr || info.buffer->getNumChannels() < numChannels)
    {
        info.clearActiveBufferRegion();
        return;
    }

    applyChanges();

    // A device may ask for more than it promised; the library takes at most maxBlock a call.
    for (int done = 0; done < info.numSamples;)
    {
        const int part = std::min (maxBlock, info.numSamples - done);
        pullPart (source, *info.buffer, info.startSample + done, part);
        done += part;
    }
}

void TimeStretcher::pullPart (juce::AudioSource& source, juce::AudioBuffer<float>& buffer, int start, int numSamples) noexcept
{
    std::array<float*, maxChannels> channels {};
    for (int c = 0; c < numChannels; ++c)
        channels[(size_t) c] = buffer.getWritePointer (c, start);

    const juce::AudioSourceChannelInfo part (&buffer, start, numSamples);

    // The region is the scratch space for the source's audio until the library has enough.
    for (int calls = 0; stretcher->available() < numSamples && calls < maxProcessCallsPerBlock; ++calls)
    {
        source.getNextAudioBlock (part);
        stretcher->process (channels.data(), (size_t) numSamples, false);
    }

    const auto ready = (int) std::min ((size_t) numSamples, (size_t) std::max (0, stretcher->available()));
    const auto got = ready > 0 ? (int) stretcher->retrieve (channels.data(), (size_t) ready) : 0;

    if (got < numSamples)
        for (int c = 0; c < numChannels; ++c)
            buffer.clear (c, start + got, numSamples - got);

    for (int c = numChannels; c < buffer.getNumChannels(); ++c)
        buffer.clear (c, start, numSamples);
}

} // namespace Marlode
