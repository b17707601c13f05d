#include "waveform/FormatTime.h"

namespace Marlode
{

juce::String formatTime (double t)
{
    if (t < 0.0)
        return "0:00.000";

    const auto ms = t == 0.0 ? juce::String ("000") : juce::String ((juce::int64) (t * 1000.0)).getLastCharacters (3);
    const auto s = (juce::int64) t;
    const auto h = s / 3600;
    const auto r = s - 3600 * h;

    juce::String text;
    if (s >= 3600)
        text << h << ":";
    if (r < 600)
        text << "0";
    text << (r / 60) << ":";
    if (s % 60 < 10)
        text << "0";
    text << (s % 60) << "." << ms;
    return text;
}

} // namespace Marlode
