#include "share/AudioFileReceiver.h"
#include "share/AudioFileSender.h"
#include "share/TransferFormat.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

using namespace Marlode;

namespace
{
struct Recorder : MultipeerCallback
{
    struct File
    {
        juce::MemoryBlock data;
        juce::String name, peer;
    };

    std::vector<File> files;
    std::vector<juce::MemoryBlock> data;
    std::vector<std::pair<juce::uint64, bool>> progress; // bytes done, sending

    void handleReceivedData (const juce::MemoryBlock& d, const juce::String&) override { data.push_back (d); }
    void handleReceivedAudioFile (const juce::MemoryBlock& d, const juce::String& name, const juce::String& peer) override
    {
        files.push_back ({ d, name, peer });
    }
    void handleTransferProgress (const juce::String&, juce::uint64 done, juce::uint64, bool sending, const juce::String&) override
    {
        progress.emplace_back (done, sending);
    }
    void handlePeerConnected (const juce::String&) override {}
    void handlePeerDisconnected (const juce::String&) override {}
};

struct LogLines : juce::Logger
{
    LogLines() { juce::Logger::setCurrentLogger (this); }
    ~LogLines() override { juce::Logger::setCurrentLogger (nullptr); }
    void logMessage (const juce::String& line) override { lines.add (line); }
    bool has (const juce::String& start) const
    {
        for (auto& l : lines)
            if (l.startsWith (start))
                return true;
        return false;
    }
    juce::StringArray lines;
};

juce::MemoryBlock bytes (size_t size, int seed)
{
    juce::MemoryBlock b (size);
    juce::Random r (seed);
    for (size_t i = 0; i < size; ++i)
        b[i] = (char) r.nextInt (256);
    return b;
}

juce::MemoryBlock message (std::initializer_list<juce::uint32> words, const std::string& tail = {})
{
    juce::MemoryOutputStream out;
    for (auto w : words)
        out.writeInt ((int) w);
    out.write (tail.data(), tail.size());
    return out.getMemoryBlock();
}

/** A sender whose messages go straight to a receiver, as over one connected peer. */
struct FileTransfer : ::testing::Test
{
    Recorder sent, received;
    std::vector<juce::MemoryBlock> wire;
    AudioFileReceiver receiver { [this] { return &received; } };
    AudioFileSender sender { [this] (const juce::MemoryBlock& m)
                             {
                                 wire.push_back (m);
                                 receiver.receive (m, "studio");
                             },
                             [this] { return &sent; } };
    MarlodeTest::TempFolder folder;
    LogLines log;

    juce::MemoryBlock send (const juce::String& name, size_t size)
    {
        auto data = bytes (size, (int) size);
        const auto file = folder.file (name);
        // replaceWithData deletes the file when given no bytes.
        EXPECT_TRUE (size == 0 ? file.create().wasOk() : file.replaceWithData (data.getData(), data.getSize()));
        sender.sendMultipeerAudioFileChunked (file.getFullPathName());
        return data;
    }
};
} // namespace

TEST_F (FileTransfer, FilesArriveWholeExceptWhereAShortLastChunkLandsAndEachMessageCarriesTheHeader)
{
    const auto exact = send ("one.wav", 8192);
    ASSERT_EQ (wire.size(), 1u);
    auto expected = message ({ TransferFormat::magic, 7, 8192, 0, 1, 8192 }, "one.wav");
    expected.append (exact.getData(), exact.getSize());
    EXPECT_EQ (wire[0], expected);
    ASSERT_EQ (received.files.size(), 1u);
    EXPECT_EQ (received.files[0].data, exact);
    EXPECT_EQ (received.files[0].peer, "studio");
    EXPECT_TRUE (received.progress.empty()) << "one message: no progress on the receiving side";

    const auto two = send ("two.flac", 16384);
    ASSERT_EQ (received.files.size(), 2u);
    EXPECT_EQ (received.files[1].data, two);
    EXPECT_EQ (received.progress.back(), std::make_pair ((juce::uint64) 16384, false));
    EXPECT_EQ (sent.progress.back(), std::make_pair ((juce::uint64) 16384, true));

    // 8193 bytes: the one-byte chunk is placed at its index times its own size, position 1.
    wire.clear();
    const auto odd = send ("odd.mp3", 8193);
    ASSERT_EQ (wire.size(), 2u);
    EXPECT_EQ (wire[1].getSize(), 24u + 7u + 1u);
    const auto& got = received.files.back().data;
    ASSERT_EQ (got.getSize(), 8193u);
    EXPECT_EQ (got[0], odd[0]);
    EXPECT_EQ (got[1], odd[8192]);
    EXPECT_EQ (std::memcmp (got.begin() + 2, odd.begin() + 2, 8190), 0);
    EXPECT_EQ (receiver.getNumUnfinished(), 0);

    // Non-ASCII names count their UTF-8 bytes; an empty file sends nothing and still completes.
    wire.clear();
    const auto name = juce::String (juce::CharPointer_UTF8 ("\xc3\xa9t\xc3\xa9.ogg"));
    send (name, 100);
    ASSERT_EQ (wire.size(), 1u);
    EXPECT_EQ (juce::ByteOrder::littleEndianInt (wire[0].begin() + 4), 9u);
    EXPECT_EQ (received.files.back().name, name);
    wire.clear();
    send ("empty.wav", 0);
    EXPECT_TRUE (wire.empty());
    EXPECT_TRUE (log.has ("sendMultipeerAudioFileChunked: Completed sending 'empty.wav'"));
}

TEST_F (FileTransfer, TheSenderRefusesWhatItCannotSend)
{
    const auto aif = folder.file ("a.aif");
    aif.replaceWithText ("x");
    sender.sendMultipeerAudioFileChunked (aif.getFullPathName());
    sender.sendMultipeerAudioFileChunked (folder.file ("gone.wav").getFullPathName());
    sender.sendMultipeerAudioFileChunked (folder.folder.getFullPathName());
    sender.sendMultipeerAudioFileChunked ({});
    sender.sendMultipeerData ("x", 0);

    EXPECT_TRUE (wire.empty());
    for (auto line :
         { "sendMultipeerAudioFileChunked: Unsupported audio format: ", "sendMultipeerAudioFileChunked: File does not exist: ",
           "sendMultipeerAudioFileChunked: Path is not a file: ", "sendMultipeerAudioFileChunked: Invalid file path",
           "sendMultipeerData: Invalid data or length" })
        EXPECT_TRUE (log.has (line)) << line;
}

TEST_F (FileTransfer, ShortAndPlainMessagesAndIncompleteSingleFiles)
{
    receiver.receive (juce::MemoryBlock ("AUD", 3), "studio");
    ASSERT_EQ (received.data.size(), 1u) << "three bytes are plain data";

    auto tooSmall = message ({ TransferFormat::magic, 0, 0, 0, 0 });
    tooSmall.append ("abc", 3);
    receiver.receive (tooSmall, "studio");
    EXPECT_TRUE (log.has ("Received audio file data too small"));

    receiver.receive (message ({ TransferFormat::magic, 1, 100, 0, 1, 100 }, "a" + std::string (50, 'x')), "studio");
    EXPECT_TRUE (log.has ("Audio file data incomplete"));
    EXPECT_TRUE (received.files.empty());
    EXPECT_EQ (received.data.size(), 1u);
}

TEST_F (FileTransfer, HostileMessagesAreRefusedWithoutReadingPastThemOrHoldingMemory)
{
    // A chunk that claims 8192 bytes and carries 10.
    receiver.receive (message ({ TransferFormat::magic, 5, 16384, 0, 2, 8192 }, "a.wav0123456789"), "studio");
    EXPECT_TRUE (log.has ("Audio file chunk runs past the end of the message"));

    // 4 GB announced in a 30-byte message: refused before any allocation.
    receiver.receive (message ({ TransferFormat::magic, 5, 0xffffffffu, 0, 2, 1 }, "b.wav0"), "studio");
    EXPECT_TRUE (log.has ("Refused chunked file: b.wav"));

    // Names that run past the message, or have no end, or aren't text.
    receiver.receive (message ({ TransferFormat::magic, 1000, 1, 0, 1, 1 }, "c.wav"), "studio");
    receiver.receive (message ({ TransferFormat::magic, 0x80000001u, 1, 0, 1, 1 }, "no zero"), "studio");
    EXPECT_EQ (std::count (log.lines.begin(), log.lines.end(), "Audio file name runs past the end of the message"), 2);
    receiver.receive (message ({ TransferFormat::magic, 2, 1, 0, 1, 1 }, "\xff\xfe"
                                                                         "x"),
                      "studio");
    EXPECT_TRUE (log.has ("Audio file name is not UTF-8 text"));

    // A chunk placed past the file's end copies nothing but counts, as the senders' counters do.
    receiver.receive (message ({ TransferFormat::magic, 5, 100, 7, 2, 8192 }, "d.wav" + std::string (8192, 'z')), "studio");
    EXPECT_TRUE (received.files.empty());
    EXPECT_EQ (receiver.getNumUnfinished(), 2) << "a.wav and d.wav are waiting";

    // Unfinished transfers together stay within the bound: the oldest goes first.
    AudioFileReceiver bounded ([this] { return &received; }, 60000, 100000);
    for (auto name : { "1.wav", "2.wav", "3.wav" })
        bounded.receive (message ({ TransferFormat::magic, 5, 40000, 0, 2, 8192 }, name + std::string (8192, 'q')), "studio");
    EXPECT_EQ (bounded.getNumUnfinished(), 2);
    EXPECT_EQ (bounded.getUnfinishedBytes(), 80000u);
    EXPECT_TRUE (log.has ("Dropped unfinished file 1.wav_studio"));
    bounded.receive (message ({ TransferFormat::magic, 5, 70000, 0, 2, 8192 }, "4.wav" + std::string (8192, 'q')), "studio");
    EXPECT_EQ (bounded.getNumUnfinished(), 2) << "over one transfer's limit: refused, nothing dropped";
}
