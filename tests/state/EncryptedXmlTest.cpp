#include "state/EncryptedXml.h"

#include <gtest/gtest.h>
#include <juce_cryptography/juce_cryptography.h>

#include <csignal>
#include <random>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Marlode;

namespace
{
const juce::String key (EncryptedXml::sessionKey);

// Blowfish ECB over whole 8-byte blocks, without any pad handling.
juce::MemoryBlock applyCipher (juce::MemoryBlock data, bool encipher)
{
    juce::BlowFish cipher (key.toRawUTF8(), 10);
    auto* words = static_cast<juce::uint32*> (data.getData());
    for (size_t i = 0; i + 1 < data.getSize() / 4; i += 2)
        encipher ? cipher.encrypt (words[i], words[i + 1]) : cipher.decrypt (words[i], words[i + 1]);
    return data;
}

juce::String plainText (const juce::XmlElement& xml)
{
    juce::MemoryOutputStream text;
    xml.writeTo (text);
    return text.toString();
}

struct TempDir
{
    juce::File dir = juce::File::createTempFile ("session");
    TempDir() { dir.createDirectory(); }
    ~TempDir() { dir.deleteRecursively(); }
};
} // namespace

// What other tools rely on: the framework's text, one pad of 1 to 8 bytes each holding its count,
// and Blowfish ECB under the fixed key, block by block.
TEST (EncryptedXml, FileIsTheDocumentsTextPaddedOnceAndEncipheredBlockByBlock)
{
    juce::XmlElement doc ("PREVIOUS_STATE");
    doc.setAttribute ("volume", 0.25);
    doc.createNewChildElement ("DECK_STATE_0")->setAttribute ("window_ratio", 0.4);

    const auto text = plainText (doc);
    const auto bytes = EncryptedXml::encrypt (doc, key);
    const auto pad = 8 - (int) (text.getNumBytesAsUTF8() % 8);
    ASSERT_EQ (bytes.getSize(), text.getNumBytesAsUTF8() + (size_t) pad);

    const auto plain = applyCipher (bytes, false);
    EXPECT_EQ (juce::String::fromUTF8 (static_cast<const char*> (plain.getData()), (int) text.getNumBytesAsUTF8()), text);
    for (auto i = plain.getSize() - (size_t) pad; i < plain.getSize(); ++i)
        EXPECT_EQ ((int) static_cast<const juce::uint8*> (plain.getData())[i], pad);

    auto back = EncryptedXml::decrypt (bytes, key);
    ASSERT_NE (back, nullptr);
    EXPECT_TRUE (back->isEquivalentTo (&doc, false));

    // A text of whole blocks gets a whole block of eights: 16 bytes make a 24-byte file.
    TempDir temp;
    const auto file = temp.dir.getChildFile ("PreviousState.cfg");
    juce::MemoryBlock sixteen ("<A>0123456789</A", 16);
    juce::MemoryOutputStream padded;
    padded.write (sixteen.getData(), 16);
    for (int i = 0; i < 8; ++i)
        padded.writeByte (8);
    juce::BlowFish cipher (key.toRawUTF8(), 10);
    auto viaFramework = sixteen;
    cipher.encrypt (viaFramework);
    EXPECT_EQ (viaFramework.getSize(), 24u);
    EXPECT_EQ (viaFramework, applyCipher (padded.getMemoryBlock(), true));

    ASSERT_TRUE (EncryptedXml::writeEncryptedXml (doc, file, key));
    juce::MemoryBlock onDisk;
    file.loadFileAsData (onDisk);
    EXPECT_EQ (onDisk, bytes);
}

// A damaged, foreign or empty file is no session, never a crash and never a long wait.
TEST (EncryptedXml, DamagedFilesReadAsNoSession)
{
    TempDir temp;
    const auto file = temp.dir.getChildFile ("PreviousState.cfg");
    const auto readBytes = [&] (const juce::MemoryBlock& bytes)
    {
        file.replaceWithData (bytes.getData(), bytes.getSize());
        if (bytes.isEmpty())
            file.create();
        return EncryptedXml::readEncryptedXml (file, key);
    };

    juce::XmlElement doc ("PREVIOUS_STATE");
    doc.setAttribute ("num_decks", 2);
    const auto good = EncryptedXml::encrypt (doc, key);

    EXPECT_EQ (EncryptedXml::readEncryptedXml (temp.dir.getChildFile ("missing.cfg"), key), nullptr);
    EXPECT_EQ (EncryptedXml::readEncryptedXml (temp.dir, key), nullptr);
    EXPECT_EQ (readBytes ({}), nullptr);
    EXPECT_EQ (readBytes (juce::MemoryBlock (8, true)), nullptr) << "eight zero bytes";
    EXPECT_EQ (readBytes (juce::MemoryBlock (good.getData(), good.getSize() - 1)), nullptr) << "not whole blocks";
    EXPECT_EQ (readBytes (juce::MemoryBlock (good.getData(), good.getSize() - 8)), nullptr) << "truncated at a block";
    EXPECT_EQ (readBytes (juce::MemoryBlock ("<PREVIOUS_STATE/>       ", 24)), nullptr) << "plain text";
    EXPECT_NE (readBytes (good), nullptr);

    // A pad byte that is no pad leaves the data uncut for the parser, which takes trailing blanks.
    juce::MemoryBlock blanks ("<PREVIOUS_STATE/>       ", 24);
    auto read = readBytes (applyCipher (blanks, true));
    ASSERT_NE (read, nullptr);
    EXPECT_TRUE (read->hasTagName ("PREVIOUS_STATE"));

    // Another key deciphers to noise.
    file.replaceWithData (good.getData(), good.getSize());
    EXPECT_EQ (EncryptedXml::readEncryptedXml (file, "0000000000"), nullptr);

    // A pipe would block a plain open forever; it is not a regular file.
    const auto fifo = temp.dir.getChildFile ("fifo.cfg");
    ASSERT_EQ (mkfifo (fifo.getFullPathName().toRawUTF8(), 0600), 0);
    EXPECT_EQ (EncryptedXml::readEncryptedXml (fifo, key), nullptr);

    // Larger than any session: not read into memory at all.
    const auto huge = temp.dir.getChildFile ("huge.cfg");
    ASSERT_TRUE (huge.create());
    ASSERT_EQ (truncate (huge.getFullPathName().toRawUTF8(), 64 * 1024 * 1024), 0);
    EXPECT_EQ (EncryptedXml::readEncryptedXml (huge, key), nullptr);

    EXPECT_FALSE (EncryptedXml::writeEncryptedXml (doc, temp.dir, key)) << "a directory in the file's place";
    EXPECT_FALSE (EncryptedXml::writeEncryptedXml (doc, temp.dir.getChildFile ("no/such/dir.cfg"), key));
}

// A process killed while it writes leaves the previous session or the new one, whole.
TEST (EncryptedXml, KillingTheWriterNeverLeavesAPartialFile)
{
    TempDir temp;
    const auto file = temp.dir.getChildFile ("PreviousState.cfg");

    // Large enough that a write takes a while, so the kills land inside writes.
    std::array<juce::XmlElement, 2> docs { juce::XmlElement ("PREVIOUS_STATE"), juce::XmlElement ("PREVIOUS_STATE") };
    for (int d = 0; d < 2; ++d)
    {
        docs[(size_t) d].setAttribute ("generation", d);
        for (int i = 0; i < 4000; ++i)
            docs[(size_t) d].createNewChildElement ("band_" + juce::String (i))->setAttribute ("freq", i * 1.5 + d);
    }
    ASSERT_TRUE (EncryptedXml::writeEncryptedXml (docs[0], file, key));

    std::mt19937 random (7);
    int killedMidWrite = 0;

    for (int round = 0; round < 25; ++round)
    {
        const auto child = fork();
        ASSERT_GE (child, 0);

        if (child == 0)
        {
            for (int i = 0;; ++i)
                EncryptedXml::writeEncryptedXml (docs[(size_t) (i % 2)], file, key);
        }

        usleep ((useconds_t) std::uniform_int_distribution<int> (2000, 40000) (random));
        kill (child, SIGKILL);
        int status = 0;
        waitpid (child, &status, 0);
        killedMidWrite += WIFSIGNALED (status) ? 1 : 0;

        auto read = EncryptedXml::readEncryptedXml (file, key);
        ASSERT_NE (read, nullptr) << "round " << round;
        const auto generation = read->getIntAttribute ("generation");
        EXPECT_TRUE (read->isEquivalentTo (&docs[(size_t) generation], false)) << "round " << round;
    }

    EXPECT_EQ (killedMidWrite, 25);
}
