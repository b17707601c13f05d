#include "deck/TimerComponent.h"

#include <gtest/gtest.h>

using namespace Marlode;

TEST (Readouts, TimerFontFollowsTheTrackLength)
{
    TimerComponent timer;
    const auto normal = timer.getFontHeight();

    timer.setTrackLength (3600.0);
    EXPECT_TRUE (timer.isShowingHours()) << "exactly one hour counts as long";
    EXPECT_FLOAT_EQ (timer.getFontHeight(), normal * 0.75f);

    timer.position = 3600.5;
    timer.timerRelayCallback();
    EXPECT_EQ (timer.getText(), "01:00:00.5");

    timer.setTrackLength (120.0);
    EXPECT_FALSE (timer.isShowingHours());
    EXPECT_FLOAT_EQ (timer.getFontHeight(), normal);
}
