#pragma once

#include <jack/jack.h>

#include <atomic>
#include <string>
#include <vector>

namespace MarlodeTest
{

/** A JACK client with two inputs that records what another client's outputs play. Its buffer is
    allocated up front, so the process callback does nothing but copy; the recording only grows,
    and restart() just marks where the next take begins. To the device layer it also looks like an
    output device of its own name. */
class JackRecorder
{
public:
    explicit JackRecorder (const std::string& clientName = "marlode-e2e-recorder", double maxSeconds = 120.0);
    ~JackRecorder();

    [[nodiscard]] bool isOpen() const noexcept { return client != nullptr; }
    [[nodiscard]] double getSampleRate() const noexcept;

    /** Connects our inputs to `<clientName>:out_1` and `out_2`, waiting up to timeoutMs for them. */
    bool connectTo (const std::string& clientName, int timeoutMs);

    /** Starts a new take from now. */
    void restart() noexcept;

    /** What was recorded since restart(), per channel. */
    std::vector<std::vector<float>> take() const;

    /** Frames recorded since restart(). */
    [[nodiscard]] size_t framesTaken() const noexcept;

    /** The largest magnitude in the first channel's last `frames` frames (fewer if fewer came). */
    [[nodiscard]] float recentPeak (size_t frames) const noexcept;

private:
    static int process (jack_nframes_t frames, void* self);

    jack_client_t* client = nullptr;
    jack_port_t* inputs[2] {};
    std::vector<float> data[2];
    size_t takeStart = 0;

    // The process callback writes it once the frames before it are in place; the test reads it.
    std::atomic<size_t> written { 0 };
};

} // namespace MarlodeTest
