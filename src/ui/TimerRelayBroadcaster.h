#pragma once

#include "ui/TimerRelayListener.h"

#include <juce_core/juce_core.h>

namespace Marlode
{

/** Spreads one timer over many components, so every meter, waveform and readout of a deck
    repaints from the same tick. Message thread only. */
class TimerRelayBroadcaster
{
public:
    virtual ~TimerRelayBroadcaster() = default;

    /** Calls every non-null listener, first to last. */
    void tickRelayListeners();

    juce::Array<TimerRelayListener*> relayListeners;
};

} // namespace Marlode
