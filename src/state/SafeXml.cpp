#include "state/SafeXml.h"
#include "state/RegularFileInputStream.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace Marlode
{

namespace
{
    using Byte = unsigned char;

    /** Strict UTF-8: no overlong forms, surrogates, values past U+10FFFF, nor NUL. */
    bool isValidUtf8 (const Byte* s, size_t n) noexcept
    {
        size_t i = 0;

        while (i < n)
        {
            const auto lead = s[i];

            if (lead == 0)
                return false;

            if (lead < 0x80)
            {
                ++i;
                continue;
            }

            size_t extra = 0;
            juce::uint32 code = 0, smallest = 0;

            if ((lead & 0xe0) == 0xc0)
            {
                extra = 1;
                code = lead & 0x1fu;
                smallest = 0x80;
            }
            else if ((lead & 0xf0) == 0xe0)
            {
                extra = 2;
                code = lead & 0x0fu;
                smallest = 0x800;
            }
            else if ((lead & 0xf8) == 0xf0)
            {
                extra = 3;
                code = lead & 0x07u;
                smallest = 0x10000;
            }
            else
                return false;

            if (n - i <= extra)
                return false;

            for (size_t k = 1; k <= extra; ++k)
            {
                const auto next = s[i + k];

                if ((next & 0xc0) != 0x80)
                    return false;

                code = (code << 6) | (next & 0x3fu);
            }

            if (code < smallest || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff))
                return false;

            i += extra + 1;
        }

        return true;
    }

    void appendUtf8 (std::string& out, juce::juce_wchar c)
    {
        char bytes[4];
        juce::CharPointer_UTF8 writer (bytes);
        writer.write (c);
        out.append (bytes, (size_t) (writer.getAddress() - bytes));
    }

    juce::String toString (const Byte* start, const Byte* end)
    {
        return juce::String::fromUTF8 (reinterpret_cast<const char*> (start), (int) (end - start));
    }

    juce::String toString (const std::string& s)
    {
        return juce::String::fromUTF8 (s.data(), (int) s.size());
    }

    /** Walks the bytes once, refusing anything outside the subset, and builds the tree on the way. */
    class Reader
    {
    public:
        Reader (const Byte* begin, const Byte* endOfText, const SafeXml::Limits& l) : p (begin), end (endOfText), limits (l) {}

        std::unique_ptr<juce::XmlElement> run (juce::String& errorOut)
        {
            std::unique_ptr<juce::XmlElement> root;

            if (skipMisc())
            {
                if (p < end && *p == '<')
                    root = document();
                else
                    error = "no root element";
            }

            errorOut = error;
            return error.isEmpty() ? std::move (root) : nullptr;
        }

    private:
        struct Open
        {
            std::unique_ptr<juce::XmlElement> element;
            std::string tag;
            std::vector<std::unique_ptr<juce::XmlElement>> children;
        };

        /** A refusal reads as false where a step reports success and as null where it gives an element. */
        struct Refused
        {
            operator bool() const noexcept { return false; }
            operator std::unique_ptr<juce::XmlElement>() const noexcept { return {}; }
        };

        Refused fail (const juce::String& why)
        {
            error = why;
            return {};
        }

        // The input is valid UTF-8 by now, so a lead byte always has its continuation bytes.
        static juce::juce_wchar decode (const Byte* q, const Byte* limit, int& length) noexcept
        {
            if (q >= limit)
            {
                length = 0;
                return 0;
            }

            const auto lead = *q;
            length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
            juce::uint32 code = length == 1 ? lead : length == 2 ? (lead & 0x1fu) : length == 3 ? (lead & 0x0fu) : (lead & 0x07u);

            for (int k = 1; k < length; ++k)
                code = (code << 6) | (q[k] & 0x3fu);

            return (juce::juce_wchar) code;
        }

        juce::juce_wchar peek (int& length) const noexcept { return decode (p, end, length); }

        bool at (const char* literal) const noexcept
        {
            const auto n = std::strlen (literal);
            return (size_t) (end - p) >= n && std::memcmp (p, literal, n) == 0;
        }

        bool atIgnoringCase (const char* literal) const noexcept
        {
            const auto n = std::strlen (literal);

            if ((size_t) (end - p) < n)
                return false;

            for (size_t i = 0; i < n; ++i)
                if (juce::CharacterFunctions::toLowerCase ((juce::juce_wchar) p[i]) != (juce::juce_wchar) literal[i])
                    return false;

            return true;
        }

        /** The framework's own rule for name characters. */
        static bool isNameChar (juce::juce_wchar c) noexcept
        {
            if (c < 128)
                return juce::CharacterFunctions::isLetterOrDigit ((char) c) || c == '_' || c == '-' || c == ':' || c == '.';

            return c >= 160 && juce::CharacterFunctions::isLetterOrDigit (c);
        }

        const Byte* nameEnd() const noexcept
        {
            auto q = p;

            for (;;)
            {
                int length = 0;
                const auto c = decode (q, end, length);

                if (length == 0 || ! isNameChar (c))
                    return q;

                q += length;
            }
        }

        void skipSpace() noexcept
        {
            for (;;)
            {
                int length = 0;
                const auto c = peek (length);

                if (length == 0 || ! juce::CharacterFunctions::isWhitespace (c))
                    return;

                p += length;
            }
        }

        /** Moves past `terminator`; false if the text ends first. */
        bool skipPast (const char* terminator) noexcept
        {
            const auto n = std::strlen (terminator);
            const auto found = std::search (p, end, terminator, terminator + n);

            if (found == end)
                return false;

            p = found + n;
            return true;
        }

        /** Whitespace, comments and processing instructions before the root. */
        bool skipMisc()
        {
            for (;;)
            {
                skipSpace();

                if (at ("<!--"))
                {
                    p += 4;
                    if (! skipPast ("-->"))
                        return fail ("unterminated comment");
                }
                else if (at ("<?"))
                {
                    p += 2;
                    if (! skipPast ("?>"))
                        return fail ("unterminated processing instruction");
                }
                else
                {
                    return true;
                }
            }
        }

        /** `&...;` in text or a quoted value: only forms that stand for one valid character. */
        bool reference (std::string& out)
        {
            ++p;

            static constexpr std::pair<const char*, char> named[] = {
                { "amp;", '&' }, { "quot;", '"' }, { "apos;", '\'' }, { "lt;", '<' }, { "gt;", '>' }
            };

            for (const auto& [name, character] : named)
                if (atIgnoringCase (name))
                {
                    p += std::strlen (name);
                    out += character;
                    lastReferenceIsSpace = false;
                    return true;
                }

            if (p >= end || *p != '#')
                return fail ("unsupported entity");

            ++p;
            const bool hex = p < end && (*p == 'x' || *p == 'X');
            if (hex)
                ++p;

            juce::int64 code = 0;
            int digits = 0;

            for (; p < end && *p != ';'; ++p)
            {
                const auto value =
                    hex ? juce::CharacterFunctions::getHexDigitValue (*p) : (*p >= '0' && *p <= '9' ? (int) (*p - '0') : -1);

                if (value < 0 || ++digits > (hex ? 8 : 12))
                    return fail ("illegal character reference");

                code = code * (hex ? 16 : 10) + value;
            }

            if (p >= end || digits == 0 || code <= 0 || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff))
                return fail ("illegal character reference");

            ++p;
            appendUtf8 (out, (juce::juce_wchar) code);
            lastReferenceIsSpace = juce::CharacterFunctions::isWhitespace ((juce::juce_wchar) code);
            return true;
        }

        bool quotedValue (std::string& value)
        {
            const auto quote = *p;
            ++p;

            for (;;)
            {
                if (p >= end)
                    return fail ("unmatched quotes");

                if (*p == quote)
                {
                    ++p;
                    return true;
                }

                if (*p == '&')
                {
                    if (! reference (value))
                        return false;
                }
                else
                {
                    value += (char) *p;
                    ++p;
                }
            }
        }

        bool countNode()
        {
            if (++nodes > limits.maxElements)
                return fail ("too many elements");
            return true;
        }

        bool attribute (juce::XmlElement& element, const std::string& tag, int& count)
        {
            const auto attributeEnd = nameEnd();
            const auto tagText = [&tag] { return toString (tag); };

            if (attributeEnd == p)
                return fail ("illegal character in " + tagText());

            const std::string name (p, attributeEnd);
            p = attributeEnd;

            if (! juce::XmlElement::isValidXmlName (toString (name)))
                return fail ("illegal attribute name in " + tagText());

            skipSpace();

            if (p >= end || *p != '=')
                return fail ("expected '=' in " + tagText());

            ++p;
            skipSpace();

            if (p >= end || (*p != '"' && *p != '\''))
                return fail ("unquoted attribute in " + tagText());

            std::string value;
            if (! quotedValue (value))
                return false;

            if (++count > limits.maxAttributesPerElement)
                return fail ("too many attributes in " + tagText());

            if (++attributes > limits.maxAttributes)
                return fail ("too many attributes");

            auto known = names.find (name);

            if (known == names.end())
            {
                if ((int) names.size() >= limits.maxAttributeNames)
                    return fail ("too many attribute names");

                known = names.emplace (name, juce::Identifier (toString (name))).first;
            }

            if (element.hasAttribute (known->second.toString()))
                return fail ("duplicate attribute in " + tagText());

            element.setAttribute (known->second, toString (value));
            return true;
        }

        /** Adds the text gathered since the last child, when it is more than whitespace. */
        bool flushText (Open& parent)
        {
            const bool used = textUsed;
            textUsed = false;

            if (used)
            {
                if (! countNode())
                    return false;

                parent.children.push_back (
                    std::unique_ptr<juce::XmlElement> (juce::XmlElement::createTextElement (toString (text))));
            }

            text.clear();
            return true;
        }

        static std::unique_ptr<juce::XmlElement> close (Open& finished)
        {
            // Prepending costs nothing; the framework's append walks the whole list each time.
            for (auto child = finished.children.rbegin(); child != finished.children.rend(); ++child)
                finished.element->prependChildElement (child->release());

            finished.children.clear();
            return std::move (finished.element);
        }

        /** The root and everything in it, iteratively, so depth costs no stack. */
        std::unique_ptr<juce::XmlElement> document()
        {
            std::vector<Open> open;

            for (;;)
            {
                // At a '<' that starts a tag.
                ++p;
                const auto tagEnd = nameEnd();

                if (tagEnd == p)
                    return fail ("tag name missing");

                if (! countNode())
                    return nullptr;

                std::string tag (p, tagEnd);
                const auto tagName = toString (p, tagEnd);

                // The framework's element and attribute types hold only names that its own rule allows.
                if (! juce::XmlElement::isValidXmlName (tagName))
                    return fail ("illegal tag name " + tagName);

                auto element = std::make_unique<juce::XmlElement> (tagName);
                p = tagEnd;
                bool empty = false;
                int count = 0;

                for (;;)
                {
                    skipSpace();

                    if (at ("/>"))
                    {
                        p += 2;
                        empty = true;
                        break;
                    }

                    if (at (">"))
                    {
                        ++p;
                        break;
                    }

                    if (! attribute (*element, tag, count))
                        return nullptr;
                }

                if (empty)
                {
                    if (open.empty())
                        return element;

                    open.back().children.push_back (std::move (element));
                }
                else
                {
                    open.push_back ({ std::move (element), std::move (tag), {} });

                    if ((int) open.size() > limits.maxDepth)
                        return fail ("nested too deeply");
                }

                // The content up to the next child, or the closing tags of finished elements.
                for (;;)
                {
                    auto& current = open.back();

                    if (p >= end)
                        return fail ("unmatched tags");

                    if (*p == '&')
                    {
                        if (! reference (text))
                            return nullptr;

                        textUsed = textUsed || ! lastReferenceIsSpace;
                        continue;
                    }

                    if (*p != '<')
                    {
                        // Line ends read as the framework reads them: CR LF and a lone CR are LF.
                        if (*p == '\r')
                        {
                            ++p;
                            if (p >= end || *p != '\n')
                                text += '\n';
                            continue;
                        }

                        int length = 0;
                        const auto c = peek (length);
                        text.append (reinterpret_cast<const char*> (p), (size_t) length);
                        textUsed = textUsed || ! juce::CharacterFunctions::isWhitespace (c);
                        p += length;
                        continue;
                    }

                    // A comment leaves the text around it one piece.
                    if (at ("<!--"))
                    {
                        p += 4;
                        if (! skipPast ("-->"))
                            return fail ("unterminated comment");
                        continue;
                    }

                    if (! flushText (current))
                        return nullptr;

                    if (at ("<?"))
                    {
                        p += 2;
                        if (! skipPast ("?>"))
                            return fail ("unterminated processing instruction");
                        continue;
                    }

                    if (at ("<![CDATA["))
                    {
                        p += 9;
                        const auto start = p;

                        if (! skipPast ("]]>"))
                            return fail ("unterminated CDATA section");

                        if (! countNode())
                            return nullptr;

                        current.children.push_back (
                            std::unique_ptr<juce::XmlElement> (juce::XmlElement::createTextElement (toString (start, p - 3))));
                        continue;
                    }

                    if (at ("</"))
                    {
                        p += 2;
                        const auto closeEnd = nameEnd();

                        if (std::string (p, closeEnd) != current.tag)
                            return fail ("mismatched closing tag");

                        p = closeEnd;
                        skipSpace();

                        if (! at (">"))
                            return fail ("malformed closing tag");

                        ++p;
                        auto finished = close (current);
                        open.pop_back();

                        if (open.empty())
                            return finished;

                        open.back().children.push_back (std::move (finished));
                        continue;
                    }

                    if (at ("<!"))
                        return fail ("declarations are not supported");

                    break; // a child element
                }
            }
        }

        const Byte* p;
        const Byte* const end;
        const SafeXml::Limits& limits;
        juce::String error;
        int nodes = 0, attributes = 0;
        std::map<std::string, juce::Identifier> names;
        std::string text;
        bool textUsed = false, lastReferenceIsSpace = false;
    };
}

std::unique_ptr<juce::XmlElement> SafeXml::parse (const void* data, size_t size, juce::String& error, const Limits& limits)
{
    auto begin = static_cast<const Byte*> (data);
    const auto end = begin + size;

    if (size >= 3 && begin[0] == 0xef && begin[1] == 0xbb && begin[2] == 0xbf)
        begin += 3;

    if (begin == end)
    {
        error = "not enough input";
        return {};
    }

    if (! isValidUtf8 (begin, (size_t) (end - begin)))
    {
        error = "invalid UTF-8";
        return {};
    }

    return Reader (begin, end, limits).run (error);
}

std::unique_ptr<juce::XmlElement> SafeXml::parse (const juce::String& text, juce::String& error, const Limits& limits)
{
    // The raw bytes, whatever they hold: a String made from bad UTF-8 keeps them as they came.
    // Counted with strlen, since the String's own byte count decodes and can run past the end.
    const auto* bytes = text.toRawUTF8();
    return parse (bytes, std::strlen (bytes), error, limits);
}

juce::String SafeXml::check (const juce::String& text, const Limits& limits)
{
    juce::String error;
    const auto root = parse (text, error, limits);
    return error;
}

std::unique_ptr<juce::XmlElement> SafeXml::parseFile (const juce::File& file, juce::String& error, const Limits& limits)
{
    RegularFileInputStream in (file);

    if (! in.openedOk())
    {
        error = in.getError();
        return {};
    }

    if (in.getTotalLength() > limits.maxFileBytes)
    {
        error = "file too large";
        return {};
    }

    juce::MemoryBlock data ((size_t) in.getTotalLength());
    const auto got = in.read (data.getData(), (int) data.getSize());
    return parse (data.getData(), (size_t) juce::jmax (0, got), error, limits);
}

} // namespace Marlode
