#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

#include <vector>

namespace MarlodeTest
{

/** A made-up audio file and whether every opener must refuse it. */
struct HostileFile
{
    juce::File file;
    bool mustRefuse = true; // false: a truncated compressed file, readable up to where it stops
};

/** Genuine files the framework's writers make: WAV 8/16/24/32 float, a hand-made RF64, AIFF,
    FLAC and Ogg Vorbis, mono and stereo, 8 kHz to 192 kHz, a single frame, and a minute of
    digital silence in each compressed format (the most samples per byte they produce). */
std::vector<juce::File> writeGenuineAudio (const juce::File& folder);

/** Over 250 broken files made from scratch or from genuine ones: each format truncated at every
    header field and at fractions of its data, given another format's magic or extension, with
    trailing garbage; containers and streams claiming absurd lengths (among them a 144-byte RF64
    claiming 256 GB), oversized chunks, eight or 65535 channels, impossible rates and sample
    sizes, zero bytes, random bytes of many sizes under every extension, and a FIFO named .wav. */
std::vector<HostileFile> writeHostileAudio (const juce::File& folder);

/** The user's RF64 file: 144 bytes that claim 256 GB of 16-bit stereo. */
juce::File writeAbsurdRf64 (const juce::File& file);

} // namespace MarlodeTest
