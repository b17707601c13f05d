#include "engine/MarkerModel.h"

#include <gtest/gtest.h>

using namespace Marlode;

namespace
{
// A 60 s track with the markers given.
void place (MarkerModel& m, bool replayOn, double replay, bool loopOn, double loopStart, double loopEnd)
{
    m.resetForTrack (60.0);
    m.setReplay (replay);
    m.setLoopEnd (loopEnd);
    m.setLoopStart (loopStart);
    m.setReplayOn (replayOn);
    m.setLoopOn (loopOn);
}

struct ReturnCase
{
    const char* name;
    bool replayOn;
    bool loopOn;
    double position;
    double target;
    bool leavesLoop;
    double replay = 10.0;
};

using ReturnToStart = ::testing::TestWithParam<ReturnCase>;
}

// Loop 20..30 s, replay marker at 10 s unless the row says otherwise.
TEST_P (ReturnToStart, GoesWhereTheSwitchesSay)
{
    const auto& c = GetParam();
    MarkerModel m;
    place (m, c.replayOn, c.replay, c.loopOn, 20.0, 30.0);
    const auto to = m.returnToStart (c.position);
    EXPECT_DOUBLE_EQ (to.target, c.target);
    EXPECT_EQ (to.leavesLoop, c.leavesLoop);
}

INSTANTIATE_TEST_SUITE_P (Cascade, ReturnToStart,
                          ::testing::Values (ReturnCase { "neitherGoesToTheTop", false, false, 42.0, 0.0, false },
                                             ReturnCase { "replayFromElsewhereGoesToReplay", true, false, 42.0, 10.0, false },
                                             ReturnCase { "replayFromReplayGoesToTheTop", true, false, 10.0, 0.0, false },
                                             ReturnCase { "replayIsComparedInWholeMilliseconds", true, false, 10.0004, 0.0,
                                                          false },
                                             ReturnCase { "loopFromInsideGoesToItsStart", false, true, 25.0, 20.0, false },
                                             ReturnCase { "loopFromItsStartGoesToTheTop", false, true, 20.0, 0.0, false },
                                             ReturnCase { "loopFromBeforeItGoesToTheTop", false, true, 5.0, 0.0, false },
                                             ReturnCase { "loopFromTheTopGoesToItsStart", false, true, 0.0, 20.0, false },
                                             ReturnCase { "bothFromElsewhereGoToReplay", true, true, 25.0, 10.0, false },
                                             ReturnCase { "bothFromReplayGoToTheLoopStart", true, true, 10.0, 20.0, false },
                                             ReturnCase { "bothFromTheLoopStartGoToReplay", true, true, 20.0, 10.0, false },
                                             // A replay marker beyond the loop's end: the loop's start comes first,
                                             // and the replay marker from there leaves the loop.
                                             ReturnCase { "replayPastTheLoopFromInside", true, true, 25.0, 20.0, false, 40.0 },
                                             ReturnCase { "replayPastTheLoopFromBefore", true, true, 5.0, 20.0, false, 40.0 },
                                             ReturnCase { "replayPastTheLoopFromItsStart", true, true, 20.0, 40.0, true, 40.0 }),
                          [] (const auto& info) { return std::string (info.param.name); });

namespace
{
struct MoveCase
{
    const char* name;
    MarkerModel::Move move;
    bool loopOn;
    bool playing;
    double position;
    double step;
    std::optional<double> target;
};

using SkipAndJump = ::testing::TestWithParam<MoveCase>;
}

// Replay marker at 20 s, loop 10..30 s, 60 s track.
TEST_P (SkipAndJump, GuardsOfTheLoopAndTheTrack)
{
    const auto& c = GetParam();
    MarkerModel m;
    place (m, false, 20.0, c.loopOn, 10.0, 30.0);
    EXPECT_EQ (m.moveTarget (c.move, c.position, c.step, c.playing), c.target);
}

using Move = MarkerModel::Move;

INSTANTIATE_TEST_SUITE_P (
    Guards, SkipAndJump,
    ::testing::Values (MoveCase { "skipForward", Move::skipForward, false, true, 5.0, 1.0, 6.0 },
                       MoveCase { "skipForwardNeverReachesTheEnd", Move::skipForward, false, true, 59.5, 1.0, std::nullopt },
                       MoveCase { "skipForwardStaysInARunningLoop", Move::skipForward, true, true, 29.5, 1.0, std::nullopt },
                       MoveCase { "skipForwardLeavesAPausedLoop", Move::skipForward, true, false, 29.75, 0.5, 30.25 },
                       MoveCase { "jumpForwardStaysInALoopEvenPaused", Move::jumpForward, true, false, 29.75, 0.5, std::nullopt },
                       MoveCase { "jumpForwardWithoutALoop", Move::jumpForward, false, true, 20.0, 15.0, 35.0 },
                       MoveCase { "jumpForwardNeverReachesTheEnd", Move::jumpForward, false, true, 50.0, 15.0, std::nullopt },
                       MoveCase { "skipBackStopsAtTheTop", Move::skipBack, true, true, 0.5, 1.0, 0.0 },
                       MoveCase { "jumpBackUnderALoopStopsAtReplay", Move::jumpBack, true, true, 22.0, 15.0, 20.0 },
                       MoveCase { "jumpBackWithoutALoopGoesPastReplay", Move::jumpBack, false, true, 22.0, 15.0, 7.0 },
                       MoveCase { "jumpBackStopsAtTheTop", Move::jumpBack, true, true, 5.0, 15.0, 0.0 }),
    [] (const auto& info) { return std::string (info.param.name); });

TEST (MarkerRules, SettersKeepTheMarkersInsideTheTrackAndTheLoopWhole)
{
    MarkerModel m;
    m.resetForTrack (20.0);
    EXPECT_DOUBLE_EQ (m.getLoopEnd(), 20.0);

    // A start set past the end carries the loop's length with it, limited by the track.
    m.setLoopStart (2.0);
    m.setLoopEnd (5.0);
    m.setLoopStart (10.0);
    EXPECT_DOUBLE_EQ (m.getLoopEnd(), 13.0);
    m.setLoopStart (18.0);
    EXPECT_DOUBLE_EQ (m.getLoopEnd(), 20.0);
    m.setLoopStart (-4.0);
    EXPECT_DOUBLE_EQ (m.getLoopStart(), 0.0);

    m.setReplay (-3.0);
    EXPECT_DOUBLE_EQ (m.getReplay(), 0.0);
    m.setReplay (50.0);
    EXPECT_DOUBLE_EQ (m.getReplay(), 20.0);

    // Nudges: right stops short of the loop's end and of the view; the end moves left only
    // while in view and after the start.
    m.setLoopStart (1.0);
    m.setLoopEnd (3.0);
    m.setReplay (2.95);
    m.nudgeReplay (true, 0.1, 20.0);
    EXPECT_DOUBLE_EQ (m.getReplay(), 2.95) << "would pass the loop's end";
    m.nudgeLoopStart (true, 0.1, 1.05);
    EXPECT_DOUBLE_EQ (m.getLoopStart(), 1.05) << "the view's edge";
    m.nudgeLoopEnd (false, 2.0, 20.0);
    EXPECT_DOUBLE_EQ (m.getLoopEnd(), 3.0) << "would cross the start";
    m.nudgeLoopEnd (false, 0.5, 2.0);
    EXPECT_DOUBLE_EQ (m.getLoopEnd(), 3.0) << "out of view";
    m.nudgeLoopEnd (true, 50.0, 20.0);
    EXPECT_DOUBLE_EQ (m.getLoopEnd(), 20.0);

    // A new track resets everything, switches included.
    m.setLoopOn (true);
    m.setReplayOn (true);
    m.resetForTrack (7.0);
    EXPECT_FALSE (m.isLoopOn());
    EXPECT_FALSE (m.isReplayOn());
    EXPECT_DOUBLE_EQ (m.getLoopEnd(), 7.0);
}
