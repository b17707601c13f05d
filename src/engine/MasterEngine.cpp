#include "engine/MasterEngine.h"

#include <thread>

namespace Marlode
{

void MasterEngine::prepare (int blockSize, double deviceRate)
{
    levels.prepare (deviceRate);
    preview.prepare (deviceRate, blockSize, numChannels);
    fadeLength = juce::jmax (1, juce::roundToInt (crossfadeMs * 0.001 * deviceRate));
    fadeBuffer.setSize (numChannels, juce::jmax (1, blockSize));
    fadeDone = fadeLength;

    if (auto* eq = equaliser.load())
        eq->prepare (deviceRate, blockSize, numChannels);
}

void MasterEngine::setEqualiser (BlockProcessor* stage) noexcept
{
    equaliser = stage;
}

void MasterEngine::process (const juce::AudioSourceChannelInfo& info) noexcept
{
    inBlock.store (true);

    DeckEngine* deck = nullptr;

    if (! decksBusy.load())
    {
        if (auto* previous = previousDeck.load())
        {
            // Cleared only if unchanged: the message thread may have just named another deck.
            if (previous->isSounding())
                deck = previous;
            else
                previousDeck.compare_exchange_strong (previous, nullptr);
        }
        else
        {
            deck = currentDeck.load();
        }
    }

    if (deck != nullptr)
        playDeck (*deck, info);
    else if (! info.buffer->hasBeenCleared())
        info.clearActiveBufferRegion();

    if (! decksBusy.load())
    {
        // Published before the request goes, so fadingDeck() never sees neither.
        if (auto* requested = fadeRequest.load())
        {
            fadeOut.store (requested);
            fadeRequest.compare_exchange_strong (requested, nullptr);
            fadeDone = 0;
        }

        // The fading deck may be read here before the new one is current: it then waits a block.
        if (auto* from = fadeOut.load(); from != nullptr && from != deck)
        {
            mixFadingDeck (*from, info);

            if (fadeDone >= fadeLength)
                fadeOut.store (nullptr);
        }
    }

    inBlock.store (false);

    preview.process (info);

    if (auto* eq = equaliser.load (std::memory_order_relaxed))
        eq->process (info);

    gainStage.process (info);
    levels.process (info);
}

void MasterEngine::playDeck (DeckEngine& deck, const juce::AudioSourceChannelInfo& info) noexcept
{
    deck.process (info);

    if (const auto g = deck.matchGain.load (std::memory_order_relaxed); g != 1.0f)
        info.buffer->applyGain (info.startSample, info.numSamples, g);
}

void MasterEngine::mixFadingDeck (DeckEngine& from, const juce::AudioSourceChannelInfo& info) noexcept
{
    // The new deck's block is in place; the old one's goes through the fade buffer a piece at a
    // time, since a device may hand a longer block than it announced.
    auto& out = *info.buffer;
    const auto channels = juce::jmin (out.getNumChannels(), fadeBuffer.getNumChannels());

    for (int done = 0; done < info.numSamples && fadeDone < fadeLength;)
    {
        const auto n = juce::jmin (info.numSamples - done, fadeBuffer.getNumSamples(), fadeLength - fadeDone);
        playDeck (from, { &fadeBuffer, 0, n });

        for (int i = 0; i < n; ++i)
        {
            // Linear, so the same track on both decks sums to itself throughout.
            const auto in = (float) ++fadeDone / (float) fadeLength;

            for (int c = 0; c < channels; ++c)
            {
                auto& sample = out.getWritePointer (c)[info.startSample + done + i];
                sample = sample * in + fadeBuffer.getSample (c, i) * (1.0f - in);
            }
        }

        done += n;
    }
}

//==============================================================================
void MasterEngine::crossfadeTo (DeckEngine* deck) noexcept
{
    auto* current = currentDeck.load();

    if (current == nullptr || deck == current)
    {
        selectDeck (deck);
        return;
    }

    previousDeck.store (nullptr);
    fadeRequest.store (current);
    currentDeck.store (deck);
}

DeckEngine* MasterEngine::fadingDeck() const noexcept
{
    if (auto* requested = fadeRequest.load())
        return requested;

    return fadeOut.load();
}

//==============================================================================
void MasterEngine::selectDeck (DeckEngine* deck) noexcept
{
    auto* current = currentDeck.load();

    if (deck != current && current != nullptr && (current->isPlaying() || current->getPlayState() == TransportState::Starting))
        previousDeck.store (current);
    else if (deck == previousDeck.load())
        previousDeck.store (nullptr); // back to the deck still handing over: it sounds as the current one

    currentDeck.store (deck);
}

void MasterEngine::forgetDecks() noexcept
{
    currentDeck.store (nullptr);
    previousDeck.store (nullptr);
    fadeRequest.store (nullptr);
    fadeOut.store (nullptr);
}

MasterEngine::DeckListChange::DeckListChange (MasterEngine& m) noexcept : master (m)
{
    master.decksBusy.store (true);

    // A block that began before the flag may still be inside a deck.
    while (master.inBlock.load())
        std::this_thread::yield();
}

MasterEngine::DeckListChange::~DeckListChange() noexcept
{
    master.decksBusy.store (false);
}

} // namespace Marlode
