#include "state/SafeXml.h"

#include <sys/stat.h>

#include <vector>

namespace Marlode
{

namespace
{
    using Chars = juce::String::CharPointerType;

    bool isNameChar (juce::juce_wchar c) noexcept
    {
        return juce::CharacterFunctions::isLetterOrDigit (c) || c == '_' || c == '-' || c == ':' || c == '.';
    }

    bool startsWith (Chars p, const char* literal) noexcept
    {
        return juce::CharacterFunctions::compareUpTo (p, juce::CharPointer_ASCII (literal), (int) std::strlen (literal)) == 0;
    }

    bool startsWithIgnoreCase (Chars p, const char* literal) noexcept
    {
        return p.compareIgnoreCaseUpTo (juce::CharPointer_ASCII (literal), (int) std::strlen (literal)) == 0;
    }

    /** Walks the text once, as the framework's parser would, refusing anything outside the subset. */
    class Checker
    {
    public:
        Checker (const juce::String& text, const SafeXml::Limits& l) : p (text.getCharPointer()), limits (l) {}

        juce::String run()
        {
            skipMisc();

            if (*p != '<')
                return "no root element";

            if (! element())
                return error;

            return {};
        }

    private:
        bool fail (const juce::String& why)
        {
            error = why;
            return false;
        }

        /** Moves past `terminator`; false if the text ends first. */
        bool skipPast (const char* terminator)
        {
            const auto at = p.indexOf (juce::CharPointer_ASCII (terminator));

            if (at < 0)
                return false;

            p += at + (int) std::strlen (terminator);
            return true;
        }

        /** Whitespace, comments and processing instructions, where the parser skips them. */
        bool skipMisc()
        {
            for (;;)
            {
                p.incrementToEndOfWhitespace();

                if (startsWith (p, "<!--"))
                {
                    p += 4;
                    if (! skipPast ("-->"))
                        return fail ("unterminated comment");
                }
                else if (startsWith (p, "<?"))
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

        Chars name()
        {
            auto end = p;
            while (isNameChar (*end))
                ++end;
            return end;
        }

        /** `&...;` in text or a quoted value: only forms that stand for one valid character. */
        bool reference()
        {
            ++p;

            for (auto* named : { "amp;", "quot;", "apos;", "lt;", "gt;" })
                if (startsWithIgnoreCase (p, named))
                {
                    p += (int) std::strlen (named);
                    return true;
                }

            if (*p != '#')
                return fail ("unsupported entity");

            ++p;
            const bool hex = *p == 'x' || *p == 'X';
            if (hex)
                ++p;

            juce::int64 code = 0;
            int digits = 0;

            for (; *p != ';'; ++p)
            {
                const auto value = hex ? juce::CharacterFunctions::getHexDigitValue (*p)
                                       : (*p >= '0' && *p <= '9' ? (int) (*p - '0') : -1);

                if (value < 0 || ++digits > (hex ? 8 : 12))
                    return fail ("illegal character reference");

                code = code * (hex ? 16 : 10) + value;
            }

            ++p;

            if (digits == 0 || code <= 0 || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff))
                return fail ("illegal character reference");

            return true;
        }

        bool quotedValue()
        {
            const auto quote = *p;
            ++p;

            for (;;)
            {
                const auto c = *p;

                if (c == 0)
                    return fail ("unmatched quotes");

                if (c == quote)
                {
                    ++p;
                    return true;
                }

                if (c == '&')
                {
                    if (! reference())
                        return false;
                }
                else
                {
                    ++p;
                }
            }
        }

        /** One element and everything in it, iteratively, so depth costs no stack. */
        bool element()
        {
            std::vector<juce::String> open;

            for (;;)
            {
                // At a '<' that starts a tag.
                ++p;
                const auto nameEnd = name();

                if (nameEnd == p)
                    return fail ("tag name missing");

                if (++elements > limits.maxElements)
                    return fail ("too many elements");

                juce::String tag (p, nameEnd);
                p = nameEnd;
                bool empty = false;

                for (;;)
                {
                    p.incrementToEndOfWhitespace();

                    if (*p == '/' && p[1] == '>')
                    {
                        p += 2;
                        empty = true;
                        break;
                    }

                    if (*p == '>')
                    {
                        ++p;
                        break;
                    }

                    const auto attributeEnd = name();
                    if (attributeEnd == p)
                        return fail ("illegal character in " + tag);

                    p = attributeEnd;
                    p.incrementToEndOfWhitespace();

                    if (*p != '=')
                        return fail ("expected '=' in " + tag);

                    ++p;
                    p.incrementToEndOfWhitespace();

                    if (*p != '"' && *p != '\'')
                        return fail ("unquoted attribute in " + tag);

                    if (! quotedValue())
                        return false;
                }

                if (! empty)
                {
                    open.push_back (tag);

                    if ((int) open.size() > limits.maxDepth)
                        return fail ("nested too deeply");
                }

                // The content up to the next child, or the closing tags of finished elements.
                for (;;)
                {
                    if (open.empty())
                        return true;

                    const auto c = *p;

                    if (c == 0)
                        return fail ("unmatched tags");

                    if (c == '&')
                    {
                        if (! reference())
                            return false;
                        continue;
                    }

                    if (c != '<')
                    {
                        ++p;
                        continue;
                    }

                    if (startsWith (p, "<!--") || startsWith (p, "<?"))
                    {
                        if (! skipMisc())
                            return false;
                        continue;
                    }

                    if (startsWith (p, "<![CDATA["))
                    {
                        p += 9;
                        if (! skipPast ("]]>"))
                            return fail ("unterminated CDATA section");
                        continue;
                    }

                    if (p[1] == '/')
                    {
                        p += 2;
                        const auto closeEnd = name();

                        if (juce::String (p, closeEnd) != open.back())
                            return fail ("mismatched closing tag");

                        p = closeEnd;
                        p.incrementToEndOfWhitespace();

                        if (*p != '>')
                            return fail ("malformed closing tag");

                        ++p;
                        open.pop_back();
                        continue;
                    }

                    if (p[1] == '!')
                        return fail ("declarations are not supported");

                    break; // a child element
                }
            }
        }

        Chars p;
        const SafeXml::Limits& limits;
        juce::String error;
        int elements = 0;
    };
}

juce::String SafeXml::check (const juce::String& text, const Limits& limits)
{
    if (text.isEmpty())
        return "not enough input";

    return Checker (text, limits).run();
}

std::unique_ptr<juce::XmlElement> SafeXml::parse (const juce::String& text, juce::String& error, const Limits& limits)
{
    error = check (text, limits);

    if (error.isNotEmpty())
        return {};

    // Parsed from a string, so the document has no way to name other files.
    juce::XmlDocument document (text);
    auto root = document.getDocumentElement();

    if (root == nullptr)
        error = document.getLastParseError().isNotEmpty() ? document.getLastParseError() : juce::String ("malformed document");

    return root;
}

std::unique_ptr<juce::XmlElement> SafeXml::parseFile (const juce::File& file, juce::String& error, const Limits& limits)
{
    if (! isRegularFile (file))
    {
        error = "not a regular file";
        return {};
    }

    // Read with a bound rather than trusting the size seen a moment ago.
    juce::FileInputStream in (file);
    juce::MemoryBlock data;

    if (! in.openedOk())
    {
        error = "can't open the file";
        return {};
    }

    if (in.readIntoMemoryBlock (data, (ssize_t) limits.maxFileBytes + 1) > (size_t) limits.maxFileBytes)
    {
        error = "file too large";
        return {};
    }

    return parse (juce::String::createStringFromData (data.getData(), (int) data.getSize()), error, limits);
}

bool SafeXml::isRegularFile (const juce::File& file)
{
    struct stat info;
    return ::stat (file.getFullPathName().toRawUTF8(), &info) == 0 && S_ISREG (info.st_mode);
}

} // namespace Marlode
