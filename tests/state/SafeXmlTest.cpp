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
    juce::String repeated (const char* piece, int times) { return juce::String::repeatedString (piece, times); }

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

TEST (SafeXml, ReadsOrdinaryDocumentsAsTheFrameworkDoes)
{
    const juce::String text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- a playlist -->\n"
                              "<PLAYLIST_DATA><TRACK ID=\"0\" Path=\"/a &amp; b/&#233;&#x41;.wav\"/>"
                              "<TRACK ID='1' Path=\"/c.wav\"></TRACK><?pi x?><![CDATA[<not an element>]]>text</PLAYLIST_DATA>";
    juce::String error;
    auto xml = SafeXml::parse (text, error);
    ASSERT_NE (xml, nullptr) << error;
    EXPECT_EQ (xml->getTagName(), "PLAYLIST_DATA");
    EXPECT_EQ (xml->getChildElement (0)->getStringAttribute ("Path"), juce::CharPointer_UTF8 ("/a & b/\xc3\xa9" "A.wav"));
    EXPECT_EQ (xml->getChildElement (1)->getStringAttribute ("Path"), "/c.wav");
}

TEST (SafeXml, HostileDocumentsAreRefusedWithoutRecursionOrFileAccess)
{
    // Each of these would overflow the stack, read a device forever, or re-parse entity text.
    const juce::String nested = repeated ("<a>", 1000000) + repeated ("</a>", 1000000);
    EXPECT_EQ (rejection (nested), "nested too deeply");
    EXPECT_EQ (rejection ("<a>" + repeated ("<b x=\"/>\">", 100000)), "nested too deeply");
    EXPECT_EQ (rejection ("<a>&<b><b><b>;</a>"), "unsupported entity");
    EXPECT_EQ (rejection ("<!DOCTYPE a SYSTEM \"/dev/zero\"><a>&e;</a>"), "tag name missing");
    EXPECT_EQ (rejection ("<a><!DOCTYPE x></a>"), "declarations are not supported");
    EXPECT_EQ (rejection ("<a x=\"&#0;\"/>"), "illegal character reference");
    EXPECT_EQ (rejection ("<a x=\"&#x110000;\"/>"), "illegal character reference");
    EXPECT_EQ (rejection ("<a x=\"unterminated/>"), "unmatched quotes");
    EXPECT_EQ (rejection ("<a><b></a></b>"), "mismatched closing tag");
    EXPECT_EQ (rejection ("<a><!-- open"), "unterminated comment");
    EXPECT_EQ (rejection ("<a>" + repeated ("<b/>", 100001) + "</a>"), "too many elements");
    EXPECT_EQ (rejection ("<a x=1/>"), "unquoted attribute in a");
    EXPECT_EQ (rejection ("< a/>"), "tag name missing");
    EXPECT_EQ (rejection ("<1a/>"), "illegal tag name 1a");
    EXPECT_EQ (rejection ("<a -x=\"\"/>"), "illegal attribute name in a");
    EXPECT_EQ (rejection (""), "not enough input");
    EXPECT_EQ (rejection ("plain text"), "no root element");

    // Many siblings at shallow depth are fine, as are huge attribute values.
    EXPECT_EQ (rejection ("<a>" + repeated ("<b/>", 20000) + "</a>"), "");
    EXPECT_EQ (rejection ("<a x=\"" + repeated ("x", 4000000) + "\"/>"), "");
}

TEST (SafeXml, FilesMustBeRegularAndBounded)
{
    TempFolder temp;
    juce::String error;

    EXPECT_EQ (SafeXml::parseFile (temp.folder, error), nullptr);
    EXPECT_EQ (error, "not a regular file");
    EXPECT_EQ (SafeXml::parseFile (juce::File ("/dev/zero"), error), nullptr);
    EXPECT_EQ (error, "not a regular file");

    // A pipe with no writer would block the reader's open forever; the type is taken from the
    // opened descriptor, so a pipe swapped in after any earlier look is caught the same way.
    const auto fifo = temp.file ("pipe.xml");
    ASSERT_EQ (::mkfifo (fifo.getFullPathName().toRawUTF8(), 0600), 0);
    EXPECT_EQ (SafeXml::parseFile (fifo, error), nullptr);
    EXPECT_EQ (error, "not a regular file");
    RegularFileInputStream pipe (fifo);
    EXPECT_FALSE (pipe.openedOk());
    EXPECT_EQ (pipe.getError(), "not a regular file");

    const auto big = temp.file ("big.xml");
    big.replaceWithText ("<a x=\"" + repeated ("x", 2000) + "\"/>");
    SafeXml::Limits small;
    small.maxFileBytes = 1000;
    EXPECT_EQ (SafeXml::parseFile (big, error, small), nullptr);
    EXPECT_EQ (error, "file too large");
    EXPECT_NE (SafeXml::parseFile (big, error), nullptr);
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
        EXPECT_TRUE (ours->isEquivalentTo (framework.get(), false))
            << ours->toString().toStdString() << "\nagainst\n" << framework->toString().toStdString();
    }
}

TEST (SafeXml, TheUsersDocumentsNeitherHangNorReadPastTheEnd)
{
    // This one kept the framework's parser in readChildElements forever.
    EXPECT_EQ (bytesRejection (fromBase64 ("PFRBQkxFTEFZT1VUIHNvcnRlZENvbD0iMCIgc29SdEZvcndhcmRzPSIxIj48Py4wb24iPz6NQQoNDQ0NDQ0NDQ0NDQ0NDQ0NDQ0NZD0iPdE8L1RBQkxFTEFZT1VUPg==")),
               "invalid UTF-8");
    // This one sent the old check past the end of its buffer.
    EXPECT_EQ (bytesRejection (fromBase64 ("PD94bWwgdmVyc2n//////////////////////////2U9IjEiIHdpZP9T/y4wIj8+PEEvPgo=")), "invalid UTF-8");

    // The same loop in valid UTF-8: text after a processing instruction inside an element.
    juce::String error;
    auto layout = SafeXml::parse ("<TABLELAYOUT sortedCol=\"0\"><?x?>text</TABLELAYOUT>", error);
    ASSERT_NE (layout, nullptr) << error;
    EXPECT_EQ (layout->getAllSubText(), "text");

    // Bad UTF-8 in a String reaches the walk as the bytes it came from.
    const char tail[] = { '<', 'a', ' ', 'x', '=', '"', (char) 0xf0, (char) 0x9f, 0 };
    EXPECT_EQ (rejection (juce::String (juce::CharPointer_UTF8 (tail))), "invalid UTF-8");
    for (const auto* bad : { "<a>\xc0\xaf</a>", "<a>\xed\xa0\x80</a>", "<a>\xf4\x90\x80\x80</a>", "<a>\xff</a>", "<a>\xe2\x82</a>" })
        EXPECT_EQ (bytesRejection (juce::MemoryBlock (bad, std::strlen (bad))), "invalid UTF-8") << bad;
    EXPECT_EQ (bytesRejection (juce::MemoryBlock ("<a>\0</a>", 8)), "invalid UTF-8");
    EXPECT_EQ (bytesRejection (juce::MemoryBlock ("\xef\xbb\xbf<a/>", 7)), "");
}

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
    EXPECT_EQ (rejection ("<a x=\"1\" x=\"2\"/>"), "duplicate attribute in a");
}
