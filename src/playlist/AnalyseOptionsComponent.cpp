#include "playlist/AnalyseOptionsComponent.h"

namespace Marlode::Analyse
{

namespace
{
    constexpr int toggleHeight = 24, margin = 15;
}

OptionsComponent::OptionsComponent (PopupDisplayComponent*& activePopup)
    : PopupDisplayComponent (boxWidth, boxHeight, activePopup)
{
    setTitle ("Analyse Options");

    for (size_t i = 0; i < items.size(); ++i)
    {
        auto toggle = std::make_unique<juce::ToggleButton> (items[i].name);
        toggle->setToggleState (items[i].visible, juce::dontSendNotification);
        toggle->onClick = [this, i]
        {
            items[i].visible = toggles[i]->getToggleState();
            sendActionMessage (changedMessage);
        };
        addAndMakeVisible (*toggle);
        toggles.push_back (std::move (toggle));
    }
}

void OptionsComponent::getState (DeckState& state) const
{
    state.analyseViews.clear();

    for (const auto& item : items)
        state.analyseViews.set (item.getSettingName(), item.visible);
}

void OptionsComponent::setState (const DeckState& state)
{
    for (size_t i = 0; i < items.size(); ++i)
        if (const auto* shown = state.analyseViews.getVarPointer (items[i].getSettingName()))
            toggles[i]->setToggleState ((bool) *shown, juce::sendNotificationSync);

    sendActionMessage (changedMessage);
}

void OptionsComponent::resized()
{
    PopupDisplayComponent::resized();

    // Two columns, filled down the first.
    const auto area = getContentBounds().reduced (margin, 0);
    const auto perColumn = ((int) toggles.size() + 1) / 2;
    const auto columnWidth = area.getWidth() / 2;

    for (int i = 0; i < (int) toggles.size(); ++i)
        toggles[(size_t) i]->setBounds (area.getX() + (i / perColumn) * columnWidth, area.getY() + (i % perColumn) * toggleHeight,
                                        columnWidth, toggleHeight);
}

} // namespace Marlode::Analyse
