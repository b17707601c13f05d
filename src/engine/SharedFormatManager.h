#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

namespace Marlode
{

/** The one format manager of the process, with the player's formats. Held through
    juce::SharedResourcePointer by every deck; message thread for creating readers. */
class SharedFormatManager : public juce::AudioFormatManager
{
public:
    SharedFormatManager() { registerPlayerFormats (*this); }

    /** Registers the formats the player reads, WAV/BWF (the default), AIFF, FLAC, Ogg Vorbis and
        MP3 through libmpg123, with any manager: every format manager of the program is filled
        by this, so all of them read the same files the same way. */
    static void registerPlayerFormats (juce::AudioFormatManager&);
};

} // namespace Marlode
