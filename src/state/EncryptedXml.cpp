#include "state/EncryptedXml.h"
#include "state/AtomicFile.h"
#include "state/RegularFileInputStream.h"
#include "state/SafeXml.h"

#include <juce_cryptography/juce_cryptography.h>

namespace Marlode
{

namespace
{
    juce::BlowFish cipher (const juce::String& key)
    {
        const auto utf8 = key.toUTF8();
        return { utf8.getAddress(), (int) utf8.sizeInBytes() - 1 };
    }
}

juce::MemoryBlock EncryptedXml::encrypt (const juce::XmlElement& xml, const juce::String& key)
{
    juce::MemoryOutputStream text;
    xml.writeTo (text);

    // The cipher adds the pad itself: 8 - (size mod 8) bytes, each holding that count.
    auto data = text.getMemoryBlock();
    cipher (key).encrypt (data);
    return data;
}

std::unique_ptr<juce::XmlElement> EncryptedXml::decrypt (juce::MemoryBlock data, const juce::String& key)
{
    if (data.isEmpty() || data.getSize() % 8 != 0)
        return {};

    // Not the block overload, which asserts on a bad pad: a bad pad is a foreign file's, kept whole.
    const auto unpadded = cipher (key).decrypt (data.getData(), data.getSize());
    const auto size = unpadded >= 0 ? (size_t) unpadded : data.getSize();

    juce::String error;
    return SafeXml::parse (data.getData(), size, error);
}

bool EncryptedXml::writeEncryptedXml (const juce::XmlElement& xml, const juce::File& file, const juce::String& key)
{
    // A write that fails leaves the old session in place instead of a cut one.
    const auto data = encrypt (xml, key);
    return AtomicFile::replaceWithData (file, data.getData(), data.getSize());
}

std::unique_ptr<juce::XmlElement> EncryptedXml::readEncryptedXml (const juce::File& file, const juce::String& key)
{
    RegularFileInputStream in (file);

    if (! in.openedOk() || in.getTotalLength() > XmlLimits().maxFileBytes)
        return {};

    juce::MemoryBlock data ((size_t) in.getTotalLength());

    if (in.read (data.getData(), (int) data.getSize()) != (int) data.getSize())
        return {};

    return decrypt (std::move (data), key);
}

} // namespace Marlode
