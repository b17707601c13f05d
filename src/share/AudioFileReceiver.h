#pragma once

#include "share/MultipeerCallback.h"

#include <functional>
#include <vector>

namespace Marlode
{

/**
    Reassembles the files that peers send (see TransferFormat) and hands them up whole.

    A file that fits one message comes whole; a longer one is assembled in a block kept under the
    key name + "_" + peer until as many chunks as it announced have come. Each chunk lands at its
    index times its own size, so the short last chunk of a file whose size is no multiple of 8192
    lands early, over bytes of earlier chunks, and the tail stays as it was: the senders' format,
    kept as it is. Entries live until complete (there is no time-out and no cancel).

    Hostile or broken messages cost nothing beyond a log line: nothing is read past a message's
    end, no transfer may claim more than `maxTransferBytes`, and unfinished transfers together
    stay within `maxPendingBytes` by dropping the oldest.

    One thread at a time: the connection's receiving thread.
*/
class AudioFileReceiver
{
public:
    static constexpr size_t defaultMaxTransferBytes = (size_t) 1 << 30;
    static constexpr size_t defaultMaxPendingBytes = (size_t) 2 << 30;

    explicit AudioFileReceiver (std::function<MultipeerCallback*()> callback, size_t maxTransferBytes = defaultMaxTransferBytes,
                                size_t maxPendingBytes = defaultMaxPendingBytes);

    /** A message as the connection delivered it: file messages are taken here, any other goes up. */
    void receive (const juce::MemoryBlock& message, const juce::String& peerName);

    void parseAndHandleAudioFile (const juce::MemoryBlock& message, const juce::String& peerName);

    /** `fileName` as parsed from the message; the sizes and counters are the header's. */
    void handleChunkedAudioFile (const juce::MemoryBlock& message, const juce::String& fileName, juce::uint64 fileSize,
                                 juce::uint32 chunkIndex, juce::uint32 totalChunks, juce::uint32 chunkSize,
                                 const juce::String& peerName);

    [[nodiscard]] int getNumUnfinished() const noexcept { return (int) arrival.size(); }
    [[nodiscard]] size_t getUnfinishedBytes() const noexcept { return unfinishedBytes; }

private:
    /** Ends an unfinished transfer, returning what it assembled. */
    juce::MemoryBlock take (const juce::String& key);

    std::function<MultipeerCallback*()> callback;
    const size_t maxTransferBytes, maxPendingBytes;

    juce::HashMap<juce::String, juce::MemoryBlock> chunkBuffers;
    juce::HashMap<juce::String, juce::uint32> chunkCounts;
    std::vector<juce::String> arrival; // keys of unfinished transfers, oldest first
    size_t unfinishedBytes = 0;
};

} // namespace Marlode
