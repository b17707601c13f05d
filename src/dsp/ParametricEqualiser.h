#pragma once

#include "state/EQBandValues.h"
#include "dsp/SpectrumFeed.h"
#include "dsp/BlockProcessor.h"

#include <array>
#include <atomic>
#include <mutex>
#include <optional>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    A parametric equaliser: second-order bands in series, then an output gain and linear balance,
    then the spectrum display's tap. Every deck has one and the master has one; the editor
    (EQComponent) owns it and changes it, the deck's or the master's engine runs it.

    How a change reaches the audio thread safely: the message thread keeps the bands' values and
    designs their coefficients, then publishes a complete, fixed-size snapshot of everything the
    block reads (the bands' coefficients and switches, in order, and the output stage) through a
    triple buffer. Writer and reader each own one of three snapshots and swap theirs with the
    middle one by an atomic exchange; so the audio thread never takes a lock, never allocates,
    never reads memory anyone frees or writes, and sees the newest snapshot at its next block.
    Each band carries a stable state slot and a generation, so its filter memory follows it when
    an earlier band is deleted, and a new band in a reused slot starts from rest. Writers (the
    message thread, and a device restart's prepare) are serialised by a mutex the audio thread
    never touches.

    Coefficients change without interpolation: the filter memory is kept, so a move is
    click-tolerant rather than click-free.
*/
class ParametricEqualiser : public BlockProcessor
{
public:
    static constexpr int maxBands = EQBandValues::maxBands;
    static constexpr int maxChannels = 8; // channels past these pass unfiltered

    /** The normalised biquad b0, b1, b2, a1, a2 (a0 = 1). */
    using Coefficients = std::array<float, 5>;

    /** Pan takes part on a deck's equaliser; the master's pan is the master's own. */
    explicit ParametricEqualiser (bool applyPan);

    //==============================================================================
    /** Any thread but the audio one, while no block runs through it: designs every band for the
        rate and rests every filter. A rate of 0 leaves the designs as they were. */
    void prepare (double sampleRate, int maximumBlockSize, int numChannels) override;

    /** Audio thread (or a render's worker). */
    void process (const juce::AudioSourceChannelInfo&) noexcept override;

    //==============================================================================
    // Message thread.

    /** Appends a band; false when there are already maxBands. */
    bool addBand (const EQBandValues& = {});
    void removeBand (int index);
    void removeAllBands();
    void setBand (int index, const EQBandValues&);

    [[nodiscard]] int getNumBands() const;
    [[nodiscard]] EQBandValues getBand (int index) const;

    /** The master toggle: off leaves the bands out (the output stage and the tap still run). */
    void setBandsOn (bool);

    void setOutputGain (float linearGain);
    [[nodiscard]] float getOutputGain() const;

    /** The pan control's value, -90 (left) to +90 (right). */
    void setPanFromSlider (double value);
    [[nodiscard]] double getPan() const;

    /** The output stage's own switches. */
    void setOutputStage (bool stageOn, bool gainTakesPart);

    /** The response of all switched-on bands at a frequency, in dB (floor -100); 0 with none.
        The master toggle doesn't change it. */
    [[nodiscard]] double responseDb (double frequency) const;

    [[nodiscard]] double getSampleRate() const noexcept { return sampleRate.load (std::memory_order_relaxed); }

    /** The design of one band, or nothing for a rate of 0 or an unknown type. */
    [[nodiscard]] static std::optional<Coefficients> design (const EQBandValues&, double sampleRate);

    /** |H(e^jw)| of one biquad, w = -2 pi f / rate. */
    [[nodiscard]] static double magnitude (const Coefficients&, double frequency, double sampleRate) noexcept;

    //==============================================================================
    /** Written by the editor (spectrum switched on and the editor showing), read by the block. */
    void setSpectrumWanted (bool wanted) noexcept { spectrumWanted.store (wanted, std::memory_order_relaxed); }

    SpectrumFeed spectrum;

    /** The audio thread's last channel factor of the output stage (tests). */

private:
    struct PublishedBand
    {
        Coefficients coefficients { 1.0f, 0.0f, 0.0f, 0.0f, 0.0f };
        bool on = true;
        int stateSlot = 0;
        std::uint32_t generation = 0;
    };

    /** Everything the block reads, copied whole. */
    struct Snapshot
    {
        std::array<PublishedBand, maxBands> bands {};
        int numBands = 0;
        bool bandsOn = true;
        bool outputStageOn = true, applyGain = true, applyPan = false;
        float outputGain = 1.0f;
        double pan = 0.0, panLeft = 1.0, panRight = 1.0;
    };

    struct Band
    {
        EQBandValues values;
        PublishedBand published;
    };

    void publish(); // with writerLock held

    /** Audio thread: the switched-on bands, in order, over a stereo block in place. */
    void filterStereo (const PublishedBand* const* active, int numActive, float* left, float* right, int numSamples) noexcept;

    /** A change of the whole-equaliser settings, published at once; and one of them read. */
    template <typename Change>
    void editOutput (Change&&);
    template <typename Value>
    Value readOutput (Value Snapshot::*field) const;
    void redesign (Band&) const;

    //==============================================================================
    // Message-thread side.
    mutable std::mutex writerLock;
    std::vector<Band> bands;
    Snapshot edited;
    std::uint32_t nextGeneration = 1;

    // The triple buffer: `middle` holds the index of the snapshot in between and a flag for
    // "newer than the reader's". The writer owns snapshots[back], the reader snapshots[front].
    static constexpr int freshFlag = 4;
    std::array<Snapshot, 3> snapshots {};
    std::atomic<int> middle { 1 };
    int back = 2;
    int front = 0;

    // Audio-thread side: each band's filter memory by state slot, and whose it is.
    std::array<std::array<std::array<float, 2>, maxChannels>, maxBands> filterState {};
    std::array<std::uint32_t, maxBands> stateOwner {};

    // Written by prepare, read by the editor's curve and the block's design.
    std::atomic<double> sampleRate { 44100.0 };
    // The factor the output stage last used on a channel; audio thread only.
    float lastFactor = 1.0f;
    // Written by the editor, read by the block.
    std::atomic<bool> spectrumWanted { false };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (ParametricEqualiser)
};

} // namespace Marlode
