#include "share/AudioFileReceiver.h"
#include "share/TransferFormat.h"

#include <algorithm>
#include <cstring>

namespace Marlode
{

namespace
{
    void log (const juce::String& text)
    {
        juce::Logger::writeToLog (text);
    }

    const char* bytesAt (const juce::MemoryBlock& message, size_t offset) noexcept
    {
        return static_cast<const char*> (message.getData()) + offset;
    }
} // namespace

AudioFileReceiver::AudioFileReceiver (std::function<MultipeerCallback*()> registered, size_t maxTransfer, size_t maxPending)
    : callback (std::move (registered)), maxTransferBytes (maxTransfer), maxPendingBytes (maxPending)
{
}

void AudioFileReceiver::receive (const juce::MemoryBlock& message, const juce::String& peerName)
{
    auto* c = callback();
    if (c == nullptr)
        return;

    if (TransferFormat::isFileMessage (message))
        parseAndHandleAudioFile (message, peerName);
    else
        c->handleReceivedData (message, peerName);
}

void AudioFileReceiver::parseAndHandleAudioFile (const juce::MemoryBlock& message, const juce::String& peerName)
{
    if (message.getSize() < TransferFormat::headerSize)
        return log ("Received audio file data too small");

    const auto header = TransferFormat::readHeader (message);
    if (! header)
        return log ("Invalid audio file magic number");

    // A length with the top bit set means "up to the first zero byte"; either way the name must lie
    // within the message.
    const auto nameStart = TransferFormat::headerSize;
    const auto room = message.getSize() - nameStart;
    const auto* name = bytesAt (message, nameStart);
    size_t nameBytes = 0;

    if ((header->fileNameLength & 0x80000000u) != 0)
    {
        const auto* end = static_cast<const char*> (std::memchr (name, 0, room));
        if (end == nullptr)
            return log ("Audio file name runs past the end of the message");
        nameBytes = (size_t) (end - name);
    }
    else
    {
        if (header->fileNameLength > room)
            return log ("Audio file name runs past the end of the message");
        nameBytes = header->fileNameLength;
    }

    if (! juce::CharPointer_UTF8::isValidString (name, (int) nameBytes))
        return log ("Audio file name is not UTF-8 text");

    const auto fileName = juce::String::fromUTF8 (name, (int) nameBytes);

    if (header->totalChunks < 2)
    {
        if ((juce::uint64) message.getSize() < (juce::uint64) header->fileSize + header->fileNameLength + nameStart)
            return log ("Audio file data incomplete");

        juce::MemoryBlock file (bytesAt (message, nameStart + header->fileNameLength), header->fileSize);
        log ("Received complete audio file: " + fileName + " (" + juce::String (file.getSize()) + " bytes) from " + peerName);
        if (auto* c = callback())
            c->handleReceivedAudioFile (file, fileName, peerName);
        return;
    }

    handleChunkedAudioFile (message, fileName, header->fileSize, header->chunkIndex, header->totalChunks, header->chunkSize,
                            peerName);
}

void AudioFileReceiver::handleChunkedAudioFile (const juce::MemoryBlock& message, const juce::String& fileName,
                                                juce::uint64 fileSize, juce::uint32 chunkIndex, juce::uint32 totalChunks,
                                                juce::uint32 chunkSize, const juce::String& peerName)
{
    const auto key = fileName + "_" + peerName;

    if (! chunkBuffers.contains (key))
    {
        if (fileSize > maxTransferBytes)
            return log ("Refused chunked file: " + fileName + " from " + peerName + ": " + juce::String (fileSize)
                        + " bytes is more than one transfer may hold");

        while (! arrival.empty() && unfinishedBytes + fileSize > maxPendingBytes)
        {
            log ("Dropped unfinished file " + arrival.front() + " to make room for " + fileName);
            take (arrival.front());
        }

        chunkBuffers.set (key, {});
        chunkBuffers.getReference (key).setSize ((size_t) fileSize, false); // filled by the chunks as they come
        chunkCounts.set (key, 0);
        arrival.push_back (key);
        unfinishedBytes += (size_t) fileSize;
        log ("Started receiving chunked file: " + fileName + " (" + juce::String (fileSize) + " bytes, "
             + juce::String (totalChunks) + " chunks) from " + peerName);
    }

    // The senders' placement: this message's own chunk size times its index, in 32 bits.
    const auto position = (juce::uint32) (chunkIndex * chunkSize);
    const auto payloadStart = TransferFormat::headerSize + (size_t) fileName.getNumBytesAsUTF8();
    const auto available = message.getSize() > payloadStart ? message.getSize() - payloadStart : (size_t) 0;
    const auto length = position < fileSize ? (size_t) std::min ((juce::uint64) chunkSize, fileSize - position) : (size_t) 0;

    if (length > available)
        return log ("Audio file chunk runs past the end of the message: " + fileName + " from " + peerName);

    if (length > 0)
        std::memcpy (static_cast<char*> (chunkBuffers.getReference (key).getData()) + position, bytesAt (message, payloadStart),
                     length);

    auto& count = chunkCounts.getReference (key);
    ++count;

    if (auto* c = callback())
        c->handleTransferProgress (fileName, std::min ((juce::uint64) (juce::uint32) (count * chunkSize), fileSize), fileSize,
                                   false, peerName);

    log ("Received chunk " + juce::String (chunkIndex + 1) + "/" + juce::String (totalChunks) + " for file: " + fileName
         + " from " + peerName);

    if (count >= totalChunks)
    {
        log ("Completed receiving chunked file: " + fileName + " from " + peerName);
        const auto file = take (key);
        if (auto* c = callback())
            c->handleReceivedAudioFile (file, fileName, peerName);
    }
}

juce::MemoryBlock AudioFileReceiver::take (const juce::String& key)
{
    juce::MemoryBlock block;
    block.swapWith (chunkBuffers.getReference (key));
    unfinishedBytes -= block.getSize();
    chunkBuffers.remove (key);
    chunkCounts.remove (key);
    arrival.erase (std::remove (arrival.begin(), arrival.end(), key), arrival.end());
    return block;
}

} // namespace Marlode
