#include "state/SafeXml.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

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

    // A pipe with no writer would block the reader's open forever.
    const auto fifo = temp.file ("pipe.xml");
    ASSERT_EQ (::mkfifo (fifo.getFullPathName().toRawUTF8(), 0600), 0);
    EXPECT_EQ (SafeXml::parseFile (fifo, error), nullptr);
    EXPECT_EQ (error, "not a regular file");

    const auto big = temp.file ("big.xml");
    big.replaceWithText ("<a x=\"" + repeated ("x", 2000) + "\"/>");
    SafeXml::Limits small;
    small.maxFileBytes = 1000;
    EXPECT_EQ (SafeXml::parseFile (big, error, small), nullptr);
    EXPECT_EQ (error, "file too large");
    EXPECT_NE (SafeXml::parseFile (big, error), nullptr);
}
