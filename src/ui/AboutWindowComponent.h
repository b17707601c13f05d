#pragma once

#include "ui/PopupDisplayComponent.h"

namespace Marlode
{

//==============================================================================
/** "About": the version, the libraries the program is built on with their licences, and how to
    reach us. Message thread. */
class AboutWindowComponent : public PopupDisplayComponent
{
public:
    explicit AboutWindowComponent (PopupDisplayComponent*& activePopup);

    /** The text as painted, its lines joined by "\r\n". */
    [[nodiscard]] static juce::String aboutText();

    void paint (juce::Graphics&) override;

private:
    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (AboutWindowComponent)
};

} // namespace Marlode
