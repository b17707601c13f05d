#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

namespace Marlode
{

//==============================================================================
/**
    MP3 (and MPEG layer 1 and 2) reading through Debian's libmpg123, a decoder maintained and
    fuzzed upstream, in place of the framework's own, which writes past its arrays on crafted
    frames. Read only.

    The stream is decoded where it lies, through libmpg123's reader callbacks; the whole stream
    is scanned once on opening for an exact length and a seek index, so a stream that cannot
    seek is refused. Output is 32-bit float, mono or stereo, at the stream's own rate. Reading
    from any position gives the same samples as reading straight through up to it.

    Gapless decoding is on: the encoder's delay and padding (LAME's info frame) are removed, so a
    file is a few milliseconds shorter than the framework's decoder made it, and exactly as long
    as what was encoded, which is what a player that loops, measures loudness and shows sample
    positions must see.

    A reader belongs to one thread at a time, like every framework reader.
*/
class Mpg123AudioFormat : public juce::AudioFormat
{
public:
    Mpg123AudioFormat();

    juce::Array<int> getPossibleSampleRates() override;
    juce::Array<int> getPossibleBitDepths() override { return {}; }
    bool canDoStereo() override { return true; }
    bool canDoMono() override { return true; }
    bool isCompressed() override { return true; }

    /** Null for anything libmpg123 refuses to open, cannot scan or cannot give mono or stereo float for. */
    juce::AudioFormatReader* createReaderFor (juce::InputStream*, bool deleteStreamIfOpeningFails) override;

    /** Always null: the player writes no MP3. */
    juce::AudioFormatWriter* createWriterFor (juce::OutputStream*, double, unsigned int, int, const juce::StringPairArray&,
                                              int) override;

    static constexpr const char* formatName = "MP3 file";
};

} // namespace Marlode
