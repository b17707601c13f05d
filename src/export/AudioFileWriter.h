#pragma once

#include "dsp/TimeStretcher.h"
#include "engine/TrackRenderer.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>
#include <memory>

namespace Marlode
{

//==============================================================================
/**
    A deck's export: the settings the popup edits, and the render of the loaded track through
    the deck's chain into a WAV file behind a progress window, "Exporting audio file".

    The file is written beside the target under a temporary name and moved over it when the
    render ends, a cancelled one too (its partial file is still a valid WAV): an existing file is
    replaced whole or not at all. Message thread, but for run() on the worker.
*/
class AudioFileWriter : public juce::ThreadWithProgressWindow,
                        public juce::Button::Listener,
                        private juce::Thread::Listener
{
public:
    AudioFileWriter();
    ~AudioFileWriter() override;

    // The settings, edited in place by the popup; 0 and an empty file are "not chosen".
    juce::File file;
    int format = 0;
    double sampleRate = 0.0;
    int bitDepth = 0;
    bool readyToExport = false;
    bool bypassFX = false;

    /** The track to render and its file, set by the deck for one run and dropped after it. */
    std::unique_ptr<juce::AudioFormatReader> reader;
    juce::File sourceFile;

    /** The deck's stretcher while its switch is on, else null: the render copies its settings. */
    const TimeStretcher* timeStretch = nullptr;

    int blockSize = 512;
    std::function<void (double sampleRate, int blockSize, int numChannels)> prepareChain;
    std::function<void (const juce::AudioSourceChannelInfo&)> processBlock;

    /** After every run, a cancelled one too: the deck prepares its chain for the device again. */
    std::function<void()> onFinished;

    /** "Export" in the popup: runs the export when the settings are ready. */
    void buttonClicked (juce::Button*) override;

    /** Opens the temporary file and its writer and sets the render up; false (with a message)
        when the target can't be written or is the track itself. */
    bool setUpExport();

    /** The render with its progress window; returns once it has ended and the file is in place. */
    void exportNow();

    void run() override;

    /** Where the last run's message went; the tests read it. */
    juce::String lastMessage;

private:
    void finish();
    void exitSignalSent() override;

    // The window's bar follows the render, read on the message thread.
    struct ProgressFeed : juce::Timer
    {
        explicit ProgressFeed (AudioFileWriter& w) : owner (w) {}
        void timerCallback() override;
        AudioFileWriter& owner;
    };

    juce::AudioFormatManager formats;
    std::unique_ptr<juce::TemporaryFile> temporary;
    std::unique_ptr<juce::AudioFormatWriter> writer;
    std::unique_ptr<TrackRenderer> renderer;
    bool writeFailed = false;
    ProgressFeed progressFeed { *this };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (AudioFileWriter)
};

} // namespace Marlode
