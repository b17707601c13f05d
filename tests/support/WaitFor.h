#pragma once

#include <functional>

namespace MarlodeTest
{

/** Checks `condition` until it holds or `timeoutMs` passes, running `between` after each miss
    (a short sleep unless given); returns whether it held. Tests wait on what they observe through
    this, never for a fixed time, so a loaded machine only makes them slower, not wrong. */
bool waitFor (const std::function<bool()>& condition, int timeoutMs, const std::function<void()>& between = {});

} // namespace MarlodeTest
