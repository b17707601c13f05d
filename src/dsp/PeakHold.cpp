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

void PeakHold::push (double value) noexcept
{
    if (filled == blockSize)
    {
        const auto freed = oldest;
        oldest = previous;
        previous = present;
        present = freed;
        previousMax = presentMax;
        presentMax = lowest;
        turningMax = lowest;
        turning = blockSize;
        filled = 0;
    }

    *slot (present, filled++) = value;
    presentMax = std::max (presentMax, value);

    if (turning > 0)
    {
        auto* s = slot (previous, --turning);
        turningMax = std::max (turningMax, *s);
        *s = turningMax;
    }
}

double PeakHold::read() const noexcept
{
    // Where the window starts, counted from the oldest block's first slot: 2B + filled - L,
    // never below 0 because L <= 2B + 1. At B the oldest block has left the window; past B
    // (only when L is 1) the previous one has too.
    const auto start = 2 * blockSize + filled - length;
    auto result = presentMax;

    if (start <= blockSize)
        result = std::max (result, previousMax);

    if (start < blockSize)
        result = std::max (result, ring[(size_t) (oldest * blockSize + start)]);

    return result;
}

} // namespace Marlode
