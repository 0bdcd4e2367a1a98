// Frame n of a file shows picture n, whatever the codec, the container and the way to it.
#include "tests/ordune/ClipReading.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

namespace testing_ordune {
namespace {

using support::ClipContainer;
using support::ClipOptions;
using support::ClipScan;

struct ClipCase {
    const char* name;
    ClipOptions options;
};

class ClipFrames : public testing::TestWithParam<ClipCase> {
  protected:
    void SetUp() override {
        const ClipOptions& options = GetParam().options;
        ASSERT_TRUE(support::HasEncoder(options.codec)) << options.codec;
        const std::string path = m_folder.File("clip");
        support::MakeClip(path, options);
        const auto opened = MediaFile::Open(path);
        ASSERT_TRUE(opened) << opened.Failure().text;
        m_file = opened.Value();
        ASSERT_TRUE(AwaitIndex(*m_file));
        ASSERT_EQ(m_file->Index().Total(), static_cast<FrameNumber>(options.frames));
    }

    void Check(const std::vector<FrameNumber>& order, Direction direction) {
        FrameReaderOptions options;
        options.cache_bytes = std::size_t{16} * 320 * 180 * 2;
        ReaderUnderTest reader(m_file, options);
        for (const FrameNumber frame : order) {
            const PicturePtr picture = reader.Get(frame, direction);
            ASSERT_TRUE(picture) << "frame " << frame;
            ASSERT_EQ(NumberOn(*picture), static_cast<int>(frame));
        }
    }

    std::vector<FrameNumber> AllFrames() const {
        std::vector<FrameNumber> frames(m_file->Index().Total());
        std::iota(frames.begin(), frames.end(), 0);
        return frames;
    }

    ClipFolder m_folder{std::string("clip-") + GetParam().name};
    std::shared_ptr<MediaFile> m_file;
};

TEST_P(ClipFrames, AreTheirsReadForward) {
    Check(AllFrames(), Direction::Forward);
}

TEST_P(ClipFrames, AreTheirsReadBackward) {
    std::vector<FrameNumber> frames = AllFrames();
    std::reverse(frames.begin(), frames.end());
    Check(frames, Direction::Backward);
}

TEST_P(ClipFrames, AreTheirsReadShuffled) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<FrameNumber> frames = AllFrames();
    std::shuffle(frames.begin(), frames.end(), random);
    frames.resize(std::min<std::size_t>(frames.size(), 40));
    Check(frames, random() % 2 == 0 ? Direction::Forward : Direction::Backward);
}

TEST_P(ClipFrames, ThatNothingRefersToAreLeftOutWhilePlaying) {
    const ClipOptions& clip = GetParam().options;
    if (clip.bFrames == 0) return;
    const FrameNumber total = m_file->Index().Total();
    FrameReaderOptions options;
    options.cache_bytes = 128 << 20;
    options.ahead = total;
    ReaderUnderTest reader(m_file, options);
    reader.Play(0, Effort::Every, 2);
    ASSERT_TRUE(reader.AwaitReady(total - 1));
    FrameNumber left_out = 0;
    for (FrameNumber frame = 0; frame < total; ++frame) {
        const PicturePtr picture = reader->Find(frame);
        if (!picture) {
            ++left_out;
        } else {
            ASSERT_EQ(NumberOn(*picture), static_cast<int>(frame));
        }
    }
    EXPECT_GE(left_out, total / 4);
    EXPECT_LE(left_out, total * 3 / 4);
}

TEST_P(ClipFrames, AreShownAtTheirTimes) {
    const ClipOptions& options = GetParam().options;
    const FrameIndex& index = m_file->Index();
    std::int64_t expected = 0; // microseconds
    for (FrameNumber frame = 0; frame < index.Total(); ++frame) {
        // A tick of the container's clock may be a millisecond.
        ASSERT_NEAR(static_cast<double>(index.TimeOf(frame).count()), static_cast<double>(expected), 1001.0)
            << "frame " << frame;
        expected += options.durations.empty() ? 1'000'000LL * options.rateDenominator / options.rateNumerator
                                              : options.durations[frame % options.durations.size()] * 1000LL;
    }
}

ClipOptions Small(const char* codec, int b_frames, ClipContainer container) {
    ClipOptions options;
    options.frames = 70;
    options.keyInterval = 25;
    options.codec = codec;
    options.bFrames = b_frames;
    options.container = container;
    return options;
}

template <class Change>
ClipOptions With(ClipOptions options, Change change) {
    change(options);
    return options;
}

const ClipOptions kUsual = Small("libx264", 3, ClipContainer::Mp4);
const ClipOptions kFragmented = Small("libx264", 3, ClipContainer::FragmentedMp4);

INSTANTIATE_TEST_SUITE_P(
    Clips, ClipFrames,
    testing::Values(
        ClipCase{"Mp4", kUsual}, ClipCase{"Mov", Small("libx264", 3, ClipContainer::Mov)},
        ClipCase{"Matroska", Small("libx264", 3, ClipContainer::Matroska)},
        ClipCase{"Raw", Small("libx264", 3, ClipContainer::RawStream)},
        ClipCase{"RawWithoutB", Small("libx264", 0, ClipContainer::RawStream)},
        ClipCase{"WithoutB", Small("libx264", 0, ClipContainer::Mp4)},
        ClipCase{"WithSound", With(kUsual, [](ClipOptions& clip) { clip.sound = true; })},
        ClipCase{"Fragmented", kFragmented},
        ClipCase{"FragmentedWithSound", With(kFragmented, [](ClipOptions& clip) { clip.sound = true; })},
        ClipCase{"FragmentedUneven", With(kFragmented,
                                          [](ClipOptions& clip) {
                                              clip.durations = {20, 60, 40};
                                          })},
        ClipCase{"Pyramid", With(kUsual, [](ClipOptions& clip) { clip.bPyramid = true; })},
        ClipCase{"OpenGroups", With(kUsual, [](ClipOptions& clip) { clip.openGop = true; })},
        ClipCase{"OpenGroupsRaw", With(kUsual,
                                       [](ClipOptions& clip) {
                                           clip.openGop = true;
                                           clip.container = ClipContainer::RawStream;
                                       })},
        ClipCase{"Interlaced", With(kUsual, [](ClipOptions& clip) { clip.scan = ClipScan::TopFieldFirst; })},
        ClipCase{"OneKey", With(kUsual, [](ClipOptions& clip) { clip.keyInterval = 1000; })},
        ClipCase{"IntraOnly", With(kUsual,
                                   [](ClipOptions& clip) {
                                       clip.keyInterval = 1;
                                       clip.bFrames = 0;
                                   })},
        ClipCase{"Uneven", With(kUsual,
                                [](ClipOptions& clip) {
                                    clip.durations = {40, 20, 100, 40, 33};
                                })},
        ClipCase{"UnevenMatroska", With(Small("libx264", 3, ClipContainer::Matroska),
                                        [](ClipOptions& clip) {
                                            clip.durations = {40, 20, 100, 40, 33};
                                        })},
        ClipCase{"BeginsLate", With(kUsual, [](ClipOptions& clip) { clip.startDelayMs = 500; })},
        ClipCase{"HiddenPictures", With(kUsual, [](ClipOptions& clip) { clip.hiddenFrames = 7; })},
        ClipCase{"Hevc", Small("libx265", 3, ClipContainer::Mp4)},
        ClipCase{"HevcOpenGroups", With(Small("libx265", 3, ClipContainer::Mp4),
                                        [](ClipOptions& clip) { clip.openGop = true; })},
        ClipCase{"HevcFragmented", Small("libx265", 3, ClipContainer::FragmentedMp4)},
        ClipCase{"HevcRaw", Small("libx265", 3, ClipContainer::RawStream)},
        ClipCase{"Mpeg4", Small("mpeg4", 2, ClipContainer::Mp4)},
        ClipCase{"Mpeg4Matroska", Small("mpeg4", 2, ClipContainer::Matroska)},
        ClipCase{"Mpeg4Avi", Small("mpeg4", 2, ClipContainer::Avi)},
        ClipCase{"Mpeg4Raw", Small("mpeg4", 2, ClipContainer::RawStream)},
        ClipCase{"HevcRawOpenGroups", With(Small("libx265", 3, ClipContainer::RawStream),
                                           [](ClipOptions& clip) { clip.openGop = true; })},
        ClipCase{"Vp9", Small("libvpx-vp9", 0, ClipContainer::Mp4)},
        ClipCase{"Av1", Small("libaom-av1", 0, ClipContainer::Mp4)}),
    [](const testing::TestParamInfo<ClipCase>& clip) { return std::string(clip.param.name); });

void ExpectNumbers(const std::shared_ptr<MediaFile>& file, FrameNumber frames) {
    ReaderUnderTest reader(file);
    for (FrameNumber step = 0; step < frames; ++step) {
        // Every other one from the end.
        const FrameNumber frame = step % 2 == 0 ? step / 2 : frames - 1 - step / 2;
        const PicturePtr picture = reader.Get(frame);
        ASSERT_TRUE(picture) << "frame " << frame;
        ASSERT_EQ(NumberOn(*picture), static_cast<int>(frame));
    }
}

TEST(RawStreams, PutTogetherFromSeveralEncodersGoOn) {
    const ClipFolder folder("together");
    std::string bytes;
    int first = 0;
    // The sets change under the same numbers: another size, another entropy coding, another order.
    for (const int b_frames : {2, 0, 3}) {
        ClipOptions options = Small("libx264", b_frames, ClipContainer::RawStream);
        options.frames = 40;
        options.firstNumber = first;
        options.width = b_frames == 0 ? 480 : 320;
        if (b_frames == 3) options.codecOptions = {{"coder", "cabac"}};
        support::MakeClip(folder.File("part"), options);
        bytes += ClipFolder::Read(folder.File("part"));
        first += options.frames;
    }
    const auto file = MediaFile::Open(folder.Write("whole", bytes));
    ASSERT_TRUE(file) << file.Failure().text;
    ASSERT_TRUE(AwaitIndex(*file.Value()));
    ASSERT_EQ(file.Value()->Index().Total(), 120U);
    ExpectNumbers(file.Value(), 120);
}

// A recording that is still being written: it is opened at three lengths, each in the middle of something.
class GrowingFile : public testing::TestWithParam<ClipContainer> {};

TEST_P(GrowingFile, PlaysToItsPresentLengthAndFurtherWhenOpenedAgain) {
    const ClipFolder folder("growing" + std::to_string(static_cast<int>(GetParam())));
    support::MakeClip(folder.File("whole"), Small("libx264", 2, GetParam()));
    const std::string bytes = ClipFolder::Read(folder.File("whole"));
    FrameNumber before = 0;
    for (const std::size_t percent : {50U, 75U, 100U}) {
        const std::string path = folder.Write("clip", bytes.substr(0, bytes.size() * percent / 100));
        const auto file = MediaFile::Open(path);
        ASSERT_TRUE(file) << file.Failure().text;
        ASSERT_TRUE(AwaitIndex(*file.Value()));
        const FrameNumber total = file.Value()->Index().Total();
        EXPECT_GT(total, before);
        before = total;
        // Written on while it is open: what is open stays at its length.
        std::ofstream(path, std::ios::binary | std::ios::app) << bytes.substr(bytes.size() * percent / 100);
        EXPECT_EQ(file.Value()->Index().Total(), total);
        ReaderUnderTest reader(file.Value());
        for (FrameNumber frame = 0; frame < total; ++frame) {
            const PicturePtr picture = reader.Get(frame);
            // The last ones may lack what was cut off; but each is there or told to be lost.
            ASSERT_NE(reader->StateOf(frame), FrameReader::State::Pending) << "frame " << frame;
            if (percent < 100 && frame + 4 >= total) continue;
            ASSERT_TRUE(picture) << "frame " << frame;
            ASSERT_EQ(NumberOn(*picture), static_cast<int>(frame));
        }
    }
    EXPECT_EQ(before, 70U);
}

INSTANTIATE_TEST_SUITE_P(Containers, GrowingFile,
                         testing::Values(ClipContainer::RawStream, ClipContainer::FragmentedMp4,
                                         ClipContainer::Matroska));

} // namespace
} // namespace testing_ordune
