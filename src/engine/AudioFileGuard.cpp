#include "engine/AudioFileGuard.h"
#include "state/RegularFileInputStream.h"

#include <cstring>

namespace Marlode
{

namespace
{
    // Far more than any real file has; the framework's readers walk every one of them.
    constexpr int maxChunks = 4096;

    bool is (const char* id, const char* name) noexcept
    {
        return std::memcmp (id, name, 4) == 0;
    }

    juce::String printable (const char* id)
    {
        juce::String s;
        for (int i = 0; i < 4; ++i)
            s << (id[i] >= 32 && id[i] < 127 ? juce::String::charToString ((juce::juce_wchar) id[i]) : juce::String ("?"));
        return s;
    }

    /** Walks the chunks the framework's WAV and AIFF readers walk, from the start of the stream. */
    juce::String walkChunks (juce::InputStream& in, juce::int64 size)
    {
        char id[4], type[4];

        if (size < 12 || in.read (id, 4) != 4)
            return {};

        const bool aiff = is (id, "FORM"), rf64 = is (id, "RF64"), riff = is (id, "RIFF");

        if (! (aiff || rf64 || riff))
            return {};

        const auto formSize = (juce::int64) (juce::uint32) (aiff ? in.readIntBigEndian() : in.readInt());

        if (in.read (type, 4) != 4 || ((rf64 || riff) && ! is (type, "WAVE")))
            return {};

        auto formEnd = 8 + formSize;
        juce::int64 rf64DataSize = 0;

        if (rf64)
        {
            // The 64-bit sizes live in the ds64 chunk that must come first.
            if (in.read (id, 4) != 4 || ! is (id, "ds64") || (juce::uint32) in.readInt() < 28)
                return {};

            const auto riffSize = in.readInt64();
            rf64DataSize = in.readInt64();

            if (riffSize < 0 || rf64DataSize < 0 || rf64DataSize > size + AudioFileGuard::slackBytes)
                return "RF64 claims " + juce::String (rf64DataSize) + " bytes of data in a file of " + juce::String (size);

            formEnd = 8 + riffSize;
        }

        formEnd = juce::jmin (formEnd, size);
        juce::int64 position = 12;

        for (int chunks = 0; position + 8 <= formEnd; ++chunks)
        {
            if (chunks >= maxChunks)
                return "more than " + juce::String (maxChunks) + " chunks";

            in.setPosition (position);

            if (in.read (id, 4) != 4)
                break;

            auto length = (juce::int64) (juce::uint32) (aiff ? in.readIntBigEndian() : in.readInt());

            if (rf64 && is (id, "data") && rf64DataSize > 0)
                length = rf64DataSize;

            if (position + 8 + length > size + AudioFileGuard::slackBytes)
                return "chunk '" + printable (id) + "' claims " + juce::String (length) + " bytes in a file of "
                       + juce::String (size);

            position += 8 + length + (length & 1);
        }

        return {};
    }
}

juce::String AudioFileGuard::checkContainer (juce::InputStream& in)
{
    const auto start = in.getPosition();
    in.setPosition (0);
    const auto problem = walkChunks (in, in.getTotalLength());
    in.setPosition (start);
    return problem;
}

juce::String AudioFileGuard::checkClaims (const juce::AudioFormatReader& reader, juce::int64 streamBytes, bool compressed)
{
    if (reader.numChannels < 1 || reader.numChannels > maxChannels)
        return juce::String (reader.numChannels) + " channels";

    // Written so that NaN fails too.
    if (! (reader.sampleRate >= lowestSampleRate && reader.sampleRate <= highestSampleRate))
        return "a sample rate of " + juce::String (reader.sampleRate);

    if (reader.bitsPerSample < (compressed ? 1u : 8u) || reader.bitsPerSample > 64)
        return juce::String (reader.bitsPerSample) + " bits per sample";

    if (reader.lengthInSamples < 0)
        return "a negative length";

    const auto channels = (juce::int64) reader.numChannels;
    const auto bytes = juce::jmax ((juce::int64) 0, streamBytes) + slackBytes;
    juce::int64 mostFrames = 0;

    if (compressed)
    {
        const auto mostSamples = bytes > maxDecodedSamples / maxSamplesPerByte ? maxDecodedSamples : bytes * maxSamplesPerByte;
        mostFrames = mostSamples / channels;
    }
    else
    {
        mostFrames = bytes / (channels * (((juce::int64) reader.bitsPerSample + 7) / 8));
    }

    if (reader.lengthInSamples > mostFrames)
        return juce::String (reader.lengthInSamples) + " frames claimed in " + juce::String (streamBytes) + " bytes";

    return {};
}

std::unique_ptr<juce::AudioFormatReader> AudioFileGuard::createReader (juce::AudioFormatManager& formats, const juce::File& file,
                                                                       juce::String* whyNot)
{
    juce::String problem ("no format reads it");

    for (auto* format : formats)
    {
        if (! format->canHandleFile (file))
            continue;

        auto in = std::make_unique<RegularFileInputStream> (file);

        if (! in->openedOk())
        {
            problem = in->getError();
            break;
        }

        problem = checkContainer (*in);

        if (problem.isNotEmpty())
            break;

        const auto bytes = in->getTotalLength();
        std::unique_ptr<juce::AudioFormatReader> reader (format->createReaderFor (in.release(), true));

        if (reader == nullptr)
        {
            problem = format->getFormatName() + " can't read it";
            continue;
        }

        problem = checkClaims (*reader, bytes, format->isCompressed());

        if (problem.isEmpty())
            return reader;
    }

    juce::Logger::writeToLog ("Refused audio file " + file.getFullPathName() + ": " + problem);

    if (whyNot != nullptr)
        *whyNot = problem;

    return {};
}

} // namespace Marlode
