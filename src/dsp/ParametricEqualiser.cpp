#include "dsp/ParametricEqualiser.h"
#include "dsp/MasterGainStage.h"

#include <juce_dsp/juce_dsp.h>

#include <complex>

namespace Marlode
{

namespace
{
    // Low- and high-pass past the Nyquist limit, which a device below 40 kHz reaches at the top of the
    // frequency range: the framework's design refuses such a corner, so the same bilinear design is
    // written out here, unclamped, and the response turns as the formula gives.
    ParametricEqualiser::Coefficients passPastNyquist (bool lowPass, double sampleRate, float frequency)
    {
        const auto t = std::tan (juce::MathConstants<float>::pi * frequency / (float) sampleRate);
        const auto n = lowPass ? 1.0f / t : t;
        const auto nSquared = n * n;
        const auto invQ = juce::MathConstants<float>::sqrt2; // 1 / (1 / sqrt 2)
        const auto c1 = 1.0f / (1.0f + invQ * n + nSquared);
        const auto a1 = lowPass ? c1 * 2.0f * (1.0f - nSquared) : c1 * 2.0f * (nSquared - 1.0f);
        return { c1, lowPass ? c1 * 2.0f : c1 * -2.0f, c1, a1, c1 * (1.0f - invQ * n + nSquared) };
    }
} // namespace

ParametricEqualiser::ParametricEqualiser (bool applyPan)
{
    edited.applyPan = applyPan;
    for (auto& s : snapshots)
        s = edited;
}

//==============================================================================
std::optional<ParametricEqualiser::Coefficients> ParametricEqualiser::design (const EQBandValues& v, double rate)
{
    using Design = juce::dsp::IIR::Coefficients<float>;

    if (rate <= 0.0 || v.filterType < EQBandValues::peak || v.filterType > EQBandValues::highShelf)
        return std::nullopt;

    const auto nyquist = rate * 0.5;
    const auto freq = (float) v.freq;

    if (v.freq > nyquist && v.ignoresGain())
        return passPastNyquist (v.filterType == EQBandValues::lowPass, rate, freq);

    // The peak and shelf designs have no such form here: past the limit they sit at it.
    const auto f = (float) juce::jmin (v.freq, nyquist);
    const auto q = (float) v.q;
    const auto gain = (float) juce::Decibels::decibelsToGain (v.gain);

    Design::Ptr made;
    switch (v.filterType)
    {
        case EQBandValues::peak: made = Design::makePeakFilter (rate, f, q, gain); break;
        case EQBandValues::lowPass: made = Design::makeLowPass (rate, f); break;
        case EQBandValues::highPass: made = Design::makeHighPass (rate, f); break;
        case EQBandValues::lowShelf: made = Design::makeLowShelf (rate, f, q, gain); break;
        default: made = Design::makeHighShelf (rate, f, q, gain); break;
    }

    Coefficients c {};
    std::copy_n (made->coefficients.begin(), c.size(), c.begin());
    return c;
}

double ParametricEqualiser::magnitude (const Coefficients& c, double frequency, double rate) noexcept
{
    const auto jw = std::polar (1.0, -juce::MathConstants<double>::twoPi * frequency / rate);
    const auto numerator = (double) c[0] + jw * ((double) c[1] + jw * (double) c[2]);
    const auto denominator = 1.0 + jw * ((double) c[3] + jw * (double) c[4]);
    return std::abs (numerator / denominator);
}

//==============================================================================
void ParametricEqualiser::prepare (double rate, int maximumBlockSize, int numChannels)
{
    const std::scoped_lock lock (writerLock);

    if (rate > 0.0)
    {
        sampleRate.store (rate, std::memory_order_relaxed);
        for (auto& b : bands)
            redesign (b);
        publish();
    }

    for (auto& band : filterState)
        for (auto& channel : band)
            channel = {};

    spectrum.prepare (getSampleRate(), maximumBlockSize);
    juce::ignoreUnused (numChannels);
}

void ParametricEqualiser::redesign (Band& b) const
{
    if (auto c = design (b.values, getSampleRate()))
        b.published.coefficients = *c;
    b.published.on = b.values.on;
}

void ParametricEqualiser::publish()
{
    edited.numBands = (int) bands.size();
    for (size_t i = 0; i < bands.size(); ++i)
        edited.bands[i] = bands[i].published;

    snapshots[(size_t) back] = edited;
    back = middle.exchange (back | freshFlag, std::memory_order_acq_rel) & ~freshFlag;
}

bool ParametricEqualiser::addBand (const EQBandValues& values)
{
    const std::scoped_lock lock (writerLock);

    if ((int) bands.size() >= maxBands)
        return false;

    // A slot no present band uses; the new generation tells the block to rest its memory.
    std::array<bool, maxBands> used {};
    for (auto& b : bands)
        used[(size_t) b.published.stateSlot] = true;

    Band band;
    band.values = values;
    band.published.stateSlot = (int) (std::find (used.begin(), used.end(), false) - used.begin());
    band.published.generation = nextGeneration++;
    redesign (band);
    bands.push_back (band);
    publish();
    return true;
}

void ParametricEqualiser::removeBand (int index)
{
    const std::scoped_lock lock (writerLock);

    if (juce::isPositiveAndBelow (index, (int) bands.size()))
    {
        bands.erase (bands.begin() + index);
        publish();
    }
}

void ParametricEqualiser::removeAllBands()
{
    const std::scoped_lock lock (writerLock);
    bands.clear();
    publish();
}

void ParametricEqualiser::setBand (int index, const EQBandValues& values)
{
    const std::scoped_lock lock (writerLock);

    if (! juce::isPositiveAndBelow (index, (int) bands.size()))
        return;

    auto& b = bands[(size_t) index];
    b.values = values;
    redesign (b);
    publish();
}

int ParametricEqualiser::getNumBands() const
{
    const std::scoped_lock lock (writerLock);
    return (int) bands.size();
}

EQBandValues ParametricEqualiser::getBand (int index) const
{
    const std::scoped_lock lock (writerLock);
    return juce::isPositiveAndBelow (index, (int) bands.size()) ? bands[(size_t) index].values : EQBandValues {};
}

template <typename Change>
void ParametricEqualiser::editOutput (Change&& change)
{
    const std::scoped_lock lock (writerLock);
    change (edited);
    publish();
}

template <typename Value>
Value ParametricEqualiser::readOutput (Value Snapshot::*field) const
{
    const std::scoped_lock lock (writerLock);
    return edited.*field;
}

void ParametricEqualiser::setBandsOn (bool on)
{
    editOutput ([on] (Snapshot& s) { s.bandsOn = on; });
}

void ParametricEqualiser::setOutputGain (float linearGain)
{
    editOutput ([linearGain] (Snapshot& s) { s.outputGain = linearGain; });
}

float ParametricEqualiser::getOutputGain() const
{
    return readOutput (&Snapshot::outputGain);
}

void ParametricEqualiser::setPanFromSlider (double value)
{
    const auto balance = MasterGainStage::balanceFor (value);
    editOutput (
        [balance] (Snapshot& s)
        {
            s.pan = balance.pan;
            s.panLeft = balance.left;
            s.panRight = balance.right;
        });
}

double ParametricEqualiser::getPan() const
{
    return readOutput (&Snapshot::pan);
}

void ParametricEqualiser::setOutputStage (bool stageOn, bool gainTakesPart)
{
    editOutput (
        [=] (Snapshot& s)
        {
            s.outputStageOn = stageOn;
            s.applyGain = gainTakesPart;
        });
}

double ParametricEqualiser::responseDb (double frequency) const
{
    const std::scoped_lock lock (writerLock);
    const auto rate = getSampleRate();
    double m = 1.0;

    for (auto& b : bands)
        if (b.values.on)
            m *= magnitude (b.published.coefficients, frequency, rate);

    return m > 0.0 ? juce::jmax (-100.0, 20.0 * std::log10 (m)) : -100.0;
}

//==============================================================================
void ParametricEqualiser::filterStereo (const PublishedBand* const* active, int numActive, float* left, float* right,
                                        int numSamples) noexcept
{
    // The bands run as a wavefront: in step k band j works on sample k - j, taking what band
    // j - 1 gave in the step before. Within a step no band waits for another, so the processor
    // overlaps their feedback loops instead of waiting out one chain of bands per sample, and
    // the two channels share a register's lanes. Each lane does exactly the per-channel
    // arithmetic, in the same order: the output is bit for bit that of the channel-by-channel
    // loop, with no delay added.
    using Lanes = juce::dsp::SIMDRegister<float>;
    struct LaneBand
    {
        Lanes b0, b1, b2, a1, a2, lv1, lv2;
    };
    std::array<LaneBand, maxBands> lanes;
    std::array<Lanes, maxBands> carry; // each band's latest output

    const auto pair = [] (float l, float r)
    {
        alignas (Lanes::SIMDRegisterSize) std::array<float, Lanes::SIMDNumElements> values {};
        values[0] = l;
        values[1] = r;
        return Lanes::fromRawArray (values.data());
    };

    for (int j = 0; j < numActive; ++j)
    {
        const auto& band = *active[j];
        const auto& state = filterState[(size_t) band.stateSlot];
        const auto [b0, b1, b2, a1, a2] = band.coefficients;
        lanes[(size_t) j] = { Lanes::expand (b0),
                              Lanes::expand (b1),
                              Lanes::expand (b2),
                              Lanes::expand (a1),
                              Lanes::expand (a2),
                              pair (state[0][0], state[1][0]),
                              pair (state[0][1], state[1][1]) };
    }

    const auto step = [&lanes, &carry] (int j, Lanes v) noexcept
    {
        auto& b = lanes[(size_t) j];
        const auto output = v * b.b0 + b.lv1;
        b.lv1 = v * b.b1 - output * b.a1 + b.lv2;
        b.lv2 = v * b.b2 - output * b.a2;
        carry[(size_t) j] = output;
    };

    alignas (Lanes::SIMDRegisterSize) std::array<float, Lanes::SIMDNumElements> io {};
    const auto last = numActive - 1;

    for (int k = 0; k < numSamples + last; ++k)
    {
        // From the last band down, so each reads its predecessor's output of the step before.
        const auto lowest = std::max (0, k - numSamples + 1), highest = std::min (last, k);

        for (int j = highest; j >= std::max (lowest, 1); --j)
            step (j, carry[(size_t) (j - 1)]);

        if (lowest == 0)
            step (0, pair (left[k], right[k]));

        if (k >= last)
        {
            carry[(size_t) last].copyToRawArray (io.data());
            left[k - last] = io[0];
            right[k - last] = io[1];
        }
    }

    for (int j = 0; j < numActive; ++j)
    {
        auto& state = filterState[(size_t) active[j]->stateSlot];
        for (size_t ch = 0; ch < 2; ++ch)
        {
            auto lv1 = lanes[(size_t) j].lv1.get (ch), lv2 = lanes[(size_t) j].lv2.get (ch);
            juce::dsp::util::snapToZero (lv1);
            juce::dsp::util::snapToZero (lv2);
            state[ch] = { lv1, lv2 };
        }
    }
}

void ParametricEqualiser::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    auto* buffer = info.buffer;
    if (buffer == nullptr)
        return;

    if ((middle.load (std::memory_order_relaxed) & freshFlag) != 0)
        front = middle.exchange (front, std::memory_order_acq_rel) & ~freshFlag;

    const auto& s = snapshots[(size_t) front];
    const auto channels = buffer->getNumChannels();
    const auto n = info.numSamples;

    if (s.bandsOn)
    {
        buffer->setNotClear();
        std::array<const PublishedBand*, maxBands> active {};
        int numActive = 0;

        for (int i = 0; i < s.numBands && channels > 0; ++i)
        {
            const auto& band = s.bands[(size_t) i];
            if (! band.on)
                continue;

            auto& state = filterState[(size_t) band.stateSlot];
            if (stateOwner[(size_t) band.stateSlot] != band.generation)
            {
                stateOwner[(size_t) band.stateSlot] = band.generation;
                for (auto& channel : state)
                    channel = {};
            }

            if (channels == 2)
            {
                active[(size_t) numActive++] = &band;
                continue;
            }

            const auto [b0, b1, b2, a1, a2] = band.coefficients;

            for (int ch = 0; ch < juce::jmin (channels, maxChannels); ++ch)
            {
                auto* x = buffer->getWritePointer (ch, info.startSample);
                auto lv1 = state[(size_t) ch][0], lv2 = state[(size_t) ch][1];

                // Transposed direct form II, as the framework's own filter computes it.
                for (int k = 0; k < n; ++k)
                {
                    const auto input = x[k];
                    const auto output = input * b0 + lv1;
                    x[k] = output;
                    lv1 = input * b1 - output * a1 + lv2;
                    lv2 = input * b2 - output * a2;
                }

                juce::dsp::util::snapToZero (lv1);
                juce::dsp::util::snapToZero (lv2);
                state[(size_t) ch] = { lv1, lv2 };
            }
        }

        if (numActive > 0)
            filterStereo (active.data(), numActive, buffer->getWritePointer (0, info.startSample),
                          buffer->getWritePointer (1, info.startSample), n);
    }

    if (s.outputStageOn && ! (s.outputGain == 1.0f && s.pan == 0.0))
    {
        const bool clear = buffer->hasBeenCleared();

        if (channels != 2)
        {
            if (s.applyGain && ! clear)
                for (int ch = 0; ch < channels; ++ch)
                    juce::FloatVectorOperations::multiply (buffer->getWritePointer (ch, info.startSample), s.outputGain, n);
        }
        else
        {
            for (int ch = 0; ch < 2; ++ch)
            {
                const auto side = (float) (ch == 0 ? s.panLeft : s.panRight);
                auto factor = lastFactor;

                if (s.applyGain && s.applyPan)
                    factor = s.outputGain * side;
                else if (s.applyGain)
                    factor = s.outputGain;
                else if (s.applyPan)
                    factor = side;

                lastFactor = factor;
                if (! clear)
                    juce::FloatVectorOperations::multiply (buffer->getWritePointer (ch, info.startSample), factor, n);
            }
        }
    }

    if (spectrumWanted.load (std::memory_order_relaxed))
        spectrum.push (info);
}

} // namespace Marlode
