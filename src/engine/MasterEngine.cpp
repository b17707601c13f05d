#include "engine/MasterEngine.h"

#include <thread>

namespace Marlode
{

void MasterEngine::prepare (int blockSize, double deviceRate)
{
    levels.prepare (deviceRate);

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
        deck->process (info);
    else if (! info.buffer->hasBeenCleared())
        info.clearActiveBufferRegion();

    inBlock.store (false);

    if (auto* eq = equaliser.load (std::memory_order_relaxed))
        eq->process (info);

    gainStage.process (info);
    levels.process (info);
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
