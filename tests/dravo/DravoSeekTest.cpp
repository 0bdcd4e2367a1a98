// Positions, steps and stills of the C interface: frame n is picture n by every path.
#include "tests/dravo/PortFixture.h"

#include <algorithm>
#include <numeric>
#include <random>

namespace {

using namespace dravo_tests;

class EveryPath : public testing::TestWithParam<bool> {
  protected:
    const std::string& Path() const { return GetParam() ? RawFilm() : Film(); }
};

TEST_P(EveryPath, TotalsAndTimesAreExact) {
    const OpenPort port(Path());
    ASSERT_TRUE(port.Open());
    EXPECT_EQ(Dravo_GetFileTotalFrames(port), 100U);
    EXPECT_EQ(Dravo_GetFileTime(port), 4U);
    EXPECT_EQ(Dravo_GetCurrentFrameRate(port), 25U);
    long width = 0;
    long height = 0;
    ASSERT_TRUE(Dravo_GetPictureSize(port, &width, &height));
    EXPECT_EQ(width, 320);
    EXPECT_EQ(height, 180);
}

TEST_P(EveryPath, StepsForwardThroughTheWholeFileWithoutLosingOne) {
    const OpenPort port(Path());
    port.PlayPaused();
    for (int frame = 1; frame < 100; ++frame) {
        ASSERT_TRUE(Dravo_OneByOne(port)) << frame;
        ASSERT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(frame));
        ASSERT_TRUE(port.WaitForPicture(frame)) << frame;
    }
    EXPECT_FALSE(Dravo_OneByOne(port)) << "past the last frame";
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), 99U);
}

TEST_P(EveryPath, StepsBackThroughTheWholeFile) {
    const OpenPort port(Path());
    port.PlayPaused();
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 99));
    for (int frame = 98; frame >= 0; --frame) {
        ASSERT_TRUE(Dravo_OneByOneBack(port)) << frame;
        ASSERT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(frame));
        ASSERT_TRUE(port.WaitForPicture(frame)) << frame;
    }
    EXPECT_FALSE(Dravo_OneByOneBack(port)) << "before the first frame";
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), 0U);
}

TEST_P(EveryPath, JumpsInAnyOrderShowExactlyTheFrameAskedFor) {
    const OpenPort port(Path());
    port.PlayPaused();
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<int> frames(100);
    std::iota(frames.begin(), frames.end(), 0);
    std::shuffle(frames.begin(), frames.end(), random);
    for (const int frame : frames) {
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, static_cast<unsigned long>(frame)));
        ASSERT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(frame)) << "told at once";
        ASSERT_EQ(port.StillNumber(), frame);
        ASSERT_TRUE(port.WaitForPicture(frame));
    }
}

TEST_P(EveryPath, AFrameSentAsAFractionComesBackAsItself) {
    const OpenPort port(Path());
    port.PlayPaused();
    for (int frame = 0; frame < 100; ++frame) {
        const float position = static_cast<float>(frame) / 100.0F;
        ASSERT_TRUE(Dravo_SetPlayPos(port, position));
        ASSERT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(frame));
        ASSERT_FLOAT_EQ(Dravo_GetPlayPos(port), position);
    }
    ASSERT_TRUE(Dravo_SetPlayPos(port, 1.0F));
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), 99U) << "at most the last";
    EXPECT_EQ(port.StillNumber(), 99);
}

TEST_P(EveryPath, ATimeMeansTheFrameThatIsShownThen) {
    const OpenPort port(Path());
    port.PlayPaused();
    const std::array<std::pair<unsigned long, unsigned long>, 6> expected{
        {{0, 0}, {39, 0}, {40, 1}, {1999, 49}, {2000, 50}, {3999, 99}}};
    for (const auto& [milliseconds, frame] : expected) {
        ASSERT_TRUE(Dravo_SetPlayedTimeEx(port, milliseconds));
        ASSERT_EQ(Dravo_GetCurrentFrameNum(port), frame) << milliseconds;
        ASSERT_EQ(Dravo_GetPlayedTime(port), milliseconds / 1000);
        ASSERT_EQ(port.StillNumber(), static_cast<int>(frame));
    }
    EXPECT_FALSE(Dravo_SetPlayedTimeEx(port, 4500)) << "past the end";
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), 99U);
}

TEST_P(EveryPath, StillsShowTheCurrentPictureInBothKinds) {
    const OpenPort port(Path());
    port.PlayPaused();
    for (const unsigned long frame : {0UL, 37UL, 38UL, 99UL}) {
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
        EXPECT_EQ(port.StillNumber(false), static_cast<int>(frame));
        EXPECT_EQ(port.StillNumber(true), static_cast<int>(frame));
    }
}

TEST_P(EveryPath, KeyFramesAreFoundByFrameAndByTime) {
    const OpenPort port(Path());
    DravoFramePos pos{};
    ASSERT_TRUE(Dravo_GetKeyFramePos(port, 30, 1, &pos));
    EXPECT_EQ(pos.frame, 25U);
    EXPECT_EQ(pos.milliseconds, 1000U);
    EXPECT_GT(pos.offset, 0);
    ASSERT_TRUE(Dravo_GetKeyFramePos(port, 25, 1, &pos));
    EXPECT_EQ(pos.frame, 25U);
    ASSERT_TRUE(Dravo_GetNextKeyFramePos(port, 25, 1, &pos));
    EXPECT_EQ(pos.frame, 50U);
    ASSERT_TRUE(Dravo_GetKeyFramePos(port, 2100, 2, &pos));
    EXPECT_EQ(pos.frame, 50U);
    EXPECT_FALSE(Dravo_GetNextKeyFramePos(port, 75, 1, &pos)) << "there is none after the last";
    EXPECT_FALSE(Dravo_GetKeyFramePos(port, 100, 1, &pos)) << "outside the file";
    EXPECT_FALSE(Dravo_GetKeyFramePos(port, 0, 3, &pos)) << "no such type";
    EXPECT_FALSE(Dravo_GetKeyFramePos(port, 0, 1, nullptr));
}

INSTANTIATE_TEST_SUITE_P(Files, EveryPath, testing::Bool(),
                         [](const auto& parameter) { return parameter.param ? "Raw" : "Mp4"; });

TEST(Positions, AreRefusedOutsideTheFile) {
    const OpenPort port(Film());
    port.PlayPaused();
    EXPECT_FALSE(Dravo_SetCurrentFrameNum(port, 100));
    EXPECT_FALSE(Dravo_SetCurrentFrameNum(port, ~0UL));
    EXPECT_FALSE(Dravo_SetPlayPos(port, -0.01F));
    EXPECT_FALSE(Dravo_SetPlayPos(port, 1.01F));
    EXPECT_FALSE(Dravo_SetPlayPos(port, std::numeric_limits<float>::quiet_NaN()));
    EXPECT_FALSE(Dravo_SetPlayedTimeEx(port, ~0UL));
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), 0U);
}

TEST(Positions, OfABurstOnlyTheNewestIsReached) {
    const OpenPort port(Film());
    port.PlayPaused();
    for (unsigned long frame = 10; frame < 90; ++frame)
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
    EXPECT_EQ(port.StillNumber(), 89);
    EXPECT_LT(port.Pictures().Count(), 80U) << "some of them were never shown";
}

TEST(Positions, APausedPortStaysPausedAtTheFrame) {
    const OpenPort port(Film());
    port.PlayPaused();
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 40));
    ASSERT_TRUE(port.WaitForPicture(40));
    ASSERT_TRUE(Dravo_Pause(port, 0));
    EXPECT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() > 42; }, 5s)) << "resumes from there";
}

TEST(Stills, NeedRoom) {
    const OpenPort port(Film());
    port.PlayPaused();
    std::vector<unsigned char> small(100);
    unsigned long written = 7;
    EXPECT_FALSE(Dravo_GetBMP(port, small.data(), small.size(), &written));
    EXPECT_FALSE(Dravo_GetJPEG(port, small.data(), small.size(), &written));
    EXPECT_FALSE(Dravo_GetBMP(port, nullptr, 1000, &written));
    EXPECT_FALSE(Dravo_GetBMP(port, small.data(), small.size(), nullptr));
}

TEST(Stills, FromInsideTheCallbackShowThePictureBeingDisplayed) {
    const OpenPort port(Film());
    std::mutex mutex;
    std::vector<std::pair<int, int>> pairs;
    port.Pictures().During([&] {
        const int still = port.StillNumber();
        const std::lock_guard lock(mutex);
        pairs.emplace_back(port.Pictures().Last(), still);
    });
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil(
        [&] {
            const std::lock_guard lock(mutex);
            return pairs.size() > 20;
        },
        10s));
    ASSERT_TRUE(Dravo_Stop(port));
    for (const auto& [displayed, still] : pairs)
        EXPECT_EQ(displayed, still);
}

TEST(Steps, PauseAPlayingPortAndShowTheNeighbour) {
    const OpenPort port(Film());
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() >= 10; }, 5s));
    ASSERT_TRUE(Dravo_OneByOneBack(port));
    const unsigned long frame = Dravo_GetCurrentFrameNum(port);
    ASSERT_TRUE(port.WaitForPicture(static_cast<int>(frame)));
    const std::size_t count = port.Pictures().Count();
    ASSERT_TRUE(Dravo_OneByOne(port));
    ASSERT_TRUE(port.WaitForPicture(static_cast<int>(frame) + 1));
    EXPECT_EQ(port.Pictures().Count(), count + 1) << "the port has paused: one step, one picture";
}

} // namespace
