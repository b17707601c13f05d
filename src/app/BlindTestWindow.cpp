#include "app/BlindTestWindow.h"

namespace Marlode
{

namespace
{
    const juce::Identifier deckAKey ("blind_test_deck_a"), deckBKey ("blind_test_deck_b"), trialsKey ("blind_test_trials");
}

BlindTestWindow::BlindTestWindow (Decks decksToUse, juce::Button* openButton)
    : DesktopWindowComponent ("Blind test", { 0, 0, 420, 230 }, openButton), decks (std::move (decksToUse))
{
    nextSeed = [] { return (std::uint64_t) juce::Random::getSystemRandom().nextInt64(); };

    for (int n = BlindTest::minTrials; n <= BlindTest::maxTrials; ++n)
        trialCount.addItem (juce::String (n), n);
    trialCount.setSelectedId (16, juce::dontSendNotification);

    deckA.onChange = [this]
    {
        a = deckA.getSelectedId() - 1;
        timerCallback();
    };
    deckB.onChange = [this]
    {
        b = deckB.getSelectedId() - 1;
        timerCallback();
    };
    startButton.onClick = [this] { start(); };
    playA.onClick = [this] { listen ("A"); };
    playB.onClick = [this] { listen ("B"); };
    playX.onClick = [this] { listen ("X"); };
    xIsA.onClick = [this] { answer (BlindTest::Choice::a); };
    xIsB.onClick = [this] { answer (BlindTest::Choice::b); };
    againButton.onClick = [this] { show (Page::choose); };
    onClose = [this] { giveUp(); };

    status.setJustificationType (juce::Justification::centred);

    for (auto* c :
         std::initializer_list<juce::Component*> { &deckA, &deckB, &trialCount, &deckALabel, &deckBLabel, &trialsLabel, &status,
                                                   &startButton, &playA, &playB, &playX, &xIsA, &xIsB, &againButton })
        addChildComponent (c);

    status.setVisible (true);
}

BlindTestWindow::~BlindTestWindow()
{
    onClose = nullptr;
}

void BlindTestWindow::showWindow()
{
    giveUp();
    deckA.clear (juce::dontSendNotification);
    deckB.clear (juce::dontSendNotification);

    for (int i = 0; i < decks.count(); ++i)
    {
        deckA.addItem ("Deck " + juce::String (i + 1), i + 1);
        deckB.addItem ("Deck " + juce::String (i + 1), i + 1);
    }

    // The last pair while the decks are still there, else the first two.
    const auto count = decks.count();
    const bool pairStands = a != b && juce::isPositiveAndBelow (a, count) && juce::isPositiveAndBelow (b, count);
    deckA.setSelectedId (pairStands ? a + 1 : 1, juce::sendNotificationSync);
    deckB.setSelectedId (pairStands ? b + 1 : juce::jmin (2, count), juce::sendNotificationSync);
    show (Page::choose);
    DesktopWindowComponent::showWindow();
}

void BlindTestWindow::show (Page p)
{
    page = p;

    for (auto* c : { &deckA, &deckB, &trialCount })
        c->setVisible (p == Page::choose);
    for (auto* c : { &deckALabel, &deckBLabel, &trialsLabel })
        c->setVisible (p == Page::choose);
    startButton.setVisible (p == Page::choose);

    for (auto* c : { &playA, &playB, &playX, &xIsA, &xIsB })
        c->setVisible (p == Page::trials);
    againButton.setVisible (p == Page::result);

    if (p == Page::choose)
        startTimer (200);
    else
        stopTimer();

    timerCallback();
    resized();
}

void BlindTestWindow::timerCallback()
{
    if (page == Page::choose)
    {
        const auto why = a == b ? juce::String ("Choose two different decks.") : decks.whyNotReady (a, b);
        status.setText (why.isEmpty() ? juce::String ("Ready.") : why, juce::dontSendNotification);
        startButton.setEnabled (why.isEmpty());
    }
    else if (page == Page::trials)
    {
        status.setText ("Trial " + juce::String (run->getTrialIndex() + 1) + " of " + juce::String (run->getTrials())
                            + (listening.isEmpty() ? juce::String() : "  -  listening to " + listening),
                        juce::dontSendNotification);
    }
    else
    {
        const auto p = BlindTest::guessProbability (run->getCorrect(), run->getTrials());
        status.setText ("Score: " + juce::String (run->getCorrect()) + " of " + juce::String (run->getTrials())
                            + "\nChance of this score by guessing: " + juce::String (100.0 * p, 2) + " %",
                        juce::dontSendNotification);
    }
}

void BlindTestWindow::start()
{
    timerCallback();
    if (! startButton.isEnabled())
        return;

    run = std::make_unique<BlindTest> (trialCount.getSelectedId(), nextSeed());
    show (Page::trials);
    listen ("A");
}

void BlindTestWindow::listen (const juce::String& which)
{
    if (run == nullptr || run->isFinished())
        return;

    const bool toA = which == "A" || (which == "X" && run->getX() == BlindTest::Choice::a);
    decks.listenTo (toA ? a : b, toA ? b : a);
    listening = which;
    timerCallback();
}

void BlindTestWindow::answer (BlindTest::Choice xIs)
{
    if (run == nullptr)
        return;

    run->answer (xIs);

    if (run->isFinished())
    {
        listening.clear();
        decks.finish();
        show (Page::result);
        return;
    }

    // Each trial starts from A again, so the last thing heard gives nothing away.
    listen ("A");
}

void BlindTestWindow::giveUp()
{
    if (run != nullptr && ! run->isFinished())
        decks.finish();

    listening.clear();
}

void BlindTestWindow::getState (juce::XmlElement& session) const
{
    session.setAttribute (deckAKey, a);
    session.setAttribute (deckBKey, b);
    session.setAttribute (trialsKey, trialCount.getSelectedId());
}

void BlindTestWindow::setState (const juce::XmlElement& session)
{
    a = session.getIntAttribute (deckAKey, 0);
    b = session.getIntAttribute (deckBKey, 1);

    if (const auto trials = session.getIntAttribute (trialsKey); trials >= BlindTest::minTrials && trials <= BlindTest::maxTrials)
        trialCount.setSelectedId (trials, juce::dontSendNotification);
}

void BlindTestWindow::layoutContent()
{
    auto area = getContentBounds().reduced (10);
    status.setBounds (area.removeFromBottom (50));
    area.removeFromBottom (6);

    if (page == Page::choose)
    {
        auto row = [&area] { return area.removeFromTop (28); };
        for (auto [label, box] :
             { std::pair { &deckALabel, &deckA }, std::pair { &deckBLabel, &deckB }, std::pair { &trialsLabel, &trialCount } })
        {
            auto r = row();
            label->setBounds (r.removeFromLeft (80));
            box->setBounds (r.removeFromLeft (150).reduced (0, 2));
            area.removeFromTop (4);
        }
        startButton.setBounds (area.removeFromBottom (30).withSizeKeepingCentre (120, 30));
    }
    else if (page == Page::trials)
    {
        auto players = area.removeFromTop (area.getHeight() / 2).reduced (0, 4);
        const auto third = players.getWidth() / 3;
        for (auto* button : { &playA, &playB, &playX })
            button->setBounds (players.removeFromLeft (third).reduced (4, 0));

        auto answers = area.reduced (0, 4);
        const auto half = answers.getWidth() / 2;
        xIsA.setBounds (answers.removeFromLeft (half).reduced (4, 0));
        xIsB.setBounds (answers.reduced (4, 0));
    }
    else
    {
        againButton.setBounds (area.removeFromBottom (30).withSizeKeepingCentre (120, 30));
    }
}

} // namespace Marlode
