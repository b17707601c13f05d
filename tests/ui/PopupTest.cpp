#include "ui/DesktopWindowComponent.h"
#include "ui/PopupDisplayComponent.h"
#include "ui/SondrelLookAndFeel.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

using namespace Marlode;

TEST (Popups, OneAtATimeThroughTheSlotAndEscapeWithoutModifiersCloses)
{
    PopupDisplayComponent* slot = nullptr;
    juce::Component window;
    window.setSize (850, 720);
    PopupDisplayComponent settings (550, 320, slot), about (700, 400, slot);
    window.addChildComponent (settings);
    window.addChildComponent (about);

    int settingsClosed = 0;
    settings.onClose = [&] { ++settingsClosed; };

    settings.show();
    about.show();
    EXPECT_EQ (slot, &about);
    EXPECT_FALSE (settings.isVisible()) << "showing one closes the other";
    EXPECT_EQ (settingsClosed, 1);

    EXPECT_FALSE (about.keyPressed (juce::KeyPress (juce::KeyPress::escapeKey, juce::ModifierKeys::shiftModifier, 0)));
    EXPECT_FALSE (about.keyPressed (juce::KeyPress ('a')));
    EXPECT_TRUE (about.isVisible());
    EXPECT_TRUE (about.keyPressed (juce::KeyPress (juce::KeyPress::escapeKey)));
    EXPECT_FALSE (about.isVisible());
    EXPECT_EQ (slot, nullptr);
}

TEST (ToolWindows, CloseLeavesTheListAndTheWindowCanOpenAgain)
{
    MARLODE_REQUIRE_DISPLAY();

    juce::TextButton opener;
    juce::Component panel;
    panel.setBounds (100, 100, 600, 400);
    panel.addAndMakeVisible (opener);
    panel.addToDesktop (0);
    panel.setVisible (true);

    DesktopWindowComponent window ("Tools", { 0, 0, 300, 200 }, &opener);
    window.showWindow();
    EXPECT_TRUE (window.isOnDesktop());
    EXPECT_TRUE (DesktopWindowComponent::openDesktopWindows().contains (&window));

    EXPECT_FALSE (window.keyPressed (juce::KeyPress (juce::KeyPress::escapeKey, juce::ModifierKeys::commandModifier, 0)));
    EXPECT_TRUE (window.keyPressed (juce::KeyPress (juce::KeyPress::escapeKey)));
    EXPECT_FALSE (window.isOnDesktop());
    EXPECT_FALSE (DesktopWindowComponent::openDesktopWindows().contains (&window));

    // Its bar's close button, after opening again.
    window.showWindow();
    EXPECT_TRUE (DesktopWindowComponent::openDesktopWindows().contains (&window));
    window.titleBar.closeButton.onClick();
    EXPECT_FALSE (window.isOnDesktop());
    EXPECT_TRUE (DesktopWindowComponent::openDesktopWindows().isEmpty());
    panel.removeFromDesktop();
}
