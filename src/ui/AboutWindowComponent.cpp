#include "ui/AboutWindowComponent.h"
#include "ui/Palette.h"

namespace Marlode
{

AboutWindowComponent::AboutWindowComponent (PopupDisplayComponent*& slot) : PopupDisplayComponent (700, 400, slot)
{
    setTitle ("About");
}

juce::String AboutWindowComponent::aboutText()
{
    const juce::String name ("Marlode");

    // The libraries the program really links: Debian's JUCE (used here under the GPL, version 3),
    // Rubber Band (GPL, version 2 or later), libmpg123 (LGPL 2.1), and the FLAC and Ogg Vorbis
    // code compiled into JUCE (BSD-style licences).
    return juce::StringArray { "version: 1.2.0",
                               "",
                               name + " is built on these libraries:",
                               "JUCE 7 (c) Raw Material Software, under the GNU GPL v3",
                               "FLAC and Ogg Vorbis (c) Xiph.Org, under BSD licences",
                               "libmpg123 (c) the mpg123 project, under the GNU LGPL v2.1",
                               name + " uses the Rubber Band audio timestretcher,",
                               "(c) Particular Programs Ltd, under the GNU GPL v2 or later",
                               "",
                               "Contact: marlode@users.invalid",
                               "Copyright (c) 2026 the Marlode developers" }
        .joinIntoString ("\r\n");
}

void AboutWindowComponent::paint (juce::Graphics& g)
{
    PopupDisplayComponent::paint (g);
    g.setColour (textColour);
    g.setFont (20.0f);

    auto area = getContentBounds().reduced (10);
    for (const auto& line : juce::StringArray::fromLines (aboutText()))
        g.drawText (line, area.removeFromTop (24), juce::Justification::centredTop, true);
}

} // namespace Marlode
