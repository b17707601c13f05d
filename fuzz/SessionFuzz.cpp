// libFuzzer entry: outside bytes as a session file. The first byte chooses whether the rest is
// the file itself (the cipher, the pad and the size rules) or the document inside it, enciphered
// here so that mutations reach the reader of every element. A read deck's state written and read
// again must come back the same; a broken promise aborts, so libFuzzer keeps the input.
#include "state/DeckState.h"
#include "state/EncryptedXml.h"

#include <juce_cryptography/juce_cryptography.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace
{
void require (bool promise, const char* what)
{
    if (! promise)
    {
        std::fprintf (stderr, "broken: %s\n", what);
        std::abort();
    }
}

juce::String text (const juce::XmlElement& e)
{
    return e.toString();
}
}

extern "C" int LLVMFuzzerTestOneInput (const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;

    const juce::String key (Marlode::EncryptedXml::sessionKey);
    juce::MemoryBlock bytes (data + 1, size - 1);

    if ((data[0] & 1) != 0)
    {
        // The document: enciphered as the writer would, with its pad.
        juce::BlowFish (key.toRawUTF8(), 10).encrypt (bytes);
    }

    const auto session = Marlode::EncryptedXml::decrypt (std::move (bytes), key);

    if (session == nullptr)
        return 0;

    for (auto* child : session->getChildIterator())
    {
        if (child->getTagName().startsWith ("DECK_STATE_"))
        {
            const auto state = Marlode::DeckState::fromXml (*child);
            require (state.bands.size() <= Marlode::EQBandValues::maxBands, "bands within an equaliser's");
            const auto written = state.createXml (0);
            require (text (*Marlode::DeckState::fromXml (*written).createXml (0)) == text (*written),
                     "a written deck reads back as written");
        }
        else if (child->hasTagName ("MASTER_EQ_AND_SPECTRUM"))
        {
            const auto written = Marlode::DeckState::fromMasterEQXml (*child).createMasterEQXml();
            require (text (*Marlode::DeckState::fromMasterEQXml (*written).createMasterEQXml()) == text (*written),
                     "a written master reads back as written");
        }
    }

    return 0;
}
