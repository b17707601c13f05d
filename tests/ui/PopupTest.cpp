#include "ui/DesktopWindowComponent.h"
#include "ui/PopupDisplayComponent.h"
#include "ui/SondrelLookAndFeel.h"

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
    EXPECT_EQ (slot, &settings);
    EXPECT_TRUE (settings.isVisible());

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

TEST (Popups, OverlayDimsAndTheBoxIsTheBackgroundColour)
{
    PopupDisplayComponent* slot = nullptr;
    PopupDisplayComponent popup (100, 80, slot);
    popup.setSize (300, 200);

    juce::Image image (juce::Image::ARGB, 300, 200, true);
    juce::Graphics g (image);
    g.fillAll (juce::Colours::black);
    popup.paintEntireComponent (g, true);

    // Dim 0x80323232 over black gives half of 0x32.
    const auto dimmed = image.getPixelAt (5, 5);
    EXPECT_NEAR (dimmed.getRed(), 0x19, 1);
    EXPECT_EQ (image.getPixelAt (150, 100), backgroundColour) << "the box, 100 x 80 in the middle";
    EXPECT_GT (image.getPixelAt (100, 100).getRed(), 0x50) << "the box's grey outline, anti-aliased";
}

TEST (ToolWindows, CloseLeavesTheListAndTheWindowCanOpenAgain)
{
    if (juce::Desktop::getInstance().getDisplays().getPrimaryDisplay() == nullptr)
        GTEST_SKIP() << "needs a display";

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
    EXPECT_TRUE (window.isPlaced());
    EXPECT_EQ (window.getScreenBounds().getCentreX(), panel.getScreenBounds().getCentreX());
    EXPECT_EQ (window.getScreenY(), panel.getScreenY());

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

namespace
{
juce::MouseEvent mouseEventOn (juce::Component& c)
{
    return { juce::Desktop::getInstance().getMainMouseSource(),
             {},
             {},
             0.0f,
             0.0f,
             0.0f,
             0.0f,
             0.0f,
             &c,
             &c,
             juce::Time(),
             {},
             juce::Time(),
             1,
             false };
}
}

TEST (ToolWindows, TitleBarButtonsActOnPressAndPaintTheirHover)
{
    TitleBar::TitleBarButton close (TitleBar::TitleBarButton::close), menu (TitleBar::TitleBarButton::menu);
    close.setSize (40, 20);

    // Hover fills the close button dark red; otherwise it is transparent around its grey icon.
    juce::Image idle (juce::Image::ARGB, 40, 20, true), hovered (juce::Image::ARGB, 40, 20, true);
    {
        juce::Graphics g (idle);
        close.paintEntireComponent (g, true);
    }
    close.mouseEnter (mouseEventOn (close));
    {
        juce::Graphics g (hovered);
        close.paintEntireComponent (g, true);
    }
    EXPECT_TRUE (close.isHovered());
    EXPECT_EQ (idle.getPixelAt (2, 2).getAlpha(), 0);
    EXPECT_EQ (hovered.getPixelAt (2, 2), closeHoverColour);

    // A menu button without onClick tells its listeners instead.
    struct Listener : juce::ChangeListener
    {
        int calls = 0;
        void changeListenerCallback (juce::ChangeBroadcaster*) override { ++calls; }
    } listener;
    menu.addChangeListener (&listener);
    menu.mouseDown (mouseEventOn (menu));
    menu.dispatchPendingMessages();
    EXPECT_EQ (listener.calls, 1);
    menu.removeChangeListener (&listener);
}
