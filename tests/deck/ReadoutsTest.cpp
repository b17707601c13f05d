#include "deck/TimerComponent.h"

#include <gtest/gtest.h>

using namespace Marlode;

TEST (Readouts, TimerTextTruncatesAndSwitchesFormAtAnHour)
{
    EXPECT_EQ (timerText (false, 0.0), "00:00.000");
    EXPECT_EQ (timerText (false, 3599.999), "59:59.999");
    EXPECT_EQ (timerText (false, 61.0009), "01:01.000");
    EXPECT_EQ (timerText (true, 3600.5), "01:00:00.5");
    EXPECT_EQ (timerText (true, 7322.99), "02:02:02.9");
    EXPECT_EQ (timerText (false, 3725.25), "02:05.250") << "the short form never shows hours";
}

TEST (Readouts, TimerFontFollowsTheTrackLength)
{
    DeckEngine engine;
    TimerComponent timer { engine };
    const auto normal = timer.getFontHeight();

    timer.setTrackLength (3600.0);
    EXPECT_TRUE (timer.isShowingHours()) << "exactly one hour counts as long";
    EXPECT_FLOAT_EQ (timer.getFontHeight(), normal * 0.75f);

    timer.timerRelayCallback();
    EXPECT_EQ (timer.getText(), "00:00:00.0");

    timer.setTrackLength (120.0);
    EXPECT_FALSE (timer.isShowingHours());
    EXPECT_FLOAT_EQ (timer.getFontHeight(), normal);
}
