#pragma once

#include <cstdint>

namespace Marlode
{

enum class TransportState : std::int32_t
{
    Stopped = 0,  // at rest, position back at the return point
    Starting = 1, // start() called, the transport hasn't reported yet
    Playing = 2,
    Stopping = 3, // stop() called for a stop
    Pausing = 4,  // stop() called for a pause
    Paused = 5    // at rest, position kept
};

} // namespace Marlode
