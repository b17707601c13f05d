#pragma once

namespace Marlode
{

/** One equaliser band's values, as it is saved and as a new band is seeded with. */
struct EQBandValues
{
    /** The type combo's ids. */
    enum FilterType
    {
        peak = 1,
        lowPass,
        highPass,
        lowShelf,
        highShelf
    };

    /** An equaliser's bands at most, also when a saved session claims more. */
    static constexpr int maxBands = 32;

    bool on = true;
    int filterType = peak;
    int slopeType = 1;   // "6dB", "12dB", "24dB": stored and restored, but every design is second order
    double freq = 500.0; // Hz
    double gain = 0.0;   // dB
    double q = 0.6;

    [[nodiscard]] bool ignoresGain() const noexcept { return filterType == lowPass || filterType == highPass; }

    bool operator== (const EQBandValues& other) const noexcept
    {
        return on == other.on && filterType == other.filterType && slopeType == other.slopeType && freq == other.freq
               && gain == other.gain && q == other.q;
    }
};

} // namespace Marlode
