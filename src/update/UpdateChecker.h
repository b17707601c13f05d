#pragma once

#include <juce_events/juce_events.h>

namespace Marlode
{

//==============================================================================
/**
    One question to the update service: a POST with the product, its version, the operating
    system and the machine's identifier, whose answer (the JSON text, or empty when anything went
    wrong) reaches the listener given to the constructor on the message thread. The check starts
    at construction and lives as long as the object; deleting it cancels a check under way.
*/
class UpdateChecker : public juce::Thread,
                      private juce::Timer,
                      public juce::ChangeBroadcaster
{
public:
    static constexpr const char* productID = "marlode";
    static constexpr const char* version = "1.2.0";

    /** How long a connection may take, and how long a connected service may stay silent. */
    static constexpr int connectionTimeoutMs = 3000;

    /** The most of an answer that is read; a longer one is cut there. */
    static constexpr int maxResponseBytes = 32768;

    /** What an answer says; `readable` is false for empty text, bad JSON or a value that isn't an
        object. A missing "updateAvailable" counts as false. */
    struct Answer
    {
        bool readable = false;
        bool updateAvailable = false;
        juce::String version, releaseNotes;
    };

    static Answer parse (const juce::String& text);

    explicit UpdateChecker (juce::ChangeListener* listener);
    ~UpdateChecker() override;

    /** Deletes a checker from its own change message: the broadcaster still walks its listeners
        when the callback returns, so the deletion waits for the next message. */
    static void deleteSoon (std::unique_ptr<UpdateChecker>);

    /** The service's address: MARLODE_UPDATE_URL when set, else the one built in. */
    static juce::URL serviceUrl();

    /** The page where a newer version can be had. */
    static juce::URL websiteUrl();

    /** The operating system's name and version, as the service gets it. */
    static juce::String operatingSystemName();

    /** /etc/machine-id, trimmed (empty where there is none). */
    static juce::String machineID();

    /** Opens the website in the user's browser; replaceable so tests start no browser. */
    static std::function<void (const juce::URL&)> openInBrowser;

    // Written by the worker before it starts the timer; read on the message thread once the
    // timer has fired, so the timer's start orders the two.
    juce::String response;

private:
    void run() override;
    void timerCallback() override;

    /** The answer as text, or empty when the stream failed, was cut short or was told to stop. */
    juce::String readAnswer (juce::WebInputStream&);

    juce::CriticalSection streamLock;
    std::unique_ptr<juce::WebInputStream> stream; // replaced by the worker, cancelled from the message thread

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (UpdateChecker)
};

} // namespace Marlode
