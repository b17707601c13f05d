#include "deck/TrackTransport.h"

namespace Marlode
{

namespace
{
    constexpr int ringChannels = 2;
    constexpr int readChunkFrames = 4096;
    constexpr int fadeOutFrames = 256;
}

//==============================================================================
/** One source at one device rate: the ring, its read-ahead client and the seek hand-shake.

    The read-ahead thread is the only writer of the ring and the only reader of the source. The
    audio thread is the only reader of the ring. A seek bumps `requestedGen`; the read-ahead
    thread answers with a new segment (its start in the ring and its source position) tagged
    with that generation; the audio thread skips the stale frames before the segment. */
class TrackTransport::Stream final : public juce::TimeSliceClient
{
public:
    Stream (juce::PositionableAudioSource& src, juce::TimeSliceThread& readThread,
            double sourceRateIn, double deviceRateIn, int capacityFrames, juce::int64 startPosition)
        : source (src),
          thread (readThread),
          ratio (sourceRateIn > 0.0 && deviceRateIn > 0.0 ? sourceRateIn / deviceRateIn : 1.0),
          inverseRatio (sourceRateIn > 0.0 && deviceRateIn > 0.0 ? deviceRateIn / sourceRateIn : 1.0),
          ring (ringChannels, juce::jmax (capacityFrames, readChunkFrames * 2)),
          scratch (ringChannels, readChunkFrames)
    {
        if (! juce::approximatelyEqual (ratio, 1.0))
        {
            resampler = std::make_unique<juce::ResamplingAudioSource> (&source, false, ringChannels);
            resampler->setResamplingRatio (ratio);
            resampler->prepareToPlay (readChunkFrames, deviceRateIn);
        }

        ring.clear();
        requestedSourcePos.store (startPosition, std::memory_order_relaxed);
        requestedGen.store (1, std::memory_order_release);
    }

    ~Stream() override { thread.removeTimeSliceClient (this); }

    void attach() { thread.addTimeSliceClient (this); }

    //==============================================================================
    // Any thread: positions in source samples.
    void requestSeek (juce::int64 sourcePosition) noexcept
    {
        requestedSourcePos.store (sourcePosition, std::memory_order_relaxed);
        requestedGen.fetch_add (1, std::memory_order_acq_rel);
    }

    juce::int64 getSourcePosition() const noexcept
    {
        // A seek that the audio thread hasn't reached yet already counts as the position.
        if (requestedGen.load (std::memory_order_acquire) != playedGen.load (std::memory_order_acquire))
            return requestedSourcePos.load (std::memory_order_relaxed);

        return playedSourcePos.load (std::memory_order_relaxed);
    }

    juce::int64 getTotalSourceLength() const noexcept { return source.getTotalLength(); }
    bool isLooping() const noexcept { return source.isLooping(); }
    double getRatio() const noexcept { return ratio; }
    double getInverseRatio() const noexcept { return inverseRatio; }

    int getNumBuffered() const noexcept
    {
        return (int) (written.load (std::memory_order_acquire) - readPos.load (std::memory_order_acquire));
    }

    //==============================================================================
    /** Audio thread. Fills the block from the ring, silence where it has nothing. */
    void render (const juce::AudioSourceChannelInfo& info) noexcept
    {
        const auto wanted = requestedGen.load (std::memory_order_acquire);
        const auto segment = segmentGen.load (std::memory_order_acquire);

        if (segment != wanted)
        {
            info.clearActiveBufferRegion();
            return;
        }

        if (segment != audioGen)
        {
            const auto start = segmentStart.load (std::memory_order_relaxed);
            const auto position = segmentSourcePos.load (std::memory_order_relaxed);

            if (segmentGen.load (std::memory_order_acquire) != segment)
            {
                info.clearActiveBufferRegion();
                return;
            }

            audioGen = segment;
            audioSegmentSourcePos = position;
            framesIntoSegment = 0;
            readPos.store (start, std::memory_order_release);
        }

        const auto read = readPos.load (std::memory_order_relaxed);
        const auto available = written.load (std::memory_order_acquire) - read;
        const auto frames = (int) juce::jmin ((std::uint64_t) info.numSamples, available);
        const auto capacity = (std::uint64_t) ring.getNumSamples();
        const auto ringStart = (int) (read % capacity);
        const auto firstPart = juce::jmin (frames, (int) capacity - ringStart);
        auto& out = *info.buffer;

        for (int ch = 0; ch < out.getNumChannels(); ++ch)
        {
            if (ch >= ringChannels)
            {
                out.clear (ch, info.startSample, info.numSamples);
                continue;
            }

            if (firstPart > 0)
                out.copyFrom (ch, info.startSample, ring, ch, ringStart, firstPart);
            if (frames > firstPart)
                out.copyFrom (ch, info.startSample + firstPart, ring, ch, 0, frames - firstPart);
            if (frames < info.numSamples)
                out.clear (ch, info.startSample + frames, info.numSamples - frames);
        }

        readPos.store (read + (std::uint64_t) frames, std::memory_order_release);
        framesIntoSegment += frames;
        playedSourcePos.store (audioSegmentSourcePos + (juce::int64) ((double) framesIntoSegment * ratio),
                               std::memory_order_relaxed);
        playedGen.store (audioGen, std::memory_order_release);
    }

    //==============================================================================
    /** Read-ahead thread. */
    int useTimeSlice() override
    {
        const auto wanted = requestedGen.load (std::memory_order_acquire);

        if (wanted != readerGen)
        {
            const auto position = juce::jmax ((juce::int64) 0, requestedSourcePos.load (std::memory_order_relaxed));
            readerGen = wanted;
            source.setNextReadPosition (position);

            if (resampler != nullptr)
                resampler->flushBuffers();

            segmentStart.store (written.load (std::memory_order_relaxed), std::memory_order_relaxed);
            segmentSourcePos.store (position, std::memory_order_relaxed);
            segmentGen.store (wanted, std::memory_order_release);
        }

        const auto writePos = written.load (std::memory_order_relaxed);
        const auto capacity = (std::uint64_t) ring.getNumSamples();
        const auto used = writePos - readPos.load (std::memory_order_acquire);
        const auto space = (int) juce::jmin ((std::uint64_t) readChunkFrames, capacity - juce::jmin (used, capacity));

        if (space < readChunkFrames / 4)
            return 5;

        // The stale frames between the audio's read position and a new segment count as used
        // space until the audio thread skips them; reading into scratch first keeps the ring's
        // frames untouched until they are complete.
        juce::AudioSourceChannelInfo info (&scratch, 0, space);

        if (resampler != nullptr)
            resampler->getNextAudioBlock (info);
        else
            source.getNextAudioBlock (info);

        const auto ringStart = (int) (writePos % capacity);
        const auto firstPart = juce::jmin (space, (int) capacity - ringStart);

        for (int ch = 0; ch < ringChannels; ++ch)
        {
            ring.copyFrom (ch, ringStart, scratch, ch, 0, firstPart);
            if (space > firstPart)
                ring.copyFrom (ch, 0, scratch, ch, firstPart, space - firstPart);
        }

        written.store (writePos + (std::uint64_t) space, std::memory_order_release);
        return 1;
    }

    /** Audio thread: the play position in source samples, for the end-of-stream test. */
    juce::int64 getPlayedSourcePosition() const noexcept { return playedSourcePos.load (std::memory_order_relaxed); }

private:
    juce::PositionableAudioSource& source;
    juce::TimeSliceThread& thread;
    const double ratio;        // source samples per device sample
    const double inverseRatio; // device samples per source sample, kept apart so lengths come out whole
    std::unique_ptr<juce::ResamplingAudioSource> resampler;

    juce::AudioBuffer<float> ring;
    juce::AudioBuffer<float> scratch; // read-ahead thread only

    // Frames written by the read-ahead thread / read by the audio thread since the stream began.
    std::atomic<std::uint64_t> written { 0 }, readPos { 0 };

    // Seek requests: any thread writes, the read-ahead thread answers.
    std::atomic<juce::int64> requestedSourcePos { 0 };
    std::atomic<std::uint32_t> requestedGen { 0 };

    // The latest segment: the read-ahead thread publishes, the audio thread adopts.
    std::atomic<std::uint64_t> segmentStart { 0 };
    std::atomic<juce::int64> segmentSourcePos { 0 };
    std::atomic<std::uint32_t> segmentGen { 0 };

    // Audio thread publishes what it has played; the message thread reads.
    std::atomic<juce::int64> playedSourcePos { 0 };
    std::atomic<std::uint32_t> playedGen { 0 };

    std::uint32_t readerGen = 0;               // read-ahead thread only
    std::uint32_t audioGen = 0;                // audio thread only
    juce::int64 audioSegmentSourcePos = 0;     // audio thread only
    juce::int64 framesIntoSegment = 0;         // audio thread only
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
    playing.store (false, std::memory_order_release);
    endOfStreamReached.store (false, std::memory_order_relaxed);

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
    return std::make_unique<Stream> (*source, *thread, sourceRate, rate > 0.0 ? rate : sourceRate,
                                     readAhead, startSourcePosition);
}

void TrackTransport::replaceStream (std::unique_ptr<Stream> next)
{
    if (next != nullptr)
        next->attach();

    std::unique_ptr<Stream> old (stream.exchange (next.release()));

    // The audio thread may have picked up the old stream just before the exchange.
    while (inCallback.load())
        juce::Thread::yield();

    old.reset();
}

//==============================================================================
void TrackTransport::start()
{
    if (playing.load() || stream.load() == nullptr)
        return;

    endOfStreamReached.store (false);
    stopped.store (false);
    playing.store (true);
    startTimer (10);
    sendChangeMessage();
}

void TrackTransport::stop()
{
    if (! playing.exchange (false))
        return;

    // Only a running device fades out; without one nothing would ever acknowledge.
    if (prepared.load())
        for (int n = 500; --n >= 0 && ! stopped.load();)
            juce::Thread::sleep (2);

    sendChangeMessage();
}

void TrackTransport::timerCallback()
{
    if (endOfStreamReached.exchange (false))
        sendChangeMessage();

    if (! playing.load())
        stopTimer();
}

//==============================================================================
void TrackTransport::setNextReadPosition (juce::int64 devicePosition) noexcept
{
    if (auto* s = stream.load())
    {
        const auto sourcePosition = (juce::int64) ((double) devicePosition * s->getRatio());
        s->requestSeek (juce::jmax ((juce::int64) 0, sourcePosition));
        endOfStreamReached.store (false);
    }
}

juce::int64 TrackTransport::getNextReadPosition() const noexcept
{
    if (auto* s = stream.load())
        return (juce::int64) ((double) s->getSourcePosition() * s->getInverseRatio());

    return 0;
}

juce::int64 TrackTransport::getTotalLength() const noexcept
{
    if (auto* s = stream.load())
        return (juce::int64) ((double) s->getTotalSourceLength() * s->getInverseRatio());

    return 0;
}

bool TrackTransport::isLooping() const noexcept
{
    auto* s = stream.load();
    return s != nullptr && s->isLooping();
}

double TrackTransport::getCurrentPosition() const noexcept
{
    const auto rate = getSampleRate();
    return rate > 0.0 ? (double) getNextReadPosition() / rate : 0.0;
}

double TrackTransport::getLengthInSeconds() const noexcept
{
    const auto rate = getSampleRate();
    return rate > 0.0 ? (double) getTotalLength() / rate : 0.0;
}

void TrackTransport::setPosition (double seconds) noexcept
{
    const auto rate = getSampleRate();

    if (rate > 0.0)
        setNextReadPosition ((juce::int64) (seconds * rate));
}

bool TrackTransport::hasStreamFinished() const noexcept
{
    auto* s = stream.load();
    return s != nullptr && ! s->isLooping() && s->getSourcePosition() >= s->getTotalSourceLength();
}

int TrackTransport::getNumBufferedSamples() const noexcept
{
    auto* s = stream.load();
    return s != nullptr ? s->getNumBuffered() : 0;
}

//==============================================================================
void TrackTransport::prepareToPlay (int samplesPerBlockExpected, double sampleRate)
{
    const std::lock_guard<std::mutex> lock (configLock);
    blockSize = juce::jmax (1, samplesPerBlockExpected);
    const auto oldRate = deviceRate.exchange (sampleRate);
    prepared.store (true);

    // The ring holds device-rate audio, so a new rate needs a new stream from the same place.
    if (source != nullptr && ! juce::approximatelyEqual (oldRate, sampleRate))
    {
        auto* s = stream.load();
        const auto position = s != nullptr ? s->getSourcePosition() : 0;
        replaceStream (makeStream (position));
    }
}

void TrackTransport::releaseResources()
{
    prepared.store (false);
}

void TrackTransport::getNextAudioBlock (const juce::AudioSourceChannelInfo& info) noexcept
{
    inCallback.store (true);
    auto* s = stream.load();

    if (s != nullptr && ! stopped.load (std::memory_order_relaxed))
    {
        s->render (info);
        const bool stillPlaying = playing.load (std::memory_order_acquire);

        if (! stillPlaying)
        {
            // Stopped since the last block: fade this one out rather than cut it.
            const auto fade = juce::jmin (fadeOutFrames, info.numSamples);

            for (int ch = 0; ch < info.buffer->getNumChannels(); ++ch)
                info.buffer->applyGainRamp (ch, info.startSample, fade, 1.0f, 0.0f);

            if (info.numSamples > fade)
                for (int ch = 0; ch < info.buffer->getNumChannels(); ++ch)
                    info.buffer->clear (ch, info.startSample + fade, info.numSamples - fade);
        }
        else if (! s->isLooping() && s->getPlayedSourcePosition() > s->getTotalSourceLength() + 1)
        {
            playing.store (false, std::memory_order_release);
            endOfStreamReached.store (true, std::memory_order_release);
        }

        stopped.store (! playing.load (std::memory_order_acquire), std::memory_order_release);
    }
    else
    {
        info.clearActiveBufferRegion();
        stopped.store (true, std::memory_order_release);
    }

    inCallback.store (false);
}

} // namespace Marlode
