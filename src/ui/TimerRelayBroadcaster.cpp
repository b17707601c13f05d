#include "ui/TimerRelayBroadcaster.h"

namespace Marlode
{

void TimerRelayBroadcaster::tickRelayListeners()
{
    for (int i = 0; i < relayListeners.size(); ++i)
        if (auto* listener = relayListeners.getUnchecked (i))
            listener->timerRelayCallback();
}

} // namespace Marlode
