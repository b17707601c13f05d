#include "app/AppGlobals.h"
#include "app/CrashHandler.h"
#include "support/TestAudio.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <charconv>
#include <csignal>
#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Marlode;

namespace
{
struct ChildEnd
{
    bool ended = false; // on its own, within the time allowed
    int signal = 0;     // the signal that ended it, 0 if it exited
};

// Forks a child that installs the handler on `log` and runs `body`, which calls `ready` just
// before it crashes. The child must end within `allowedMs` of that call.
ChildEnd runChild (const juce::File& log, const std::function<void (const std::function<void()>& ready)>& body,
                   int allowedMs = 2000)
{
    int readyPipe[2];
    if (::pipe (readyPipe) != 0)
        return {};

    const auto child = ::fork();

    if (child == 0)
    {
        ::close (readyPipe[0]);
        const rlimit noCore { 0, 0 };
        ::setrlimit (RLIMIT_CORE, &noCore);

        crashLogFile = log;
        CrashHandler::install();
        body ([&] { (void) ::write (readyPipe[1], "r", 1); });
        ::_exit (3); // only reached if nothing crashed
    }

    ::close (readyPipe[1]);
    pollfd p { readyPipe[0], POLLIN, 0 };
    char byte;
    const auto readied = ::poll (&p, 1, 10000) == 1 && ::read (readyPipe[0], &byte, 1) == 1;
    ::close (readyPipe[0]);

    int status = 0;

    if (readied
        && MarlodeTest::waitFor ([&] { return ::waitpid (child, &status, WNOHANG) == child; }, allowedMs,
                                 [] { juce::Thread::sleep (5); }))
        return { true, WIFSIGNALED (status) ? WTERMSIG (status) : 0 };

    ::kill (child, SIGKILL);
    ::waitpid (child, &status, 0);
    return {};
}

// Whether thread `tid` of this process is inside write(2) now. Reads /proc without the heap.
bool isInWrite (pid_t tid)
{
    char path[64] = "/proc/self/task/";
    auto* end = std::to_chars (path + 16, path + sizeof (path) - 10, tid).ptr;
    std::memcpy (end, "/syscall", 9);

    const auto fd = ::open (path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;

    char text[32] = {};
    const auto n = ::read (fd, text, sizeof (text) - 1);
    ::close (fd);

    long number = -1;
    return n > 0 && std::from_chars (text, text + n, number).ec == std::errc() && number == SYS_write;
}

// Another thread stops inside malloc_stats(), which holds the main heap's lock while it prints:
// stderr becomes a pipe that is already full and that nobody reads.
void holdTheHeapLock()
{
    int full[2];
    if (::pipe (full) != 0)
        ::_exit (4);
    ::fcntl (full[1], F_SETFL, O_NONBLOCK);
    const char junk[4096] = {};
    while (::write (full[1], junk, sizeof (junk)) > 0 || ::write (full[1], junk, 1) > 0)
    {
    }
    ::fcntl (full[1], F_SETFL, 0);
    ::dup2 (full[1], STDERR_FILENO);

    static std::atomic<pid_t> holder { 0 };
    std::thread (
        []
        {
            holder = (pid_t)::syscall (SYS_gettid);
            ::malloc_stats();
        })
        .detach();

    while (holder == 0 || ! isInWrite (holder))
        ::usleep (1000);
}

// The frames' lines of what the handler wrote after the text that was there before, after
// checking the header, the time and the line endings; none if it isn't a log.
juce::StringArray loggedFrames (const juce::File& log, const juce::String& before = {})
{
    const auto text = log.loadFileAsString();
    const auto header = "\r\n" + juce::String::repeatedString ("*", 58) + "\r\nCrash stack back trace:\r\nLog started: ";
    const auto entry = text.substring (before.length() + header.length());

    if (! text.startsWith (before) || ! text.substring (before.length()).startsWith (header))
    {
        ADD_FAILURE() << "not a crash log: " << text;
        return {};
    }

    // The time is within a few seconds of now, in the framework logger's form.
    bool timeFound = false;
    const auto now = juce::Time::getCurrentTime();
    for (int s = -5; s <= 1 && ! timeFound; ++s)
        timeFound = entry.startsWith ((now + juce::RelativeTime::seconds (s)).toString (true, true) + "\r\n\r\n");
    EXPECT_TRUE (timeFound) << entry.substring (0, 40);

    EXPECT_TRUE (entry.endsWith ("\r\n\r\n"));
    EXPECT_FALSE (entry.replace ("\r\n", "").containsAnyOf ("\r\n")) << "every line ends with \\r\\n";

    juce::StringArray lines;
    lines.addTokens (entry.fromFirstOccurrenceOf ("\r\n\r\n", false, false), "\r\n", {});
    lines.removeEmptyStrings();
    return lines;
}

int linesNaming (const juce::StringArray& lines, const juce::String& what)
{
    int n = 0;
    for (const auto& line : lines)
        n += line.contains (what) ? 1 : 0;
    return n;
}

int recurse (volatile char* previous, int depth)
{
    static volatile int limit = std::numeric_limits<int>::max();
    volatile char frame[512];
    frame[0] = previous != nullptr ? previous[0] : 0;

    if (depth >= limit)
        return 0;

    return recurse (frame, depth + 1) + frame[0];
}
} // namespace

TEST (CrashHandler, FormatsTheTimeAsTheFrameworksLoggerDoes)
{
    juce::String firstMismatch;
    int checked = 0;

    auto check = [&] (std::int64_t utc)
    {
        const auto t = (std::time_t) utc;
        std::tm local {};
        ASSERT_NE (::localtime_r (&t, &local), nullptr);

        char text[CrashHandler::maxTimeTextBytes];
        const auto length = CrashHandler::formatTime (utc + local.tm_gmtoff, text);
        const auto ours = juce::String (text, (size_t) length);
        const auto expected = juce::Time (utc * 1000).toString (true, true);

        if (ours != expected && firstMismatch.isEmpty())
            firstMismatch = ours + " instead of " + expected;
        ++checked;
    };

    // Every hour of the day, every day of the month and every month over 130 years.
    for (std::int64_t t = 0; t < 4102444800; t += 86400 * 4 + 3600 * 5 + 61)
        check (t);

    // Around midnight, noon and the leap days (2000 is one, 2100 is not).
    for (std::int64_t day : { 0, 11016, 11017, 11018, 10956, 47540, 47541, 20780 })
        for (std::int64_t second : { 0, 59, 3599, 3600, 43199, 43200, 43201, 46800, 86399 })
            check (day * 86400 + second);

    EXPECT_TRUE (firstMismatch.isEmpty()) << firstMismatch;
    EXPECT_GT (checked, 10000);
}

TEST (CrashHandler, LogsAndEndsByTheSameSignalWhileAnotherThreadHoldsTheHeapLock)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer's allocator replaces the C library's heap and its lock";
#endif

    MarlodeTest::TempFolder temp;
    const auto log = temp.file ("CrashLog.log");
    const juce::String earlier ("an earlier crash\r\n");
    log.replaceWithText (earlier);

    // The set-up really holds the lock: a plain allocation in the child blocks.
    const auto control = runChild (
        temp.file ("control.log"),
        [] (auto& ready)
        {
            holdTheHeapLock();
            ready();
            void* volatile block = std::malloc (64 * 1024);
            std::free (block);
            std::raise (SIGSEGV);
        },
        500);
    ASSERT_FALSE (control.ended) << "the heap lock wasn't held";

    const auto end = runChild (log, [] (auto& ready) { holdTheHeapLock(), ready(), std::raise (SIGSEGV); });

    ASSERT_TRUE (end.ended) << "the handler blocked";
    EXPECT_EQ (end.signal, SIGSEGV);

    const auto lines = loggedFrames (log, earlier);
    EXPECT_GE (lines.size(), 4);
    EXPECT_GE (linesNaming (lines, "marlode_tests("), 2) << lines.joinIntoString ("\n");
}

TEST (CrashHandler, AStackOverflowIsLoggedOnTheAlternateStack)
{
    MarlodeTest::TempFolder temp;
    const auto log = temp.file ("CrashLog.log");

    const auto end = runChild (log, [] (auto& ready) { ready(), recurse (nullptr, 0); });

    ASSERT_TRUE (end.ended);
    EXPECT_EQ (end.signal, SIGSEGV);

    const auto lines = loggedFrames (log);
    EXPECT_EQ (lines.size(), 128) << "the deepest 128 frames";
    EXPECT_GE (linesNaming (lines, "marlode_tests("), 120);
}

//==============================================================================
using CrashSignal = ::testing::TestWithParam<int>;

TEST_P (CrashSignal, ARealFaultIsLoggedAndEndsTheProcessWithItsOwnSignal)
{
    MarlodeTest::TempFolder temp;
    const auto log = temp.file ("CrashLog.log");
    const auto mapped = temp.file ("empty.bin");
    mapped.create();

    const auto end = runChild (log,
                               [&] (auto& ready)
                               {
                                   static volatile int zero = 0, seven = 7;
                                   const auto fd = ::open (mapped.getFullPathName().toRawUTF8(), O_RDONLY);
                                   auto* beyondTheFile =
                                       static_cast<volatile char*> (::mmap (nullptr, 4096, PROT_READ, MAP_PRIVATE, fd, 0));
                                   ready();

                                   switch (GetParam())
                                   {
                                       case SIGFPE: zero = seven / zero; break;
                                       case SIGILL: __builtin_trap();
                                       case SIGSEGV: *static_cast<volatile int*> (nullptr) = zero; break;
                                       case SIGBUS: zero = beyondTheFile[0]; break;
                                       case SIGABRT: std::abort();
                                       default: std::raise (GetParam()); break;
                                   }
                               });

    ASSERT_TRUE (end.ended);
    EXPECT_EQ (end.signal, GetParam());
    EXPECT_GE (linesNaming (loggedFrames (log), "marlode_tests("), 2);
}

INSTANTIATE_TEST_SUITE_P (CrashHandler, CrashSignal, ::testing::Values (SIGFPE, SIGILL, SIGSEGV, SIGBUS, SIGABRT, SIGSYS),
                          [] (const auto& info) { return juce::String (sigabbrev_np (info.param)).toStdString(); });
