#include "deck/TimerComponent.h"

#include <gtest/gtest.h>

using namespace Marlode;

TEST (Readouts, TheTimerShowsHoursFromAnHourOn)
{
    DeckEngine engine;
    TimerComponent timer { engine };

    timer.setTrackLength (3600.0);
    EXPECT_TRUE (timer.isShowingHours()) << "exactly one hour counts as long";

    timer.timerRelayCallback();
    EXPECT_EQ (timer.getText(), "00:00:00.0");

    timer.setTrackLength (120.0);
    EXPECT_FALSE (timer.isShowingHours());
}
