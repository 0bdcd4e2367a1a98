// Frame n is the same picture whatever way leads to it.
#include "tests/ordune/ReaderUnderTest.h"
#include "tests/ordune/ScriptedMedia.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace testing_ordune {
namespace {

struct Case {
    const char* name;
    Recipe recipe;
};

class ExactFrames : public testing::TestWithParam<Case> {
  protected:
    void Check(const std::vector<FrameNumber>& order, Direction direction, std::size_t cache_pictures) {
        const auto media = ScriptedMedia::Encode(GetParam().recipe);
        const std::vector<std::string> sums = media->LinearSums();
        ASSERT_EQ(sums.size(), static_cast<std::size_t>(GetParam().recipe.frames));
        FrameReaderOptions options;
        options.cache_bytes = cache_pictures * 40000;
        ReaderUnderTest reader(media, options);
        for (const FrameNumber frame : order) {
            ASSERT_FALSE(sums[frame].empty()) << "the plain decoder lacks frame " << frame;
            const PicturePtr picture = reader.Get(frame, direction);
            ASSERT_TRUE(picture) << "frame " << frame;
            EXPECT_EQ(picture->Number(), frame);
            ASSERT_EQ(SumOf(picture->Frame()), sums[frame]) << "frame " << frame;
        }
    }

    std::vector<FrameNumber> AllFrames() const {
        std::vector<FrameNumber> frames(static_cast<std::size_t>(GetParam().recipe.frames));
        std::iota(frames.begin(), frames.end(), 0);
        return frames;
    }
};

TEST_P(ExactFrames, AreTheLinearDecodersReadForward) {
    Check(AllFrames(), Direction::Forward, 40);
}

TEST_P(ExactFrames, AreTheLinearDecodersReadBackward) {
    std::vector<FrameNumber> frames = AllFrames();
    std::reverse(frames.begin(), frames.end());
    Check(frames, Direction::Backward, 40);
}

TEST_P(ExactFrames, AreTheLinearDecodersReadBackwardInLittleMemory) {
    std::vector<FrameNumber> frames = AllFrames();
    std::reverse(frames.begin(), frames.end());
    Check(frames, Direction::Backward, 6);
}

TEST_P(ExactFrames, AreTheLinearDecodersReadShuffled) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<FrameNumber> frames = AllFrames();
    std::shuffle(frames.begin(), frames.end(), random);
    Check(frames, random() % 2 == 0 ? Direction::Forward : Direction::Backward, 16);
}

INSTANTIATE_TEST_SUITE_P(
    Streams, ExactFrames,
    testing::Values(
        Case{"ClosedGroupsWithoutB", {.frames = 70, .group = 25}},
        Case{"ClosedGroupsWithB", {.frames = 70, .group = 25, .b_pictures = 3}},
        Case{"Pyramid", {.frames = 70, .group = 25, .b_pictures = 3, .pyramid = true}},
        Case{"OpenGroups",
             {.frames = 70, .group = 16, .b_pictures = 3, .pyramid = true, .open_groups = true}},
        Case{"IntraOnly", {.frames = 40, .group = 1}},
        Case{"OneKey", {.frames = 80, .group = 250, .b_pictures = 2}},
        Case{"Mpeg4", {.encoder = "mpeg4", .frames = 50, .group = 12, .b_pictures = 2}},
        Case{"HevcOpenGroups",
             {.encoder = "libx265", .frames = 50, .group = 16, .b_pictures = 3, .open_groups = true}}),
    [](const testing::TestParamInfo<Case>& stream) { return std::string(stream.param.name); });

} // namespace
} // namespace testing_ordune
