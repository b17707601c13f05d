#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

#include <memory>

namespace Marlode
{

//==============================================================================
/**
    The one door through which audio files from outside are opened: the deck's load, the
    playlist's row facts (and so the command line and drops) and the waveform's thumbnail.

    A file is opened without blocking and must be a regular file at that moment. Before a reader
    exists, a RIFF, RF64 or AIFF container must keep every chunk inside the file, because the
    framework's readers size buffers from chunk lengths. Then the reader's claims must be
    possible for the file's size: for PCM, frames x channels x bytes per sample within the file;
    for compressed formats, at most `maxSamplesPerByte` decoded samples per byte and
    `maxDecodedSamples` in all. Sample rate 1 kHz to 768 kHz, 1 to 64 channels. A refused file is
    logged with the reason. Any thread.
*/
class AudioFileGuard
{
public:
    /** A reader from the first format that takes the file's extension and passes; null if none,
        and then `whyNot`, when given, receives the reason. */
    [[nodiscard]] static std::unique_ptr<juce::AudioFormatReader> createReader (juce::AudioFormatManager&, const juce::File&,
                                                                                juce::String* whyNot = nullptr);

    /** Empty when every chunk of a RIFF, RF64 or AIFF stream lies within it, else why not;
        other streams pass. The stream is left where it was. */
    [[nodiscard]] static juce::String checkContainer (juce::InputStream&);

    /** Empty when the reader's claims are possible for `streamBytes` bytes, else why not. */
    [[nodiscard]] static juce::String checkClaims (const juce::AudioFormatReader&, juce::int64 streamBytes, bool compressed);

    static constexpr double lowestSampleRate = 1000.0, highestSampleRate = 768000.0;
    static constexpr unsigned int maxChannels = 64;
    // Decoded samples (frames x channels) per byte of a compressed file: digital silence in
    // FLAC or Vorbis comes to about 560.
    static constexpr juce::int64 maxSamplesPerByte = 16384;
    // About 24 hours of 48 kHz stereo; the thumbnail of that is 128 MB.
    static constexpr juce::int64 maxDecodedSamples = (juce::int64) 1 << 33;
    // What a container or a PCM length may claim beyond the last byte (a missing pad byte and the like).
    static constexpr juce::int64 slackBytes = 16;
};

} // namespace Marlode
