#include "app/InstanceChannel.h"

#include <cerrno>
#include <filesystem>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Marlode
{

namespace
{
    constexpr char taken = 'Y';
    constexpr char refused = 'N';
    constexpr int lockTimeoutMs = 10000;
    constexpr int connectTimeoutMs = 2000;
    constexpr int claimAttempts = 5;

    // Launches that arrive before the application has set its receiver; more are refused.
    constexpr size_t maxWaitingLists = 64;

    bool makeAddress (const juce::String& path, sockaddr_un& address)
    {
        const auto utf8 = path.toStdString();

        if (utf8.size() + 1 > sizeof (address.sun_path))
            return false;

        std::memset (&address, 0, sizeof (address));
        address.sun_family = AF_UNIX;
        std::memcpy (address.sun_path, utf8.c_str(), utf8.size() + 1);
        return true;
    }

    void setTimeout (int fd, int option, int milliseconds)
    {
        const timeval t { milliseconds / 1000, (milliseconds % 1000) * 1000 };
        ::setsockopt (fd, SOL_SOCKET, option, &t, sizeof (t));
    }

    bool sendAll (int fd, const char* data, size_t size)
    {
        while (size > 0)
        {
            const auto n = ::send (fd, data, size, MSG_NOSIGNAL);

            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return false;

            data += n;
            size -= (size_t) n;
        }

        return true;
    }

    void logLine (const juce::String& text)
    {
        juce::Logger::writeToLog ("Marlode: " + text);
    }

    // Every path absolute, valid UTF-8 and ending in NUL; an empty message is a launch with no files.
    bool decode (const std::string& message, juce::StringArray& paths)
    {
        if (! message.empty() && message.back() != '\0')
            return false;

        for (size_t start = 0; start < message.size();)
        {
            const auto end = message.find ('\0', start);
            const auto* text = message.data() + start;
            const auto length = end - start;

            if (length == 0 || text[0] != '/' || ! juce::CharPointer_UTF8::isValidString (text, (int) length))
                return false;

            paths.add (juce::String::fromUTF8 (text, (int) length));
            start = end + 1;
        }

        return true;
    }

    std::string encode (const juce::StringArray& paths)
    {
        std::string message;

        for (const auto& path : paths)
        {
            message += path.toStdString();
            message += '\0';
        }

        return message;
    }

    // An exclusive flock on the lock file for one claim or release; closing the file lets it go.
    class DirectoryLock
    {
    public:
        explicit DirectoryLock (const juce::File& file)
            : fd (::open (file.getFullPathName().toRawUTF8(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600))
        {
            const auto deadline = juce::Time::getMillisecondCounter() + (juce::uint32) lockTimeoutMs;

            while (fd >= 0 && ::flock (fd, LOCK_EX | LOCK_NB) != 0)
            {
                if ((errno != EWOULDBLOCK && errno != EINTR) || juce::Time::getMillisecondCounter() > deadline)
                    release();
                else
                    juce::Thread::sleep (5);
            }
        }

        ~DirectoryLock() { release(); }

        [[nodiscard]] bool isHeld() const { return fd >= 0; }

        void release()
        {
            if (fd >= 0)
                ::close (fd);
            fd = -1;
        }

    private:
        int fd;
    };
} // namespace

InstanceChannel::InstanceChannel (juce::File file)
    : juce::Thread ("Instance Channel"), socketFile (std::move (file)), lockFile (socketFile.getSiblingFile ("instance.lock"))
{
}

InstanceChannel::~InstanceChannel()
{
    shutdown();
}

std::unique_ptr<InstanceChannel>& InstanceChannel::forThisProcess()
{
    static std::unique_ptr<InstanceChannel> channel;
    return channel;
}

juce::StringArray InstanceChannel::absolutePaths (const juce::StringArray& arguments, const juce::File& cwd)
{
    auto folder = cwd.getFullPathName();

    if (! folder.endsWithChar ('/'))
        folder << '/';

    juce::StringArray paths;

    for (const auto& argument : arguments)
        if (argument.isNotEmpty())
            paths.add (argument.startsWithChar ('/') ? argument : folder + argument);

    return paths;
}

bool InstanceChannel::makeFolder (const juce::File& folder)
{
    // On a fresh profile every launch makes the folders at once. The framework reports a folder
    // another launch made between its check and its mkdir as a failure; the standard library
    // counts it as made.
    std::error_code error;
    std::filesystem::create_directories (folder.getFullPathName().toStdString(), error);
    return folder.isDirectory();
}

InstanceChannel::Role InstanceChannel::claim (const juce::StringArray& paths)
{
    const auto path = socketFile.getFullPathName();
    sockaddr_un address;

    if (listenFd >= 0 || ! makeFolder (socketFile.getParentDirectory()) || ! makeAddress (path, address))
        return Role::unavailable;

    const auto message = encode (paths);

    for (int attempt = 0; attempt < claimAttempts; ++attempt)
    {
        DirectoryLock lock (lockFile);

        if (! lock.isHeld())
            return Role::unavailable;

        const auto fd = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);

        if (fd < 0)
            return Role::unavailable;

        // Bounds a connect that waits for room in a busy instance's backlog, well inside the
        // time other launches wait for the lock.
        setTimeout (fd, SO_SNDTIMEO, connectTimeoutMs);

        if (::connect (fd, reinterpret_cast<sockaddr*> (&address), sizeof (address)) == 0)
        {
            lock.release();
            const auto answer = handOver (fd, message);
            ::close (fd);

            if (answer)
                return *answer == taken ? Role::handedOver : Role::refused;

            // That instance was quitting without reading: look again.
            continue;
        }

        const auto error = errno;
        ::close (fd);

        // Refused means nobody listens: a crashed instance left the file. While the lock is
        // held no other launch stands between its bind and its listen, so the file can go.
        if (error == ECONNREFUSED)
            ::unlink (path.toRawUTF8());
        else if (error == EAGAIN || error == EINTR)
            continue;
        else if (error != ENOENT)
            return Role::unavailable;

        if (! bindAndListen (address))
            return Role::unavailable;

        startThread();
        return Role::first;
    }

    return Role::unavailable;
}

bool InstanceChannel::bindAndListen (const sockaddr_un& address)
{
    const auto fd = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);

    if (fd < 0)
        return false;

    // Linux gives the bound file the socket's own mode (less the umask), so no other account can
    // connect; the process-wide umask stays untouched.
    struct stat info;

    if (::fchmod (fd, 0600) != 0 || ::bind (fd, reinterpret_cast<const sockaddr*> (&address), sizeof (address)) != 0
        || ::listen (fd, 64) != 0 || ::stat (address.sun_path, &info) != 0)
    {
        ::close (fd);
        return false;
    }

    listenFd = fd;
    boundDevice = info.st_dev;
    boundInode = info.st_ino;
    return true;
}

std::optional<char> InstanceChannel::handOver (int connection, const std::string& message)
{
    setTimeout (connection, SO_SNDTIMEO, answerTimeoutMs);
    setTimeout (connection, SO_RCVTIMEO, answerTimeoutMs);

    // A list the instance refuses part-way is answered before it stops reading, so the answer
    // is read even when the sending failed.
    if (sendAll (connection, message.data(), message.size()))
        ::shutdown (connection, SHUT_WR);

    char answer = 0;

    for (;;)
    {
        const auto n = ::recv (connection, &answer, 1, 0);

        if (n < 0 && errno == EINTR)
            continue;
        if (n == 1 && (answer == taken || answer == refused))
            return answer;

        return {};
    }
}

void InstanceChannel::setReceiver (std::function<void (const juce::StringArray& paths)> newReceiver)
{
    const std::lock_guard<std::mutex> guard (receiverLock);
    receiver = std::make_shared<Receiver> (std::move (newReceiver));

    for (const auto& paths : waiting)
        post (receiver, paths);

    waiting.clear();
}

void InstanceChannel::post (std::weak_ptr<Receiver> target, const juce::StringArray& paths)
{
    // A list still queued when the channel shuts down finds its receiver gone.
    juce::MessageManager::callAsync (
        [target, paths]
        {
            if (auto r = target.lock())
                (*r) (paths);
        });
}

void InstanceChannel::shutdown()
{
    // Each recv waits at most receiveTimeoutMs, and the thread looks at its exit flag between them.
    stopThread (receiveTimeoutMs * 4);

    {
        const std::lock_guard<std::mutex> guard (receiverLock);
        receiver.reset();
        waiting.clear();
    }

    if (listenFd < 0)
        return;

    const auto path = socketFile.getFullPathName();
    DirectoryLock lock (lockFile);
    struct stat info;

    // A newer instance may have bound the name since (after this one's file was deleted);
    // its socket stays.
    if (lock.isHeld() && ::stat (path.toRawUTF8(), &info) == 0 && info.st_dev == boundDevice && info.st_ino == boundInode)
        ::unlink (path.toRawUTF8());

    ::close (listenFd);
    listenFd = -1;
}

void InstanceChannel::run()
{
    while (! threadShouldExit())
    {
        pollfd p { listenFd, POLLIN, 0 };

        if (::poll (&p, 1, 100) <= 0)
            continue;

        const auto connection = ::accept4 (listenFd, nullptr, nullptr, SOCK_CLOEXEC);

        if (connection >= 0)
        {
            serve (connection);
            ::close (connection);
        }
    }
}

void InstanceChannel::serve (int connection)
{
    // A launch that connects and says nothing, or trickles, holds the channel for no longer
    // than one list's deadline.
    setTimeout (connection, SO_RCVTIMEO, receiveTimeoutMs);
    setTimeout (connection, SO_SNDTIMEO, receiveTimeoutMs);
    const auto deadline = juce::Time::getMillisecondCounter() + (juce::uint32) messageDeadlineMs;

    std::string message;
    char chunk[4096];

    for (;;)
    {
        if (threadShouldExit())
            return;

        if (juce::Time::getMillisecondCounter() > deadline)
        {
            logLine ("dropped a launch that took too long to send its paths");
            return;
        }

        const auto n = ::recv (connection, chunk, sizeof (chunk), 0);

        if (n < 0 && errno == EINTR)
            continue;

        if (n < 0)
        {
            logLine ("dropped a launch that sent nothing for " + juce::String (receiveTimeoutMs) + " ms");
            return;
        }

        if (n == 0)
            break;

        if (message.size() + (size_t) n > maxMessageBytes)
        {
            logLine ("refused paths from a launch: over " + juce::String ((juce::int64) maxMessageBytes) + " bytes");
            ::send (connection, &refused, 1, MSG_NOSIGNAL);
            return;
        }

        message.append (chunk, (size_t) n);
    }

    juce::StringArray paths;
    const std::lock_guard<std::mutex> guard (receiverLock);
    const auto accepted = decode (message, paths) && (receiver != nullptr || waiting.size() < maxWaitingLists);

    if (! accepted)
        logLine ("refused paths from a launch: not a list of absolute UTF-8 paths, or too many launches at once");

    // A launch that is gone by now will try again, so it must not be served twice.
    if (::send (connection, accepted ? &taken : &refused, 1, MSG_NOSIGNAL) != 1 || ! accepted)
        return;

    if (receiver != nullptr)
        post (receiver, paths);
    else
        waiting.push_back (paths);
}

} // namespace Marlode
