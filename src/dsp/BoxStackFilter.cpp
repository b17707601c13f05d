#include "dsp/BoxStackFilter.h"

#include <algorithm>
#include <numeric>

namespace Marlode
{

void BoxStackFilter::prepare (int size)
{
    // Share out the layers' orders so that they add up to size - 1; rounding remainders go to
    // the layers that were rounded down the most.
    constexpr std::array<double, 3> ratios { 0.404078562416, 0.334851475794, 0.261069961789 };
    const auto ratioSum = std::accumulate (ratios.begin(), ratios.end(), 0.0);
    const auto order = std::max (1, size) - 1;
    auto total = 0;

    for (size_t i = 0; i < layers.size(); ++i)
    {
        auto& layer = layers[i];
        layer.ratio = ratios[i] / ratioSum;
        const auto exact = layer.ratio * order;
        const auto layerOrder = (int) exact;
        layer.length = layerOrder + 1;
        layer.lengthError = layerOrder - exact;
        total += layerOrder;
    }

    for (; total < order; ++total)
    {
        auto& smallest = *std::min_element (layers.begin(), layers.end(),
                                            [] (const Layer& a, const Layer& b) { return a.lengthError < b.lengthError; });
        ++smallest.length;
        smallest.lengthError += 1.0;
    }

    for (auto& layer : layers)
        layer.ring.resize ((size_t) layer.length + 1);

    reset();
}

void BoxStackFilter::reset() noexcept
{
    for (auto& layer : layers)
        layer.reset();
}

void BoxStackFilter::Layer::reset() noexcept
{
    // The state after a whole cycle of 1.0s: the running sums 1, 2, ... and the index on the
    // last slot, so the next input wraps and the window already holds `length` ones.
    multiplier = 1.0 / length;
    std::iota (ring.begin(), ring.end(), 1.0);
    index = (int) ring.size() - 1;
    sum = ring.back();
    wrapJump = sum;
}

std::array<int, 3> BoxStackFilter::getLengths() const noexcept
{
    return { layers[0].length, layers[1].length, layers[2].length };
}

} // namespace Marlode
