#include "state/RegularFileInputStream.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Marlode
{

RegularFileInputStream::RegularFileInputStream (const juce::File& file)
{
    const auto fd = ::open (file.getFullPathName().toRawUTF8(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);

    if (fd < 0)
    {
        error = "can't open the file";
        return;
    }

    struct stat info;

    if (::fstat (fd, &info) != 0 || ! S_ISREG (info.st_mode))
    {
        ::close (fd);
        error = "not a regular file";
        return;
    }

    descriptor = fd;
    size = (juce::int64) info.st_size;
}

RegularFileInputStream::~RegularFileInputStream()
{
    if (descriptor >= 0)
        ::close (descriptor);
}

int RegularFileInputStream::read (void* destBuffer, int maxBytesToRead)
{
    if (descriptor < 0 || destBuffer == nullptr || maxBytesToRead <= 0 || position >= size)
        return 0;

    // Never beyond the size seen at the open: a file that grows meanwhile can't extend a read.
    const auto wanted = (size_t) juce::jmin ((juce::int64) maxBytesToRead, size - position);
    size_t done = 0;

    while (done < wanted)
    {
        const auto got =
            ::pread (descriptor, static_cast<char*> (destBuffer) + done, wanted - done, (off_t) (position + (juce::int64) done));

        if (got < 0 && errno == EINTR)
            continue;

        if (got <= 0)
            break;

        done += (size_t) got;
    }

    position += (juce::int64) done;
    return (int) done;
}

bool RegularFileInputStream::setPosition (juce::int64 newPosition)
{
    position = juce::jmax ((juce::int64) 0, newPosition);
    return true;
}

} // namespace Marlode
