#pragma once

#include "share/MultipeerCallback.h"

#include <functional>

namespace Marlode
{

/**
    Sends one audio file to every connected peer as a run of file messages (see TransferFormat),
    reporting progress as it goes. Runs on the calling thread, which it holds for the whole file:
    about 1 ms a chunk of 8192 bytes, the pause that paces the connection.
*/
class AudioFileSender
{
public:
    /** `sendToAllPeers` hands one whole message to the connection; `callback` gives the
        registered callback, or nullptr. */
    AudioFileSender (std::function<void (const juce::MemoryBlock&)> sendToAllPeers, std::function<MultipeerCallback*()> callback);

    void sendMultipeerAudioFileChunked (const juce::String& path);

    /** One message to all connected peers; an empty one is refused with a log line. */
    void sendMultipeerData (const void* bytes, size_t length);

    /** ".wav", ".aiff", ".mp3", ".m4a", ".flac" or ".ogg", compared whole and lower-cased. */
    [[nodiscard]] static bool isSupportedExtension (const juce::String& extension);

private:
    std::function<void (const juce::MemoryBlock&)> sendToAllPeers;
    std::function<MultipeerCallback*()> callback;
};

} // namespace Marlode
