#include "engine/SharedFormatManager.h"
#include "engine/Mpg123AudioFormat.h"

namespace Marlode
{

void SharedFormatManager::registerPlayerFormats (juce::AudioFormatManager& formats)
{
    formats.registerFormat (new juce::WavAudioFormat(), true);
    formats.registerFormat (new juce::AiffAudioFormat(), false);
    formats.registerFormat (new juce::FlacAudioFormat(), false);
    formats.registerFormat (new juce::OggVorbisAudioFormat(), false);
    formats.registerFormat (new Mpg123AudioFormat(), false);
}

} // namespace Marlode
