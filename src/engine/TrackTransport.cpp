#include "engine/TrackTransport.h"
#include "engine/SampleTime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <thread>

namespace Marlode
{

namespace
{
    constexpr int ringChannels = 2;
    constexpr int readChunkFrames = 4096;
    constexpr int fadeOutFrames = 256;

    // Device frames decoded ahead at each cue point: about 0.37 s at 44.1 kHz, far longer than the
    // few milliseconds the read-ahead needs to continue from the cue's end.
    constexpr int cueFrames = 16384;
    // Two cue points, plus one that the audio thread may still be playing after a cue point moved.
    constexpr int numCueSlots = 3;

    // How long a message-thread seek waits for the read-ahead before giving up on gaplessness.
    constexpr auto seekTimeout = std::chrono::milliseconds (250);

    // Seek requests, segments and the played position each pack a generation over a position in
    // source samples, so one atomic word carries both and no reader sees half of a change.
    constexpr int positionBits = 40; // 2^40 samples: more than 30 days even at 384 kHz
    constexpr std::uint64_t positionMask = (std::uint64_t (1) << positionBits) - 1;
    constexpr std::uint32_t generationMask = (1u << (64 - positionBits)) - 1;

    constexpr std::uint64_t pack (std::uint32_t generation, juce::int64 position) noexcept
    {
        const auto clamped = position < 0 ? 0 : std::min ((std::uint64_t) position, positionMask);
        return ((std::uint64_t) (generation & generationMask) << positionBits) | clamped;
    }

    constexpr std::uint32_t generationOf (std::uint64_t word) noexcept
    {
        return (std::uint32_t) (word >> positionBits);
    }
    constexpr juce::int64 positionOf (std::uint64_t word) noexcept
    {
        return (juce::int64) (word & positionMask);
    }
    constexpr std::uint32_t nextGeneration (std::uint32_t g) noexcept
    {
        return (g + 1) & generationMask;
    }

    // Generations wrap around; `a` is newer than `b` when it lies less than half the range ahead.
    constexpr bool isNewer (std::uint32_t a, std::uint32_t b) noexcept
    {
        const auto ahead = (a - b) & generationMask;
        return ahead != 0 && ahead < (generationMask >> 1);
    }

    // A segment's life, in the low bits of its state word under its generation.
    enum Phase : std::uint64_t
    {
        published = 1, // the read-ahead has its first audio in the ring
        adopted = 2,   // the audio thread plays it
        withdrawn = 3  // superseded before the audio thread took it; its ring space is reused
    };

    constexpr std::uint64_t segmentWord (std::uint32_t generation, Phase phase) noexcept
    {
        return ((std::uint64_t) generation << 2) | phase;
    }

    constexpr std::uint32_t segmentGeneration (std::uint64_t word) noexcept
    {
        return (std::uint32_t) (word >> 2);
    }
    constexpr Phase segmentPhase (std::uint64_t word) noexcept
    {
        return (Phase) (word & 3);
    }
}

//==============================================================================
/** One source at one device rate: the ring, the cue points, and the seek hand-shake.

    The read-ahead thread is the only writer of the ring and the cues and the only reader of the
    source. The audio thread is the only reader of the ring.

    A seek is a request word (generation + position) that any thread may replace. The read-ahead
    answers the newest request with a segment: audio from that place written after the ring's
    current end, announced by a boundary before its first frame is written and published once a
    chunk is there. The audio thread plays its adopted segment up to the boundary and adopts a
    newer published segment with a compare-and-swap; the read-ahead may withdraw a published
    segment nobody took (to answer a yet newer request in the same space) with the same
    compare-and-swap, so exactly one of the two wins.

    A cue is a slot of audio decoded ahead from a cue point. When the newest request names a
    ready cue's position, the audio thread plays the cue at once and asks for the segment that
    continues where the cue ends; it adopts that segment when the cue runs out. Raw channel
    pointers are taken once at construction, so neither thread touches the buffers' own state. */
class TrackTransport::Stream final : public juce::TimeSliceClient
{
public:
    Stream (juce::PositionableAudioSource& src, juce::TimeSliceThread& readThread, double sourceRateIn, double deviceRateIn,
            int readAheadFrames, juce::int64 startPosition)
        : source (src), thread (readThread), ratio (sourceRateIn > 0.0 && deviceRateIn > 0.0 ? sourceRateIn / deviceRateIn : 1.0),
          inverseRatio (sourceRateIn > 0.0 && deviceRateIn > 0.0 ? deviceRateIn / sourceRateIn : 1.0),
          // One chunk more than the read-ahead ever fills, so a new segment always has room.
          ring (ringChannels, juce::jmax (readAheadFrames, readChunkFrames * 2) + readChunkFrames),
          scratch (ringChannels, readChunkFrames)
    {
        if (! juce::approximatelyEqual (ratio, 1.0))
        {
            resampler = makeResampler (deviceRateIn);
            cueResampler = makeResampler (deviceRateIn);
        }

        ring.clear();
        ringData = ring.getArrayOfWritePointers();
        scratchData = scratch.getArrayOfWritePointers();

        for (auto& cue : cues)
        {
            cue.audio.setSize (ringChannels, cueFrames);
            cue.data = cue.audio.getArrayOfWritePointers();
        }

        request.store (pack (1, startPosition), std::memory_order_release);
        played.store (pack (0, startPosition), std::memory_order_release);
    }

    ~Stream() override { thread.removeTimeSliceClient (this); }

    void attach() { thread.addTimeSliceClient (this); }

    /** Ends this stream's reading (waiting for a slice under way); the audio thread may still
        play what the ring holds. */
    void detach() { thread.removeTimeSliceClient (this); }

    /** Message thread: the read-ahead answers this stream's requests first, at once. */
    void wake() { thread.moveToFrontOfQueue (this); }

    [[nodiscard]] bool hasReadAheadThread() const { return thread.isThreadRunning(); }

    //==============================================================================
    // Any thread: positions in source samples. Returns the request's generation.
    std::uint32_t requestSeek (juce::int64 sourcePosition) noexcept
    {
        auto current = request.load (std::memory_order_acquire);

        for (;;)
        {
            const auto generation = nextGeneration (generationOf (current));

            if (request.compare_exchange_weak (current, pack (generation, sourcePosition), std::memory_order_acq_rel,
                                               std::memory_order_acquire))
                return generation;
        }
    }

    void setWantedCues (juce::int64 loopStart, juce::int64 replay, bool wrapAtTheEnd) noexcept
    {
        wantedCue[0].store (loopStart, std::memory_order_relaxed);
        wantedCue[1].store (replay, std::memory_order_relaxed);
        wrapToReplayAtTheEnd.store (wrapAtTheEnd, std::memory_order_relaxed);
    }

    /** The request `generation` has been answered: its audio (or a newer one's) is ready. */
    [[nodiscard]] bool hasServed (std::uint32_t generation) const noexcept
    {
        const auto segment = segmentState.load (std::memory_order_acquire);

        if (segmentPhase (segment) != withdrawn && segmentPhase (segment) != 0
            && ! isNewer (generation, segmentGeneration (segment)))
            return true;

        return ! isNewer (generation, generationOf (played.load (std::memory_order_acquire)));
    }

    [[nodiscard]] juce::int64 getSourcePosition() const noexcept
    {
        // A request the audio hasn't reached yet already counts as the position.
        const auto wanted = request.load (std::memory_order_acquire);
        const auto heard = played.load (std::memory_order_acquire);
        return generationOf (wanted) != generationOf (heard) ? positionOf (wanted) : positionOf (heard);
    }

    [[nodiscard]] juce::int64 getTotalSourceLength() const noexcept { return source.getTotalLength(); }
    [[nodiscard]] bool isLooping() const noexcept { return source.isLooping(); }
    /** Device-rate samples to this stream's source samples: every seek and cue goes through it. */
    [[nodiscard]] juce::int64 toSource (juce::int64 devicePosition) const noexcept
    {
        return juce::jmax ((juce::int64) 0, (juce::int64) ((double) devicePosition * ratio));
    }
    [[nodiscard]] double getInverseRatio() const noexcept { return inverseRatio; }

    [[nodiscard]] int getNumBuffered() const noexcept
    {
        const auto read = readPos.load (std::memory_order_acquire);
        const auto end = written.load (std::memory_order_acquire);
        return end > read ? (int) (end - read) : 0;
    }

    /** Audio thread: the end of the stream has been heard, and no seek is on its way. */
    [[nodiscard]] bool hasPlayedPastTheEnd() const noexcept
    {
        const auto heard = played.load (std::memory_order_relaxed);
        return ! source.isLooping() && generationOf (request.load (std::memory_order_acquire)) == generationOf (heard)
               && positionOf (heard) > source.getTotalLength() + 1;
    }

    //==============================================================================
    /** Audio thread. Fills the block; silence only where no audio exists yet at all. */
    void render (const juce::AudioSourceChannelInfo& info) noexcept
    {
        wrappedThisBlock = false;
        takeNewRequest();
        adoptPublishedSegment();

        auto& out = *info.buffer;
        auto* const* outData = out.getArrayOfWritePointers();
        const auto outChannels = juce::jmin (out.getNumChannels(), ringChannels);
        const auto wrapTarget = wrapAtTheEndTarget();
        int done = 0;

        while (done < info.numSamples)
        {
            const auto destStart = info.startSample + done;
            auto room = info.numSamples - done;

            // A loop that ends with the track goes on at the replay point within this very block.
            if (wrapTarget >= 0 && (cueSlot >= 0 || hasSegment))
            {
                const auto left = framesBeforeTheEnd();

                if (left == 0)
                {
                    if (! requestWrapTo (wrapTarget))
                        break;

                    continue;
                }

                room = juce::jmin (room, left);
            }

            if (cueSlot >= 0)
            {
                const auto take = juce::jmin (room, cueFrames - cueOffset);
                copyFrames (outData, outChannels, destStart, cues[(size_t) cueSlot].data, cueOffset, take);
                cueOffset += take;
                done += take;

                if (cueOffset >= cueFrames)
                {
                    releaseCue();
                    adoptPublishedSegment();
                }

                continue;
            }

            if (! hasSegment)
                break;

            // `written` first: a boundary stored before it is then seen too.
            const auto read = readPos.load (std::memory_order_relaxed);
            auto end = written.load (std::memory_order_acquire);
            const auto limit = boundary.load (std::memory_order_acquire);

            if (limit > audioSegmentStart)
                end = juce::jmin (end, limit);

            const auto take = (int) juce::jmin ((std::uint64_t) room, end > read ? end - read : 0);

            if (take == 0)
                break;

            const auto capacity = (std::uint64_t) ring.getNumSamples();
            const auto ringStart = (int) (read % capacity);
            const auto firstPart = juce::jmin (take, (int) capacity - ringStart);
            copyFrames (outData, outChannels, destStart, ringData, ringStart, firstPart);

            if (take > firstPart)
                copyFrames (outData, outChannels, destStart + firstPart, ringData, 0, take - firstPart);

            readPos.store (read + (std::uint64_t) take, std::memory_order_release);
            framesIntoSegment += take;
            done += take;
        }

        for (int ch = 0; ch < out.getNumChannels(); ++ch)
        {
            if (ch >= ringChannels)
                out.clear (ch, info.startSample, info.numSamples);
            else if (done < info.numSamples)
                out.clear (ch, info.startSample + done, info.numSamples - done);
        }

        publishPlayedPosition();
    }

    //==============================================================================
    /** Read-ahead thread. */
    int useTimeSlice() override
    {
        const auto wanted = request.load (std::memory_order_acquire);

        if (generationOf (wanted) != readerGen && ! startSegment (generationOf (wanted), positionOf (wanted)))
            return 1;

        if (decodeMissingCue())
            return 0;

        return fillRing() ? 1 : 2;
    }

private:
    struct CueSlot
    {
        enum : int
        {
            empty,
            writing, // the read-ahead thread owns it
            ready,
            reading // the audio thread owns it
        };

        std::atomic<int> status { empty };
        // Written by the read-ahead only while it owns the slot; read by the audio thread after taking it.
        std::atomic<juce::int64> sourcePosition { -1 };
        juce::AudioBuffer<float> audio;
        float* const* data = nullptr;
    };

    std::unique_ptr<juce::ResamplingAudioSource> makeResampler (double deviceRateIn)
    {
        auto r = std::make_unique<juce::ResamplingAudioSource> (&source, false, ringChannels);
        r->setResamplingRatio (ratio);
        r->prepareToPlay (readChunkFrames, deviceRateIn);
        return r;
    }

    static void copyFrames (float* const* dest, int destChannels, int destStart, const float* const* src, int srcStart,
                            int numFrames) noexcept
    {
        for (int ch = 0; ch < destChannels; ++ch)
            juce::FloatVectorOperations::copy (dest[ch] + destStart, src[ch] + srcStart, numFrames);
    }

    //==============================================================================
    // Audio thread.
    void takeNewRequest() noexcept
    {
        const auto wanted = request.load (std::memory_order_acquire);
        const auto generation = generationOf (wanted);

        if (generation == handledGen)
            return;

        handledGen = generation;
        const auto position = positionOf (wanted);
        const auto slot = takeCue (position);

        if (slot < 0)
            return; // the audio already buffered plays on until the read-ahead has the new place

        // Ask for what follows the cue, unless a newer request came meanwhile: that one wins.
        const auto continuation = nextGeneration (generation);
        auto expected = wanted;

        if (! request.compare_exchange_strong (expected, pack (continuation, position + (juce::int64) (cueFrames * ratio)),
                                               std::memory_order_acq_rel, std::memory_order_acquire))
        {
            cues[(size_t) slot].status.store (CueSlot::ready, std::memory_order_release);
            return;
        }

        releaseCue();
        cueSlot = slot;
        cueOffset = 0;
        cueSourcePos = position;
        hasSegment = false; // what the ring holds now lies before the jump
        continuationGen = continuation;
        floorGen = continuation;
        handledGen = continuation;
        playedGen = continuation;
    }

    // The replay point in source samples when the track's end must wrap to it, else -1.
    [[nodiscard]] juce::int64 wrapAtTheEndTarget() const noexcept
    {
        const auto target = wantedCue[1].load (std::memory_order_relaxed);
        const bool wrap = wrapToReplayAtTheEnd.load (std::memory_order_relaxed) && ! source.isLooping();
        return wrap && target >= 0 && target < source.getTotalLength() ? target : -1;
    }

    // Device frames left before the source's end from what the audio thread plays now.
    [[nodiscard]] int framesBeforeTheEnd() const noexcept
    {
        const auto now = cueSlot >= 0 ? (double) cueSourcePos + cueOffset * ratio
                                      : (double) audioSegmentSourcePos + (double) framesIntoSegment * ratio;
        const auto left = ((double) source.getTotalLength() - now) * inverseRatio;
        return left <= 1.0e-6 ? 0 : (int) juce::jmin (std::ceil (left), (double) std::numeric_limits<int>::max());
    }

    // Once per end: a second end within the same block (a replay point right before the end)
    // leaves the rest of the block to the end's silence rather than spinning.
    bool requestWrapTo (juce::int64 target) noexcept
    {
        if (wrappedThisBlock)
            return false;

        wrappedThisBlock = true;
        requestSeek (target);
        takeNewRequest();
        adoptPublishedSegment();
        return cueSlot >= 0;
    }

    int takeCue (juce::int64 position) noexcept
    {
        for (int i = 0; i < numCueSlots; ++i)
        {
            auto& cue = cues[(size_t) i];
            auto expected = (int) CueSlot::ready;

            if (cue.sourcePosition.load (std::memory_order_relaxed) != position
                || ! cue.status.compare_exchange_strong (expected, CueSlot::reading, std::memory_order_acq_rel))
                continue;

            // Only the read-ahead's own slots change position, so this holds while we read it.
            if (cue.sourcePosition.load (std::memory_order_acquire) == position)
                return i;

            cue.status.store (CueSlot::ready, std::memory_order_release);
        }

        return -1;
    }

    void releaseCue() noexcept
    {
        if (cueSlot >= 0)
            cues[(size_t) cueSlot].status.store (CueSlot::ready, std::memory_order_release);

        cueSlot = -1;
    }

    void adoptPublishedSegment() noexcept
    {
        auto state = segmentState.load (std::memory_order_acquire);

        if (segmentPhase (state) != published)
            return;

        const auto generation = segmentGeneration (state);

        if ((hasSegment && ! isNewer (generation, audioGen)) || isNewer (floorGen, generation))
            return;

        // The segment that continues a cue waits until the cue has run out.
        if (cueSlot >= 0 && generation == continuationGen)
            return;

        // Read before the swap: the read-ahead rewrites them only after winning a swap itself.
        const auto start = segmentStart.load (std::memory_order_acquire);
        const auto position = segmentSourcePos.load (std::memory_order_acquire);

        if (! segmentState.compare_exchange_strong (state, segmentWord (generation, adopted), std::memory_order_acq_rel))
            return;

        releaseCue();
        hasSegment = true;
        audioGen = generation;
        playedGen = generation;
        audioSegmentStart = start;
        audioSegmentSourcePos = position;
        framesIntoSegment = 0;
        readPos.store (start, std::memory_order_release);
    }

    void publishPlayedPosition() noexcept
    {
        if (cueSlot >= 0)
            played.store (pack (playedGen, cueSourcePos + (juce::int64) ((double) cueOffset * ratio)), std::memory_order_release);
        else if (hasSegment)
            played.store (pack (playedGen, audioSegmentSourcePos + (juce::int64) ((double) framesIntoSegment * ratio)),
                          std::memory_order_release);
    }

    //==============================================================================
    // Read-ahead thread.
    int readFromSource (juce::ResamplingAudioSource* through, float* const* dest, int numFrames)
    {
        juce::AudioBuffer<float> view (dest, ringChannels, numFrames);
        const juce::AudioSourceChannelInfo info (&view, 0, numFrames);

        if (through != nullptr)
            through->getNextAudioBlock (info);
        else
            source.getNextAudioBlock (info);

        return numFrames;
    }

    void appendToRing (int numFrames)
    {
        const auto writePos = written.load (std::memory_order_relaxed);
        const auto capacity = (std::uint64_t) ring.getNumSamples();
        const auto ringStart = (int) (writePos % capacity);
        const auto firstPart = juce::jmin (numFrames, (int) capacity - ringStart);

        copyFrames (ringData, ringChannels, ringStart, scratchData, 0, firstPart);

        if (numFrames > firstPart)
            copyFrames (ringData, ringChannels, 0, scratchData, firstPart, numFrames - firstPart);

        written.store (writePos + (std::uint64_t) numFrames, std::memory_order_release);
    }

    [[nodiscard]] std::uint64_t freeSpace() const noexcept
    {
        const auto used = written.load (std::memory_order_relaxed) - readPos.load (std::memory_order_acquire);
        const auto capacity = (std::uint64_t) ring.getNumSamples();
        return capacity - juce::jmin (used, capacity);
    }

    bool startSegment (std::uint32_t generation, juce::int64 position)
    {
        auto state = segmentState.load (std::memory_order_acquire);

        // Our last segment was never taken: reuse its space, the boundary already stands before it.
        if (segmentPhase (state) == published
            && segmentState.compare_exchange_strong (state, segmentWord (segmentGeneration (state), withdrawn),
                                                     std::memory_order_acq_rel))
            written.store (fillSegmentStart, std::memory_order_release);
        else if (segmentPhase (state) != withdrawn)
            boundary.store (written.load (std::memory_order_relaxed), std::memory_order_release);

        if (freeSpace() < (std::uint64_t) readChunkFrames)
            return false;

        source.setNextReadPosition (position);

        if (resampler != nullptr)
            resampler->flushBuffers();

        const auto start = written.load (std::memory_order_relaxed);
        appendToRing (readFromSource (resampler.get(), scratchData, readChunkFrames));

        segmentStart.store (start, std::memory_order_relaxed);
        segmentSourcePos.store (position, std::memory_order_relaxed);
        segmentState.store (segmentWord (generation, published), std::memory_order_release);
        fillSegmentStart = start;
        readerGen = generation;
        return true;
    }

    bool fillRing()
    {
        // The last chunk of space stays free for the first chunk of a new segment.
        const auto space = freeSpace();

        if (space < (std::uint64_t) readChunkFrames * 2)
            return false;

        appendToRing (readFromSource (resampler.get(), scratchData, readChunkFrames));
        return true;
    }

    [[nodiscard]] bool isWantedCue (juce::int64 position) const noexcept
    {
        return position >= 0
               && (wantedCue[0].load (std::memory_order_relaxed) == position
                   || wantedCue[1].load (std::memory_order_relaxed) == position);
    }

    bool decodeMissingCue()
    {
        for (auto& wanted : wantedCue)
        {
            const auto position = wanted.load (std::memory_order_relaxed);

            if (position < 0 || hasCue (position))
                continue;

            for (auto& cue : cues)
            {
                auto status = cue.status.load (std::memory_order_acquire);

                if (status == CueSlot::reading || (status == CueSlot::ready && isWantedCue (cue.sourcePosition.load())))
                    continue;

                if (! cue.status.compare_exchange_strong (status, CueSlot::writing, std::memory_order_acq_rel))
                    continue;

                decodeCue (cue, position);
                return true;
            }
        }

        return false;
    }

public:
    [[nodiscard]] bool hasCue (juce::int64 position) const noexcept
    {
        for (auto& cue : cues)
        {
            const auto status = cue.status.load (std::memory_order_acquire);

            if ((status == CueSlot::ready || status == CueSlot::reading)
                && cue.sourcePosition.load (std::memory_order_relaxed) == position)
                return true;
        }

        return false;
    }

private:
    void decodeCue (CueSlot& cue, juce::int64 position)
    {
        // The ring's reading goes on afterwards from exactly where it was.
        const auto resumeAt = source.getNextReadPosition();
        source.setNextReadPosition (position);

        if (cueResampler != nullptr)
            cueResampler->flushBuffers();

        readFromSource (cueResampler.get(), cue.data, cueFrames);
        source.setNextReadPosition (resumeAt);

        cue.sourcePosition.store (position, std::memory_order_relaxed);
        cue.status.store (CueSlot::ready, std::memory_order_release);
    }

    //==============================================================================
    juce::PositionableAudioSource& source;
    juce::TimeSliceThread& thread;
    const double ratio;        // source samples per device sample
    const double inverseRatio; // device samples per source sample, kept apart so lengths come out whole
    std::unique_ptr<juce::ResamplingAudioSource> resampler, cueResampler;

    juce::AudioBuffer<float> ring;
    juce::AudioBuffer<float> scratch;
    float* const* ringData = nullptr;    // taken once: copies never touch the buffer's own flags
    float* const* scratchData = nullptr; // read-ahead thread only
    std::array<CueSlot, numCueSlots> cues;

    // Ring counters in frames since the stream began: the read-ahead writes `written` and
    // `boundary` (where the audio thread's segment ends), the audio thread writes `readPos`.
    std::atomic<std::uint64_t> written { 0 }, readPos { 0 }, boundary { 0 };

    // Any thread writes (compare-and-swap); the read-ahead answers the newest.
    std::atomic<std::uint64_t> request { 0 };
    // The audio thread writes them (every block); any thread reads: cue points in source samples.
    std::array<std::atomic<juce::int64>, 2> wantedCue { { { -1 }, { -1 } } };
    // Written with the cues: the track's end goes on at the replay point (a loop that ends there).
    std::atomic<bool> wrapToReplayAtTheEnd { false };

    // The latest segment: the read-ahead publishes or withdraws, the audio thread adopts.
    std::atomic<std::uint64_t> segmentState { 0 };
    std::atomic<std::uint64_t> segmentStart { 0 };
    std::atomic<juce::int64> segmentSourcePos { 0 };

    // The audio thread publishes what it has played; every thread reads.
    std::atomic<std::uint64_t> played { 0 };

    std::uint32_t readerGen = 0;        // read-ahead thread only
    std::uint64_t fillSegmentStart = 0; // read-ahead thread only

    // Audio thread only.
    bool hasSegment = false, wrappedThisBlock = false;
    std::uint32_t audioGen = 0, handledGen = 0, playedGen = 0, continuationGen = 0, floorGen = 0;
    std::uint64_t audioSegmentStart = 0;
    juce::int64 audioSegmentSourcePos = 0;
    juce::int64 framesIntoSegment = 0;
    int cueSlot = -1, cueOffset = 0;
    juce::int64 cueSourcePos = 0;
};

//==============================================================================
TrackTransport::TrackTransport() = default;

TrackTransport::~TrackTransport()
{
    stopTimer();
    replaceStream (nullptr);
}

void TrackTransport::setSource (juce::PositionableAudioSource* newSource, int readAheadSamples,
                                juce::TimeSliceThread* readAheadThread, double sourceSampleRateToCorrectFor)
{
    const std::lock_guard<std::mutex> lock (configLock);
    run.store (Run::idle);

    if (newSource == nullptr || readAheadThread == nullptr)
    {
        replaceStream (nullptr);
        source = nullptr;
        thread = nullptr;
        return;
    }

    source = newSource;
    thread = readAheadThread;
    sourceRate = sourceSampleRateToCorrectFor;
    readAhead = juce::jmax (readAheadSamples, blockSize * 2);
    source->prepareToPlay (blockSize, sourceRate > 0.0 ? sourceRate : 44100.0);
    replaceStream (makeStream (0));
}

std::unique_ptr<TrackTransport::Stream> TrackTransport::makeStream (juce::int64 startSourcePosition) const
{
    if (source == nullptr || thread == nullptr)
        return {};

    const auto rate = deviceRate.load();
    return std::make_unique<Stream> (*source, *thread, sourceRate, rate > 0.0 ? rate : sourceRate, readAhead,
                                     startSourcePosition);
}

void TrackTransport::replaceStream (std::unique_ptr<Stream> next)
{
    if (next != nullptr)
        next->attach();

    auto* fresh = next.get();
    std::unique_ptr<Stream> old (stream.exchange (next.release()));

    if (fresh != nullptr)
    {
        setCuePoints (cueLoopStartSeconds.load(), cueReplaySeconds.load(), cueWrapAtTheEnd.load());
        waitUntilServed (*fresh, 1);
    }

    // A reader may have picked up the old stream just before the exchange.
    while (users.load() != 0)
        std::this_thread::yield();

    old.reset();
}

void TrackTransport::waitUntilServed (Stream& s, std::uint32_t generation) const
{
    if (! s.hasReadAheadThread())
        return;

    const auto deadline = std::chrono::steady_clock::now() + seekTimeout;

    while (! s.hasServed (generation) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for (std::chrono::microseconds (100));
}

//==============================================================================
void TrackTransport::start()
{
    if (stream.load() == nullptr)
        return;

    auto expected = Run::idle;

    // A start during a stop's fade simply carries on playing.
    if (! run.compare_exchange_strong (expected, Run::playing))
    {
        expected = Run::stopping;

        if (! run.compare_exchange_strong (expected, Run::playing))
            return;
    }

    startTimer (10);
    sendChangeMessage();
}

void TrackTransport::stop()
{
    auto expected = Run::playing;

    if (! run.compare_exchange_strong (expected, Run::stopping))
        return;

    // The audio thread fades its next block out and goes idle. A transport that no device pulls
    // (another deck is current, or no device runs) would never answer, so the wait ends once no
    // block has come for three device periods.
    const auto rate = getSampleRate();
    const auto quietLimit = std::chrono::milliseconds (juce::jmax (40, rate > 0.0 ? (int) (3000.0 * blockSize / rate) : 0));
    auto seenBlocks = blocksPulled.load();
    auto lastBlockAt = std::chrono::steady_clock::now();

    for (int n = 500; --n >= 0 && run.load() == Run::stopping;)
    {
        juce::Thread::sleep (2);
        const auto now = std::chrono::steady_clock::now();

        if (const auto blocks = blocksPulled.load(); blocks != seenBlocks)
        {
            seenBlocks = blocks;
            lastBlockAt = now;
        }
        else if (now - lastBlockAt > quietLimit)
        {
            break;
        }
    }

    expected = Run::stopping;
    run.compare_exchange_strong (expected, Run::idle);
    sendChangeMessage();
}

bool TrackTransport::isPlaying() const noexcept
{
    return run.load (std::memory_order_acquire) == Run::playing;
}

bool TrackTransport::isSounding() const noexcept
{
    return run.load (std::memory_order_acquire) != Run::idle;
}

void TrackTransport::timerCallback()
{
    if (endOfStreamReached.exchange (false))
        sendChangeMessage();

    if (! isPlaying())
        stopTimer();
}

//==============================================================================
void TrackTransport::setNextReadPosition (juce::int64 devicePosition) noexcept
{
    const BlockScope use (*this);

    if (auto* s = stream.load())
        s->requestSeek (s->toSource (devicePosition));
}

void TrackTransport::setPosition (double seconds)
{
    const auto rate = getSampleRate();
    const BlockScope use (*this);
    auto* s = stream.load();

    if (rate <= 0.0 || s == nullptr)
        return;

    const auto generation = s->requestSeek (toSourcePosition (*s, juce::jmax (0.0, seconds)));
    s->wake();
    waitUntilServed (*s, generation);
}

juce::int64 TrackTransport::toDevicePosition (double seconds) const noexcept
{
    return secondsToSamples (seconds, getSampleRate());
}

juce::int64 TrackTransport::toSourcePosition (const Stream& s, double seconds) const noexcept
{
    return seconds < 0.0 ? -1 : s.toSource (toDevicePosition (seconds));
}

void TrackTransport::setCuePoints (double loopStartSeconds, double replaySeconds, bool wrapAtTheEnd) noexcept
{
    cueLoopStartSeconds.store (loopStartSeconds, std::memory_order_relaxed);
    cueReplaySeconds.store (replaySeconds, std::memory_order_relaxed);
    cueWrapAtTheEnd.store (wrapAtTheEnd, std::memory_order_relaxed);

    const BlockScope use (*this);

    if (auto* s = stream.load(); s != nullptr && getSampleRate() > 0.0)
        s->setWantedCues (toSourcePosition (*s, loopStartSeconds), toSourcePosition (*s, replaySeconds), wrapAtTheEnd);
}

bool TrackTransport::isCueReady (double seconds) const noexcept
{
    const BlockScope use (*this);
    auto* s = stream.load();
    return s != nullptr && getSampleRate() > 0.0 && s->hasCue (toSourcePosition (*s, seconds));
}

juce::int64 TrackTransport::getNextReadPosition() const noexcept
{
    const BlockScope use (*this);

    if (auto* s = stream.load())
        return (juce::int64) ((double) s->getSourcePosition() * s->getInverseRatio());

    return 0;
}

juce::int64 TrackTransport::getTotalLength() const noexcept
{
    const BlockScope use (*this);

    if (auto* s = stream.load())
        return (juce::int64) ((double) s->getTotalSourceLength() * s->getInverseRatio());

    return 0;
}

bool TrackTransport::isLooping() const noexcept
{
    const BlockScope use (*this);
    auto* s = stream.load();
    return s != nullptr && s->isLooping();
}

double TrackTransport::getCurrentPosition() const noexcept
{
    return samplesToSeconds (getNextReadPosition(), getSampleRate());
}

double TrackTransport::getLengthInSeconds() const noexcept
{
    return samplesToSeconds (getTotalLength(), getSampleRate());
}

bool TrackTransport::hasStreamFinished() const noexcept
{
    const BlockScope use (*this);
    auto* s = stream.load();
    return s != nullptr && ! s->isLooping() && s->getSourcePosition() >= s->getTotalSourceLength();
}

int TrackTransport::getNumBufferedSamples() const noexcept
{
    const BlockScope use (*this);
    auto* s = stream.load();
    return s != nullptr ? s->getNumBuffered() : 0;
}

//==============================================================================
void TrackTransport::prepareToPlay (int samplesPerBlockExpected, double sampleRate)
{
    const std::lock_guard<std::mutex> lock (configLock);
    blockSize = juce::jmax (1, samplesPerBlockExpected);
    const auto oldRate = deviceRate.exchange (sampleRate);

    // The ring holds device-rate audio, so a new rate needs a new stream from the same place.
    if (source != nullptr && ! juce::approximatelyEqual (oldRate, sampleRate))
    {
        juce::int64 position = 0;

        // The new stream prepares the same source, so the old one must stop reading it first.
        {
            const BlockScope use (*this);
            if (auto* s = stream.load())
            {
                position = s->getSourcePosition();
                s->detach();
            }
        }

        replaceStream (makeStream (position));
    }
}

void TrackTransport::releaseResources()
{
}

void TrackTransport::getNextAudioBlock (const juce::AudioSourceChannelInfo& info) noexcept
{
    const BlockScope use (*this);
    blocksPulled.fetch_add (1, std::memory_order_relaxed);
    auto* s = stream.load();
    const auto state = run.load (std::memory_order_acquire);

    if (s == nullptr || state == Run::idle)
    {
        info.clearActiveBufferRegion();
        return;
    }

    s->render (info);

    if (state == Run::stopping)
    {
        // Stopped since the last block: fade this one out rather than cut it.
        const auto fade = juce::jmin (fadeOutFrames, info.numSamples);

        for (int ch = 0; ch < info.buffer->getNumChannels(); ++ch)
            info.buffer->applyGainRamp (ch, info.startSample, fade, 1.0f, 0.0f);

        if (info.numSamples > fade)
            for (int ch = 0; ch < info.buffer->getNumChannels(); ++ch)
                info.buffer->clear (ch, info.startSample + fade, info.numSamples - fade);

        auto expected = Run::stopping;
        run.compare_exchange_strong (expected, Run::idle, std::memory_order_acq_rel);
    }
    else if (s->hasPlayedPastTheEnd())
    {
        auto expected = Run::playing;

        if (run.compare_exchange_strong (expected, Run::idle, std::memory_order_acq_rel))
            endOfStreamReached.store (true, std::memory_order_release);
    }
}

} // namespace Marlode
