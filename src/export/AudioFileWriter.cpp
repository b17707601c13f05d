#include "export/AudioFileWriter.h"
#include "ui/Alerts.h"

namespace Marlode
{

AudioFileWriter::AudioFileWriter() : juce::ThreadWithProgressWindow ("Exporting audio file", true, true)
{
    // Only "Wav" is offered; the formats a writer can be made for are known here all the same.
    formats.registerFormat (new juce::WavAudioFormat(), true);
    formats.registerFormat (new juce::FlacAudioFormat(), false);
    addListener (this);
}

AudioFileWriter::~AudioFileWriter()
{
    progressFeed.stopTimer();
    removeListener (this);
}

void AudioFileWriter::buttonClicked (juce::Button*)
{
    if (readyToExport && reader != nullptr && setUpExport())
        exportNow();

    reader.reset();
    sourceFile = juce::File();
}

bool AudioFileWriter::setUpExport()
{
    lastMessage.clear();

    const auto refuse = [this] (const juce::String& message)
    {
        lastMessage = message;
        Alerts::warning ("Export Audio", message);
        temporary.reset();
        return false;
    };

    if (reader == nullptr || format != 1 || file == juce::File())
        return false;

    if (file.isDirectory())
        return refuse ("The chosen path is a folder:\n\n" + file.getFullPathName());

    // The track would be read while its own file is replaced.
    if (file == sourceFile)
        return refuse ("The track can't be exported over its own file:\n\n" + file.getFullPathName());

    temporary = std::make_unique<juce::TemporaryFile> (file, juce::TemporaryFile::useHiddenFile);
    auto stream = std::make_unique<juce::FileOutputStream> (temporary->getFile(), 0x4000);

    if (stream->failedToOpen() || ! file.getParentDirectory().hasWriteAccess() || (file.exists() && ! file.hasWriteAccess()))
        return refuse ("The file can't be written here:\n\n" + file.getFullPathName());

    renderer = std::make_unique<TrackRenderer> (*reader, TrackRenderer::Chain { prepareChain, processBlock }, timeStretch,
                                                sampleRate, blockSize, bypassFX);
    renderer->setUp();

    auto* wav = formats.findFormatForFileExtension ("wav");
    writer.reset (wav->createWriterFor (stream.get(), sampleRate, reader->numChannels, bitDepth, {}, 0));

    if (writer == nullptr)
    {
        renderer.reset();
        finish();
        return refuse ("A WAV writer for " + juce::String (bitDepth) + " bits at " + juce::String (sampleRate, 0)
                       + " Hz couldn't be made.");
    }

    stream.release(); // the writer owns it now
    return true;
}

void AudioFileWriter::exportNow()
{
    writeFailed = false;
    setProgress (0.0);
    progressFeed.startTimer (50);
    runThread();
    progressFeed.stopTimer();

    // The writer's destruction writes the header's final sizes and closes the file.
    writer.reset();
    renderer.reset();

    if (writeFailed)
    {
        lastMessage = "Writing the file failed (is the disk full?):\n\n" + file.getFullPathName();
        temporary.reset();
        Alerts::warning ("Export Audio", lastMessage);
    }
    else if (temporary != nullptr && ! temporary->overwriteTargetFileWithTemporary())
    {
        lastMessage = "The file couldn't be put in place:\n\n" + file.getFullPathName();
        Alerts::warning ("Export Audio", lastMessage);
    }

    temporary.reset();
    finish();
}

void AudioFileWriter::run()
{
    if (renderer != nullptr && writer != nullptr)
        writeFailed = ! renderer->run (*writer);
}

void AudioFileWriter::exitSignalSent()
{
    if (renderer != nullptr)
        renderer->stop();
}

void AudioFileWriter::ProgressFeed::timerCallback()
{
    if (owner.renderer != nullptr)
        owner.setProgress (owner.renderer->getProgress());
}

void AudioFileWriter::finish()
{
    if (onFinished != nullptr)
        onFinished();
}

} // namespace Marlode
