#include "app/MainAudioAppComponent.h"
#include "support/TestAudio.h"
#include "ui/CommandIDs.h"

#include <gtest/gtest.h>

using namespace Marlode;

namespace
{
// The global scale factor is the whole process's: every test leaves it at 1.
struct ScaleGuard
{
    ~ScaleGuard() { juce::Desktop::getInstance().setGlobalScaleFactor (1.0f); }
};
}

TEST (Settings, AStoredScaleCountsOnlyUnderAValidBoxIdAndFromTheBoxsTable)
{
    struct Row
    {
        int id;
        double value, scale;
        bool atStart;
    };
    const auto nan = std::nan ("");
    for (const auto& r :
         { Row { 2, 0.75, 0.75, true }, Row { 1, 0.5, 0.5, true }, Row { 3, 1.0, 1.0, false }, Row { 6, 3.0, 1.0, false },
           Row { 4, nan, 1.0, false }, Row { 0, 0.5, 1.0, false }, Row { 7, 2.0, 1.0, false }, Row { -1, 1.5, 1.0, false } })
    {
        EXPECT_EQ (SettingsComponent::storedScale (r.id, r.value), r.scale) << r.id << " " << r.value;
        EXPECT_EQ (SettingsComponent::appliesAtStart (SettingsComponent::storedScale (r.id, r.value)), r.atStart);
    }
    EXPECT_FALSE (SettingsComponent::appliesAtStart (3.0)) << "a stored 3.0 is ignored at the start";
}

TEST (Settings, ChoicesApplyAtOnceAreStoredAndTheKeyAndMenuOpenThePanel)
{
    ScaleGuard guard;
    MainAudioAppComponent app (false);
    app.setSize (850, 720);
    auto& panel = app.settingsPanel;

    app.commandManager.invokeDirectly (CommandIDs::settings, false);
    EXPECT_TRUE (panel.isVisible()) << "the s key's command";
    panel.closeButton.onClick();
    EXPECT_FALSE (panel.isVisible());
    app.menuItemChosen (7);
    EXPECT_TRUE (panel.isVisible()) << "the menu's Settings";

    panel.displayScaleCombo.setSelectedId (5, juce::sendNotificationSync);
    EXPECT_EQ (juce::Desktop::getInstance().getGlobalScaleFactor(), 1.5f);
    EXPECT_EQ (app.storedSettings.getDouble (StoredSettings::displayScale, 0.0), 1.5);
    EXPECT_EQ (app.storedSettings.getInt (StoredSettings::displayScaleComboId, 0), 5);

    panel.checkForUpdatesToggle.triggerClick();
    MarlodeTest::pumpMessages (10);
    EXPECT_FALSE (app.storedSettings.getBool (StoredSettings::checkForUpdates, true));

    app.menuItemChosen (6); // "Reset Display"
    EXPECT_EQ (juce::Desktop::getInstance().getGlobalScaleFactor(), 1.0f);
    EXPECT_EQ (panel.displayScaleCombo.getSelectedId(), 3);
    EXPECT_EQ (app.storedSettings.getDouble (StoredSettings::displayScale, 0.0), 1.0);

    // The layout at 550 x 320: the box beside its label about the centre, the toggle centred,
    // and the device selector below on the master's own device manager.
    const auto centre = panel.getContentBounds().getCentreX();
    EXPECT_EQ (panel.displayScaleCombo.getX(), centre + 5);
    EXPECT_EQ (panel.displayScaleCombo.getWidth(), 75);
    EXPECT_EQ (panel.displayScaleLabel.getRight(), centre - 5);
    EXPECT_NEAR (panel.checkForUpdatesToggle.getBounds().getCentreX(), centre, 1);
    EXPECT_GT (panel.audioDeviceSelector.getY(), panel.audioSettingsLabel.getBottom() - 1);
    EXPECT_EQ (&panel.audioDeviceSelector.deviceManager, &app.deviceManager);
}
