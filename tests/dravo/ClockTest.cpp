// The pure parts of playing: speeds, the clock, the choice of the picture, the effort, the brightness
// correction.
#include "dravo/Deflash.h"
#include "dravo/DuePicture.h"
#include "dravo/NeighbourSearch.h"
#include "dravo/PlayClock.h"
#include "dravo/SpeedLadder.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using dravo::Deflash;
using dravo::DuePicture;
using dravo::EffortGovernor;
using dravo::NeighbourSearch;
using dravo::Pick;
using dravo::PlayClock;
using dravo::SpeedLadder;
using dravo::WallTime;
using ordune::Direction;
using ordune::Effort;
using ordune::FrameNumber;
using ordune::MediaTime;

const WallTime kStart{1000s};
constexpr auto kOften = EffortGovernor::kKeysOften;

SpeedLadder LadderAt(int level) {
    SpeedLadder ladder;
    while (ladder.Level() < level)
        EXPECT_TRUE(ladder.Up());
    while (ladder.Level() > level)
        EXPECT_TRUE(ladder.Down());
    return ladder;
}

TEST(SpeedLadder, HasNineLevelsAndRefusesToLeaveThem) {
    SpeedLadder ladder = LadderAt(4);
    EXPECT_FALSE(ladder.Up());
    EXPECT_EQ(ladder.Level(), 4);
    EXPECT_EQ(ladder.Rate(), 16.0);
    ladder = LadderAt(-4);
    EXPECT_FALSE(ladder.Down());
    EXPECT_EQ(ladder.Level(), -4);
    EXPECT_EQ(ladder.Rate(), 1.0 / 16.0);
}

TEST(SpeedLadder, ConvertsSpansBothWays) {
    EXPECT_EQ(LadderAt(4).ToMedia(3750ms), 60s);
    EXPECT_EQ(LadderAt(-2).ToMedia(1s), 250ms);
    EXPECT_EQ(LadderAt(4).ToWall(60s), 3750ms);
    EXPECT_EQ(LadderAt(-4).ToWall(40ms), 640ms);
    EXPECT_EQ(LadderAt(4).ToWall(-17ns), -2ns) << "rounds down on both sides of zero";
}

TEST(SpeedLadder, IsHeardFromHalfToFourTimes) {
    for (int level = SpeedLadder::kLowest; level <= SpeedLadder::kHighest; ++level)
        EXPECT_EQ(LadderAt(level).Heard(), level >= -1 && level <= 2) << level;
}

TEST(PlayClock, StandsUntilItIsStarted) {
    PlayClock clock;
    clock.StandAt(5s);
    EXPECT_FALSE(clock.Running());
    EXPECT_EQ(clock.Now(kStart), 5s);
    EXPECT_EQ(clock.Now(kStart + 1h), 5s);
}

TEST(PlayClock, PausesAndResumesWhereItWas) {
    PlayClock clock;
    clock.RunFrom(2s, kStart);
    clock.Pause(kStart + 300ms);
    EXPECT_EQ(clock.Now(kStart + 10s), 2300ms);
    clock.Resume(kStart + 10s);
    EXPECT_EQ(clock.Now(kStart + 10100ms), 2400ms);
}

TEST(PlayClock, ChangesSpeedWithoutAJump) {
    PlayClock clock;
    clock.RunFrom(0s, kStart);
    clock.SetSpeed(LadderAt(4), kStart + 1s);
    EXPECT_EQ(clock.Now(kStart + 1s), 1s);
    EXPECT_EQ(clock.Now(kStart + 2s), 17s);
    clock.SetSpeed(LadderAt(-4), kStart + 2s);
    EXPECT_EQ(clock.Now(kStart + 18s), 18s);
}

TEST(PlayClock, TellsTheMomentAtWhichATimeIsReached) {
    for (int level = SpeedLadder::kLowest; level <= SpeedLadder::kHighest; ++level) {
        PlayClock clock;
        clock.SetSpeed(LadderAt(level), kStart);
        clock.RunFrom(0s, kStart);
        const MediaTime time(40'001);
        const WallTime when = clock.When(time);
        EXPECT_GE(clock.Now(when), time) << level;
        EXPECT_LT(clock.Now(when - 1us * 17), time) << level;
    }
}

TEST(PlayClock, FollowsTheSoundALittleAtATimeAndNeverRunsBack) {
    PlayClock clock;
    clock.RunFrom(10s, kStart);
    MediaTime before = clock.Now(kStart);
    WallTime now = kStart;
    // The sound is half a second behind and stays so in its own time.
    for (int turn = 0; turn < 400; ++turn) {
        now += 40ms;
        const MediaTime heard = std::chrono::floor<MediaTime>(9500ms + (now - kStart));
        clock.Steer(heard, now);
        const MediaTime after = clock.Now(now);
        ASSERT_GT(after, before) << turn;
        before = after;
    }
    const MediaTime heard = std::chrono::floor<MediaTime>(9500ms + (now - kStart));
    EXPECT_LE(before - heard, PlayClock::kIgnoredError + 2ms);
}

TEST(PlayClock, LeavesJitterAlone) {
    PlayClock clock;
    clock.RunFrom(0s, kStart);
    clock.Steer(1004ms, kStart + 1s);
    EXPECT_EQ(clock.Now(kStart + 1s), 1s);
}

TEST(DuePicture, ShowsEveryPictureInTurnWhileItIsOnlyALittleLate) {
    EXPECT_EQ(DuePicture::Choose(0ms, 40ms), Pick::Oldest);
    EXPECT_EQ(DuePicture::Choose(40ms, 40ms), Pick::Oldest);
    EXPECT_EQ(DuePicture::Choose(41ms, 40ms), Pick::Newest);
    EXPECT_EQ(DuePicture::Choose(0ms, 10ms), Pick::Oldest) << "four times 25 a second shows them all";
    EXPECT_EQ(DuePicture::Choose(0ms, 2500us), Pick::Newest) << "sixteen times 25 a second cannot";
}

TEST(DuePicture, SpacesPicturesOutOnlyWhereThereAreMoreThanAScreenShows) {
    EXPECT_EQ(DuePicture::NotBefore(kStart, kStart + 10ms, 10ms, kStart), kStart + 10ms);
    EXPECT_EQ(DuePicture::NotBefore(kStart, kStart + 2500us, 2500us, kStart),
              kStart + DuePicture::kFastInterval);
    EXPECT_EQ(DuePicture::NotBefore(kStart, kStart + 1s, 2500us, kStart), kStart + 1s);
}

TEST(DuePicture, SaysHowFarApartThePicturesAreThatAreShown) {
    EXPECT_EQ(DuePicture::Stride(40ms), 0U);
    EXPECT_EQ(DuePicture::Stride(8ms), 0U) << "every one is shown";
    EXPECT_EQ(DuePicture::Stride(2500us), 14U) << "33 ms, rounded up to whole pictures";
    EXPECT_EQ(DuePicture::Stride(0ms), 33'000'000U);
}

TEST(DuePicture, DrawsNoMoreThanAScreenShowsWhileItIsLate) {
    const WallTime now = kStart + 100ms;
    EXPECT_EQ(DuePicture::NotBefore(now - 5ms, now - 40ms, 10ms, now), now - 40ms);
    EXPECT_EQ(DuePicture::NotBefore(now - 5ms, now - 41ms, 10ms, now), now - 5ms + DuePicture::kFastInterval);
}

TEST(EffortGovernor, BeginsWithWhatTheSpeedCanShow) {
    EffortGovernor governor;
    governor.Reset(40ms);
    EXPECT_EQ(governor.Current(), Effort::Every);
    governor.Reset(2500us);
    EXPECT_EQ(governor.Current(), Effort::Referenced);
}

TEST(EffortGovernor, GivesUpPicturesOnlyAfterBeingLateForAWhile) {
    EffortGovernor governor;
    governor.Reset(40ms);
    governor.Shown(100ms, kOften, kStart);
    governor.Shown(100ms, kOften, kStart + 200ms);
    EXPECT_EQ(governor.Current(), Effort::Every);
    governor.Shown(0ms, kOften, kStart + 240ms);
    governor.Shown(100ms, kOften, kStart + 280ms);
    EXPECT_EQ(governor.Current(), Effort::Every) << "a picture on time in between starts the count anew";
    governor.Shown(100ms, kOften, kStart + 530ms);
    EXPECT_EQ(governor.Current(), Effort::Referenced);
    governor.Shown(100ms, kOften, kStart + 600ms);
    governor.Shown(100ms, kOften, kStart + 850ms);
    EXPECT_EQ(governor.Current(), Effort::KeysOnly);
}

TEST(EffortGovernor, DecodesGroupsAsFarAsTimeReachesWhereKeyPicturesAreFarApart) {
    EffortGovernor governor;
    governor.Reset(2500us);
    for (auto when = kStart; when < kStart + 2s; when += 33ms)
        governor.Shown(400ms, 625ms, when);
    EXPECT_EQ(governor.Current(), Effort::Referenced);
    governor.Shown(400ms, kOften, kStart + 2s);
    EXPECT_EQ(governor.Current(), Effort::KeysOnly);
    governor.Shown(400ms, 625ms, kStart + 3s);
    governor.Shown(400ms, 625ms, kStart + 4s);
    EXPECT_EQ(governor.Current(), Effort::Referenced) << "a part of the film with few key pictures";
}

TEST(EffortGovernor, TriesForMoreAgainAndWaitsLongerAfterAFailure) {
    EffortGovernor governor;
    governor.Reset(40ms);
    governor.Shown(100ms, kOften, kStart);
    governor.Shown(100ms, kOften, kStart + 250ms);
    ASSERT_EQ(governor.Current(), Effort::Referenced);
    governor.Shown(0ms, kOften, kStart + 300ms);
    governor.Shown(0ms, kOften, kStart + 1300ms);
    EXPECT_EQ(governor.Current(), Effort::Referenced) << "one failure has doubled the wait";
    governor.Shown(0ms, kOften, kStart + 2300ms);
    EXPECT_EQ(governor.Current(), Effort::Every);
}

TEST(NeighbourSearch, GoesOnFrameByFrameAndThenTurnsWhereItMay) {
    NeighbourSearch search;
    search.Begin(97, Direction::Forward, true);
    EXPECT_EQ(search.Lost(100), 98U);
    EXPECT_EQ(search.Lost(100), 99U);
    EXPECT_EQ(search.Way(), Direction::Forward);
    EXPECT_EQ(search.Lost(100), 96U) << "on the other side of where it began";
    EXPECT_EQ(search.Way(), Direction::Backward);
    EXPECT_EQ(search.Lost(100), 95U);
    EXPECT_EQ(search.Found(), 95U);
    search.Begin(97, Direction::Forward, false);
    EXPECT_EQ(search.Lost(100), 98U);
    EXPECT_EQ(search.Lost(100), 99U);
    EXPECT_EQ(search.Lost(100), ordune::kNoFrame) << "a step does not turn";
    search.Begin(1, Direction::Backward, false);
    EXPECT_EQ(search.Lost(100), 0U);
    EXPECT_EQ(search.Lost(100), ordune::kNoFrame);
    search.Begin(50, Direction::Forward, true);
    EXPECT_EQ(search.Found(), 50U) << "nothing was lost";
}

// Where a search ends in a film of so many frames of which [first, last] are lost, and after how many tries.
struct Ending {
    FrameNumber frame = ordune::kNoFrame;
    int tries = 0;
};
Ending SearchIn(FrameNumber total, FrameNumber first, FrameNumber last, FrameNumber from, Direction direction,
                bool both_ways) {
    NeighbourSearch search;
    search.Begin(from, direction, both_ways);
    Ending ending{from, 1};
    while (ending.frame != ordune::kNoFrame) {
        const bool lost = ending.frame >= first && ending.frame <= last;
        const FrameNumber next = lost ? search.Lost(total) : search.Found();
        if (next == ending.frame) break;
        EXPECT_TRUE(next < total || next == ordune::kNoFrame);
        ending.frame = next;
        if (++ending.tries > 10'000) break;
    }
    return ending;
}

TEST(NeighbourSearch, EndsAtTheEdgeOfWhatIsLostHoweverMuchThatIs) {
    for (const FrameNumber lost : {1U, 63U, 64U, 65U, 129U, 300U, 4000U, 700'000U}) {
        constexpr FrameNumber kFirst = 1000;
        const FrameNumber last = kFirst + lost - 1;
        const FrameNumber total = last + 500;
        const auto end = [&](FrameNumber from, Direction direction, bool both_ways) {
            const Ending ending = SearchIn(total, kFirst, last, from, direction, both_ways);
            EXPECT_LE(ending.tries, 230);
            return ending.frame;
        };
        EXPECT_EQ(end(kFirst, Direction::Forward, false), last + 1) << lost;
        EXPECT_EQ(end(last, Direction::Backward, false), kFirst - 1) << lost;
        EXPECT_EQ(end(kFirst + lost / 2, Direction::Forward, true), last + 1) << lost;
        EXPECT_EQ(end(kFirst + lost / 2, Direction::Backward, true), kFirst - 1) << lost;
    }
    const auto end = [](FrameNumber first, FrameNumber last, FrameNumber from) {
        return SearchIn(720'000, first, last, from, Direction::Forward, true).frame;
    };
    EXPECT_EQ(end(360'000, 719'999, 700'000), 359'999U) << "the second half of the film is missing";
    EXPECT_EQ(end(0, 719'998, 5), 719'999U) << "all but the last";
    EXPECT_EQ(end(1, 719'999, 700'000), 0U) << "all but the first";
    EXPECT_EQ(end(0, 719'999, 700'000), ordune::kNoFrame);
}

TEST(NeighbourSearch, SettlesForWhatItHasWhenItsTimeIsOver) {
    NeighbourSearch search;
    search.Begin(100, Direction::Forward, true);
    FrameNumber tried = 0;
    while (tried < 300)
        tried = search.Lost(1000);
    EXPECT_NE(search.Found(), tried) << "there may be a nearer one";
    EXPECT_EQ(search.Settle(), tried);
    EXPECT_EQ(search.Found(), tried);
    EXPECT_EQ(search.Lost(1000), ordune::kNoFrame) << "it came out once and does no more";
    search.Begin(100, Direction::Forward, true);
    (void)search.Lost(1000);
    EXPECT_EQ(search.Settle(), ordune::kNoFrame);
}

TEST(Deflash, TakesASmallJumpAtAKeyPictureBackAndGivesItOutSlowly) {
    Deflash deflash;
    EXPECT_EQ(deflash.Correction(100.0, true), 0);
    EXPECT_EQ(deflash.Correction(100.0, false), 0);
    EXPECT_EQ(deflash.Correction(106.0, true), -6);
    int last = -6;
    for (int picture = 0; picture < Deflash::kSpread; ++picture) {
        const int correction = deflash.Correction(106.0, false);
        EXPECT_GE(correction, last);
        EXPECT_LE(correction - last, 1);
        last = correction;
    }
    EXPECT_EQ(last, 0);
}

TEST(Deflash, LeavesCutsAndOrdinaryChangesAlone) {
    Deflash deflash;
    EXPECT_EQ(deflash.Correction(100.0, true), 0);
    EXPECT_EQ(deflash.Correction(106.0, false), 0) << "not a key picture";
    EXPECT_EQ(deflash.Correction(140.0, true), 0) << "a cut";
    deflash.Reset();
    EXPECT_EQ(deflash.Correction(135.0, true), 0) << "does not follow what was shown";
}

} // namespace
