#pragma once

#include <cstddef>
#include <vector>

namespace Marlode
{

//==============================================================================
/** A whole-sample delay line for one channel. Sized by prepare; process allocates nothing. */
class ChannelDelay
{
public:
    /** A delay of `delaySamples` (0 or more), starting from silence. */
    void prepare (int delaySamples);

    /** Silence in the line, as after prepare. */
    void reset() noexcept;

    /** Stores `input` and returns the sample written `delaySamples` before it. */
    float process (float input) noexcept
    {
        ring[(size_t) writeIndex] = input;
        const auto out = ring[(size_t) ((writeIndex - delay) & mask)];
        writeIndex = (writeIndex + 1) & mask;
        return out;
    }

private:
    std::vector<float> ring; // a power of two long
    int mask = 0, writeIndex = 0, delay = 0;
};

} // namespace Marlode
