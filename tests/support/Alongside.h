#pragma once

#include <juce_core/juce_core.h>

#include <atomic>
#include <thread>
#include <utility>

namespace MarlodeTest
{
/** Runs `background` over and over on a thread of its own while this thread runs `foreground`
    over and over for `milliseconds`; returns how many times each ran (background, foreground). */
template <typename Background, typename Foreground>
std::pair<long, long> runAlongside (int milliseconds, Background&& background, Foreground&& foreground)
{
    std::atomic<bool> running { true }; // cleared by the calling thread, read by the background one
    long backgroundRounds = 0, foregroundRounds = 0;
    std::thread thread (
        [&]
        {
            for (; running.load (std::memory_order_relaxed); ++backgroundRounds)
                background();
        });

    for (const auto end = juce::Time::getMillisecondCounter() + (juce::uint32) milliseconds;
         juce::Time::getMillisecondCounter() < end; ++foregroundRounds)
        foreground();

    running = false;
    thread.join();
    return { backgroundRounds, foregroundRounds };
}
} // namespace MarlodeTest
