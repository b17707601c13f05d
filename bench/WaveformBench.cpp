// How long the waveform takes to be ready for an hour of audio, against merely reading it; and
// what the view costs while playing with Follow on and for a full redraw, against the 33 ms tick.
#include "deck/MainComponent.h"
#include "waveform/ThumbnailLoader.h"

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
    std::unique_ptr<juce::AudioFormatWriter> writer (
        wav.createWriterFor (file.createOutputStream().release(), rate, 2, 16, {}, 0));
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

juce::File hourLongWav()
{
    return sineWav ("marlode-bench-hour.wav", 3600.0);
}

// Times each pass of `work` on an hour-long file and reports the fastest pass in seconds:
// the first may still find the file on disk rather than in the page cache.
template <typename Work>
void timeAnHour (benchmark::State& state, Work&& work)
{
    const auto file = hourLongWav();
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    double seconds = 1.0e9;

    for (auto _ : state)
    {
        const auto start = juce::Time::getMillisecondCounterHiRes();
        work (formats, file);
        seconds = juce::jmin (seconds, (juce::Time::getMillisecondCounterHiRes() - start) / 1000.0);
    }

    state.counters["seconds"] = seconds;
}

// Until the view would call the waveform complete: every level in and the reader attached.
void ThumbnailOfAnHour (benchmark::State& state)
{
    timeAnHour (state,
                [] (juce::AudioFormatManager& formats, const juce::File& file)
                {
                    juce::AudioThumbnailCache cache (20);
                    juce::AudioThumbnail thumbnail (128, formats, cache);
                    Marlode::ThumbnailLoader loader (formats, thumbnail, cache);
                    loader.load (file);
                    while (! loader.isComplete())
                        juce::MessageManager::getInstance()->runDispatchLoopUntil (1);
                });
}

void ReadAnHour (benchmark::State& state)
{
    timeAnHour (state,
                [] (juce::AudioFormatManager& formats, const juce::File& file)
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

    // Zoomed in to a quarter of the minute and following the play head; false when the
    // thumbnail never completed.
    bool follow()
    {
        auto& w = deck.waveform;

        if (! w.isTrackLoaded() || w.isDrawingDirect())
            return false;

        w.zoomIn (0, 0.0);
        w.zoomIn (0, 0.0);
        w.followButton.setToggleState (true, juce::sendNotificationSync);
        return true;
    }
};

// One minute of play with Follow on at 1920 pixels, at the interface's tick, each tick a new
// position: the tick moves the images by their offset (and renders one when the view has
// moved a whole span), then the view and its children paint into the window's pixels, here
// an image of the view's size made once.
void FollowTickAndRepaint1920 (benchmark::State& state)
{
    LoadedDeck loaded (1922);
    auto& w = loaded.deck.waveform;

    if (! loaded.follow())
    {
        state.SkipWithError ("the thumbnail didn't complete");
        return;
    }

    juce::Image window (juce::Image::RGB, w.getWidth(), w.getHeight(), true);
    juce::Graphics g (window);
    const int ticks = (int) (60.0 / tickSeconds);
    double ticking = 0.0, painting = 0.0;

    for (auto _ : state)
    {
        ticking = painting = 0.0;
        for (int i = 0; i < ticks; ++i)
        {
            loaded.deck.engine.transport.setPosition (i * tickSeconds);
            const auto start = juce::Time::getMillisecondCounterHiRes();
            w.timerRelayCallback();
            const auto ticked = juce::Time::getMillisecondCounterHiRes();
            w.paintEntireComponent (g, false);
            ticking += ticked - start;
            painting += juce::Time::getMillisecondCounterHiRes() - ticked;
        }
    }

    state.counters["image_width"] = w.getWidth() - 2;
    state.counters["ms_per_tick"] = ticking / ticks;
    state.counters["ms_per_repaint"] = painting / ticks;
    state.counters["share_of_33ms_tick"] = (ticking + painting) / ticks / 1000.0 / tickSeconds;
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

BENCHMARK (ReadAnHour)->Iterations (5)->Unit (benchmark::kSecond);
BENCHMARK (ThumbnailOfAnHour)->Iterations (5)->Unit (benchmark::kSecond);
BENCHMARK (FollowTickAndRepaint1920)->Iterations (1)->Unit (benchmark::kMillisecond);
BENCHMARK (FullRedraw1920)->Iterations (20)->Unit (benchmark::kMillisecond);
