#include "support/JackRecorder.h"

#include <algorithm>
#include <chrono>
#include <thread>

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

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds (timeoutMs);

    for (int ch = 0; ch < 2; ++ch)
    {
        const auto source = clientName + ":out_" + std::to_string (ch + 1);

        while (jack_port_by_name (client, source.c_str()) == nullptr)
        {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            std::this_thread::sleep_for (std::chrono::milliseconds (20));
        }

        const int result = jack_connect (client, source.c_str(), jack_port_name (inputs[ch]));
        if (result != 0 && result != EEXIST)
            return false;
    }

    return true;
}

void JackRecorder::restart() noexcept
{
    written.store (0);
}

std::vector<std::vector<float>> JackRecorder::take() const
{
    const auto n = std::min (written.load(), data[0].size());
    return { std::vector<float> (data[0].begin(), data[0].begin() + (long) n),
             std::vector<float> (data[1].begin(), data[1].begin() + (long) n) };
}

int JackRecorder::process (jack_nframes_t frames, void* arg)
{
    auto& self = *static_cast<JackRecorder*> (arg);
    const auto start = self.written.load (std::memory_order_relaxed);
    const auto room = self.data[0].size() - std::min (start, self.data[0].size());
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
