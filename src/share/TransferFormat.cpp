#include "share/TransferFormat.h"

namespace Marlode
{

namespace
{
    juce::uint32 wordAt (const juce::MemoryBlock& message, size_t offset) noexcept
    {
        return juce::ByteOrder::littleEndianInt (static_cast<const char*> (message.getData()) + offset);
    }
} // namespace

juce::uint32 TransferFormat::numChunks (juce::uint64 fileSize) noexcept
{
    return (juce::uint32) (((fileSize & 0xffffffffu) + chunkPayload - 1) >> 13);
}

juce::MemoryBlock TransferFormat::makeChunk (const juce::String& name, const juce::MemoryBlock& file, juce::uint32 index)
{
    const auto nameBytes = name.getNumBytesAsUTF8();
    const auto start = (size_t) index * chunkPayload;
    const auto payload = start < file.getSize() ? juce::jmin ((size_t) chunkPayload, file.getSize() - start) : (size_t) 0;

    juce::MemoryOutputStream out (headerSize + nameBytes + payload);
    for (auto word : { magic, (juce::uint32) nameBytes, (juce::uint32) file.getSize(), index, numChunks (file.getSize()),
                       (juce::uint32) payload })
        out.writeInt ((int) word); // MemoryOutputStream writes little-endian

    out.write (name.toRawUTF8(), nameBytes);
    out.write (static_cast<const char*> (file.getData()) + start, payload);
    return out.getMemoryBlock();
}

bool TransferFormat::isFileMessage (const juce::MemoryBlock& message) noexcept
{
    return message.getSize() >= 4 && wordAt (message, 0) == magic;
}

std::optional<TransferFormat::Header> TransferFormat::readHeader (const juce::MemoryBlock& message) noexcept
{
    if (message.getSize() < headerSize || wordAt (message, 0) != magic)
        return std::nullopt;

    return Header { wordAt (message, 4), wordAt (message, 8), wordAt (message, 12), wordAt (message, 16), wordAt (message, 20) };
}

} // namespace Marlode
