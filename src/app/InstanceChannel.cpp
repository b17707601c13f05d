#include "app/InstanceChannel.h"

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Marlode
{

namespace
{
    bool makeAddress (const juce::File& file, sockaddr_un& address)
    {
        const auto path = file.getFullPathName().toStdString();

        if (path.size() + 1 > sizeof (address.sun_path))
            return false;

        std::memset (&address, 0, sizeof (address));
        address.sun_family = AF_UNIX;
        std::memcpy (address.sun_path, path.c_str(), path.size() + 1);
        return true;
    }

    bool writeAll (int fd, const char* data, size_t size)
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
}

InstanceChannel::InstanceChannel (juce::File file) : juce::Thread ("Instance Channel"), socketFile (std::move (file))
{
}

InstanceChannel::~InstanceChannel()
{
    stopThread (2000);

    if (listenFd >= 0)
    {
        ::close (listenFd);
        ::unlink (socketFile.getFullPathName().toRawUTF8());
    }
}

std::unique_ptr<InstanceChannel>& InstanceChannel::forThisProcess()
{
    static std::unique_ptr<InstanceChannel> channel;
    return channel;
}

juce::String InstanceChannel::makeCommandLine (int argc, const char* const* argv, const juce::File& cwd)
{
    juce::StringArray parts;

    for (int i = 1; i < argc; ++i)
    {
        juce::String arg (juce::CharPointer_UTF8 (argv[i]));

        if (arg.isNotEmpty() && ! arg.startsWith ("-"))
            arg = cwd.getChildFile (arg).getFullPathName();

        parts.add (arg.containsChar (' ') ? arg.quoted() : arg);
    }

    return parts.joinIntoString (" ");
}

int InstanceChannel::connectToFirst (int& error) const
{
    sockaddr_un address;
    error = 0;

    if (! makeAddress (socketFile, address))
        return -1;

    const auto fd = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);

    if (fd < 0 || ::connect (fd, reinterpret_cast<sockaddr*> (&address), sizeof (address)) == 0)
        return fd;

    error = errno;
    ::close (fd);
    return -1;
}

bool InstanceChannel::sendTo (const juce::String& commandLine) const
{
    int error = 0;
    const auto fd = connectToFirst (error);

    if (fd < 0)
        return false;

    const auto utf8 = commandLine.toStdString();
    const auto sent = writeAll (fd, utf8.data(), utf8.size());
    ::shutdown (fd, SHUT_WR);

    // Wait for the first instance to close its side: it has the whole line then.
    char ack;
    while (::recv (fd, &ack, 1, 0) > 0)
    {
    }

    ::close (fd);
    return sent;
}

bool InstanceChannel::isStale() const
{
    int error = 0;
    const auto fd = connectToFirst (error);

    // A live instance takes this as an empty line and ignores it.
    if (fd >= 0)
        ::close (fd);

    return error == ECONNREFUSED;
}

InstanceChannel::Role InstanceChannel::claim (const juce::String& commandLine)
{
    sockaddr_un address;

    if (! socketFile.getParentDirectory().createDirectory() || ! makeAddress (socketFile, address))
        return Role::unavailable;

    for (int attempt = 0; attempt < 20; ++attempt)
    {
        if (sendTo (commandLine))
            return Role::handedOver;

        const auto fd = ::socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);

        if (fd < 0)
            return Role::unavailable;

        const auto oldMask = ::umask (0177);
        const auto bound = ::bind (fd, reinterpret_cast<sockaddr*> (&address), sizeof (address)) == 0;
        ::umask (oldMask);

        if (bound && ::listen (fd, 16) == 0)
        {
            listenFd = fd;
            return Role::first;
        }

        const auto error = errno;
        ::close (fd);

        if (error != EADDRINUSE)
            return Role::unavailable;

        // Nobody answered on the socket yet it exists: a crashed instance left it behind, or
        // another launch bound it a moment ago. Removing it is safe in both cases only when a
        // connect is refused, so look again before unlinking.
        if (isStale())
            ::unlink (socketFile.getFullPathName().toRawUTF8());

        juce::Thread::sleep (50);
    }

    return Role::unavailable;
}

void InstanceChannel::startListening (std::function<void (const juce::String&)> onCommandLine)
{
    if (listenFd < 0)
        return;

    callback = std::move (onCommandLine);
    startThread();
}

void InstanceChannel::run()
{
    while (! threadShouldExit())
    {
        pollfd p { listenFd, POLLIN, 0 };

        if (::poll (&p, 1, 200) <= 0)
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
    juce::MemoryBlock data;
    char chunk[4096];
    bool tooLong = false;

    for (;;)
    {
        pollfd p { connection, POLLIN, 0 };

        // A client that connects and says nothing must not hold the channel for long.
        if (::poll (&p, 1, 2000) <= 0)
            return;

        const auto n = ::recv (connection, chunk, sizeof (chunk), 0);

        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;

        if (data.getSize() + (size_t) n > (size_t) maxMessageBytes)
            tooLong = true;
        else
            data.append (chunk, (size_t) n);
    }

    if (tooLong)
    {
        juce::Logger::writeToLog ("Marlode: ignored a command line from another launch that was over "
                                  + juce::String (maxMessageBytes) + " bytes");
        return;
    }

    // An empty message is a probe from a launch checking whether this instance lives.
    if (data.isEmpty())
        return;

    const auto line = juce::String::fromUTF8 (static_cast<const char*> (data.getData()), (int) data.getSize());

    juce::MessageManager::callAsync ([this, line]
                                     {
                                         if (callback)
                                             callback (line);
                                     });
}

} // namespace Marlode
