// How the reader's memory is divided.
#include "ordune/ReadRoom.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace testing_ordune {
namespace {

using namespace ordune;

constexpr std::size_t kLargeBytes = 3'200'000;
constexpr ReadRoom::Means kMeans{.fits = 160, .picture_bytes = kLargeBytes, .ahead = 8, .held_back = 4};

Want At(FrameNumber frame, Direction direction) {
    return {.frame = frame, .direction = direction, .exact = true};
}

TEST(ReadRoom, AShortWalkBackKeepsWhatItPassed) {
    for (const FrameNumber steps : {1U, 20U, 50U}) {
        const ReadRoom room = ReadRoom::Divide(At(500, Direction::Backward), steps, kMeans);
        EXPECT_GE(room.kept, steps + kMeans.ahead);
        EXPECT_EQ(room.ahead, 2U);
        EXPECT_EQ(room.behind + room.kept + 2, kMeans.fits);
    }
}

TEST(ReadRoom, ALongWalkBackGivesTheMemoryToWhatComes) {
    const ReadRoom room = ReadRoom::Divide(At(500, Direction::Backward), 65, kMeans);
    EXPECT_EQ(room.kept, kMeans.fits / 8);
    EXPECT_EQ(room.behind, kMeans.fits - kMeans.fits / 8 - 2);
}

TEST(ReadRoom, NoWalkTakesMoreThanItsShare) {
    for (const FrameNumber fits : {4U, 12U, 41U, 160U}) {
        ReadRoom::Means means = kMeans;
        means.fits = fits;
        for (FrameNumber steps = 0; steps < 80; ++steps) {
            const ReadRoom room = ReadRoom::Divide(At(500, Direction::Backward), steps, means);
            EXPECT_LE(room.ahead, room.kept);
            EXPECT_LE(room.kept, std::max(fits * 3 / 8, room.ahead + fits / 3));
            EXPECT_TRUE(room.behind == 0 || room.behind + room.kept + 2 <= fits);
        }
    }
}

TEST(ReadRoom, AWalkEndsWithAnyOtherMove) {
    const Want at = At(500, Direction::Backward);
    const auto walked_after = [&](const Want& want) { return FollowWalk(30, at, want); };
    EXPECT_EQ(walked_after(At(499, Direction::Backward)), 31U);
    EXPECT_EQ(walked_after(At(498, Direction::Backward)), 32U); // over a lost one
    EXPECT_EQ(walked_after(At(501, Direction::Forward)), 0U);
    EXPECT_EQ(walked_after(At(400, Direction::Backward)), 0U);
    EXPECT_EQ(walked_after({.frame = 499, .exact = false}), 0U);
}

TEST(ReadRoom, APlayMakesReadyFartherAheadTheFasterItIs) {
    EXPECT_EQ(ReadRoom::Divide({.frame = 100, .exact = false}, 0, kMeans).ahead, 8U);
    const ReadRoom fast = ReadRoom::Divide({.frame = 100, .exact = false, .stride = 13}, 0, kMeans);
    EXPECT_EQ(fast.ahead, 8U + 2 * 13);
    EXPECT_EQ(fast.behind, 32U);
}

TEST(ReadRoom, OfLargePicturesMoreAreMadeOnTheWayToAJump) {
    ReadRoom::Means means = kMeans;
    EXPECT_EQ(ReadRoom::Divide(At(500, Direction::Backward), 0, means).lead, 64U);
    means.picture_bytes = 345'600;
    EXPECT_EQ(ReadRoom::Divide(At(500, Direction::Backward), 0, means).lead, 8U);
}

} // namespace
} // namespace testing_ordune
