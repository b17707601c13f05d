#pragma once

namespace Marlode
{

/** Receives the master interface tick (every 33 ms, message thread). */
class TimerRelayListener
{
public:
    virtual ~TimerRelayListener() = default;
    virtual void timerRelayCallback() = 0;
};

} // namespace Marlode
