#include "support/HostileFiles.h"
#include "support/TestAudio.h"

#include <array>
#include <cmath>
#include <set>
#include <sys/stat.h>

namespace MarlodeTest
{

namespace
{
    juce::File writeWith (juce::AudioFormat&& format, const juce::File& file, double rate, int channels, int frames, int bits,
                          bool silent = false, int quality = 0)
    {
        juce::AudioBuffer<float> buffer (channels, frames);

        for (int c = 0; c < channels; ++c)
            for (int i = 0; i < frames; ++i)
                buffer.setSample (c, i, silent ? 0.0f : 0.4f * (float) std::sin (0.03 * (i + 100 * c)));

        file.deleteFile();
        auto* stream = file.createOutputStream().release();
        std::unique_ptr<juce::AudioFormatWriter> writer (
            format.createWriterFor (stream, rate, (unsigned) channels, bits, {}, quality));

        if (writer == nullptr)
        {
            delete stream;
            return {};
        }

        writer->writeFromAudioSampleBuffer (buffer, 0, frames);
        return file;
    }

    juce::MemoryBlock bytesOf (const juce::File& file)
    {
        juce::MemoryBlock data;
        file.loadFileAsData (data);
        return data;
    }

    juce::File save (const juce::File& file, const juce::MemoryBlock& data)
    {
        file.replaceWithData (data.getData(), data.getSize());
        return file;
    }

    struct Bytes
    {
        juce::MemoryOutputStream out;
        Bytes& text (const char* s)
        {
            out.write (s, std::strlen (s));
            return *this;
        }
        Bytes& le32 (juce::uint32 v)
        {
            out.writeInt ((int) v);
            return *this;
        }
        Bytes& le16 (int v)
        {
            out.writeShort ((short) v);
            return *this;
        }
        Bytes& le64 (juce::int64 v)
        {
            out.writeInt64 (v);
            return *this;
        }
        Bytes& be32 (juce::uint32 v)
        {
            out.writeIntBigEndian ((int) v);
            return *this;
        }
        Bytes& be16 (int v)
        {
            out.writeShortBigEndian ((short) v);
            return *this;
        }
        Bytes& zeros (int n)
        {
            out.writeRepeatedByte (0, (size_t) n);
            return *this;
        }
        Bytes& raw (std::initializer_list<int> values)
        {
            for (auto v : values)
                out.writeByte ((char) v);
            return *this;
        }
        juce::File saveAs (const juce::File& f) { return save (f, out.getMemoryBlock()); }
    };

    Bytes& wavFormat (Bytes& b, int channels, int rate, int bits)
    {
        return b.text ("fmt ")
            .le32 (16)
            .le16 (1)
            .le16 (channels)
            .le32 ((juce::uint32) rate)
            .le32 ((juce::uint32) ((juce::int64) rate * channels * bits / 8))
            .le16 (channels * bits / 8)
            .le16 (bits);
    }

    /** A plain RIFF WAV whose data chunk claims `claimed` bytes and holds `held`. */
    juce::File wav (const juce::File& file, int channels, int rate, int bits, juce::uint32 claimed, int held)
    {
        Bytes b;
        b.text ("RIFF").le32 (claimed > 0xffffffffu - 36 ? 0xffffffffu : 36 + claimed).text ("WAVE");
        wavFormat (b, channels, rate, bits).text ("data").le32 (claimed).zeros (held);
        return b.saveAs (file);
    }

    /** AIFF with a COMM chunk and, when `ssndLength` isn't 0, an SSND chunk holding `held` bytes. */
    juce::File aiff (const juce::File& file, int channels, juce::uint32 frames, int bits, juce::uint32 ssndLength, int held)
    {
        Bytes b;
        b.text ("FORM").be32 (4 + 26 + (ssndLength != 0 ? 16 + (juce::uint32) held : 0)).text ("AIFF");
        // 44100 as an 80-bit extended float.
        b.text ("COMM").be32 (18).be16 (channels).be32 (frames).be16 (bits).raw ({ 0x40, 0x0e, 0xac, 0x44, 0, 0, 0, 0, 0, 0 });
        if (ssndLength != 0)
            b.text ("SSND").be32 (ssndLength).be32 (0).be32 (0).zeros (held);
        return b.saveAs (file);
    }
}

juce::File writeAbsurdRf64 (const juce::File& file)
{
    Bytes b;
    b.text ("RF64").le32 (0xffffffff).text ("WAVE");
    b.text ("ds64")
        .le32 (28)
        .le64 ((juce::int64) 256 << 30)
        .le64 ((juce::int64) 256 << 30)
        .le64 ((juce::int64) 64 << 30)
        .le32 (0);
    wavFormat (b, 2, 44100, 16).text ("data").le32 (0xffffffff).zeros (64);
    return b.saveAs (file);
}

std::vector<juce::File> writeGenuineAudio (const juce::File& folder)
{
    std::vector<juce::File> files {
        writeWith (juce::WavAudioFormat(), folder.getChildFile ("8bit.wav"), 8000.0, 1, 8000, 8),
        writeWith (juce::WavAudioFormat(), folder.getChildFile ("16bit.wav"), 44100.0, 2, 44100, 16),
        writeWith (juce::WavAudioFormat(), folder.getChildFile ("24bit.wav"), 96000.0, 2, 9600, 24),
        writeWith (juce::WavAudioFormat(), folder.getChildFile ("float.wav"), 192000.0, 1, 19200, 32),
        writeWith (juce::WavAudioFormat(), folder.getChildFile ("one frame.wav"), 44100.0, 2, 1, 16),
        writeWith (juce::AiffAudioFormat(), folder.getChildFile ("16bit.aiff"), 44100.0, 2, 44100, 16),
        writeWith (juce::AiffAudioFormat(), folder.getChildFile ("24bit.aif"), 48000.0, 1, 4800, 24),
        writeWith (juce::FlacAudioFormat(), folder.getChildFile ("16bit.flac"), 44100.0, 2, 44100, 16),
        writeWith (juce::FlacAudioFormat(), folder.getChildFile ("24bit.flac"), 96000.0, 1, 9600, 24),
        writeWith (juce::OggVorbisAudioFormat(), folder.getChildFile ("tone.ogg"), 44100.0, 2, 44100, 16, false, 4),
        writeWith (juce::FlacAudioFormat(), folder.getChildFile ("silence.flac"), 44100.0, 2, 44100 * 60, 16, true, 8),
        writeWith (juce::OggVorbisAudioFormat(), folder.getChildFile ("silence.ogg"), 44100.0, 2, 44100 * 60, 16, true, 0),
    };

    // RF64 by hand: the framework writes it only past 4 GB.
    Bytes rf64;
    rf64.text ("RF64").le32 (0xffffffff).text ("WAVE");
    rf64.text ("ds64").le32 (28).le64 (4 + 36 + 24 + 8 + 4000).le64 (4000).le64 (1000).le32 (0);
    wavFormat (rf64, 2, 44100, 16).text ("data").le32 (0xffffffff);
    for (int i = 0; i < 2000; ++i)
        rf64.le16 ((int) (8000.0 * std::sin (0.03 * i)));
    files.push_back (rf64.saveAs (folder.getChildFile ("small.rf64.wav")));
    return files;
}

std::vector<HostileFile> writeHostileAudio (const juce::File& folder)
{
    std::vector<HostileFile> files;
    auto add = [&] (const juce::File& f, bool mustRefuse = true) { files.push_back ({ f, mustRefuse }); };
    auto named = [&] (const juce::String& name) { return folder.getChildFile (name); };

    // Truncations. PCM cut inside its header or data claims more than it holds; a compressed
    // file cut after its header stays readable up to the cut.
    const juce::File sources[] = {
        writeWith (juce::WavAudioFormat(), named ("source.wav.src"), 44100.0, 2, 22050, 16),
        writeWith (juce::AiffAudioFormat(), named ("source.aiff.src"), 44100.0, 2, 22050, 16),
        writeWith (juce::FlacAudioFormat(), named ("source.flac.src"), 44100.0, 2, 22050, 16),
        writeWith (juce::OggVorbisAudioFormat(), named ("source.ogg.src"), 44100.0, 2, 22050, 16, false, 4),
        writeMp3 (named ("source.mp3.src"), 44100.0, 2, 22050,
                  [] (int c, int i) { return 0.4f * (float) std::sin (0.03 * (i + 100 * c)); }),
    };
    const juce::StringArray extensions { ".wav", ".aiff", ".flac", ".ogg", ".mp3" };

    for (int s = 0; s < extensions.size(); ++s)
    {
        const auto data = bytesOf (sources[s]);
        const auto& extension = extensions[s];

        // Inside every header field and at fractions of the data. Short of a whole header nothing
        // can be read; past it a reader may take the frames the bytes hold.
        std::set<size_t> cuts {
            1, 2, 3, 4, 8, 12, 16, 20, 24, 30, 36, 40, 44, 45, 48, 64, 100, 200, 500, 1000, data.getSize() - 1
        };
        for (const auto fraction : { 0.1, 0.25, 1.0 / 3.0, 0.5, 0.6, 0.9 })
            cuts.insert ((size_t) ((double) data.getSize() * fraction));

        for (const auto cut : cuts)
            add (save (named ("cut at " + juce::String ((int) cut) + extension), juce::MemoryBlock (data.getData(), cut)),
                 cut < 12);

        // Another format's magic over this one's, and this one's bytes under every other extension.
        for (int other = 0; other < extensions.size(); ++other)
        {
            if (other == s)
                continue;

            auto renamed = data;
            renamed.copyFrom (bytesOf (sources[other]).getData(), 0, 4);
            add (save (named ("magic of " + extensions[other].substring (1) + extension), renamed), false);
            add (save (named (extensions[s].substring (1) + " named" + extensions[other]), data), false);
        }

        // A good file with a kilobyte of noise after it.
        juce::MemoryBlock tail (data);
        juce::Random garbage (s + 1);
        for (int i = 0; i < 1024; ++i)
            tail.append (std::array<char, 1> { (char) garbage.nextInt (256) }.data(), 1);
        add (save (named ("trailing garbage" + extension), tail), false);
    }

    // Eight channels, valid in each format that takes them: readable, but no deck plays them.
    add (writeWith (juce::WavAudioFormat(), named ("8 channels.wav"), 44100.0, 8, 4410, 16), false);
    add (writeWith (juce::AiffAudioFormat(), named ("8 channels.aiff"), 44100.0, 8, 4410, 16), false);
    add (writeWith (juce::FlacAudioFormat(), named ("8 channels.flac"), 44100.0, 8, 4410, 16), false);

    // Absurd claims.
    add (writeAbsurdRf64 (named ("absurd.rf64.wav")));
    add (wav (named ("4 GB data.wav"), 2, 44100, 16, 0xfffffff0, 64));

    Bytes bext;
    bext.text ("RIFF").le32 (0xffffffff).text ("WAVE").text ("bext").le32 (0xfffffff0).zeros (64);
    add (bext.saveAs (named ("4 GB metadata.wav")));

    add (aiff (named ("absurd.aiff"), 2, 0x7fffffff, 16, 0xfffffff0, 64));

    Bytes inst;
    inst.text ("FORM").be32 (0xfffffff0).text ("AIFF").text ("INST").be32 (0xfffffff0).zeros (64);
    add (inst.saveAs (named ("4 GB instrument.aiff")));

    // Impossible shapes: too many channels (the reader would loop forever on 131070-byte
    // frames), rates out of range, 4-bit AIFF without sound data (a division by zero).
    add (wav (named ("65535 channels.wav"), 65535, 44100, 16, 131070 * 2, 131070 * 2));
    add (wav (named ("10 MHz.wav"), 2, 10000000, 16, 400, 400));
    add (wav (named ("500 Hz.wav"), 1, 500, 16, 400, 400));
    for (const auto rate : { 0u, 1u, 999u, 768001u, 0x7fffffffu, 0xffffffffu })
        add (wav (named (juce::String (rate) + " Hz.wav"), 2, (int) rate, 16, 400, 400));
    for (const auto bits : { 0, 1, 7, 12, 40, 64, 255 })
        add (wav (named (juce::String (bits) + " bits.wav"), 2, 44100, bits, 400, 400), false);
    add (wav (named ("no channels.wav"), 0, 44100, 16, 400, 400));
    add (wav (named ("empty data.wav"), 2, 44100, 16, 0, 0), false);
    add (wav (named ("odd data.wav"), 2, 44100, 16, 401, 401), false);
    add (aiff (named ("no frames.aiff"), 2, 0, 16, 8, 0), false);
    add (aiff (named ("4 billion frames.aiff"), 2, 0xffffffff, 16, 400, 400));

    Bytes hugeFormat;
    hugeFormat.text ("RIFF").le32 (400).text ("WAVE").text ("fmt ").le32 (0xfffffff0).zeros (64);
    add (hugeFormat.saveAs (named ("4 GB format chunk.wav")));
    Bytes noFormat;
    noFormat.text ("RIFF").le32 (412).text ("WAVE").text ("data").le32 (400).zeros (400);
    add (noFormat.saveAs (named ("no format chunk.wav")));
    add (aiff (named ("4 bit.aiff"), 1, 44100, 4, 0, 0));

    auto flac = bytesOf (sources[2]);
    auto* streamInfo = static_cast<juce::uint8*> (flac.getData());
    streamInfo[21] &= 0xf0;
    std::memset (streamInfo + 22, 0xff, 4);
    add (save (named ("4 billion frames.flac"), flac));

    // An MP3 frame whose Xing header claims two billion frames before eight silent ones: the
    // decoder counts the frames itself, so this reads as the short silence it holds. And an ID3
    // tag with nothing after.
    Bytes xing;
    xing.raw ({ 0xff, 0xfb, 0x90, 0x40 }).zeros (32).text ("Xing").be32 (1).be32 (0x7fffffff).zeros (417 - 48);
    for (int frame = 0; frame < 8; ++frame)
        xing.raw ({ 0xff, 0xfb, 0x90, 0x40 }).zeros (417 - 4);
    add (xing.saveAs (named ("2 billion frames.mp3")), false);
    Bytes id3;
    id3.text ("ID3").raw ({ 3, 0, 0, 0, 0, 0, 10 }).zeros (10);
    add (id3.saveAs (named ("tag only.mp3")));

    // Nothing, noise of many sizes under every extension, a folder and a pipe. An MP3 decoder
    // hunts for frames through noise and may find some.
    juce::Random random (20261123);
    for (const auto& extension : extensions)
    {
        const auto empty = named ("empty" + extension);
        empty.create();
        add (empty);

        for (int n = 0; n < 20; ++n)
        {
            juce::MemoryBlock noise ((size_t) (1 + random.nextInt (n < 10 ? 512 : 65536)));
            random.fillBitsRandomly (noise.getData(), noise.getSize());
            add (save (named ("noise " + juce::String (n) + extension), noise), extension != ".mp3");
        }
    }

    named ("folder.wav").createDirectory();
    add (named ("folder.wav"));
    ::mkfifo (named ("pipe.wav").getFullPathName().toRawUTF8(), 0600);
    add (named ("pipe.wav"));
    return files;
}

} // namespace MarlodeTest
