#include "deck/TrackDeck.h"
#include "deck/TransportComponent.h"
#include "engine/AudioFileGuard.h"
#include "playlist/PlaylistComponent.h"
#include "ui/Alerts.h"
#include "waveform/WaveformComponent.h"

namespace Marlode
{

namespace
{
    constexpr int readAheadSamples = 32768;

    // Marker times compare equal when their whole milliseconds do.
    bool sameMillisecond (double a, double b) noexcept
    {
        return (int) (1000.0 * a) == (int) (1000.0 * b);
    }
}

TrackDeck::TrackDeck (juce::AudioFormatManager& formats, PlaylistComponent& playlistToUse,
                      TransportComponent& transportToUse, WaveformComponent& waveformToUse)
    : formatManager (formats), playlist (playlistToUse), transportComponent (transportToUse), waveform (waveformToUse)
{
    transportSource.addChangeListener (this);
    onQuitWhenStopped = [] { juce::MessageManager::getInstance()->stopDispatchLoop(); };
}

TrackDeck::~TrackDeck()
{
    transportSource.removeChangeListener (this);
    // The transport's ring is served by readAheadThread, so it must let go of the thread first.
    transportSource.setSource (nullptr, 0, nullptr, 0.0);
    readAheadThread.stopThread (2000);
}

juce::String TrackDeck::getCurrentTrackPath() const
{
    return currentTrackPath;
}

double TrackDeck::transportPosition() const noexcept
{
    const auto rate = transportSource.getSampleRate();
    return rate > 0.0 ? (double) transportSource.getNextReadPosition() / rate : 0.0;
}

void TrackDeck::seek (double seconds)
{
    transportSource.setPosition (seconds);
}

//==============================================================================
void TrackDeck::loadTrack (const juce::File& file)
{
    if (file.getFullPathName().isEmpty())
        return;

    auto newReader = AudioFileGuard::createReader (formatManager, file);

    // The file changed or went since the playlist read it: the deck stays as it was.
    if (newReader == nullptr)
    {
        Alerts::warning ("Error reading files", PlaylistComponent::couldNotBeRead (1) + "\n\n" + file.getFullPathName());
        return;
    }

    if (newReader->numChannels >= 3)
    {
        Alerts::warning ("Warning!", "This audio file has too many channels, application can only handle mono and stereo files.");
        return;
    }

    const bool wasPlaying = transportSource.isPlaying();

    if (wasPlaying)
    {
        transportSource.stop();
        state.store (TransportState::Stopped);
    }

    waveform.clearTrack();

    const auto fileRate = newReader->sampleRate;
    reader = newReader.get();
    auto newSource = std::make_unique<juce::AudioFormatReaderSource> (newReader.release(), true);

    readAheadThread.startThread();
    transportSource.setSource (newSource.get(), readAheadSamples, &readAheadThread, fileRate);
    transportComponent.setEnabled (true);
    waveform.loadTrack (file);

    // The old source goes only after the transport has let go of it.
    std::swap (readerSource, newSource);
    newSource.reset();
    trackPresent.store (true, std::memory_order_release);

    waveform.enableTrackControls();
    currentTrackPath = file.getFullPathName();

    if (waveform.autoPlayButton.getToggleState() || wasPlaying)
        playButtonClicked();

    sendActionMessage ("Track Reset");
    sendActionMessage ("New Track Loaded");
}

void TrackDeck::unloadTrack()
{
    if (reader != nullptr && getState() != TransportState::Stopped)
    {
        transportSource.stop();
        enterStoppedAfterStop();
    }

    trackPresent.store (false, std::memory_order_release);
    transportSource.setSource (nullptr, 0, nullptr, 0.0);
    transportComponent.setEnabled (false);
    reader = nullptr;
    readerSource.reset();
    currentTrackPath.clear();
    waveform.clearTrack();
    sendActionMessage ("Track Reset");
}

//==============================================================================
void TrackDeck::setPlayIndicators (bool isPlaying)
{
    transportComponent.playButton.setToggleState (isPlaying, juce::dontSendNotification);
    playlist.setPlayingIndicator (isPlaying);
}

void TrackDeck::enterStoppedAfterStop()
{
    state.store (TransportState::Stopped);
    setPlayIndicators (false);
    returnToStart();

    if (quitWhenStopped && onQuitWhenStopped)
        onQuitWhenStopped();

    sendChangeMessage();
}

void TrackDeck::changeState (TransportState newState)
{
    if (reader == nullptr || getState() == newState)
        return;

    state.store (newState);

    switch (newState)
    {
        case TransportState::Stopped:
            setPlayIndicators (false);
            returnToStart();
            if (quitWhenStopped && onQuitWhenStopped)
                onQuitWhenStopped();
            break;

        case TransportState::Starting:
            transportSource.start();
            break;

        case TransportState::Playing:
            setPlayIndicators (true);
            break;

        case TransportState::Stopping:
        case TransportState::Pausing:
            transportSource.stop();
            break;

        case TransportState::Paused:
            break;
    }

    sendChangeMessage();
}

void TrackDeck::changeListenerCallback (juce::ChangeBroadcaster* source)
{
    if (source != &transportSource)
        return;

    const auto current = getState();

    if (transportSource.isPlaying())
    {
        if (reader == nullptr || current == TransportState::Playing)
            return;

        state.store (TransportState::Playing);
        setPlayIndicators (true);
        sendChangeMessage();
        return;
    }

    if (current == TransportState::Playing || current == TransportState::Stopping)
    {
        if (! transportSource.hasStreamFinished())
        {
            if (reader != nullptr && current != TransportState::Stopped)
                enterStoppedAfterStop();
            return;
        }

        if (waveform.loopEnabled.load())
        {
            // A loop that ends at the track's end comes back at the replay marker.
            seek (waveform.replayTime.load());
            transportSource.start();
            return;
        }

        if (waveform.playNextButton.getToggleState())
        {
            const auto next = playlist.nextPlayableFile();

            if (next.isNotEmpty())
            {
                loadTrack (juce::File (next));
                changeState (TransportState::Starting);
                return;
            }
        }

        changeState (TransportState::Stopped);
        return;
    }

    if (current == TransportState::Pausing && reader != nullptr)
    {
        state.store (TransportState::Paused);
        setPlayIndicators (false);
        sendChangeMessage();
    }
}

//==============================================================================
void TrackDeck::playButtonClicked()
{
    if (! audioDeviceAvailable)
    {
        Alerts::warning ("Warning!", "Can't start playback. No audio output device selected.");
        return;
    }

    if (reader == nullptr)
        return;

    const auto current = getState();

    if (current == TransportState::Stopped || current == TransportState::Paused)
    {
        state.store (TransportState::Starting);
        transportSource.start();
        sendChangeMessage();
    }
    else if (current == TransportState::Playing)
    {
        state.store (TransportState::Pausing);
        transportSource.stop();
        sendChangeMessage();
    }
}

void TrackDeck::stopButtonClicked()
{
    const auto current = getState();

    if (current == TransportState::Stopped)
    {
        returnToStart();
        return;
    }

    if (reader == nullptr || current == TransportState::Stopping)
        return;

    if (current == TransportState::Paused)
    {
        enterStoppedAfterStop();
        return;
    }

    state.store (TransportState::Stopping);
    transportSource.stop();
    sendChangeMessage();
}

void TrackDeck::returnToStart()
{
    const auto pos = transportPosition();
    const auto r = waveform.replayTime.load();
    const auto ls = waveform.loopStart.load();
    const auto le = waveform.loopEnd.load();
    const bool replayOn = waveform.replayButton.getToggleState();
    const bool loopOn = waveform.loopButton.getToggleState();

    if (replayOn && loopOn)
    {
        double target = ls;

        if (sameMillisecond (pos, ls))
            target = r;
        else if (! sameMillisecond (pos, r) && ! (le < r && pos < le))
            target = r;

        seek (target);

        if (transportPosition() > le)
            waveform.loopButton.setToggleState (false, juce::sendNotification);
    }
    else if (replayOn)
    {
        seek (sameMillisecond (pos, r) ? 0.0 : r);
    }
    else if (loopOn)
    {
        if (sameMillisecond (pos, ls) || (pos > 0.0 && ls > pos))
            seek (0.0);
        else
            seek (ls);
    }
    else
    {
        seek (0.0);
    }

    waveform.updatePlayhead();
}

void TrackDeck::previousTrack()
{
    if (transportPosition() > 2.0)
    {
        seek (0.0);
        return;
    }

    const auto row = playlist.getCurrentRow();

    if (playlist.getNumRows() >= 2 && row > 0 && playlist.isRowPlayable (row - 1))
    {
        const auto path = playlist.moveCurrentRow (-1);

        if (path.isNotEmpty())
            loadTrack (juce::File (path));
        return;
    }

    seek (0.0);
}

void TrackDeck::nextTrack()
{
    const auto row = playlist.getCurrentRow();

    if (playlist.getNumRows() >= 2 && row < playlist.getNumRows() - 1 && playlist.isRowPlayable (row + 1))
    {
        const auto path = playlist.moveCurrentRow (1);

        if (path.isNotEmpty())
            loadTrack (juce::File (path));
    }
}

void TrackDeck::actionListenerCallback (const juce::String& message)
{
    if (message == "New Track Selected")
    {
        const auto path = playlist.getCurrentRowPath();

        if (juce::File::isAbsolutePath (path))
            loadTrack (juce::File (path));
    }
    else if (message == "Current Track Deleted")
    {
        unloadTrack();
    }
}

} // namespace Marlode
