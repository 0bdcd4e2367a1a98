// What the interface promises in every state: failures without a file, speeds that outlast pauses, and
// pictures that are what they say they are.
#include "tests/dravo/PortFixture.h"

#include <atomic>
#include <cmath>
#include <limits>

namespace {

using namespace dravo_tests;

// Every function that needs an open file, on a port without one or on no port at all.
void ExpectAllToFail(int port) {
    std::vector<unsigned char> buffer(1 << 20);
    unsigned long written = 77;
    long width = 77;
    long height = 77;
    DravoFramePos pos{77, 77, 77};
    const DravoRect rect{0, 0, 10, 10};
    EXPECT_FALSE(Dravo_CloseFile(port));
    EXPECT_FALSE(Dravo_Play(port, 0));
    EXPECT_FALSE(Dravo_Pause(port, 0));
    EXPECT_FALSE(Dravo_Stop(port));
    EXPECT_FALSE(Dravo_Fast(port));
    EXPECT_FALSE(Dravo_Slow(port));
    EXPECT_FALSE(Dravo_OneByOne(port));
    EXPECT_FALSE(Dravo_OneByOneBack(port));
    EXPECT_FALSE(Dravo_RefreshPlay(port));
    EXPECT_FALSE(Dravo_RefreshPlayEx(port, 0));
    EXPECT_FALSE(Dravo_PlaySound(port));
    EXPECT_FALSE(Dravo_SetVolume(port, 1));
    EXPECT_FALSE(Dravo_SetCurrentFrameNum(port, 0));
    EXPECT_FALSE(Dravo_SetPlayPos(port, 0.5F));
    EXPECT_FALSE(Dravo_SetPlayedTimeEx(port, 0));
    EXPECT_EQ(Dravo_GetPlayPos(port), 0.0F);
    EXPECT_EQ(Dravo_GetPlayedTime(port), 0U);
    EXPECT_EQ(Dravo_GetFileTime(port), 0U);
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), kNoFrame);
    EXPECT_EQ(Dravo_GetFileTotalFrames(port), 0U);
    EXPECT_EQ(Dravo_GetCurrentFrameRate(port), 0U);
    EXPECT_FALSE(Dravo_GetPictureSize(port, &width, &height));
    EXPECT_FALSE(Dravo_GetBMP(port, buffer.data(), buffer.size(), &written));
    EXPECT_FALSE(Dravo_GetJPEG(port, buffer.data(), buffer.size(), &written));
    EXPECT_FALSE(Dravo_SetDisplayRegion(port, 0, &rect, 0, 1));
    EXPECT_FALSE(Dravo_SetColor(port, 0, 64, 64, 64, 64));
    EXPECT_FALSE(Dravo_SetDeflash(port, 1));
    EXPECT_FALSE(Dravo_SetPicQuality(port, 1));
    EXPECT_FALSE(Dravo_SetDisplayType(port, 1));
    EXPECT_FALSE(Dravo_SetTimerType(port, 1, 0));
    EXPECT_FALSE(Dravo_ThrowBFrameNum(port, 0));
    EXPECT_FALSE(Dravo_GetKeyFramePos(port, 0, 1, &pos));
    EXPECT_FALSE(Dravo_GetNextKeyFramePos(port, 0, 1, &pos));
    EXPECT_EQ(written, 77U) << "a failure changes nothing";
    EXPECT_EQ(width, 77);
    EXPECT_EQ(height, 77);
    EXPECT_EQ(pos.frame, 77U);
}

TEST(Failures, EverythingThatNeedsAFileFailsWithoutOne) {
    int port = 0;
    ASSERT_TRUE(Dravo_GetPort(&port));
    ExpectAllToFail(port);
    ASSERT_TRUE(Dravo_OpenFile(port, Film().c_str()));
    ASSERT_TRUE(Dravo_CloseFile(port));
    ExpectAllToFail(port);
    ASSERT_TRUE(Dravo_FreePort(port));
    ExpectAllToFail(port);
    for (const int none : {0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        ExpectAllToFail(none);
        EXPECT_FALSE(Dravo_SetFileEndCallback(none, nullptr, nullptr));
        EXPECT_FALSE(Dravo_SetEncTypeChangeCallBack(none, nullptr, 0));
        EXPECT_FALSE(Dravo_SetFileRefCallBack(none, nullptr, 0));
        EXPECT_FALSE(Dravo_SetDisplayCallBack(none, nullptr));
    }
}

TEST(Failures, NullsAndValuesOutOfRangeFailOnAPlayingPortAndLeaveItPlaying) {
    const OpenPort port(Film());
    port.PlayPaused();
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 40));
    std::vector<unsigned char> buffer(1 << 20);
    unsigned long written = 0;
    long side = 0;
    EXPECT_FALSE(Dravo_GetBMP(port, nullptr, 1 << 20, &written));
    EXPECT_FALSE(Dravo_GetJPEG(port, buffer.data(), buffer.size(), nullptr));
    EXPECT_FALSE(Dravo_GetJPEG(port, buffer.data(), 0, &written));
    EXPECT_FALSE(Dravo_GetPictureSize(port, nullptr, &side));
    EXPECT_FALSE(Dravo_GetPictureSize(port, &side, nullptr));
    EXPECT_FALSE(Dravo_GetKeyFramePos(port, 0, 1, nullptr));
    EXPECT_FALSE(Dravo_GetNextKeyFramePos(port, 0, 2, nullptr));
    DravoFramePos pos{};
    for (const unsigned long type : {0UL, 3UL, ~0UL})
        EXPECT_FALSE(Dravo_GetKeyFramePos(port, 0, type, &pos));
    for (const unsigned long type : {1UL, 2UL}) {
        EXPECT_FALSE(Dravo_GetKeyFramePos(port, ~0UL, type, &pos));
        EXPECT_FALSE(Dravo_GetNextKeyFramePos(port, ~0UL, type, &pos));
    }
    for (const float position : {-0.001F, 1.001F, std::nanf(""), std::numeric_limits<float>::infinity()})
        EXPECT_FALSE(Dravo_SetPlayPos(port, position));
    for (const unsigned long frame : {100UL, 0xFFFFFFFFUL, 0x100000000UL, ~0UL})
        EXPECT_FALSE(Dravo_SetCurrentFrameNum(port, frame));
    for (const unsigned long time : {4001UL, 0x100000000UL, ~0UL})
        EXPECT_FALSE(Dravo_SetPlayedTimeEx(port, time));
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), 40U);
    EXPECT_EQ(port.StillNumber(), 40);
}

// How many levels up are left.
int LevelsUp(int port) {
    int levels = 0;
    while (Dravo_Fast(port))
        ++levels;
    return levels;
}

TEST(SpeedLevels, OutlastPausesAndStepsAndEndWithStopAndFile) {
    const OpenPort port(Film());
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() > 0; }, 10s));
    ASSERT_TRUE(Dravo_Fast(port));
    ASSERT_TRUE(Dravo_Fast(port));
    ASSERT_TRUE(Dravo_Pause(port, 1));
    ASSERT_TRUE(Dravo_OneByOneBack(port) || Dravo_OneByOne(port));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 10));
    ASSERT_TRUE(Dravo_Pause(port, 0));
    EXPECT_EQ(LevelsUp(port), 2);
    ASSERT_TRUE(Dravo_Stop(port));
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_EQ(LevelsUp(port), 4);
    ASSERT_TRUE(Dravo_CloseFile(port));
    ASSERT_TRUE(Dravo_OpenFile(port, Film().c_str()));
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_EQ(LevelsUp(port), 4);
}

TEST(SpeedLevels, SlowLetsAPausedPortGoOnToo) {
    const OpenPort port(Film());
    port.PlayPaused();
    ASSERT_TRUE(Dravo_Slow(port));
    EXPECT_TRUE(support::WaitUntil([&] { return port.Pictures().Last() > 2; }, 10s));
}

// Pictures that others refer to must not be left out singly: with a pyramid of B pictures what refers to them
// would come out wrong, as another picture or as a mixture that has no number.
class Pyramid : public testing::TestWithParam<int> {};

TEST_P(Pyramid, EveryPictureThatIsShownIsTheOneItSaysItIs) {
    const std::string& film = Clip(
        "pyramid.mp4", {.frames = 500, .keyInterval = 50, .bFrames = 3, .bPyramid = true, .openGop = true});
    for (const unsigned long leave_out : {0UL, 2UL}) {
        const OpenPort port(film);
        std::atomic<int> ends{0};
        Dravo_SetFileEndCallback(
            port, [](int, void* user) { ++*static_cast<std::atomic<int>*>(user); }, &ends);
        ASSERT_TRUE(Dravo_ThrowBFrameNum(port, leave_out));
        ASSERT_TRUE(Dravo_Play(port, 0));
        for (int step = 0; step < GetParam(); ++step)
            ASSERT_TRUE(Dravo_Fast(port));
        ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 40s));
        EXPECT_GT(port.Pictures().Count(), 5U);
        for (const Displayed& picture : port.Pictures().All()) {
            EXPECT_EQ(picture.number * 40, picture.stamp);
            EXPECT_EQ(static_cast<unsigned long>(picture.number), picture.current_frame);
        }
        EXPECT_EQ(port.Pictures().Last(), 499);
    }
}

INSTANTIATE_TEST_SUITE_P(Levels, Pyramid, testing::Values(1, 2, 3, 4),
                         [](const auto& tested) { return "Level" + std::to_string(tested.param); });

class Rotated : public testing::TestWithParam<int> {};

TEST_P(Rotated, AFilmStandsUprightInSizesStillsAndTheDisplayCallback) {
    const OpenPort port(Clip("rotated" + std::to_string(GetParam()) + ".mp4",
                             {.width = 320, .height = 180, .frames = 30, .rotation = GetParam()}));
    ASSERT_TRUE(port.Open());
    long width = 0;
    long height = 0;
    ASSERT_TRUE(Dravo_GetPictureSize(port, &width, &height));
    EXPECT_EQ(width, 320) << "before the first picture";
    EXPECT_EQ(height, 180);
    port.PlayPaused();
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 17));
    ASSERT_TRUE(port.WaitForPicture(17)) << "as the display callback was handed it";
    EXPECT_EQ(port.Pictures().All().back().width, 320);
    EXPECT_EQ(port.Pictures().All().back().height, 180);
    ASSERT_TRUE(Dravo_GetPictureSize(port, &width, &height));
    EXPECT_EQ(width, 320);
    EXPECT_EQ(height, 180);
    EXPECT_EQ(port.StillNumber(false), 17);
    EXPECT_EQ(port.StillNumber(true), 17);
}

INSTANTIATE_TEST_SUITE_P(Turns, Rotated, testing::Values(90, 180, 270),
                         [](const auto& tested) { return "By" + std::to_string(tested.param); });

} // namespace
