#pragma once

#include <juce_graphics/juce_graphics.h>

#include <utility>
#include <vector>

namespace MarlodeTest
{

/** The first and last row of each column of a picture drawn over transparency; -1, -1 where
    nothing was drawn. Two ways of drawing a waveform agree when their columns do. */
std::vector<std::pair<int, int>> columnExtents (const juce::Image& image);

} // namespace MarlodeTest
