#pragma once

namespace Marlode
{

class WaveformMarkerTab;

/** Told where a marker tab is being dragged to, in the lane's pixels. Message thread. */
class WaveformTabDraggerListener
{
public:
    virtual ~WaveformTabDraggerListener() = default;
    virtual void tabDragged (WaveformMarkerTab* tab, int newX) = 0;
};

} // namespace Marlode
