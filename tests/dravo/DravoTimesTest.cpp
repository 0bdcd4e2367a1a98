// Times in milliseconds and frames of films whose pictures do not last whole milliseconds, or not all alike.
#include "tests/dravo/PortFixture.h"

#include <atomic>

namespace {

using namespace dravo_tests;

constexpr unsigned long kByFrame = 1;
constexpr unsigned long kByTime = 2;

struct TimedFilm {
    const char* name;
    support::ClipOptions options;
    unsigned long rate; // as GetCurrentFrameRate is to say it: the mean where the pictures do not last alike
};

std::vector<TimedFilm> Films() {
    using support::ClipContainer;
    return {
        {"Ntsc", {.rateNumerator = 30000, .rateDenominator = 1001, .keyInterval = 7, .bFrames = 2}, 30},
        {"Cinema", {.rateNumerator = 24000, .rateDenominator = 1001, .keyInterval = 7}, 24},
        {"NtscDouble", {.rateNumerator = 60000, .rateDenominator = 1001, .keyInterval = 7}, 60},
        {"NtscRaw",
         {.rateNumerator = 30000,
          .rateDenominator = 1001,
          .keyInterval = 7,
          .container = ClipContainer::RawStream},
         30},
        {"Thirty", {.rateNumerator = 30, .keyInterval = 7}, 30},
        {"TwelveAndAHalf", {.frames = 40, .rateNumerator = 25, .rateDenominator = 2, .keyInterval = 7}, 13},
        {"Variable", {.durations = {40, 20, 33, 100, 7}, .keyInterval = 7, .bFrames = 2}, 25},
        {"VariableMatroska",
         {.durations = {40, 20, 33, 100, 7}, .keyInterval = 7, .container = ClipContainer::Matroska},
         25},
        {"Late",
         {.rateNumerator = 30000, .rateDenominator = 1001, .keyInterval = 7, .startDelayMs = 500},
         30},
    };
}

class Times : public testing::TestWithParam<TimedFilm> {
  protected:
    static std::string Path() {
        const TimedFilm& film = GetParam();
        using support::ClipContainer;
        const char* ending = ".mp4";
        if (film.options.container == ClipContainer::RawStream) ending = ".264";
        if (film.options.container == ClipContainer::Matroska) ending = ".mkv";
        return Clip(std::string(film.name) + ending, film.options);
    }
};

TEST_P(Times, AKeyFramesMillisecondsNameThatKeyFrame) {
    const OpenPort port(Path());
    ASSERT_TRUE(port.Open());
    const unsigned long total = Dravo_GetFileTotalFrames(port);
    int keys = 0;
    for (unsigned long frame = 0; frame < total; frame += 7, ++keys) {
        DravoFramePos by_frame{};
        DravoFramePos by_time{};
        ASSERT_TRUE(Dravo_GetKeyFramePos(port, frame, kByFrame, &by_frame)) << frame;
        EXPECT_EQ(by_frame.frame, frame);
        ASSERT_TRUE(Dravo_GetKeyFramePos(port, by_frame.milliseconds, kByTime, &by_time)) << frame;
        EXPECT_EQ(by_time.frame, frame) << by_frame.milliseconds << " ms";
        EXPECT_EQ(by_time.milliseconds, by_frame.milliseconds);
        EXPECT_EQ(by_time.offset, by_frame.offset);
    }
    EXPECT_GE(keys, 5);
}

TEST_P(Times, KeyToKeyByTimeMovesOnToTheLastKeyFrame) {
    const OpenPort port(Path());
    ASSERT_TRUE(port.Open());
    const unsigned long total = Dravo_GetFileTotalFrames(port);
    std::vector<unsigned long> frames;
    DravoFramePos pos{};
    ASSERT_TRUE(Dravo_GetKeyFramePos(port, 0, kByFrame, &pos));
    frames.push_back(pos.frame);
    while (Dravo_GetNextKeyFramePos(port, pos.milliseconds, kByTime, &pos)) {
        ASSERT_GT(pos.frame, frames.back()) << "stands still";
        frames.push_back(pos.frame);
    }
    std::vector<unsigned long> expected;
    for (unsigned long frame = 0; frame < total; frame += 7)
        expected.push_back(frame);
    EXPECT_EQ(frames, expected);
}

TEST_P(Times, TheStampOfEachDisplayedPictureLandsOnThatPicture) {
    const OpenPort port(Path());
    ASSERT_TRUE(port.Open());
    port.PlayPaused();
    while (Dravo_OneByOne(port)) {
    }
    const unsigned long total = Dravo_GetFileTotalFrames(port);
    ASSERT_TRUE(port.WaitForPicture(static_cast<int>(total) - 1));
    const std::vector<Displayed> pictures = port.Pictures().All();
    ASSERT_GE(pictures.size(), total);
    for (const Displayed& picture : pictures) {
        ASSERT_TRUE(Dravo_SetPlayedTimeEx(port, static_cast<unsigned long>(picture.stamp))) << picture.stamp;
        EXPECT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(picture.number))
            << picture.stamp << " ms";
    }
    // The queries told the position at once; the picture follows.
    const Displayed& one = pictures[pictures.size() / 2];
    ASSERT_TRUE(Dravo_SetPlayedTimeEx(port, static_cast<unsigned long>(one.stamp)));
    EXPECT_EQ(port.StillNumber(), one.number);
}

TEST_P(Times, AFrameIsShownUntilTheNextOnesTime) {
    const OpenPort port(Path());
    ASSERT_TRUE(port.Open());
    port.PlayPaused();
    while (Dravo_OneByOne(port)) {
    }
    const std::vector<Displayed> pictures = port.Pictures().All();
    for (std::size_t index = 0; index + 1 < pictures.size(); ++index) {
        if (pictures[index + 1].stamp - pictures[index].stamp < 4) continue;
        const int within = (pictures[index].stamp + pictures[index + 1].stamp) / 2;
        ASSERT_TRUE(Dravo_SetPlayedTimeEx(port, static_cast<unsigned long>(within)));
        EXPECT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(pictures[index].number))
            << within;
    }
}

TEST_P(Times, TheRateIsRoundedToWholeFrames) {
    const OpenPort port(Path());
    ASSERT_TRUE(port.Open());
    EXPECT_EQ(Dravo_GetCurrentFrameRate(port), GetParam().rate);
}

TEST_P(Times, ItPlaysToItsEndInOrder) {
    const OpenPort port(Path());
    ASSERT_TRUE(port.Open());
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(
        port, [](int, void* user) { ++*static_cast<std::atomic<int>*>(user); }, &ends);
    ASSERT_TRUE(Dravo_Play(port, 0));
    const unsigned long total = Dravo_GetFileTotalFrames(port);
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, total - 25));
    ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 20s));
    int last = -1;
    for (const Displayed& picture : port.Pictures().All()) {
        if (picture.number < static_cast<int>(total) - 25) continue; // before the jump
        EXPECT_GT(picture.number, last);
        EXPECT_EQ(picture.current_frame, static_cast<unsigned long>(picture.number));
        last = picture.number;
    }
    EXPECT_EQ(last, static_cast<int>(total) - 1);
}

INSTANTIATE_TEST_SUITE_P(Films, Times, testing::ValuesIn(Films()),
                         [](const auto& tested) { return std::string(tested.param.name); });

} // namespace
