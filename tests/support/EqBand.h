#pragma once

#include "state/EQBandValues.h"

namespace MarlodeTest
{
/** One band's values: a type from EQBandValues::FilterType, Hz, dB and Q. */
inline Marlode::EQBandValues eqBand (int type, double freq, double gain = 0.0, double q = 0.6)
{
    Marlode::EQBandValues v;
    v.filterType = type;
    v.freq = freq;
    v.gain = gain;
    v.q = q;
    return v;
}
} // namespace MarlodeTest
