#pragma once

#include <juce_events/juce_events.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <sys/un.h>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    Keeps Marlode to one process per user: the local socket in the user's data directory is the
    only rule, so other accounts on the machine run their own instance.

    A launch takes an exclusive flock on "instance.lock" beside the socket, then either connects
    to the running instance or, if nobody listens, removes what a crash left and binds and
    listens itself. Two launches at the same moment can't both become first, and no launch
    unlinks a socket that another is about to listen on.

    On the wire a launch sends each absolute path as UTF-8 ending in one NUL byte, closes its
    sending side and waits for one byte: 'Y' when the list was taken, 'N' when it was refused.
    Paths pass unchanged whatever they hold (quotes, tabs, newlines, a leading "-").

    Received lists wait until a receiver is set, then reach it on the message thread. Only the
    same user can reach the socket (mode 0600).
*/
class InstanceChannel : private juce::Thread
{
public:
    enum class Role
    {
        first,      // this process owns the socket and should start
        handedOver, // the running instance took the paths; this one should exit
        refused,    // the running instance refused the paths; this one should exit
        unavailable // no channel could be made (path too long, no directory); start anyway
    };

    /** `socketFile` lies in the data directory, which also gets the lock file. */
    explicit InstanceChannel (juce::File socketFile);
    ~InstanceChannel() override;

    /** Hands `paths` (absolute) to the running instance, or becomes it and starts receiving.
        Runs before the framework starts; may block for the lock or the answer. */
    Role claim (const juce::StringArray& paths);

    /** Lists received before and after this call reach `receiver`, one call per launch,
        on the message thread. */
    void setReceiver (std::function<void (const juce::StringArray& paths)> receiver);

    /** Stops the receiving thread and removes the socket if it is still the one bound here.
        Lists not yet delivered are dropped. Message thread. */
    void shutdown();

    /** The channel made by the entry point, if any. */
    static std::unique_ptr<InstanceChannel>& forThisProcess();

    /** Command-line arguments as absolute paths: a relative one is joined to `cwd`, and nothing
        else changes (a leading "-" or "~" is part of the name). Empty arguments name nothing. */
    static juce::StringArray absolutePaths (const juce::StringArray& arguments, const juce::File& cwd);

    /** The longest list a launch may hand over, in bytes on the wire. */
    static constexpr size_t maxMessageBytes = 16 << 20;

    /** How long one recv may wait, and how long a whole list may take to arrive. */
    static constexpr int receiveTimeoutMs = 1000;
    static constexpr int messageDeadlineMs = 3000;

    /** How long a launch waits for the running instance to take its list. */
    static constexpr int answerTimeoutMs = 10000;

private:
    using Receiver = std::function<void (const juce::StringArray&)>;

    void run() override;
    void serve (int connection);
    static bool makeFolder (const juce::File&);
    bool bindAndListen (const sockaddr_un& address);
    static std::optional<char> handOver (int connection, const std::string& message); // the answer, if one came
    static void post (std::weak_ptr<Receiver> target, const juce::StringArray& paths);

    juce::File socketFile;
    juce::File lockFile;
    int listenFd = -1;
    dev_t boundDevice = 0;
    ino_t boundInode = 0;

    // The channel's thread adds received lists; the message thread sets and clears the receiver.
    std::mutex receiverLock;
    std::shared_ptr<Receiver> receiver;
    std::vector<juce::StringArray> waiting;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (InstanceChannel)
};

} // namespace Marlode
