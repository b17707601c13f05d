#pragma once

#include <juce_graphics/juce_graphics.h>

namespace Marlode
{

// Every colour the interface draws with (ARGB). Views only: processors stay free of graphics.

//==============================================================================
// The look's shared colours.
inline const juce::Colour backgroundColour { 0xff282a28 }; // windows, panels, popup boxes, title bar
inline const juce::Colour textColour { 0xfff5f5f5 };       // text, slider tracks, rotary fill and outline, waveforms
inline const juce::Colour widgetColour { 0xff3c3c3c };     // text buttons, off indicators
inline const juce::Colour midGreyColour { 0xff808080 };    // outlines, muted text
inline const juce::Colour sliderBackColour { 0xff0f0f0f }; // slider background, and every sunken well
inline const juce::Colour thumbColour { 0xff969696 };
inline const juce::Colour frameDarkColour { 0xff0f110f };
inline const juce::Colour dimColour { 0x80323232 }; // overlay behind a popup
inline const juce::Colour closeHoverColour { 0xff8b0000 };
inline const juce::Colour panelMidColour { 0xff4b4b4b }; // raised panels, selected rows
inline const juce::Colour onColour { 0xff008000 };       // anything on or active, the play head, the ruler
inline const juce::Colour offColour { 0xffff0000 };      // anything off, a clipped meter

// The equaliser: a band's switch when on, an active equaliser's button (off and on state), a
// band's point when off, the gain boxes.
inline const juce::Colour bandOnButtonColour { 0xff006400 };
inline const juce::Colour eqActiveOnColour { 0xff228b22 };
inline const juce::Colour bandPointOffColour { 0xffc80000 };
inline const juce::Colour gainBoxColour { 0xff2f4f4f };

//==============================================================================
// Menus and table headers.
inline const juce::Colour menuBackColour { 0xffd3d3d3 };
inline const juce::Colour blackColour { 0xff000000 }; // menu text, unlit level lights
inline const juce::Colour sortArrowColour { 0x99000000 };

// Playlist rows.
inline const juce::Colour evenRowColour { 0xff1a1c1a };
inline const juce::Colour loadedRowColour { 0xff3c4a3c };
inline const juce::Colour playingRowColour { 0xff2e6b2e };

// Waveform and its markers.
inline const juce::Colour replayMarkerColour { 0xff9932cc };
inline const juce::Colour loopMarkerColour { 0xff008b8b };
inline const juce::Colour loopShadeColour { 0x80808080 };
inline const juce::Colour waveformFadeColour { 0x400f0f0f }; // over the waveform while it loads
inline const juce::Colour placeholderTextColour { 0xff555555 };

// Level meters: the bar, the levels from -12 dB (caution) and -6 dB (warning), and the scale's
// matching regions behind the bars.
inline const juce::Colour meterBarColour { 0xff2e8b57 };
inline const juce::Colour cautionColour { 0xffffff00 };
inline const juce::Colour warningColour { 0xffffa500 };
inline const juce::Colour scaleCautionColour { 0xff3a3a10 };
inline const juce::Colour scaleWarningColour { 0xff3a2010 };
inline const juce::Colour scaleAboveReferenceColour { 0xff3a2a10 };

// The equaliser's spectrum, filled at a quarter opacity behind the response curve.
inline const juce::Colour spectrumColour { 0xff87ceeb };

} // namespace Marlode
