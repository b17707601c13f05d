#pragma once

#include <juce_events/juce_events.h>

#include <functional>
#include <memory>

namespace Marlode
{

//==============================================================================
/**
    Keeps Marlode to one process per user. The first launch binds a local socket in the data
    directory; a later launch connects to it, sends its command line (paths made absolute) and
    exits. The bound socket is the lock: binding is atomic, and connections made before the
    first instance starts listening wait in the backlog, so no launch is lost at start-up.

    claim() runs before the framework starts; received command lines reach the callback on the
    message thread. Only the same user can reach the socket (mode 0600 in a private directory).
*/
class InstanceChannel : private juce::Thread
{
public:
    enum class Role
    {
        first,       // this process owns the socket and should start
        handedOver,  // another instance took the command line; this one should exit
        unavailable  // no channel could be made (path too long, no directory); start anyway
    };

    explicit InstanceChannel (juce::File socketFile);
    ~InstanceChannel() override;

    Role claim (const juce::String& commandLine);

    /** Starts handing received command lines to `onCommandLine` (message thread). */
    void startListening (std::function<void (const juce::String&)> onCommandLine);

    /** The channel made by the entry point, if any. */
    static std::unique_ptr<InstanceChannel>& forThisProcess();

    /** argv[1..] joined as the framework does, each path made absolute against `cwd`. */
    static juce::String makeCommandLine (int argc, const char* const* argv, const juce::File& cwd);

    /** The longest command line a later launch may hand over, in bytes. */
    static constexpr int maxMessageBytes = 1 << 20;

private:
    void run() override;
    int connectToFirst (int& error) const; // a connected socket, or -1 with the connect's errno
    bool sendTo (const juce::String& commandLine) const;
    bool isStale() const;
    void serve (int connection);

    juce::File socketFile;
    int listenFd = -1;
    std::function<void (const juce::String&)> callback;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (InstanceChannel)
};

} // namespace Marlode
