#include "app/MainAudioAppComponent.h"
#include "state/LogCollector.h"
#include "support/DeckHarness.h"

#include <gtest/gtest.h>

#include <thread>

using namespace Marlode;
using namespace MarlodeTest;

TEST (HelpWindows, TheWelcomeShowsUntilTheUserSaysNotAgain)
{
    StoredSettings settings;
    PopupDisplayComponent* slot = nullptr;
    WelcomeComponent welcome (settings, slot);
    juce::Component window;
    window.setSize (850, 720);
    window.addChildComponent (welcome);

    welcome.showIfWanted();
    EXPECT_TRUE (welcome.isVisible()) << "never stored: shown";
    EXPECT_EQ (welcome.header.getText(), "Thank you for installing Marlode!");
    EXPECT_EQ (welcome.header.getBounds(),
               juce::Rectangle<int> (welcome.getBoxBounds().getX() + 100, welcome.getBoxBounds().getY() + 115, 400, 60));
    EXPECT_EQ (welcome.closeWelcome.getWidth(), 150);

    welcome.dontShowAgain.triggerClick();
    pumpMessages (10);
    EXPECT_FALSE (settings.getBool (StoredSettings::showWelcome, true));
    welcome.closeWelcome.triggerClick();
    pumpMessages (10);
    EXPECT_FALSE (welcome.isVisible());

    welcome.showIfWanted();
    EXPECT_FALSE (welcome.isVisible());
    EXPECT_TRUE (welcome.dontShowAgain.getToggleState());
}

TEST (HelpWindows, TheKeyTableSplitsIntoTwoColumnsAndTheAboutTextNamesWhatWeUse)
{
    using C = std::pair<juce::String, juce::String>;
    EXPECT_EQ (ShortcutKeysContent::columns ("Replay On: ;"), C ("Replay On", ";"));
    EXPECT_EQ (ShortcutKeysContent::columns ("Loop marker to end: Ctrl + ."), C ("Loop marker to end", "Ctrl + ."));
    EXPECT_EQ (ShortcutKeysContent::columns ("If playlist focused:"), C ("If playlist focused:", ""));
    EXPECT_EQ (ShortcutKeysContent::lines()[0], "Description: Key");
    for (const auto& line : ShortcutKeysContent::lines())
        EXPECT_FALSE (line.contains ("opt ") || line.contains (juce::CharPointer_UTF8 ("\xe2\x8c\x98")))
            << "the words stay words";

    const auto about = juce::StringArray::fromLines (AboutWindowComponent::aboutText());
    EXPECT_EQ (about[0], "version: 1.2.0");
    EXPECT_TRUE (AboutWindowComponent::aboutText().contains ("Rubber Band"));
    EXPECT_TRUE (AboutWindowComponent::aboutText().contains ("libmpg123"));
}

TEST (HelpWindows, TheLogKeepsItsLastLinesFromAnyThread)
{
    LogCollector log (100);
    std::thread other (
        [&]
        {
            for (int i = 0; i < 500; ++i)
                log.logMessage ("other " + juce::String (i));
        });
    for (int i = 0; i < 500; ++i)
        log.logMessage ("here " + juce::String (i));
    other.join();
    log.logMessage ("last");

    const auto lines = juce::StringArray::fromLines (log.getText());
    EXPECT_EQ (lines.size(), 100);
    EXPECT_EQ (lines[99], "last");
    EXPECT_FALSE (lines.contains ("here 0") || lines.contains ("other 0"));
}

TEST (HelpWindows, TheMenuOpensHelpAboutAndTheDebugWindowWhichSavesItsLines)
{
    TempFolder temp;
    AlertRecorder alerts;
    MainAudioAppComponent app (false);
    app.setSize (850, 720);
    app.logLines = [] { return juce::String ("first line\r\nsecond line"); };

    app.menuItemChosen (9);
    ASSERT_NE (app.help, nullptr);
    EXPECT_TRUE (app.help->isVisible());
    const auto* help = app.help.get();
    app.menuItemChosen (8);
    EXPECT_EQ (app.help.get(), help) << "made once and kept";
    app.help->closeWindow();

    app.menuItemChosen (10);
    EXPECT_TRUE (app.about.isVisible());

    app.menuItemChosen (11);
    ASSERT_NE (app.debugWindow, nullptr);
    auto& content = app.debugWindow->content;
    EXPECT_EQ (juce::StringArray::fromLines (content.text.getText()).joinIntoString ("|"), "first line|second line");

    const auto saved = temp.file ("log.txt");
    for (const auto& target : { saved, juce::File(), temp.file ("no/such/folder/log.txt") })
    {
        content.chooseFile = [target] (auto chosen) { chosen (target); };
        content.saveButton.triggerClick();
        pumpMessages (10);
    }
    EXPECT_EQ (saved.loadFileAsString(), "first line\r\nsecond line");
    ASSERT_EQ (alerts.shown.size(), 3u);
    EXPECT_EQ (alerts.shown[0].title, "Success");
    EXPECT_EQ (alerts.shown[0].message, "File saved successfully to:\n" + saved.getFullPathName());
    EXPECT_EQ (alerts.shown[1].title, "Cancelled");
    EXPECT_EQ (alerts.shown[1].message, "File saving was cancelled.");
    EXPECT_EQ (alerts.shown[2].title, "Error");
    EXPECT_EQ (alerts.shown[2].message, "Failed to create or write to the file.");
    app.debugWindow->closeWindow();
}

// The panels as they look, for a person to check: written into the build folder.
TEST (HelpWindows, ThePanelsArePicturedForALook)
{
    MainAudioAppComponent app (false);
    app.setSize (850, 720);
    for (auto [panel, name] : { std::pair<PopupDisplayComponent*, const char*> { &app.settingsPanel, "settings" },
                                std::pair<PopupDisplayComponent*, const char*> { &app.about, "about" },
                                std::pair<PopupDisplayComponent*, const char*> { &app.welcome, "welcome" } })
    {
        panel->show();
        const auto png = juce::File (MARLODE_BUILD_DIR).getChildFile (juce::String ("marlode-") + name + ".png");
        png.deleteFile();
        juce::FileOutputStream out (png);
        EXPECT_TRUE (juce::PNGImageFormat().writeImageToStream (app.createComponentSnapshot (app.getLocalBounds()), out)) << name;
    }
}
