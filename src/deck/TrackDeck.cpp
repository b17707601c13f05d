#include "deck/TrackDeck.h"
#include "engine/AudioFileGuard.h"
#include "playlist/PlaylistComponent.h"
#include "ui/Alerts.h"

namespace Marlode
{

namespace
{
    constexpr int readAheadSamples = 32768;
}

TrackDeck::TrackDeck (juce::AudioFormatManager& formats, DeckEngine& engineToUse, PlaylistCursor& cursor)
    : engine (engineToUse), formatManager (formats), playlist (cursor), transport (engineToUse.transport)
{
    transport.addChangeListener (this);
    onQuitWhenStopped = [] { juce::MessageManager::getInstance()->stopDispatchLoop(); };
}

TrackDeck::~TrackDeck()
{
    transport.removeChangeListener (this);
    // The transport's ring is served by readAheadThread, so it must let go of the thread first.
    engine.setHasTrack (false);
    transport.setSource (nullptr, 0, nullptr, 0.0);
    readAheadThread.stopThread (2000);
}

void TrackDeck::seek (double seconds)
{
    transport.setPosition (seconds);
}

void TrackDeck::enter (TransportState s)
{
    engine.setPlayState (s);
    listeners.call ([s] (Listener& l) { l.playStateChanged (s); });
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

    const bool wasPlaying = transport.isPlaying();

    if (wasPlaying)
    {
        transport.stop();
        enter (TransportState::Stopped);
    }

    const auto fileRate = newReader->sampleRate;
    reader = newReader.get();
    auto newSource = std::make_unique<juce::AudioFormatReaderSource> (newReader.release(), true);

    readAheadThread.startThread();
    transport.setSource (newSource.get(), readAheadSamples, &readAheadThread, fileRate);

    // The old source goes only after the transport has let go of it.
    std::swap (readerSource, newSource);
    newSource.reset();
    engine.setHasTrack (true);
    currentTrackPath = file.getFullPathName();
    engine.markers.resetForTrack (transport.getLengthInSeconds());

    listeners.call ([&file] (Listener& l) { l.trackLoaded (file); });

    if ((bool) autoPlay.getValue() || wasPlaying)
        playButtonClicked();
}

void TrackDeck::unloadTrack()
{
    if (reader != nullptr && getState() != TransportState::Stopped)
    {
        transport.stop();
        enterStoppedAfterStop();
    }

    engine.setHasTrack (false);
    transport.setSource (nullptr, 0, nullptr, 0.0);
    reader = nullptr;
    readerSource.reset();
    currentTrackPath.clear();
    engine.markers.clear();
    listeners.call ([] (Listener& l) { l.trackUnloaded(); });
}

//==============================================================================
void TrackDeck::enterStoppedAfterStop()
{
    returnToStart();
    enter (TransportState::Stopped);

    if (quitWhenStopped && onQuitWhenStopped)
        onQuitWhenStopped();
}

void TrackDeck::changeState (TransportState newState)
{
    if (reader == nullptr || getState() == newState)
        return;

    if (newState == TransportState::Stopped)
    {
        enterStoppedAfterStop();
        return;
    }

    // The state goes first: the audio thread and the master read it while the transport moves.
    enter (newState);

    if (newState == TransportState::Starting)
        transport.start();
    else if (newState == TransportState::Stopping || newState == TransportState::Pausing)
        transport.stop();
}

void TrackDeck::changeListenerCallback (juce::ChangeBroadcaster*)
{
    const auto current = getState();

    if (transport.isPlaying())
    {
        if (reader != nullptr && current != TransportState::Playing)
            enter (TransportState::Playing);
        return;
    }

    if (current == TransportState::Playing || current == TransportState::Stopping)
    {
        if (! transport.hasStreamFinished())
        {
            if (reader != nullptr)
                enterStoppedAfterStop();
            return;
        }

        if (engine.markers.isLoopOn())
        {
            // A loop that ends at the track's end comes back at the replay marker.
            seek (engine.markers.getReplay());
            transport.start();
            return;
        }

        if ((bool) playNext.getValue())
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
        enter (TransportState::Paused);
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
        enter (TransportState::Starting);
        transport.start();
    }
    else if (current == TransportState::Playing)
    {
        enter (TransportState::Pausing);
        transport.stop();
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

    enter (TransportState::Stopping);
    transport.stop();
}

void TrackDeck::returnToStart()
{
    const auto to = engine.markers.returnToStart (engine.getPosition());
    seek (to.target);

    if (to.leavesLoop)
        engine.markers.setLoopOn (false);
}

void TrackDeck::playFromStart()
{
    if (! audioDeviceAvailable)
    {
        // The play button knows the message for a missing device.
        playButtonClicked();
        return;
    }

    returnToStart();
    transport.start();
}

bool TrackDeck::skipOrJump (MarkerModel::Move move, double nudge)
{
    if (transport.getSampleRate() <= 0.0)
        return false;

    const bool playing = transport.isPlaying();
    const bool skip = move == MarkerModel::Move::skipForward || move == MarkerModel::Move::skipBack;
    const auto step = skip ? (playing ? 1.0 : nudge) : (playing ? 15.0 : 25.0 * nudge);
    const auto target = engine.markers.moveTarget (move, engine.getPosition(), step, playing);

    if (! target.has_value())
        return false;

    seek (*target);
    return true;
}

void TrackDeck::previousTrack()
{
    if (engine.getPosition() > 2.0)
    {
        seek (0.0);
        return;
    }

    const auto path = playlist.step (-1);

    if (path.isNotEmpty())
        loadTrack (juce::File (path));
    else
        seek (0.0);
}

void TrackDeck::nextTrack()
{
    const auto path = playlist.step (1);

    if (path.isNotEmpty())
        loadTrack (juce::File (path));
}

} // namespace Marlode
