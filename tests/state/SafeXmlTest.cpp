#include "state/RegularFileInputStream.h"
#include "state/SafeXml.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>

using namespace Marlode;
using namespace MarlodeTest;

namespace
{
juce::String repeated (const char* piece, int times)
{
    return juce::String::repeatedString (piece, times);
}

juce::String rejection (const juce::String& text)
{
    juce::String error;
    auto xml = SafeXml::parse (text, error);
    return xml == nullptr ? error : juce::String();
}

juce::String bytesRejection (const juce::MemoryBlock& bytes)
{
    juce::String error;
    auto xml = SafeXml::parse (bytes.getData(), bytes.getSize(), error);
    return xml == nullptr ? error : juce::String();
}

juce::MemoryBlock fromBase64 (const char* text)
{
    juce::MemoryOutputStream out;
    EXPECT_TRUE (juce::Base64::convertFromBase64 (out, text));
    return out.getMemoryBlock();
}

double secondsFor (const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double> (std::chrono::steady_clock::now() - start).count();
}
}

TEST (SafeXml, FilesMustBeRegularAndBounded)
{
    TempFolder temp;
    const auto fileRejection = [] (const juce::File& file, const SafeXml::Limits& limits = {})
    {
        juce::String error;
        auto xml = SafeXml::parseFile (file, error, limits);
        return xml == nullptr ? error : juce::String();
    };

    EXPECT_EQ (fileRejection (temp.folder), "not a regular file");
    EXPECT_EQ (fileRejection (juce::File ("/dev/zero")), "not a regular file");

    // A pipe with no writer would block the reader's open forever; the type is taken from the
    // opened descriptor, so a pipe swapped in after any earlier look is caught the same way.
    const auto fifo = temp.file ("pipe.xml");
    ASSERT_EQ (::mkfifo (fifo.getFullPathName().toRawUTF8(), 0600), 0);
    EXPECT_EQ (fileRejection (fifo), "not a regular file");
    RegularFileInputStream pipe (fifo);
    EXPECT_FALSE (pipe.openedOk());
    EXPECT_EQ (pipe.getError(), "not a regular file");

    const auto big = temp.file ("big.xml");
    big.replaceWithText ("<a x=\"" + repeated ("x", 2000) + "\"/>");
    SafeXml::Limits small;
    small.maxFileBytes = 1000;
    EXPECT_EQ (fileRejection (big, small), "file too large");
    EXPECT_EQ (fileRejection (big), "");
}

TEST (SafeXml, BuildsTheTreeTheFrameworkBuildsForEveryValidDocument)
{
    // Entities, character references, CDATA, comments inside text, processing instructions,
    // line ends, attribute order, non-ASCII text and whitespace-only text.
    const char* documents[] = {
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n\n<PLAYLIST_DATA>\n  <TRACK ID=\"0\" Path=\"/music/a &amp; b.wav\"/>\n"
        "  <TRACK ID=\"1\" Path=\"/music/&#233;t&#xE9; &lt;live&gt; &quot;x&quot; &apos;y&apos;.flac\"/>\n</PLAYLIST_DATA>\n",
        "<TABLELAYOUT sortedCol=\"0\" sortForwards=\"1\"><COLUMN id=\"1\" visible=\"1\" width=\"25\"/>"
        "<COLUMN id=\"2\" visible=\"0\" width=\"200\"/></TABLELAYOUT>",
        "<a z=\"1\" y='2' x = \"3\">one<!-- gone -->two\r\nthree\rfour<b/>  <![CDATA[ <raw> & ]]>tail &AMP; &#32;</a>",
        "<!-- before --><?pi before?><r>  <c>text<?pi inside?>  </c><d>&#x1F600;\xc3\xa9</d><e v=\"\xe2\x82\xac\"/></r>",
        "<r>\n  <!-- a comment -->\n  <x a=\"\r\n\t\"/>\n  &#32;  \n</r>trailing text the framework ignores",
        "<r><![CDATA[]]><e></e><e>   </e></r>"
    };

    for (auto* document : documents)
    {
        const auto text = juce::String::fromUTF8 (document);
        juce::String error;
        auto ours = SafeXml::parse (text, error);
        auto framework = juce::XmlDocument::parse (text);

        ASSERT_NE (ours, nullptr) << error << " in " << document;
        ASSERT_NE (framework, nullptr);
        EXPECT_TRUE (ours->isEquivalentTo (framework.get(), false)) << ours->toString().toStdString() << "\nagainst\n"
                                                                    << framework->toString().toStdString();
    }
}

TEST (SafeXml, TextAfterAProcessingInstructionInsideAnElementIsRead)
{
    // The loop that held the framework's parser, in valid UTF-8.
    juce::String error;
    auto layout = SafeXml::parse ("<TABLELAYOUT sortedCol=\"0\"><?x?>text</TABLELAYOUT>", error);
    ASSERT_NE (layout, nullptr) << error;
    EXPECT_EQ (layout->getAllSubText(), "text");
}

namespace
{
// One document and what reading it answers: the rejection, or "" where it is read.
struct Verdict
{
    const char* name;
    std::function<juce::String()> rejectionOf;
    const char* expected;
};

using SafeXmlVerdict = ::testing::TestWithParam<Verdict>;

juce::String bytes (const char* text, size_t size)
{
    return bytesRejection (juce::MemoryBlock (text, size));
}

// Each refused one would overflow the stack, read a device forever, re-parse entity text, hang
// the framework's parser or read past the end of a buffer; the accepted ones sit at the edges.
const Verdict verdicts[] = {
    { "nestedAMillionDeep", [] { return rejection (repeated ("<a>", 1000000) + repeated ("</a>", 1000000)); },
      "nested too deeply" },
    { "unclosedTagsInAttributes", [] { return rejection ("<a>" + repeated ("<b x=\"/>\">", 100000)); }, "nested too deeply" },
    { "entityAcrossElements", [] { return rejection ("<a>&<b><b><b>;</a>"); }, "unsupported entity" },
    { "externalEntity", [] { return rejection ("<!DOCTYPE a SYSTEM \"/dev/zero\"><a>&e;</a>"); }, "tag name missing" },
    { "declarationInside", [] { return rejection ("<a><!DOCTYPE x></a>"); }, "declarations are not supported" },
    { "nulReference", [] { return rejection ("<a x=\"&#0;\"/>"); }, "illegal character reference" },
    { "referenceBeyondUnicode", [] { return rejection ("<a x=\"&#x110000;\"/>"); }, "illegal character reference" },
    { "unmatchedQuote", [] { return rejection ("<a x=\"unterminated/>"); }, "unmatched quotes" },
    { "mismatchedClose", [] { return rejection ("<a><b></a></b>"); }, "mismatched closing tag" },
    { "unterminatedComment", [] { return rejection ("<a><!-- open"); }, "unterminated comment" },
    { "tooManyElements", [] { return rejection ("<a>" + repeated ("<b/>", 100001) + "</a>"); }, "too many elements" },
    { "unquotedAttribute", [] { return rejection ("<a x=1/>"); }, "unquoted attribute in a" },
    { "duplicateAttribute", [] { return rejection ("<a x=\"1\" x=\"2\"/>"); }, "duplicate attribute in a" },
    { "spaceBeforeName", [] { return rejection ("< a/>"); }, "tag name missing" },
    { "digitFirstName", [] { return rejection ("<1a/>"); }, "illegal tag name 1a" },
    { "dashFirstAttribute", [] { return rejection ("<a -x=\"\"/>"); }, "illegal attribute name in a" },
    { "empty", [] { return rejection (""); }, "not enough input" },
    { "plainText", [] { return rejection ("plain text"); }, "no root element" },
    { "usersLayoutThatHungTheFramework",
      []
      {
          return bytesRejection (fromBase64 (
              "PFRBQkxFTEFZT1VUIHNvcnRlZENvbD0iMCIgc29SdEZvcndhcmRzPSIxIj48Py4wb24iPz6NQQoNDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NZD0iPdE8L1RBQkxFTEFZT1VUPg=="));
      },
      "invalid UTF-8" },
    { "usersDocumentThatReadPastTheEnd",
      [] { return bytesRejection (fromBase64 ("PD94bWwgdmVyc2n//////////////////////////2U9IjEiIHdpZP9T/y4wIj8+PEEvPgo=")); },
      "invalid UTF-8" },
    { "cutUtf8InAString", [] { return rejection (juce::String (juce::CharPointer_UTF8 ("<a x=\"\xf0\x9f"))); }, "invalid UTF-8" },
    { "overlongUtf8", [] { return bytes ("<a>\xc0\xaf</a>", 9); }, "invalid UTF-8" },
    { "surrogateUtf8", [] { return bytes ("<a>\xed\xa0\x80</a>", 10); }, "invalid UTF-8" },
    { "beyondUnicodeUtf8", [] { return bytes ("<a>\xf4\x90\x80\x80</a>", 11); }, "invalid UTF-8" },
    { "byteFF", [] { return bytes ("<a>\xff</a>", 8); }, "invalid UTF-8" },
    { "cutUtf8", [] { return bytes ("<a>\xe2\x82</a>", 9); }, "invalid UTF-8" },
    { "nulByte", [] { return bytes ("<a>\0</a>", 8); }, "invalid UTF-8" },
    { "byteOrderMark", [] { return bytes ("\xef\xbb\xbf<a/>", 7); }, "" },
    { "manyShallowSiblings", [] { return rejection ("<a>" + repeated ("<b/>", 20000) + "</a>"); }, "" },
    { "hugeAttributeValue", [] { return rejection ("<a x=\"" + repeated ("x", 4000000) + "\"/>"); }, "" },
};
}

TEST_P (SafeXmlVerdict, IsAnsweredWithoutRecursionOrFileAccess)
{
    EXPECT_EQ (GetParam().rejectionOf(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P (Documents, SafeXmlVerdict, ::testing::ValuesIn (verdicts),
                          [] (const auto& info) { return std::string (info.param.name); });

TEST (SafeXml, AttributesAreCappedSoTheNamePoolCannotGoQuadratic)
{
    juce::MemoryOutputStream manyText, spreadText;
    manyText << "<a";
    for (int i = 0; i < 1000000; ++i)
        manyText << " n" << i << "=\"\"";
    manyText << "/>";
    spreadText << "<a>";
    for (int i = 0; i < 200000; ++i)
        spreadText << "<b n" << i << "=\"\"/>";
    spreadText << "</a>";
    const auto many = manyText.toString(), spread = spreadText.toString();

    // Hours each through the framework's parser.
    EXPECT_LT (secondsFor ([&] { EXPECT_EQ (rejection (many), "too many attributes in a"); }), 5.0);
    EXPECT_LT (secondsFor ([&] { EXPECT_EQ (rejection (spread), "too many attribute names"); }), 5.0);

    SafeXml::Limits small;
    small.maxAttributes = 3;
    juce::String error;
    EXPECT_NE (SafeXml::parse ("<a x=\"1\"><b x=\"2\" y=\"3\"/></a>", error, small), nullptr);
    EXPECT_EQ (SafeXml::parse ("<a x=\"1\"><b x=\"2\" y=\"3\"/><b x=\"4\"/></a>", error, small), nullptr);
    EXPECT_EQ (error, "too many attributes");
}
