#include "engine/Mpg123AudioFormat.h"

#include <mpg123.h>

#include <climits>
#include <cstdio>

namespace Marlode
{

namespace
{
    // Before libmpg123 1.27 the library had to be set up once per process, and not from two threads at once.
    void initialiseLibrary()
    {
        [[maybe_unused]] static const int done = mpg123_init();
    }

    //==============================================================================
    /** Decodes one stream; seeks by frame through the index the opening scan built. */
    class Mpg123Reader : public juce::AudioFormatReader
    {
    public:
        explicit Mpg123Reader (juce::InputStream* in) : juce::AudioFormatReader (in, Mpg123AudioFormat::formatName)
        {
            handle = mpg123_new (nullptr, nullptr);

            if (handle != nullptr)
                opened = open();
        }

        ~Mpg123Reader() override
        {
            // Closing the handle may still call back into the stream, which the base class deletes later.
            if (handle != nullptr)
                mpg123_delete (handle);
        }

        [[nodiscard]] bool openedOk() const noexcept { return opened; }

        /** For a refused stream that its caller keeps. */
        void releaseStream() noexcept { input = nullptr; }

        bool readSamples (int* const* destChannels, int numDestChannels, int startOffsetInDestBuffer,
                          juce::int64 startSampleInFile, int numSamples) override
        {
            while (numSamples > 0)
            {
                if (startSampleInFile >= blockStart && startSampleInFile < blockStart + blockFrames)
                {
                    const auto offset = (int) (startSampleInFile - blockStart);
                    const auto count = juce::jmin (numSamples, (int) (blockFrames - offset));
                    copyFromBlock (destChannels, numDestChannels, startOffsetInDestBuffer, offset, count);
                    startOffsetInDestBuffer += count;
                    startSampleInFile += count;
                    numSamples -= count;
                }
                else if (startSampleInFile < 0 || startSampleInFile >= lengthInSamples || ! decodeBlockAt (startSampleInFile))
                {
                    // Outside the stream, or the stream ended before its scanned length: silence,
                    // as the framework's readers give.
                    const auto count =
                        startSampleInFile < 0 ? (int) juce::jmin ((juce::int64) numSamples, -startSampleInFile) : numSamples;
                    clear (destChannels, numDestChannels, startOffsetInDestBuffer, count);
                    startOffsetInDestBuffer += count;
                    startSampleInFile += count;
                    numSamples -= count;
                }
            }

            return true;
        }

    private:
        bool open()
        {
            mpg123_param (handle, MPG123_ADD_FLAGS, MPG123_GAPLESS | MPG123_QUIET, 0.0);
            mpg123_format_none (handle);

            const long* rates = nullptr;
            size_t numRates = 0;
            mpg123_rates (&rates, &numRates);

            for (size_t i = 0; i < numRates; ++i)
                mpg123_format (handle, rates[i], MPG123_MONO | MPG123_STEREO, MPG123_ENC_FLOAT_32);

            if (mpg123_replace_reader_handle (handle, readCallback, seekCallback, nullptr) != MPG123_OK
                || mpg123_open_handle (handle, input) != MPG123_OK)
                return false;

            long rate = 0;
            int channels = 0, encoding = 0;

            if (mpg123_getformat (handle, &rate, &channels, &encoding) != MPG123_OK || encoding != MPG123_ENC_FLOAT_32
                || (channels != 1 && channels != 2) || rate <= 0)
                return false;

            // Holds the stream to the first frame's shape: a later frame of another rate or channel
            // count is converted by the library or ends the stream, never reaches the copy below.
            mpg123_format_none (handle);
            mpg123_format (handle, rate, channels, MPG123_ENC_FLOAT_32);

            if (mpg123_scan (handle) != MPG123_OK)
                return false;

            const auto length = mpg123_length (handle);

            if (length < 0)
                return false;

            sampleRate = (double) rate;
            numChannels = (unsigned int) channels;
            lengthInSamples = (juce::int64) length;
            decoderPosition = (juce::int64) mpg123_tell (handle);
            // The playlist shows no bit depth for MP3; 32 is what the decoder hands out.
            bitsPerSample = 32;
            usesFloatingPointData = true;
            block.allocate ((size_t) (blockCapacity * channels), true);
            return true;
        }

        /** Decodes the block that holds `frame`; false when nothing more decodes there. */
        bool decodeBlockAt (juce::int64 frame)
        {
            // A short step forward decodes through; anything else seeks.
            if (frame < decoderPosition || frame > decoderPosition + blockCapacity)
            {
                const auto reached = mpg123_seek (handle, (off_t) frame, SEEK_SET);

                if (reached < 0)
                    return false;

                decoderPosition = (juce::int64) reached;
            }

            const auto bytesPerFrame = sizeof (float) * numChannels;

            // A new format, and a frame the library skips, each show as a read of nothing.
            for (int emptyReads = 0; emptyReads < maxEmptyReads;)
            {
                size_t bytes = 0;
                const auto result =
                    mpg123_read (handle, (unsigned char*) block.get(), (size_t) blockCapacity * bytesPerFrame, &bytes);

                if (result == MPG123_NEW_FORMAT && ! sameFormat())
                    return false;

                blockStart = decoderPosition;
                blockFrames = (juce::int64) (bytes / bytesPerFrame);
                decoderPosition += blockFrames;

                if (frame < blockStart + blockFrames)
                    return frame >= blockStart;

                if (blockFrames == 0)
                {
                    if (result != MPG123_OK && result != MPG123_NEW_FORMAT)
                        return false;

                    ++emptyReads;
                }
            }

            return false;
        }

        bool sameFormat()
        {
            long rate = 0;
            int channels = 0, encoding = 0;
            return mpg123_getformat (handle, &rate, &channels, &encoding) == MPG123_OK && (double) rate == sampleRate
                   && channels == (int) numChannels && encoding == MPG123_ENC_FLOAT_32;
        }

        void copyFromBlock (int* const* dest, int numDest, int destOffset, int blockOffset, int count) const noexcept
        {
            const auto channels = (int) numChannels;

            for (int c = 0; c < numDest; ++c)
            {
                if (dest[c] == nullptr)
                    continue;

                auto* out = reinterpret_cast<float*> (dest[c]) + destOffset;

                if (c >= channels)
                {
                    juce::FloatVectorOperations::clear (out, count);
                    continue;
                }

                const auto* in = block.get() + (size_t) blockOffset * (size_t) channels + (size_t) c;

                for (int i = 0; i < count; ++i)
                    out[i] = in[(size_t) i * (size_t) channels];
            }
        }

        static void clear (int* const* dest, int numDest, int destOffset, int count) noexcept
        {
            for (int c = 0; c < numDest; ++c)
                if (dest[c] != nullptr)
                    juce::FloatVectorOperations::clear (reinterpret_cast<float*> (dest[c]) + destOffset, count);
        }

        static mpg123_ssize_t readCallback (void* stream, void* buffer, size_t bytes)
        {
            const auto wanted = (int) juce::jmin (bytes, (size_t) INT_MAX);
            return (mpg123_ssize_t) static_cast<juce::InputStream*> (stream)->read (buffer, wanted);
        }

        static off_t seekCallback (void* stream, off_t offset, int whence)
        {
            auto& in = *static_cast<juce::InputStream*> (stream);
            juce::int64 target = offset;

            if (whence == SEEK_CUR)
                target += in.getPosition();
            else if (whence == SEEK_END)
                target += in.getTotalLength();
            else if (whence != SEEK_SET)
                return -1;

            if (target < 0 || ! in.setPosition (target))
                return -1;

            return (off_t) in.getPosition();
        }

        // Frames decoded per call: a few MP3 frames of 1152.
        static constexpr int blockCapacity = 4096;
        static constexpr int maxEmptyReads = 8;

        mpg123_handle* handle = nullptr;
        bool opened = false;
        juce::HeapBlock<float> block;
        juce::int64 blockStart = 0, blockFrames = 0;
        // The frame the next mpg123_read starts at.
        juce::int64 decoderPosition = 0;

        JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (Mpg123Reader)
    };
}

//==============================================================================
Mpg123AudioFormat::Mpg123AudioFormat() : juce::AudioFormat (formatName, ".mp3")
{
    initialiseLibrary();
}

juce::Array<int> Mpg123AudioFormat::getPossibleSampleRates()
{
    juce::Array<int> result;
    const long* rates = nullptr;
    size_t numRates = 0;
    mpg123_rates (&rates, &numRates);

    for (size_t i = 0; i < numRates; ++i)
        result.add ((int) rates[i]);

    return result;
}

juce::AudioFormatReader* Mpg123AudioFormat::createReaderFor (juce::InputStream* in, bool deleteStreamIfOpeningFails)
{
    if (in == nullptr)
        return nullptr;

    auto reader = std::make_unique<Mpg123Reader> (in);

    if (reader->openedOk())
        return reader.release();

    if (! deleteStreamIfOpeningFails)
        reader->releaseStream();

    return nullptr;
}

juce::AudioFormatWriter* Mpg123AudioFormat::createWriterFor (juce::OutputStream*, double, unsigned int, int,
                                                             const juce::StringPairArray&, int)
{
    return nullptr;
}

} // namespace Marlode
