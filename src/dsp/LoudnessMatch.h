#pragma once

#include <vector>

namespace Marlode
{

//==============================================================================
/**
    The gains that make tracks equally loud for comparing them: each track is turned down to
    the quietest one, never up, so nothing is pushed past full scale. Loudness is a track's
    integrated loudness in LUFS, NaN while it has not been measured.
*/
struct LoudnessMatch
{
    /** Whether a measured loudness is programme rather than silence: below the absolute gate
        of integrated loudness nothing was measured, and matching to it would silence the rest. */
    [[nodiscard]] static bool isProgramme (double lufs) noexcept;

    /** For each track, the gain in dB that brings it to the quietest measured one; 0 for a
        track not measured or silent. */
    [[nodiscard]] static std::vector<double> gainsDb (const std::vector<double>& integratedLufs);
};

} // namespace Marlode
