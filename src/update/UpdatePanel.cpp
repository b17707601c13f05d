#include "update/UpdatePanel.h"

namespace Marlode
{

UpdatePanel::UpdatePanel()
{
    addAndMakeVisible (text);
    setVisible (false);
}

UpdatePanel::~UpdatePanel()
{
    updateChecker.reset();
}

void UpdatePanel::startCheck()
{
    updateChecker = std::make_unique<UpdateChecker> (this);
}

std::optional<UpdateChecker::Answer> UpdatePanel::takeAnswer (juce::ChangeBroadcaster* source)
{
    if (updateChecker == nullptr || source != updateChecker.get())
        return std::nullopt;

    auto answer = UpdateChecker::parse (updateChecker->response);
    UpdateChecker::deleteSoon (std::move (updateChecker));
    return answer;
}

} // namespace Marlode
