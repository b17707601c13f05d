#pragma once

#include <limits>
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

    void push (double value) noexcept;

    /** The maximum of the last window's values; `lowest` before anything was pushed. */
    [[nodiscard]] double read() const noexcept;

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
