#include "support/TestAudio.h"
#include "ui/TitleBarComponent.h"
#include "support/TestEnv.h"

#include <gtest/gtest.h>

using namespace Marlode::TitleBar;
using namespace MarlodeTest;

namespace
{
// A frameless window whose content is the bar, as the main window's is.
struct BarWindow : juce::DocumentWindow
{
    BarWindow() : juce::DocumentWindow ("bar", juce::Colours::black, 0)
    {
        setUsingNativeTitleBar (false);
        setTitleBarHeight (0);
        setContentNonOwned (&bar, false);
        setBounds (100, 100, 400, 25);
        setVisible (true);
    }

    ~BarWindow() override { clearContentComponent(); }

    TitleBarComponent bar { "Marlode" };
};
}

TEST (TitleBar, MaximiseRestoresAndEscapeDismissesTheMenu)
{
    MARLODE_REQUIRE_DISPLAY();

    BarWindow window;
    auto& bar = window.bar;
    const auto original = window.getBounds();
    const auto userArea = juce::Desktop::getInstance().getDisplays().getPrimaryDisplay()->userArea;

    bar.toggleMaximised();
    EXPECT_EQ (window.getBounds(), userArea);
    bar.toggleMaximised();
    EXPECT_EQ (window.getBounds(), original);

    // Maximised with nothing to go back to: the button leaves the window as it is.
    window.setBounds (userArea);
    bar.restoreBounds = {};
    bar.toggleMaximised();
    EXPECT_EQ (window.getBounds(), userArea);
    window.setBounds (original);

    int chosen = 0, dismissed = 0;
    bar.onMenuItem = [&] (int id) { chosen = id; };
    bar.onMenuDismissed = [&] { ++dismissed; };
    bar.menuButton.mouseDown (mouseAt (bar.menuButton, {})); // the button has no onClick: its press tells the bar
    ASSERT_TRUE (pumpUntil ([] { return juce::Component::getCurrentlyModalComponent() != nullptr; }, 2000));
    juce::Component::getCurrentlyModalComponent()->keyPressed (juce::KeyPress (juce::KeyPress::escapeKey));
    ASSERT_TRUE (pumpUntil ([&] { return dismissed == 1; }, 2000));
    EXPECT_EQ (chosen, 0);
}
