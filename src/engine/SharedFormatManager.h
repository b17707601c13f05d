#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

namespace Marlode
{

/** The one format manager of the process, with WAV/BWF, AIFF, FLAC, Ogg Vorbis and MP3 readers.
    Held through juce::SharedResourcePointer by every deck; message thread for creating readers. */
class SharedFormatManager : public juce::AudioFormatManager
{
public:
    SharedFormatManager() { registerBasicFormats(); }
};

} // namespace Marlode
