#pragma once

#include "state/StoredSettings.h"
#include "update/UpdatePanel.h"

namespace Marlode
{

//==============================================================================
/**
    The bar that offers a newer version after a start. It stays hidden through the check and
    shows only when the service says something newer exists; every failure is silent.
    Message thread only.
*/
class StartupUpdateComponent : public UpdatePanel
{
public:
    explicit StartupUpdateComponent (StoredSettings& settings);

    /** One check; the bar shows itself if the answer offers a newer version. */
    void checkForUpdates();

    void changeListenerCallback (juce::ChangeBroadcaster* source) override;
    void buttonClicked (juce::Button*) override;
    void paint (juce::Graphics&) override;
    void resized() override;

    juce::TextButton ignoreButton { "Ignore" }, getButton { "Get" }, dontAskButton { "Don't ask again" };
    juce::String message;

private:
    StoredSettings& settings;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (StartupUpdateComponent)
};

} // namespace Marlode
