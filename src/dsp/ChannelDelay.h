#pragma once

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
    float process (float input) noexcept;

private:
    std::vector<float> ring; // a power of two long
    int mask = 0, writeIndex = 0, delay = 0;
};

} // namespace Marlode
