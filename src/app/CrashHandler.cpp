#include "app/CrashHandler.h"
#include "app/AppGlobals.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace Marlode
{

namespace
{
    constexpr int crashSignals[] = { SIGFPE, SIGILL, SIGSEGV, SIGBUS, SIGABRT, SIGSYS };
    constexpr int maxFrames = 128;

    // install() writes these on the message thread before the handler exists; the handler reads
    // them on the crashing thread.
    std::atomic<int> logFd { -1 };
    std::atomic<int> symbolPipeIn { -1 };
    std::atomic<int> symbolPipeOut { -1 };
    std::atomic<long> localOffsetSeconds { 0 };

    // The first crashing thread sets it; a thread that crashes while the log is written waits for
    // the first to end the process.
    std::atomic<bool> handling { false };

    // Room for the handler, backtrace and the unwinder when the thread's own stack is used up.
    alignas (16) char alternateStack[1 << 17];

    void writeAll (int fd, const char* data, size_t size) noexcept
    {
        while (size > 0)
        {
            const auto n = ::write (fd, data, size);

            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return;

            data += n;
            size -= (size_t) n;
        }
    }

    template <size_t N>
    void writeText (int fd, const char (&text)[N]) noexcept
    {
        writeAll (fd, text, N - 1);
    }

    struct TextWriter
    {
        char* out;
        int capacity;
        int length = 0;

        void add (char c) noexcept
        {
            if (length < capacity)
                out[length++] = c;
        }

        void add (const char* text) noexcept
        {
            while (*text != 0)
                add (*text++);
        }

        void addNumber (std::int64_t value) noexcept
        {
            if (value < 0)
                add ('-');

            char digits[20];
            int count = 0;
            auto magnitude = value < 0 ? -(std::uint64_t) value : (std::uint64_t) value;

            do
            {
                digits[count++] = (char) ('0' + magnitude % 10);
                magnitude /= 10;
            } while (magnitude > 0);

            while (count > 0)
                add (digits[--count]);
        }
    };

    // backtrace_symbols_fd ends a frame's line with "\n"; the log ends its lines with "\r\n", so
    // the line goes through a pipe and is copied with the other ending.
    void writeFrame (int fd, void* frame) noexcept
    {
        const auto in = symbolPipeIn.load (std::memory_order_relaxed);
        const auto out = symbolPipeOut.load (std::memory_order_relaxed);

        if (in < 0 || out < 0)
        {
            ::backtrace_symbols_fd (&frame, 1, fd);
            return;
        }

        ::backtrace_symbols_fd (&frame, 1, out);

        char chunk[512];

        for (;;)
        {
            const auto n = ::read (in, chunk, sizeof (chunk));

            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return;

            const auto endsLine = chunk[n - 1] == '\n';
            writeAll (fd, chunk, (size_t) n - (endsLine ? 1 : 0));

            if (endsLine)
                writeText (fd, "\r\n");
        }
    }

    // The same text a juce::FileLogger with the welcome "Crash stack back trace:" writes,
    // followed by the frames as one message.
    void writeLog (int fd) noexcept
    {
        char timeText[CrashHandler::maxTimeTextBytes];
        const auto now = (std::int64_t)::time (nullptr) + localOffsetSeconds.load (std::memory_order_relaxed);
        const auto timeLength = CrashHandler::formatTime (now, timeText);

        writeText (fd, "\r\n**********************************************************\r\n"
                       "Crash stack back trace:\r\n"
                       "Log started: ");
        writeAll (fd, timeText, (size_t) timeLength);
        writeText (fd, "\r\n\r\n");

        void* frames[maxFrames];
        const auto count = ::backtrace (frames, maxFrames);

        for (int i = 0; i < count; ++i)
            writeFrame (fd, frames[i]);

        writeText (fd, "\r\n");
    }

    void handle (int signalNumber, siginfo_t*, void*) noexcept
    {
        if (handling.exchange (true))
            for (;;)
                ::pause();

        const auto fd = logFd.load (std::memory_order_relaxed);

        if (fd >= 0)
            writeLog (fd);

        struct sigaction defaultAction
        {
        };
        defaultAction.sa_handler = SIG_DFL;
        sigemptyset (&defaultAction.sa_mask);
        ::sigaction (signalNumber, &defaultAction, nullptr);

        // The signal is blocked while its handler runs; the raised copy must arrive now.
        sigset_t raised;
        sigemptyset (&raised);
        sigaddset (&raised, signalNumber);
        ::pthread_sigmask (SIG_UNBLOCK, &raised, nullptr);
        ::raise (signalNumber);
    }
} // namespace

void CrashHandler::install()
{
    // No O_TRUNC: the log keeps every crash, as a logger with no size limit would.
    logFd = ::open (crashLogFile.getFullPathName().toRawUTF8(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0644);

    int pipeEnds[2];

    if (::pipe2 (pipeEnds, O_CLOEXEC | O_NONBLOCK) == 0)
    {
        symbolPipeIn = pipeEnds[0];
        symbolPipeOut = pipeEnds[1];
    }

    // The handler can't ask for the time zone (it reads files and locks); daylight saving
    // changes after this moment aren't followed.
    const auto now = ::time (nullptr);
    std::tm local {};

    if (::localtime_r (&now, &local) != nullptr)
        localOffsetSeconds = local.tm_gmtoff;

    // The first backtrace loads the unwinder's library, which allocates: do it here.
    void* frame = nullptr;
    ::backtrace (&frame, 1);

    stack_t stack {};
    stack.ss_sp = alternateStack;
    stack.ss_size = sizeof (alternateStack);
    ::sigaltstack (&stack, nullptr);

    struct sigaction action
    {
    };
    action.sa_sigaction = handle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset (&action.sa_mask);

    // A second fault inside the handler then ends the process at once.
    for (auto s : crashSignals)
        sigaddset (&action.sa_mask, s);

    for (auto s : crashSignals)
        ::sigaction (s, &action, nullptr);
}

int CrashHandler::formatTime (std::int64_t localSeconds, char (&text)[maxTimeTextBytes]) noexcept
{
    static constexpr const char* monthNames[] = { "Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec" };
    constexpr std::int64_t secondsPerDay = 86400;

    auto days = localSeconds / secondsPerDay;
    auto secondOfDay = localSeconds % secondsPerDay;

    if (secondOfDay < 0)
    {
        secondOfDay += secondsPerDay;
        --days;
    }

    // The Gregorian calendar in eras of 400 years (146097 days), counted from 1 March 0000 so
    // that a leap day ends its year.
    const auto shiftedDays = days + 719468;
    const auto era = (shiftedDays >= 0 ? shiftedDays : shiftedDays - 146096) / 146097;
    const auto dayOfEra = shiftedDays - era * 146097;
    const auto yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const auto dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const auto monthFromMarch = (5 * dayOfYear + 2) / 153;
    const auto dayOfMonth = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    const auto month = monthFromMarch < 10 ? monthFromMarch + 2 : monthFromMarch - 10;
    const auto year = yearOfEra + era * 400 + (month < 2 ? 1 : 0);

    const auto hours = secondOfDay / 3600;
    const auto minutes = secondOfDay / 60 % 60;
    const auto seconds = secondOfDay % 60;

    TextWriter writer { text, maxTimeTextBytes };
    writer.addNumber (dayOfMonth);
    writer.add (' ');
    writer.add (monthNames[month]);
    writer.add (' ');
    writer.addNumber (year);
    writer.add (' ');
    writer.addNumber (hours == 0 ? 12 : (hours <= 12 ? hours : hours - 12));
    writer.add (minutes < 10 ? ":0" : ":");
    writer.addNumber (minutes);
    writer.add (seconds < 10 ? ":0" : ":");
    writer.addNumber (seconds);
    writer.add (hours >= 12 ? "pm" : "am");
    return writer.length;
}

} // namespace Marlode
