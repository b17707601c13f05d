#include "e2e/AppProcess.h"
#include "state/EncryptedXml.h"
#include "support/WaitFor.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace MarlodeTest
{

AppProcess::AppProcess (const juce::StringArray& arguments, const juce::File& home, const AppLimits& limits)
    : AppProcess (MARLODE_BINARY, arguments, home, limits)
{
}

AppProcess::AppProcess (const juce::String& program, const juce::StringArray& arguments, const juce::File& home,
                        const AppLimits& limits)
    : errorOutput (limits.errorOutput != juce::File() ? limits.errorOutput
                                                      : home.getSiblingFile (home.getFileName() + "-stderr.txt"))
{
    home.createDirectory();

    // A fresh home would show the welcome over the window at every start; the tests drive the
    // window itself, so their first start finds a session that has it off.
    if (const auto session = home.getChildFile (".config/Marlode/PreviousState.cfg"); ! session.exists())
    {
        juce::XmlElement state ("PREVIOUS_STATE");
        state.setAttribute ("show_welcome", false);
        session.getParentDirectory().createDirectory();
        Marlode::EncryptedXml::writeEncryptedXml (state, session, Marlode::EncryptedXml::sessionKey);
    }

    std::vector<std::string> env;
    for (char** e = environ; *e != nullptr; ++e)
        if (std::strncmp (*e, "HOME=", 5) != 0)
            env.emplace_back (*e);
    env.push_back ("HOME=" + home.getFullPathName().toStdString());

    std::vector<std::string> args;
    if (limits.addressSpaceKB > 0)
        args = { "/bin/bash", "-c", "ulimit -v " + std::to_string (limits.addressSpaceKB) + " && exec \"$0\" \"$@\"" };
    args.push_back (program.toStdString());
    for (const auto& a : arguments)
        args.push_back (a.toStdString());

    std::vector<char*> argv, envp;
    for (auto& a : args)
        argv.push_back (a.data());
    argv.push_back (nullptr);
    for (auto& e : env)
        envp.push_back (e.data());
    envp.push_back (nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init (&actions);
    posix_spawn_file_actions_addopen (&actions, STDERR_FILENO, errorOutput.getFullPathName().toRawUTF8(),
                                      O_WRONLY | O_CREAT | O_TRUNC, 0644);

    if (posix_spawn (&processId, args[0].c_str(), &actions, nullptr, argv.data(), envp.data()) != 0)
        processId = -1;

    posix_spawn_file_actions_destroy (&actions);
}

AppProcess::~AppProcess()
{
    if (processId > 0 && ! reaped)
    {
        ::kill (processId, SIGKILL);
        ::waitpid (processId, &status, 0);
        reap();
    }
}

void AppProcess::reap()
{
    reaped = true;

    const auto patterns = juce::StringArray::fromTokens (MARLODE_FAILURE_PATTERNS, "|", "");
    const auto text = errorOutput.loadFileAsString();
    juce::StringArray lines, found;
    lines.addLines (text);

    for (const auto& line : lines)
        for (const auto& pattern : patterns)
            if (line.contains (pattern))
                found.add (line);

    if (! found.isEmpty())
        ADD_FAILURE() << "the app reported:\n" << found.joinIntoString ("\n") << "\nIts whole stderr:\n" << text;
}

bool AppProcess::isRunning()
{
    if (processId <= 0 || reaped)
        return false;

    if (::waitpid (processId, &status, WNOHANG) == processId)
    {
        reap();
        return false;
    }

    return true;
}

int AppProcess::waitForExit (int timeoutMs)
{
    if (! waitFor ([this] { return ! isRunning(); }, timeoutMs))
        return -1;

    return (reaped && WIFEXITED (status)) ? WEXITSTATUS (status) : -1;
}

int AppProcess::endingSignal() const
{
    return reaped && WIFSIGNALED (status) ? WTERMSIG (status) : 0;
}

juce::String run (const juce::StringArray& command, int timeoutMs)
{
    juce::ChildProcess process;

    if (! process.start (command))
        return {};

    const auto output = process.readAllProcessOutput();
    process.waitForProcessToFinish (timeoutMs);
    return output.trim();
}

namespace
{
    juce::StringArray windowsNamed (const juce::String& title, const AppProcess* app)
    {
        juce::StringArray command { "xdotool", "search", "--all", "--onlyvisible" };
        if (app != nullptr)
            command.addArray ({ "--pid", juce::String (app->pid()) });

        juce::String pattern;
        for (auto c : title)
            pattern << (juce::String ("\\^$.|?*+()[]{}").containsChar (c) ? "\\" : "") << juce::String::charToString (c);
        command.addArray ({ "--name", "^" + pattern + "$" });

        auto found = juce::StringArray::fromLines (run (command));
        found.removeEmptyStrings();
        return found;
    }
}

juce::String findWindow (const juce::String& title, int timeoutMs, const AppProcess* app)
{
    juce::StringArray found;
    waitFor ([&] { return ! (found = windowsNamed (title, app)).isEmpty(); }, timeoutMs, [] { juce::Thread::sleep (50); });
    return found.isEmpty() ? juce::String() : found[0].trim();
}

juce::String findMainWindow (int timeoutMs, const AppProcess* app)
{
    return findWindow ("Marlode", timeoutMs, app);
}

int countWindows (const juce::String& title)
{
    return windowsNamed (title, nullptr).size();
}

void clickAt (const juce::String& windowId, int x, int y)
{
    run ({ "xdotool", "mousemove", "--window", windowId, juce::String (x), juce::String (y), "click", "1" });
}

} // namespace MarlodeTest
