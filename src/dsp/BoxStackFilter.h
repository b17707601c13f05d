#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace Marlode
{

//==============================================================================
/**
    Three moving averages in series whose lengths share a total span: a smooth, symmetric
    ramp of exactly `size` samples from one constant to another, with no overshoot.

    Each average keeps a running sum in a ring that restarts at every wrap, so the sum cannot
    drift however long it runs. It starts as if its input had been 1.0 forever: a gain smoother
    with no dip at start.

    Sized by prepare; process allocates nothing. One thread at a time.
*/
class BoxStackFilter
{
public:
    /** Lengths for a total span of `size` samples (at least 1) and the rest state. */
    void prepare (int size);

    double process (double input) noexcept
    {
        for (auto& layer : layers)
            input = layer.process (input);

        return input;
    }

    /** Back to the rest state prepare leaves, without allocating. */
    void reset() noexcept;

    /** The layers' lengths, in order. */
    [[nodiscard]] std::array<int, 3> getLengths() const noexcept;

private:
    struct Layer
    {
        double ratio = 0.0, lengthError = 0.0;
        int length = 1;

        std::vector<double> ring; // running sums, one slot more than the length
        int index = 0;
        double sum = 0.0, wrapJump = 0.0, multiplier = 1.0;

        void reset() noexcept;
        double process (double input) noexcept
        {
            const auto size = (int) ring.size();

            if (++index == size)
            {
                index = 0;
                wrapJump = sum;
                sum = 0.0;
            }

            sum += input;
            ring[(size_t) index] = sum;

            auto position = index - length;
            auto value = sum;

            if (position < 0)
            {
                value += wrapJump;
                position += size;
            }

            return (value - ring[(size_t) position]) * multiplier;
        }
    };

    std::array<Layer, 3> layers;
};

} // namespace Marlode
