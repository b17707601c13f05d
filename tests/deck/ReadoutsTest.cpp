#include "deck/TimerComponent.h"

#include <gtest/gtest.h>

using namespace Marlode;

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
