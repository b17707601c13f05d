#pragma once

#include <juce_core/juce_core.h>

#include <memory>

namespace Marlode
{

/** What a document from outside may cost: far beyond any playlist or session we write. */
struct XmlLimits
{
    int maxDepth = 32;
    int maxElements = 100000;
    juce::int64 maxFileBytes = 16 * 1024 * 1024;
};

//==============================================================================
/**
    Reads XML that comes from outside the program (playlists, stored layouts, the session) so that
    no document can crash or hang it.

    The framework's parser recurses once per nesting level, both while parsing and when the tree
    is destroyed, reads any file a DOCTYPE names, and re-parses entity text as markup. So a
    document is first checked against a plain subset of XML (elements, quoted attributes, text,
    the five named and the numeric character references, comments, processing instructions and
    CDATA) within limits of depth, element count and size; only then is it parsed.
    Any thread.
*/
class SafeXml
{
public:
    using Limits = XmlLimits;

    /** The document's root element, or null with `error` saying why. */
    [[nodiscard]] static std::unique_ptr<juce::XmlElement> parse (const juce::String& text, juce::String& error,
                                                                  const Limits& limits = {});

    /** The same for a file, which must be a regular file no larger than the limit. */
    [[nodiscard]] static std::unique_ptr<juce::XmlElement> parseFile (const juce::File& file, juce::String& error,
                                                                      const Limits& limits = {});

    /** Whether a document passes the checks; empty when it does, else the reason. */
    [[nodiscard]] static juce::String check (const juce::String& text, const Limits& limits = {});

    /** A plain file: not a directory, device, pipe or socket, whose reading could never end. */
    [[nodiscard]] static bool isRegularFile (const juce::File& file);
};

} // namespace Marlode
