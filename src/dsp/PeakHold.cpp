#include "dsp/PeakHold.h"

#include <algorithm>

namespace Marlode
{

void PeakHold::prepare (int windowLength)
{
    length = std::max (1, windowLength);
    blockSize = std::max (1, length / 2);
    ring.resize ((size_t) (3 * blockSize));
    reset();
}

void PeakHold::reset() noexcept
{
    std::fill (ring.begin(), ring.end(), lowest);
    present = 0;
    previous = 2;
    oldest = 1;
    filled = blockSize; // the first push starts a block
    turning = 0;
    presentMax = previousMax = turningMax = lowest;
}

} // namespace Marlode
