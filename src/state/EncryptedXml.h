#pragma once

#include <juce_core/juce_core.h>

#include <memory>

namespace Marlode
{

//==============================================================================
/**
    The session file's form: the document's text as the framework writes it, padded to whole
    8-byte blocks (a full block when it already fills them) and enciphered with Blowfish in ECB
    mode. No magic number, version or checksum: other tools read and write it as it is.
    Message thread (it is only ever used at start and quit), but nothing here needs one.
*/
class EncryptedXml
{
public:
    /** The key both ends use: ten ASCII digits, fixed for the system. */
    static constexpr const char* sessionKey = "4829301765";

    /** The enciphered bytes of `xml`. */
    [[nodiscard]] static juce::MemoryBlock encrypt (const juce::XmlElement& xml, const juce::String& key);

    /** The document in `data`, or null when it is empty, not whole blocks or not a document; a
        bad pad is left in place for the parser to judge. */
    [[nodiscard]] static std::unique_ptr<juce::XmlElement> decrypt (juce::MemoryBlock data, const juce::String& key);

    /** Writes the enciphered document through a temporary file beside `file` that is then
        renamed over it, so a process killed at any moment leaves the old file or the new one,
        never a part. False when it can't be written. */
    static bool writeEncryptedXml (const juce::XmlElement& xml, const juce::File& file, const juce::String& key);

    /** The document in `file`, or null when it is missing, not a regular file, larger than any
        session we write, or not an enciphered document. */
    [[nodiscard]] static std::unique_ptr<juce::XmlElement> readEncryptedXml (const juce::File& file, const juce::String& key);
};

} // namespace Marlode
