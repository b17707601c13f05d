#pragma once

#include "engine/BlindTest.h"
#include "ui/DesktopWindowComponent.h"

#include <functional>
#include <memory>

namespace Marlode
{

//==============================================================================
/**
    "Blind test": an ABX comparison of two decks. The listener picks two decks and a number of
    trials, then hears A, B and X (A or B by a fair coin each trial) at the same time in the
    tracks and at one loudness, says which X is, and at the end sees the score and the chance of
    reaching it by guessing. During the trials the window names no deck and no track.

    The deck bank does the playing through Decks. Message thread.
*/
class BlindTestWindow : public DesktopWindowComponent,
                        private juce::Timer
{
public:
    /** What the window asks of the deck bank; decks by index from 0. */
    struct Decks
    {
        std::function<int()> count;
        /** Why the two can't be compared yet, empty when they can; it starts what is missing
            (the measuring of a track's loudness). */
        std::function<juce::String (int a, int b)> whyNotReady;
        /** The output to `deck` at the same time in its track as what was heard, playing, at the
            loudness of `other`. */
        std::function<void (int deck, int other)> listenTo;
        /** The run is over or given up: the decks as the user left them. */
        std::function<void()> finish;
    };

    BlindTestWindow (Decks, juce::Button* openButton);
    ~BlindTestWindow() override;

    /** Shows the choice of decks, a run in progress being given up. */
    void showWindow();

    /** The coin's seed for the next run; a fresh random one unless a test fixes it. */
    std::function<std::uint64_t()> nextSeed;

    [[nodiscard]] const BlindTest* getRun() const noexcept { return run.get(); }

    /** The last choice of decks and trials, as extra attributes of the session's root. */
    void getState (juce::XmlElement& session) const;
    void setState (const juce::XmlElement& session);

    juce::ComboBox deckA, deckB, trialCount;
    juce::Label deckALabel { {}, "A:" }, deckBLabel { {}, "B:" }, trialsLabel { {}, "Trials:" }, status;
    juce::TextButton startButton { "Start" }, playA { "A" }, playB { "B" }, playX { "X" }, xIsA { "X is A" }, xIsB { "X is B" },
        againButton { "Again" };

    /** What is playing now: "A", "B" or "X"; empty before a run. */
    [[nodiscard]] const juce::String& getListening() const noexcept { return listening; }

protected:
    void layoutContent() override;

private:
    enum class Page
    {
        choose,
        trials,
        result
    };

    void show (Page);
    void start();
    void listen (const juce::String& which);
    void answer (BlindTest::Choice);
    void giveUp();
    void timerCallback() override;

    Decks decks;
    std::unique_ptr<BlindTest> run;
    int a = 0, b = 1;
    Page page = Page::choose;
    juce::String listening;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (BlindTestWindow)
};

} // namespace Marlode
