#pragma once

#include <juce_core/juce_core.h>

#include <optional>

namespace Marlode
{

/**
    The bytes of a file message between two running copies. Each message is a 24-byte header of
    six little-endian 32-bit words, the file name in UTF-8 (in every chunk), then up to 8192 bytes
    of the file from 8192 x chunkIndex:

        "AUDF" | fileNameLength | fileSize | chunkIndex | totalChunks | chunkSize | name | payload

    There is no checksum, transfer id or answer; the connection delivers whole messages in order.
*/
struct TransferFormat
{
    static constexpr juce::uint32 magic = 0x46445541; // "AUDF" read as a little-endian word
    static constexpr size_t headerSize = 24;
    static constexpr juce::uint32 chunkPayload = 8192;

    struct Header
    {
        juce::uint32 fileNameLength = 0, fileSize = 0, chunkIndex = 0, totalChunks = 0, chunkSize = 0;
    };

    /** (size + 8191) / 8192 on the size's low 32 bits, as the sender counts. */
    [[nodiscard]] static juce::uint32 numChunks (juce::uint64 fileSize) noexcept;

    /** Chunk `index` of `file` named `name`: the payload is what of the file lies from 8192 x index. */
    [[nodiscard]] static juce::MemoryBlock makeChunk (const juce::String& name, const juce::MemoryBlock& file,
                                                      juce::uint32 index);

    /** Whether a message is a file message: at least 4 bytes, beginning with "AUDF". */
    [[nodiscard]] static bool isFileMessage (const juce::MemoryBlock& message) noexcept;

    /** The header, if the message holds 24 bytes and the magic. */
    [[nodiscard]] static std::optional<Header> readHeader (const juce::MemoryBlock& message) noexcept;
};

} // namespace Marlode
