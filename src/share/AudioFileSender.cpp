#include "share/AudioFileSender.h"
#include "share/TransferFormat.h"

#include <thread>

namespace Marlode
{

AudioFileSender::AudioFileSender (std::function<void (const juce::MemoryBlock&)> send,
                                  std::function<MultipeerCallback*()> registered)
    : sendToAllPeers (std::move (send)), callback (std::move (registered))
{
}

bool AudioFileSender::isSupportedExtension (const juce::String& extension)
{
    return juce::StringArray { ".wav", ".aiff", ".mp3", ".m4a", ".flac", ".ogg" }.contains (extension.toLowerCase());
}

void AudioFileSender::sendMultipeerData (const void* bytes, size_t length)
{
    if (bytes == nullptr || length == 0)
    {
        juce::Logger::writeToLog ("sendMultipeerData: Invalid data or length");
        return;
    }

    sendToAllPeers (juce::MemoryBlock (bytes, length));
}

void AudioFileSender::sendMultipeerAudioFileChunked (const juce::String& path)
{
    const auto log = [] (const juce::String& text) { juce::Logger::writeToLog ("sendMultipeerAudioFileChunked: " + text); };

    if (path.isEmpty())
        return log ("Invalid file path");

    const juce::File file (path);
    if (! file.exists())
        return log ("File does not exist: " + path);
    if (! file.existsAsFile())
        return log ("Path is not a file: " + path);
    if (! isSupportedExtension (file.getFileExtension()))
        return log ("Unsupported audio format: " + path);

    juce::MemoryBlock data;
    if (! file.loadFileAsData (data))
        return log ("Failed to read file: " + path);

    const auto name = file.getFileName();
    const auto total = TransferFormat::numChunks (data.getSize());
    log ("Sending '" + name + "' in " + juce::String (total) + " chunks of " + juce::String (TransferFormat::chunkPayload)
         + " bytes each");

    for (juce::uint32 index = 0; index < total; ++index)
    {
        const auto message = TransferFormat::makeChunk (name, data, index);
        sendMultipeerData (message.getData(), message.getSize());

        if (auto* c = callback())
            c->handleTransferProgress (
                name, juce::jmin ((juce::uint64) TransferFormat::chunkPayload * (index + 1), (juce::uint64) data.getSize()),
                data.getSize(), true, "All Peers");

        std::this_thread::sleep_for (std::chrono::microseconds (1000));
    }

    log ("Completed sending '" + name + "'");
}

} // namespace Marlode
