#include "ui/TitleBarButton.h"
#include "ui/SondrelLookAndFeel.h"

namespace Marlode::TitleBar
{

TitleBarButton::TitleBarButton (int type) : buttonType (type)
{
    switch (type)
    {
        case close:
            icon.addLineSegment ({ 0.0f, 0.0f, 1.0f, 1.0f }, 0.12f);
            icon.addLineSegment ({ 1.0f, 0.0f, 0.0f, 1.0f }, 0.12f);
            break;
        case maximise:
            icon.addRectangle (0.0f, 0.0f, 1.0f, 0.12f);
            icon.addRectangle (0.0f, 0.88f, 1.0f, 0.12f);
            icon.addRectangle (0.0f, 0.0f, 0.12f, 1.0f);
            icon.addRectangle (0.88f, 0.0f, 0.12f, 1.0f);
            break;
        case menu:
            for (auto y : { 0.0f, 0.42f, 0.84f })
                icon.addRectangle (0.0f, y, 1.0f, 0.16f);
            break;
        default: break;
    }

    setRepaintsOnMouseActivity (false);
}

void TitleBarButton::paint (juce::Graphics& g)
{
    auto colour = midGreyColour;

    if (hovered)
    {
        g.setColour (buttonType == close ? closeHoverColour : panelMidColour);
        g.fillRect (getLocalBounds());
        colour = textColour;
    }

    g.setColour (colour);
    const auto w = (float) getWidth(), h = (float) getHeight();

    if (buttonType == minimise)
    {
        g.fillRect (juce::Rectangle<float> (w / 3.0f, h / 2.0f, w / 3.0f, 1.5f));
        return;
    }

    const auto side = juce::jmin (w, h) * 0.4f;
    g.fillPath (icon,
                icon.getTransformToScaleToFit (juce::Rectangle<float> (side, side).withCentre ({ w / 2.0f, h / 2.0f }), true));
}

void TitleBarButton::mouseEnter (const juce::MouseEvent&)
{
    hovered = true;
    repaint();
}

void TitleBarButton::mouseExit (const juce::MouseEvent&)
{
    hovered = false;
    repaint();
}

void TitleBarButton::mouseDown (const juce::MouseEvent&)
{
    if (onClick)
        onClick();
    else if (buttonType == menu)
        sendChangeMessage();
}

} // namespace Marlode::TitleBar
