#pragma once

#include <juce_core/juce_core.h>

namespace Marlode
{

/** What the peer layer reports upward: messages, whole files, progress, peers coming and going.
    Any method may be called on any thread (the sender's, or the connection's receiving thread);
    an implementation moves to the message thread by itself. */
class MultipeerCallback
{
public:
    virtual ~MultipeerCallback() = default;

    /** A message that isn't a file message, as it came. */
    virtual void handleReceivedData (const juce::MemoryBlock& data, const juce::String& peerName) = 0;

    /** One complete file. `fileName` is what the sender wrote: not yet safe to use as a path. */
    virtual void handleReceivedAudioFile (const juce::MemoryBlock& data, const juce::String& fileName,
                                          const juce::String& peerName) = 0;

    virtual void handleTransferProgress (const juce::String& fileName, juce::uint64 bytesDone, juce::uint64 bytesTotal,
                                         bool isSending, const juce::String& peerName) = 0;

    virtual void handlePeerConnected (const juce::String& peerName) = 0;
    virtual void handlePeerDisconnected (const juce::String& peerName) = 0;
};

} // namespace Marlode
