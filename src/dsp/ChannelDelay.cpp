#include "dsp/ChannelDelay.h"

#include <juce_core/juce_core.h>

namespace Marlode
{

void ChannelDelay::prepare (int delaySamples)
{
    delay = juce::jmax (0, delaySamples);
    ring.resize ((size_t) juce::nextPowerOfTwo (delay + 3));
    mask = (int) ring.size() - 1;
    reset();
}

void ChannelDelay::reset() noexcept
{
    std::fill (ring.begin(), ring.end(), 0.0f);
    writeIndex = 0;
}

} // namespace Marlode
