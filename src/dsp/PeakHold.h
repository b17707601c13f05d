#pragma once

#include <algorithm>
#include <limits>
#include <cstddef>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    The exact maximum of the last `L` values pushed, at a bounded cost per push and with no
    search of the window.

    The pushes fall into blocks of B = L / 2 values (at least 1), so a window of L values spans
    the tail of one block, the whole next one and the head of the present one. The present
    block keeps its running maximum, the previous one its total, and while the present block
    fills, the previous one is turned, one slot per push, into maxima running backward from its
    end: by the time it becomes the oldest block, any tail of it is one read away.

    Everything is sized by prepare; push and read allocate nothing. One thread at a time.
*/
class PeakHold
{
public:
    static constexpr double lowest = std::numeric_limits<double>::lowest();

    /** Sizes the window to `windowLength` values (at least 1), all of them `lowest`. */
    void prepare (int windowLength);

    /** Empty again, as after prepare. */
    void reset() noexcept;

    void push (double value) noexcept
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

    /** The maximum of the last window's values; `lowest` before anything was pushed. */
    [[nodiscard]] double read() const noexcept
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

    [[nodiscard]] int getWindowLength() const noexcept { return length; }

private:
    double* slot (int block, int index) noexcept { return ring.data() + block * blockSize + index; }

    std::vector<double> ring; // three blocks: present (raw), previous (being turned), oldest (turned)
    int length = 1, blockSize = 1;
    int present = 0, previous = 2, oldest = 1; // the blocks' places in the ring
    int filled = 1;                            // values of the present block
    int turning = 0;                           // the previous block's slots not yet turned
    double presentMax = lowest, previousMax = lowest, turningMax = lowest;
};

} // namespace Marlode
