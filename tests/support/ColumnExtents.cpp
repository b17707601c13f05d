#include "support/ColumnExtents.h"

namespace MarlodeTest
{

std::vector<std::pair<int, int>> columnExtents (const juce::Image& image)
{
    std::vector<std::pair<int, int>> columns ((size_t) image.getWidth(), { -1, -1 });

    for (int x = 0; x < image.getWidth(); ++x)
        for (int y = 0; y < image.getHeight(); ++y)
            if (image.getPixelAt (x, y).getAlpha() > 128)
            {
                if (columns[(size_t) x].first < 0)
                    columns[(size_t) x].first = y;
                columns[(size_t) x].second = y;
            }

    return columns;
}

} // namespace MarlodeTest
