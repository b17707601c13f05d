#include "app/MainAudioAppComponent.h"
#include "support/TestAudio.h"
#include "support/TestEnv.h"
#include "update/StartupUpdateComponent.h"
#include "update/UserUpdateComponent.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Marlode;

namespace
{
//==============================================================================
// A one-connection-at-a-time HTTP server on 127.0.0.1 that answers every request with the same
// raw bytes (status line, headers and body exactly as given), or never answers at all.
class LoopbackServer : private juce::Thread
{
public:
    explicit LoopbackServer (juce::String rawAnswer, bool answers = true)
        : juce::Thread ("LoopbackServer"), raw (std::move (rawAnswer)), answering (answers)
    {
        listener.createListener (0, "127.0.0.1");
        startThread();
    }

    ~LoopbackServer() override { stopThread (5000); }

    [[nodiscard]] int port() const { return listener.getBoundPort(); }

    /** The request as it came, once the server has read all of it. */
    juce::String request() const
    {
        const juce::ScopedLock lock (requestLock);
        return received;
    }

private:
    void run() override
    {
        while (! threadShouldExit())
        {
            if (listener.waitUntilReady (true, 50) != 1)
                continue;

            std::unique_ptr<juce::StreamingSocket> client (listener.waitForNextConnection());
            if (client == nullptr)
                continue;

            const auto text = readRequest (*client);
            {
                const juce::ScopedLock lock (requestLock);
                received = text;
            }

            if (answering)
                client->write (raw.toRawUTF8(), (int) raw.getNumBytesAsUTF8());
            else
                while (! threadShouldExit())
                    sleep (20);
        }
    }

    juce::String readRequest (juce::StreamingSocket& client)
    {
        juce::MemoryBlock data;
        char chunk[4096];

        while (! threadShouldExit() && client.waitUntilReady (true, 2000) == 1)
        {
            const auto n = client.read (chunk, sizeof (chunk), false);
            if (n <= 0)
                break;
            data.append (chunk, (size_t) n);

            const auto text = data.toString();
            const auto headerEnd = text.indexOf ("\r\n\r\n");
            if (headerEnd >= 0)
            {
                const auto length = text.fromFirstOccurrenceOf ("Content-Length:", false, true).getIntValue();
                if ((int) data.getSize() >= headerEnd + 4 + length)
                    return text;
            }
        }

        return data.toString();
    }

    juce::StreamingSocket listener;
    const juce::String raw;
    const bool answering;
    juce::CriticalSection requestLock;
    juce::String received;
};

juce::String http (const juce::String& body, bool withLength = true, int claimedLength = -1,
                   const juce::String& status = "200 OK")
{
    juce::String head = "HTTP/1.1 " + status + "\r\nContent-Type: application/json\r\nConnection: close\r\n";
    if (withLength)
        head << "Content-Length: " << (claimedLength >= 0 ? claimedLength : (int) body.getNumBytesAsUTF8()) << "\r\n";
    return head + "\r\n" + body;
}

// A valid answer offering a newer version whose notes make it over the 32 KB that are read.
juce::String oversizedAnswer()
{
    return R"({"updateAvailable": true, "version": "9.9.9", "releaseNotes": ")" + juce::String::repeatedString ("x", 40000)
           + "\"}";
}

// A valid offer in its first 32 KB, padded past them.
juce::String paddedAnswer()
{
    return R"({"updateAvailable": true, "version": "1.3.0"})" + juce::String::repeatedString (" ", 40000);
}

const juce::String problemText = "There was a problem checking for updates.\nClick 'Get' to see the latest version.\n"
                                 "You're currently on version: 1.2.0";

struct UpdatePanels : ::testing::Test
{
    void SetUp() override
    {
        UpdateChecker::openInBrowser = [this] (const juce::URL& url) { opened.add (url.toString (false)); };
        pointAt ("http://127.0.0.1:9/api/"); // refused, until a test starts its server
    }

    void TearDown() override
    {
        UpdateChecker::openInBrowser = [] (const juce::URL& url) { ADD_FAILURE() << "a browser for " << url.toString (false); };
        MarlodeTest::pumpMessages (20); // the finished checkers go on the next messages
    }

    static void pointAt (const juce::String& base) { ::setenv ("MARLODE_UPDATE_URL", base.toRawUTF8(), 1); }

    void serve (const juce::String& raw, bool answers = true)
    {
        server = std::make_unique<LoopbackServer> (raw, answers);
        pointAt ("http://127.0.0.1:" + juce::String (server->port()) + "/api/");
    }

    // The user's check from start to its answer; returns the panel's text.
    juce::String userCheck (UserUpdateComponent& panel, int timeoutMs = 8000)
    {
        panel.checkForUpdates();
        EXPECT_TRUE (MarlodeTest::pumpUntil ([&] { return panel.updateChecker == nullptr; }, timeoutMs));
        return panel.text.getText();
    }

    static juce::String shownButtons (UserUpdateComponent& panel)
    {
        juce::StringArray shown;
        for (auto* b : { &panel.getButton, &panel.cancelButton, &panel.okButton })
            if (b->isVisible())
                shown.add (b->getButtonText());
        return shown.joinIntoString (",");
    }

    std::unique_ptr<LoopbackServer> server;
    juce::StringArray opened;
};

struct Answer
{
    const char* name;
    juce::String raw;
    juce::String userText; // what the user's check says
    const char* userButtons;
    bool startupShows;
};

std::vector<Answer> everyKindOfAnswer()
{
    return {
        { "available with notes",
          http (R"({"updateAvailable": true, "version": "1.3.0", "releaseNotes": "Faster meters.\nFixes."})"),
          "Update available. Version: 1.3.0\n\nFaster meters.\nFixes.", "Get,Cancel", true },
        { "available without notes", http (R"({"updateAvailable": true, "version": "1.3.0"})"),
          "Update available. Version: 1.3.0\n\n", "Get,Cancel", true },
        { "up to date", http (R"({"updateAvailable": false, "version": "1.2.0", "releaseNotes": "n"})"),
          "You're already up to date!", "OK", false },
        { "versions disagree", http (R"({"updateAvailable": false, "version": "1.1.0"})"), problemText, "Get,Cancel", false },
        { "no fields", http ("{}"), problemText, "Get,Cancel", false },
        { "empty", http (""), problemText, "Get,Cancel", false },
        { "not JSON", http ("<html>update</html>"), problemText, "Get,Cancel", false },
        { "not an object", http (R"([{"updateAvailable": true, "version": "1.3.0"}])"), problemText, "Get,Cancel", false },
        { "over 32 KB with its length", http (oversizedAnswer()), problemText, "Get,Cancel", false },
        // Its length says the 32 KB read are not all of it; without a length they are all there is.
        { "padded past 32 KB with its length", http (paddedAnswer()), problemText, "Get,Cancel", false },
        { "padded past 32 KB without a length", http (paddedAnswer(), false), "Update available. Version: 1.3.0\n\n",
          "Get,Cancel", true },
        { "over 32 KB without a length", http (oversizedAnswer(), false), problemText, "Get,Cancel", false },
        { "shorter than its length", http (R"({"updateAvailable": true, "version": "1.3.0"})", true, 400), problemText,
          "Get,Cancel", false },
        { "an error status", http (R"({"updateAvailable": true, "version": "1.3.0"})", true, -1, "500 Oops"), problemText,
          "Get,Cancel", false },
    };
}

} // namespace

//==============================================================================
TEST_F (UpdatePanels, UserCheckSaysWhatEveryKindOfAnswerMeans)
{
    for (const auto& answer : everyKindOfAnswer())
    {
        SCOPED_TRACE (answer.name);
        serve (answer.raw);
        UserUpdateComponent panel;

        panel.checkForUpdates();
        EXPECT_TRUE (panel.isVisible());
        EXPECT_EQ (panel.text.getText(), "Checking for updates...");
        EXPECT_EQ (shownButtons (panel), "");

        EXPECT_TRUE (MarlodeTest::pumpUntil ([&] { return panel.updateChecker == nullptr; }, 8000));
        EXPECT_EQ (panel.text.getText(), answer.userText);
        EXPECT_EQ (shownButtons (panel), answer.userButtons);
    }
}

TEST_F (UpdatePanels, StartupOfferShowsOnlyForSomethingNewer)
{
    for (const auto& answer : everyKindOfAnswer())
    {
        SCOPED_TRACE (answer.name);
        serve (answer.raw);
        StoredSettings settings;
        StartupUpdateComponent panel (settings);

        panel.checkForUpdates();
        EXPECT_FALSE (panel.isVisible());
        EXPECT_TRUE (MarlodeTest::pumpUntil ([&] { return panel.updateChecker == nullptr; }, 8000));
        EXPECT_EQ (panel.isVisible(), answer.startupShows);
        EXPECT_EQ (panel.text.getText(), answer.startupShows ? "New Marlode version available. Version: 1.3.0" : "");
    }
}

TEST_F (UpdatePanels, RequestCarriesProductVersionSystemAndMachine)
{
    serve (http (R"({"updateAvailable": false, "version": "1.2.0"})"));
    UserUpdateComponent panel;
    userCheck (panel);

    const auto request = server->request();
    EXPECT_TRUE (request.startsWith ("POST /api/update ")) << request;

    // The parameters travel as a form, in either the body or the address.
    const auto form = request.fromFirstOccurrenceOf ("\r\n\r\n", false, false).trim();
    juce::StringPairArray fields;
    for (const auto& pair : juce::StringArray::fromTokens (form, "&", ""))
        fields.set (juce::URL::removeEscapeChars (pair.upToFirstOccurrenceOf ("=", false, false)),
                    juce::URL::removeEscapeChars (pair.fromFirstOccurrenceOf ("=", false, false).replaceCharacter ('+', ' ')));

    EXPECT_EQ (fields.getAllKeys().joinIntoString (","), "productID,version,OSName,machineID");
    EXPECT_EQ (fields["productID"], "marlode");
    EXPECT_EQ (fields["version"], "1.2.0");

    juce::StringArray release;
    juce::File ("/etc/os-release").readLines (release);
    for (const auto& line : release)
        if (line.startsWith ("PRETTY_NAME="))
            EXPECT_EQ (fields["OSName"], line.fromFirstOccurrenceOf ("=", false, false).unquoted());
    EXPECT_TRUE (fields["OSName"].isNotEmpty());
    EXPECT_EQ (fields["machineID"], juce::File ("/etc/machine-id").loadFileAsString().trim());
}

//==============================================================================
TEST_F (UpdatePanels, StartupButtonsIgnoreOpenTheSiteOrStopAskingForGood)
{
    serve (http (R"({"updateAvailable": true, "version": "1.3.0"})"));
    StoredSettings settings;
    int notices = 0;
    struct Counter : juce::ChangeListener
    {
        int& n;
        explicit Counter (int& count) : n (count) {}
        void changeListenerCallback (juce::ChangeBroadcaster*) override { ++n; }
    } counter { notices };
    settings.addChangeListener (&counter);

    StartupUpdateComponent panel (settings);
    for (auto* button : { &panel.getButton, &panel.ignoreButton, &panel.dontAskButton })
    {
        panel.checkForUpdates();
        ASSERT_TRUE (MarlodeTest::pumpUntil ([&] { return panel.isVisible(); }, 8000));
        button->triggerClick();
        MarlodeTest::pumpUntil ([] { return false; }, 50);
        EXPECT_EQ (panel.isVisible(), button == &panel.getButton) << button->getButtonText();
        panel.setVisible (false);
    }

    EXPECT_EQ (opened, juce::StringArray { UpdateChecker::websiteUrl().toString (false) });
    EXPECT_FALSE (settings.getBool (StoredSettings::checkForUpdates, true));
    EXPECT_EQ (notices, 1);
    settings.removeChangeListener (&counter);
}

TEST_F (UpdatePanels, UserButtonsCloseOrOpenTheSite)
{
    serve (http (R"({"updateAvailable": true, "version": "1.3.0"})"));
    UserUpdateComponent panel;
    for (auto* button : { &panel.getButton, &panel.cancelButton })
    {
        userCheck (panel);
        button->triggerClick();
        MarlodeTest::pumpUntil ([] { return false; }, 50);
        EXPECT_EQ (panel.isVisible(), button == &panel.getButton);
    }

    server = std::make_unique<LoopbackServer> (http (R"({"updateAvailable": false, "version": "1.2.0"})"));
    pointAt ("http://127.0.0.1:" + juce::String (server->port()) + "/api/");
    userCheck (panel);
    panel.okButton.triggerClick();
    MarlodeTest::pumpUntil ([] { return false; }, 50);
    EXPECT_FALSE (panel.isVisible());
    EXPECT_EQ (opened.size(), 1);
}

//==============================================================================
TEST_F (UpdatePanels, RefusedOrSilentServiceEndsWithinTheTimeOut)
{
    {
        juce::StreamingSocket closed;
        closed.createListener (0, "127.0.0.1");
        const auto port = closed.getBoundPort();
        closed.close();
        pointAt ("http://127.0.0.1:" + juce::String (port) + "/api/");
    }
    UserUpdateComponent panel;
    auto start = juce::Time::getMillisecondCounter();
    EXPECT_EQ (userCheck (panel), problemText) << "refused";
    EXPECT_LT (juce::Time::getMillisecondCounter() - start, (juce::uint32) UpdateChecker::connectionTimeoutMs + 1000);

    serve ({}, false);
    start = juce::Time::getMillisecondCounter();
    EXPECT_EQ (userCheck (panel, 15000), problemText) << "silent";
    // The library looks at a stalled transfer once a second; the rest is slack for a loaded machine.
    EXPECT_LT (juce::Time::getMillisecondCounter() - start, (juce::uint32) UpdateChecker::connectionTimeoutMs + 3000);
    EXPECT_TRUE (server->request().startsWith ("POST")); // it did reach the server and wait there
}

TEST_F (UpdatePanels, ClosingDuringACheckCancelsItAtOnce)
{
    serve ({}, false);
    for (int which = 0; which < 2; ++which)
    {
        auto user = std::make_unique<UserUpdateComponent>();
        StoredSettings settings;
        auto startup = std::make_unique<StartupUpdateComponent> (settings);
        which == 0 ? user->checkForUpdates() : startup->checkForUpdates();
        ASSERT_TRUE (MarlodeTest::pumpUntil ([&] { return server->request().isNotEmpty(); }, 5000));

        const auto start = juce::Time::getMillisecondCounter();
        user.reset();
        startup.reset();
        EXPECT_LT (juce::Time::getMillisecondCounter() - start, 1000u) << which;
        server = std::make_unique<LoopbackServer> (juce::String(), false);
        pointAt ("http://127.0.0.1:" + juce::String (server->port()) + "/api/");
    }
}

//==============================================================================
TEST_F (UpdatePanels, MenuEntryOpensTheUserCheckOverTheWindow)
{
    MARLODE_REQUIRE_JACK();
    serve (http (R"({"updateAvailable": false, "version": "1.2.0"})"));
    MainAudioAppComponent app { false };
    app.setSize (1000, 700);
    EXPECT_NE (app.startupUpdate.updateChecker, nullptr); // the setting holds until someone clears it
    EXPECT_FALSE (app.startupUpdate.isVisible());

    app.menuItemChosen (17);
    EXPECT_TRUE (app.userUpdate.isVisible());
    EXPECT_EQ (app.userUpdate.getBounds(), app.getLocalBounds());
    EXPECT_TRUE (MarlodeTest::pumpUntil ([&] { return app.userUpdate.text.getText() == "You're already up to date!"; }, 8000));
}

TEST_F (UpdatePanels, ScreenshotsOfBothPanels)
{
    MARLODE_REQUIRE_DISPLAY();
    serve (http (R"({"updateAvailable": true, "version": "1.3.0", "releaseNotes": "Faster meters."})"));
    UserUpdateComponent user;
    user.setSize (600, 400);
    userCheck (user);
    StoredSettings settings;
    StartupUpdateComponent startup (settings);
    startup.setSize (800, 35);
    startup.checkForUpdates();
    ASSERT_TRUE (MarlodeTest::pumpUntil ([&] { return startup.isVisible(); }, 8000));

    for (auto [component, name] : { std::pair<juce::Component*, const char*> { &user, "marlode-update-user.png" },
                                    std::pair<juce::Component*, const char*> { &startup, "marlode-update-startup.png" } })
    {
        const auto image = component->createComponentSnapshot (component->getLocalBounds());
        // The box's fill in the middle, not the dimmed surround, shows the panel drew itself.
        EXPECT_EQ (
            image.getPixelAt (component->getWidth() / 2, component->getHeight() - 3 - (component == &user ? 60 : 0)).getARGB(),
            backgroundColour.getARGB());
        const auto png = juce::File (MARLODE_BUILD_DIR).getChildFile (name);
        png.deleteFile();
        juce::FileOutputStream out (png);
        ASSERT_TRUE (juce::PNGImageFormat().writeImageToStream (image, out));
    }
}
