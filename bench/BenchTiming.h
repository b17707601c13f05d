#pragma once

#include <benchmark/benchmark.h>
#include <juce_core/juce_core.h>

/** Times one whole piece of work per iteration on the wall clock, into the "seconds" counter:
    for work that reads and writes files, where the wall clock is what the user waits. */
template <typename Work>
void timeOnce (benchmark::State& state, Work&& work)
{
    double seconds = 0.0;

    for (auto _ : state)
    {
        const auto start = juce::Time::getMillisecondCounterHiRes();
        work();
        seconds = (juce::Time::getMillisecondCounterHiRes() - start) / 1000.0;
    }

    state.counters["seconds"] = seconds;
}

/** After timeOnce: how many times faster than real time the work went through `audioSeconds`. */
inline void addRealTimeFactor (benchmark::State& state, double audioSeconds)
{
    state.counters["realtime_factor"] = audioSeconds / state.counters["seconds"];
}
