#include "support/JackRecorder.h"
#include "support/WaitFor.h"

#include <algorithm>
#include <cmath>

namespace MarlodeTest
{

JackRecorder::JackRecorder (const std::string& clientName, double maxSeconds)
{
    client = jack_client_open (clientName.c_str(), JackNoStartServer, nullptr);

    if (client == nullptr)
        return;

    const auto capacity = (size_t) (maxSeconds * jack_get_sample_rate (client));
    for (auto& d : data)
        d.assign (capacity, 0.0f);

    inputs[0] = jack_port_register (client, "in_1", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    inputs[1] = jack_port_register (client, "in_2", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    jack_set_process_callback (client, &JackRecorder::process, this);
    jack_activate (client);
}

JackRecorder::~JackRecorder()
{
    if (client != nullptr)
    {
        jack_deactivate (client);
        jack_client_close (client);
    }
}

double JackRecorder::getSampleRate() const noexcept
{
    return client != nullptr ? (double) jack_get_sample_rate (client) : 0.0;
}

bool JackRecorder::connectTo (const std::string& clientName, int timeoutMs)
{
    if (client == nullptr)
        return false;

    for (int ch = 0; ch < 2; ++ch)
    {
        const auto source = clientName + ":out_" + std::to_string (ch + 1);

        if (! waitFor ([&] { return jack_port_by_name (client, source.c_str()) != nullptr; }, timeoutMs))
            return false;

        const int result = jack_connect (client, source.c_str(), jack_port_name (inputs[ch]));
        if (result != 0 && result != EEXIST)
            return false;
    }

    return true;
}

void JackRecorder::restart() noexcept
{
    takeStart = written.load (std::memory_order_acquire);
}

size_t JackRecorder::framesTaken() const noexcept
{
    return written.load (std::memory_order_acquire) - takeStart;
}

std::vector<std::vector<float>> JackRecorder::take() const
{
    const auto end = (long) written.load (std::memory_order_acquire);
    return { std::vector<float> (data[0].begin() + (long) takeStart, data[0].begin() + end),
             std::vector<float> (data[1].begin() + (long) takeStart, data[1].begin() + end) };
}

float JackRecorder::recentPeak (size_t frames) const noexcept
{
    const auto end = data[0].begin() + (long) written.load (std::memory_order_acquire);
    float peak = 0.0f;

    for (auto s = end - (long) std::min (frames, framesTaken()); s != end; ++s)
        peak = std::max (peak, std::abs (*s));

    return peak;
}

int JackRecorder::process (jack_nframes_t frames, void* arg)
{
    auto& self = *static_cast<JackRecorder*> (arg);
    const auto start = self.written.load (std::memory_order_relaxed);
    const auto room = self.data[0].size() - start;
    const auto n = std::min ((size_t) frames, room);

    for (int ch = 0; ch < 2; ++ch)
    {
        const auto* in = static_cast<const float*> (jack_port_get_buffer (self.inputs[ch], frames));
        std::copy (in, in + n, self.data[ch].begin() + (long) start);
    }

    self.written.store (start + n, std::memory_order_release);
    return 0;
}

} // namespace MarlodeTest
