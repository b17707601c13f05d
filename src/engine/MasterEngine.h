#pragma once

#include "dsp/MasterGainStage.h"
#include "dsp/MasterLevelMeasurement.h"
#include "dsp/BlockProcessor.h"
#include "dsp/StreamingPreview.h"
#include "engine/DeckEngine.h"

#include <atomic>

namespace Marlode
{

//==============================================================================
/**
    The master's audio path, without a window: each block exactly one deck's audio (decks are
    never summed; a deck that was playing when another became current sounds until its stop has
    faded out), at the deck's match gain, then the streaming preview, the master equaliser,
    mute, volume and balance, and the level lights' measurement.

    The one exception to "never summed" is a hand-over for comparing: crossfadeTo plays the old
    deck and the new one together for crossfadeMs, the old fading out as the new fades in, so
    A/B listening has no gap and no click.

    process() on the audio thread; the rest on the message thread.
*/
class MasterEngine
{
public:
    MasterEngine() = default;

    /** Prepares the master's own stages; each deck is prepared by its owner. */
    void prepare (int blockSize, double deviceRate);

    /** Audio thread. Allocates nothing and takes no lock. */
    void process (const juce::AudioSourceChannelInfo&) noexcept;

    //==============================================================================
    /** The deck that the output plays from now on. A deck that plays or is about to when
        another is chosen goes on sounding until its stop lands; choosing that deck again makes
        it simply the current one. */
    void selectDeck (DeckEngine*) noexcept;

    /** The deck that plays from now on, taking over from the current one over crossfadeMs
        (both play meanwhile; the caller stops the old one once fadingDeck() no longer names
        it). Without a current deck, or to the same deck, it is selectDeck. */
    void crossfadeTo (DeckEngine*) noexcept;

    /** The deck still fading out after crossfadeTo, or null once its fade has ended. */
    [[nodiscard]] DeckEngine* fadingDeck() const noexcept;

    static constexpr double crossfadeMs = 10.0;

    [[nodiscard]] DeckEngine* getCurrentDeck() const noexcept { return currentDeck.load(); }
    [[nodiscard]] DeckEngine* getPreviousDeck() const noexcept { return previousDeck.load(); }

    /** Held while decks are added or freed: blocks give silence meanwhile, and the constructor
        returns only once no block is inside a deck. */
    class DeckListChange
    {
    public:
        explicit DeckListChange (MasterEngine&) noexcept;
        ~DeckListChange() noexcept;

    private:
        MasterEngine& master;
        JUCE_DECLARE_NON_COPYABLE (DeckListChange)
    };

    /** Within a DeckListChange: no deck is current or handing over any more. */
    void forgetDecks() noexcept;

    /** Message thread, while no block runs through it: the master equaliser's stage. Not owned. */
    void setEqualiser (BlockProcessor*) noexcept;

    StreamingPreview preview;
    MasterGainStage gainStage;
    MasterLevelMeasurement levels;

    static constexpr int numChannels = 2;

private:
    void playDeck (DeckEngine&, const juce::AudioSourceChannelInfo&) noexcept;
    void mixFadingDeck (DeckEngine&, const juce::AudioSourceChannelInfo&) noexcept;

    // The message thread chooses both; the audio thread reads them, and clears previousDeck once
    // that deck's stop has taken effect.
    std::atomic<DeckEngine*> currentDeck { nullptr }, previousDeck { nullptr };
    // The message thread sets it while the deck list changes; the audio thread then gives silence.
    std::atomic<bool> decksBusy { false };
    // The audio thread holds it during each block, so a deck is freed only once no block uses it.
    std::atomic<bool> inBlock { false };
    // The message thread sets it while no block runs through it; the audio thread reads it.
    std::atomic<BlockProcessor*> equaliser { nullptr };

    // The message thread asks for a fade out of a deck; the audio thread takes the request
    // into fadeOut and clears that when the fade has ended (forgetDecks clears both).
    std::atomic<DeckEngine*> fadeRequest { nullptr }, fadeOut { nullptr };

    // The audio thread's own, sized by prepare: how far the running fade is, in samples, and
    // the fading deck's audio.
    int fadeDone = 0, fadeLength = 1;
    juce::AudioBuffer<float> fadeBuffer;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (MasterEngine)
};

} // namespace Marlode
