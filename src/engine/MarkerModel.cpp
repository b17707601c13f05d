#include "engine/MarkerModel.h"

namespace Marlode
{

namespace
{
    // Marker times compare equal when their whole milliseconds do.
    bool sameMillisecond (double a, double b) noexcept
    {
        return (juce::int64) (1000.0 * a) == (juce::int64) (1000.0 * b);
    }
}

void MarkerModel::resetForTrack (double lengthSeconds)
{
    trackLength = juce::jmax (0.0, lengthSeconds);
    replay = 0.0;
    loopStart = 0.0;
    loopEnd = trackLength.load();
    loopLength = trackLength.load();
    loopOn = false;
    replayOn = false;
    changed();
}

void MarkerModel::clear()
{
    resetForTrack (0.0);
}

//==============================================================================
void MarkerModel::setReplay (double seconds)
{
    replay = juce::jlimit (0.0, getTrackLength(), seconds);
    changed();
}

void MarkerModel::setLoopStart (double seconds)
{
    loopStart = seconds;
    keepLoopValid();
    changed();
}

void MarkerModel::setLoopEnd (double seconds)
{
    loopEnd = seconds;
    keepLoopValid();
    changed();
}

void MarkerModel::setLoopOn (bool on)
{
    loopOn = on;
    changed();
}

void MarkerModel::setReplayOn (bool on)
{
    replayOn = on;
    changed();
}

void MarkerModel::keepLoopValid()
{
    if (getLoopStart() < 0.0)
        loopStart = 0.0;

    // A start set past the end carries the whole loop with it.
    if (getLoopStart() > getLoopEnd())
        loopEnd = getLoopStart() + loopLength;

    if (getLoopEnd() > getTrackLength())
        loopEnd = getTrackLength();

    loopLength = getLoopEnd() - getLoopStart();
}

void MarkerModel::changed()
{
    listeners.call ([] (Listener& l) { l.markersChanged(); });
}

//==============================================================================
std::optional<double> MarkerModel::nudgedBeforeLoopEnd (double now, bool right, double step, double viewEnd) const noexcept
{
    if (! right)
        return juce::jmax (0.0, now - step);

    if (const auto t = now + step; t < getLoopEnd())
        return juce::jmin (t, viewEnd);

    return std::nullopt;
}

void MarkerModel::nudgeReplay (bool right, double step, double viewEnd)
{
    if (const auto t = nudgedBeforeLoopEnd (getReplay(), right, step, viewEnd))
        setReplay (*t);
}

void MarkerModel::nudgeLoopStart (bool right, double step, double viewEnd)
{
    if (const auto t = nudgedBeforeLoopEnd (getLoopStart(), right, step, viewEnd))
        setLoopStart (*t);
}

void MarkerModel::nudgeLoopEnd (bool right, double step, double viewEnd)
{
    const auto now = getLoopEnd();

    if (right)
        setLoopEnd (now + step);
    else if (now >= 0.0 && now <= viewEnd && now - step > getLoopStart())
        setLoopEnd (now - step);
}

//==============================================================================
MarkerModel::ReturnToStart MarkerModel::returnToStart (double position) const noexcept
{
    const auto r = getReplay(), ls = getLoopStart(), le = getLoopEnd();

    if (isReplayOn() && isLoopOn())
    {
        // The loop's start only from the replay marker itself, or from a place before a loop
        // that ends ahead of the replay marker; otherwise the replay marker.
        auto target = ls;

        if (sameMillisecond (position, ls))
            target = r;
        else if (! sameMillisecond (position, r) && ! (le < r && position < le))
            target = r;

        return { target, target > le };
    }

    if (isReplayOn())
        return { sameMillisecond (position, r) ? 0.0 : r, false };

    if (isLoopOn())
        return { (sameMillisecond (position, ls) || (position > 0.0 && ls > position)) ? 0.0 : ls, false };

    return {};
}

std::optional<double> MarkerModel::moveTarget (Move move, double position, double step, bool playing) const noexcept
{
    const auto length = getTrackLength();
    const bool loopRuns = isLoopOn();
    const auto end = getLoopEnd();

    switch (move)
    {
        case Move::skipForward:
        {
            // A running loop isn't skipped out of; a paused one can be.
            const auto t = position + step;
            if ((t > end && loopRuns && playing) || t >= length)
                return std::nullopt;
            return t;
        }

        case Move::jumpForward:
        {
            const auto t = position + step;
            if ((loopRuns && t > end) || t >= length)
                return std::nullopt;
            return t;
        }

        case Move::skipBack: return juce::jmax (position - step, 0.0);

        case Move::jumpBack:
        {
            // A jump back under a loop stops at the replay marker, not at the loop's start.
            const auto t = position - step;
            if (t < 0.0)
                return 0.0;
            return loopRuns ? juce::jmax (t, getReplay()) : t;
        }
    }

    return std::nullopt;
}

} // namespace Marlode
