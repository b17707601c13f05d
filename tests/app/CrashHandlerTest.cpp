#include "app/AppGlobals.h"
#include "app/CrashHandler.h"
#include "support/TestAudio.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace Marlode;

TEST (CrashHandler, WritesTheStackToTheLogAndEndsTheProcess)
{
    MarlodeTest::TempFolder temp;
    const auto log = temp.file ("CrashLog.log");

    const auto child = fork();
    ASSERT_GE (child, 0);

    if (child == 0)
    {
        crashLogFile = log;
        CrashHandler::install();
        std::raise (SIGSEGV);
        _exit (3); // only reached if the handler didn't end the process
    }

    int status = 0;
    ASSERT_EQ (waitpid (child, &status, 0), child);
    ASSERT_TRUE (WIFSIGNALED (status));
    EXPECT_EQ (WTERMSIG (status), SIGKILL);

    const auto text = log.loadFileAsString();
    EXPECT_TRUE (text.contains (juce::String::repeatedString ("*", 58) + "\r\nCrash stack back trace:\r\nLog started: "));
    EXPECT_TRUE (text.contains ("marlode_tests")) << "the frames name the binary";
    EXPECT_GE (juce::StringArray::fromLines (text).size(), 8);
}
