#pragma once

#include <juce_core/juce_core.h>

#include <memory>

namespace Marlode
{

/** What a document from outside may cost: far beyond any playlist or session we write. */
struct XmlLimits
{
    int maxDepth = 32;
    int maxElements = 100000; // elements and text pieces together
    int maxAttributesPerElement = 256;
    int maxAttributes = 250000;
    // The framework keeps every attribute name in one sorted pool and inserts each new one in
    // linear time, so many distinct names cost quadratic time.
    int maxAttributeNames = 2048;
    juce::int64 maxFileBytes = 16 * 1024 * 1024;
};

//==============================================================================
/**
    Reads XML that comes from outside the program (playlists, stored layouts, the session) so that
    no document can crash, hang or exhaust it.

    The framework's parser recurses once per nesting level, loops forever on some inputs, reads
    any file a DOCTYPE names and re-parses entity text as markup, so outside text never reaches
    it. Instead one walk over the bytes accepts a plain subset of XML (elements, quoted
    attributes, text, the five named and the numeric character references, comments, processing
    instructions and CDATA) in strict UTF-8, within the limits above, and builds the element tree
    as it goes: the tree the framework's parser gives for the same document, with whitespace-only
    text left out. Any thread.
*/
class SafeXml
{
public:
    using Limits = XmlLimits;

    /** The document's root element, or null with `error` saying why. */
    [[nodiscard]] static std::unique_ptr<juce::XmlElement> parse (const juce::String& text, juce::String& error,
                                                                  const Limits& limits = {});

    /** The same for UTF-8 bytes (a leading byte order mark is allowed). */
    [[nodiscard]] static std::unique_ptr<juce::XmlElement> parse (const void* data, size_t size, juce::String& error,
                                                                  const Limits& limits = {});

    /** The same for a file, which must be a regular file no larger than the limit. */
    [[nodiscard]] static std::unique_ptr<juce::XmlElement> parseFile (const juce::File& file, juce::String& error,
                                                                      const Limits& limits = {});

    /** Whether a document passes; empty when it does, else the reason. */
    [[nodiscard]] static juce::String check (const juce::String& text, const Limits& limits = {});
};

} // namespace Marlode
