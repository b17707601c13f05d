#include "dsp/LoudnessMatch.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Marlode
{

bool LoudnessMatch::isProgramme (double lufs) noexcept
{
    return std::isfinite (lufs) && lufs >= -70.0;
}

std::vector<double> LoudnessMatch::gainsDb (const std::vector<double>& integratedLufs)
{
    auto quietest = std::numeric_limits<double>::infinity();

    for (const auto lufs : integratedLufs)
        if (isProgramme (lufs))
            quietest = std::min (quietest, lufs);

    std::vector<double> gains;
    gains.reserve (integratedLufs.size());

    for (const auto lufs : integratedLufs)
        gains.push_back (isProgramme (lufs) ? quietest - lufs : 0.0);

    return gains;
}

} // namespace Marlode
