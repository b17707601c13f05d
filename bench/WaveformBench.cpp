// How long the waveform takes to be ready for an hour of audio, against merely reading it; and
// what the view costs while playing with Follow on and for a full redraw, against the 33 ms tick.
#include "deck/MainComponent.h"

#include <benchmark/benchmark.h>

namespace
{
    constexpr double rate = 44100.0;
    constexpr double tickSeconds = 0.033;

    // A 16-bit stereo sine file of this length in the temporary folder, made once.
    juce::File sineWav (const juce::String& name, double seconds)
    {
        const auto file = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile (name);
        const auto samples = (juce::int64) (rate * seconds);

        if (file.getSize() > samples * 4)
            return file;

        juce::WavAudioFormat wav;
        std::unique_ptr<juce::AudioFormatWriter> writer (wav.createWriterFor (file.createOutputStream().release(), rate, 2, 16, {}, 0));
        juce::AudioBuffer<float> chunk (2, 65536);
        for (juce::int64 done = 0; done < samples; done += chunk.getNumSamples())
        {
            for (int c = 0; c < 2; ++c)
                for (int i = 0; i < chunk.getNumSamples(); ++i)
                    chunk.setSample (c, i, 0.4f * (float) std::sin ((double) (done + i) * 0.01 * (c + 1)));
            writer->writeFromAudioSampleBuffer (chunk, 0, (int) juce::jmin ((juce::int64) chunk.getNumSamples(), samples - done));
        }
        return file;
    }

    juce::File hourLongWav() { return sineWav ("marlode-bench-hour.wav", 3600.0); }

    // Times each pass of `work` on an hour-long file and reports the last pass in seconds.
    template <typename Work>
    void timeAnHour (benchmark::State& state, Work&& work)
    {
        const auto file = hourLongWav();
        juce::AudioFormatManager formats;
        formats.registerBasicFormats();
        double seconds = 0.0;

        for (auto _ : state)
        {
            const auto start = juce::Time::getMillisecondCounterHiRes();
            work (formats, file);
            seconds = (juce::Time::getMillisecondCounterHiRes() - start) / 1000.0;
        }

        state.counters["seconds"] = seconds;
    }

    void ThumbnailOfAnHour (benchmark::State& state)
    {
        timeAnHour (state, [] (juce::AudioFormatManager& formats, const juce::File& file)
                    {
                        juce::AudioThumbnailCache cache (20);
                        juce::AudioThumbnail thumbnail (128, formats, cache);
                        thumbnail.setSource (new juce::FileInputSource (file));
                        while (! thumbnail.isFullyLoaded())
                            juce::Thread::sleep (1);
                    });
    }

    void ReadAnHour (benchmark::State& state)
    {
        timeAnHour (state, [] (juce::AudioFormatManager& formats, const juce::File& file)
                    {
                        std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (file));
                        juce::AudioBuffer<float> buffer (2, 65536);
                        for (juce::int64 pos = 0; pos < reader->lengthInSamples; pos += buffer.getNumSamples())
                            reader->read (&buffer, 0, buffer.getNumSamples(), pos, true, true);
                    });
    }

    // A deck with a minute of audio loaded and its thumbnail complete, laid out at `width`.
    struct LoadedDeck
    {
        juce::KeyPressMappingSet* keys = nullptr;
        Marlode::PopupDisplayComponent* popup = nullptr;
        Marlode::MainComponent deck { keys, popup };

        explicit LoadedDeck (int width)
        {
            const auto file = sineWav ("marlode-bench-minute.wav", 60.0);

            deck.setBounds (0, 0, width + 190, 900);
            deck.prepareToPlay (512, rate);
            deck.waveform.autoPlayButton.setToggleState (false, juce::dontSendNotification);
            deck.openFiles ({ file });
            auto* mm = juce::MessageManager::getInstance();
            for (int i = 0; i < 500 && (deck.waveform.isDrawingDirect() || ! deck.waveform.isTrackLoaded()); ++i)
                mm->runDispatchLoopUntil (10);
        }
    };

    void FollowTick (benchmark::State& state)
    {
        LoadedDeck loaded (1200);
        auto& w = loaded.deck.waveform;

        if (! w.isTrackLoaded() || w.isDrawingDirect())
        {
            state.SkipWithError ("the thumbnail didn't complete");
            return;
        }

        w.zoomIn (0, 0.0);
        w.zoomIn (0, 0.0);
        w.followButton.setToggleState (true, juce::sendNotificationSync);

        // One minute of play at the interface's tick, each tick a new position.
        const int ticks = (int) (60.0 / tickSeconds);
        double elapsed = 0.0;
        for (auto _ : state)
        {
            const auto start = juce::Time::getMillisecondCounterHiRes();
            for (int i = 0; i < ticks; ++i)
            {
                w.position = i * tickSeconds;
                w.timerRelayCallback();
            }
            elapsed = (juce::Time::getMillisecondCounterHiRes() - start) / 1000.0 / ticks;
        }

        state.counters["ms_per_tick"] = elapsed * 1000.0;
        state.counters["share_of_33ms_tick"] = elapsed / tickSeconds;
    }

    void FullRedraw1920 (benchmark::State& state)
    {
        LoadedDeck loaded (1922);
        auto& w = loaded.deck.waveform;
        double elapsed = 0.0;

        if (! w.isTrackLoaded() || w.isDrawingDirect())
        {
            state.SkipWithError ("the thumbnail didn't complete");
            return;
        }

        for (auto _ : state)
        {
            const auto start = juce::Time::getMillisecondCounterHiRes();
            w.zoomIn (0, 0.0); // a new span: both images are rendered again
            w.zoomOut (0, 0.0);
            elapsed = (juce::Time::getMillisecondCounterHiRes() - start) / 1000.0 / 2.0;
        }

        state.counters["ms_per_redraw"] = elapsed * 1000.0;
        state.counters["share_of_33ms_tick"] = elapsed / tickSeconds;
    }
}

BENCHMARK (ThumbnailOfAnHour)->Iterations (1)->Unit (benchmark::kSecond);
BENCHMARK (ReadAnHour)->Iterations (1)->Unit (benchmark::kSecond);
BENCHMARK (FollowTick)->Iterations (1)->Unit (benchmark::kMillisecond);
BENCHMARK (FullRedraw1920)->Iterations (20)->Unit (benchmark::kMillisecond);
