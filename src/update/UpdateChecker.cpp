#include "update/UpdateChecker.h"

#ifndef MARLODE_UPDATE_API_URL
#error "The build defines MARLODE_UPDATE_API_URL"
#endif
#ifndef MARLODE_WEBSITE_URL
#error "The build defines MARLODE_WEBSITE_URL"
#endif

namespace Marlode
{

std::function<void (const juce::URL&)> UpdateChecker::openInBrowser = [] (const juce::URL& url) { url.launchInDefaultBrowser(); };

UpdateChecker::UpdateChecker (juce::ChangeListener* listener) : juce::Thread ("UpdateCheckerThread")
{
    addChangeListener (listener);
    startThread();
}

UpdateChecker::~UpdateChecker()
{
    signalThreadShouldExit();
    {
        const juce::ScopedLock lock (streamLock);
        if (stream != nullptr)
            stream->cancel();
    }
    // A cancelled transfer ends within one of the library's 100 ms polls.
    stopThread (connectionTimeoutMs + 1000);
    stopTimer();
}

UpdateChecker::Answer UpdateChecker::parse (const juce::String& text)
{
    juce::var json;

    if (text.isEmpty() || juce::JSON::parse (text, json).failed() || ! json.isObject())
        return {};

    return { true, static_cast<bool> (json.getProperty ("updateAvailable", false)), json.getProperty ("version", {}).toString(),
             json.getProperty ("releaseNotes", {}).toString() };
}

void UpdateChecker::deleteSoon (std::unique_ptr<UpdateChecker> checker)
{
    if (checker != nullptr)
        juce::MessageManager::callAsync ([finished = std::shared_ptr<UpdateChecker> (std::move (checker))] {});
}

juce::URL UpdateChecker::serviceUrl()
{
    const auto configured = juce::SystemStats::getEnvironmentVariable ("MARLODE_UPDATE_URL", {});
    return juce::URL (configured.isNotEmpty() ? configured : juce::String (MARLODE_UPDATE_API_URL));
}

juce::URL UpdateChecker::websiteUrl()
{
    return juce::URL (MARLODE_WEBSITE_URL);
}

juce::String UpdateChecker::operatingSystemName()
{
    juce::StringArray lines;
    juce::File ("/etc/os-release").readLines (lines);

    for (const auto& line : lines)
        if (line.startsWith ("PRETTY_NAME="))
            if (const auto name = line.fromFirstOccurrenceOf ("=", false, false).trim().unquoted(); name.isNotEmpty())
                return name;

    return juce::SystemStats::getOperatingSystemName();
}

juce::String UpdateChecker::machineID()
{
    return juce::File ("/etc/machine-id").loadFileAsString().trim();
}

void UpdateChecker::run()
{
    const auto url = serviceUrl()
                         .getChildURL ("update")
                         .withParameter ("productID", productID)
                         .withParameter ("version", version)
                         .withParameter ("OSName", operatingSystemName())
                         .withParameter ("machineID", machineID());

    juce::WebInputStream* current = nullptr;
    {
        const juce::ScopedLock lock (streamLock);
        // Checked under the lock, so a destructor that has cancelled finds no stream made after it.
        if (! threadShouldExit())
        {
            stream = std::make_unique<juce::WebInputStream> (url, true);
            stream->withConnectionTimeout (connectionTimeoutMs);
            current = stream.get();
        }
    }

    juce::String answer;

    if (current != nullptr && current->connect (nullptr) && ! threadShouldExit() && ! current->isError()
        && current->getStatusCode() / 100 == 2)
        answer = readAnswer (*current);

    response = answer;
    startTimer (100);
}

juce::String UpdateChecker::readAnswer (juce::WebInputStream& in)
{
    const auto total = in.getTotalLength(); // -1 when the service sent no length
    juce::HeapBlock<char> buffer ((size_t) maxResponseBytes, true);
    int got = 0;

    while (got < maxResponseBytes && ! in.isExhausted() && ! threadShouldExit() && (total < 0 || got < total))
    {
        const auto room = maxResponseBytes - got;
        const auto want = total < 0 ? room : (int) std::min<juce::int64> (room, total - got);
        const auto n = in.read (buffer.get() + got, want);

        if (n <= 0)
            break;

        got += n;
    }

    if (threadShouldExit() || in.isError() || (total >= 0 && total > got))
        return {};

    return juce::String::fromUTF8 (buffer.get(), got);
}

void UpdateChecker::timerCallback()
{
    stopTimer();
    sendChangeMessage();
}

} // namespace Marlode
