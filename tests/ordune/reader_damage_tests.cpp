// What a damaged picture does to those that have nothing to do with it.
#include "tests/ordune/ClipReading.h"

extern "C" {
#include <libavcodec/packet.h>
}

#include <gtest/gtest.h>

#include <random>

namespace testing_ordune {
namespace {

constexpr FrameNumber kFrames = 50;
constexpr FrameNumber kGroup = 25;

class DamagedPicture : public testing::TestWithParam<int> {
  protected:
    // Of the picture's planes.
    static std::uint64_t Sum(const Picture& picture) {
        std::uint64_t sum = 14695981039346656037ULL;
        const AVFrame* frame = picture.Frame();
        for (int plane = 0; plane < 3; ++plane) {
            const int width = plane == 0 ? frame->width : (frame->width + 1) / 2;
            const int height = plane == 0 ? frame->height : (frame->height + 1) / 2;
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x)
                    sum = (sum ^ frame->data[plane][y * frame->linesize[plane] + x]) * 1099511628211ULL;
            }
        }
        return sum;
    }

    static std::vector<std::uint64_t> Sums(const std::shared_ptr<MediaFile>& file) {
        ReaderUnderTest reader(file, {.threads = GetParam()});
        std::vector<std::uint64_t> sums;
        for (FrameNumber frame = 0; frame < kFrames; ++frame) {
            const PicturePtr picture = reader.Get(frame);
            sums.push_back(picture ? Sum(*picture) : 0);
        }
        return sums;
    }

    ClipFolder m_folder{"damaged-" + std::to_string(GetParam())};
};

} // namespace

TEST_P(DamagedPicture, LeavesTheNextGroupAsItIs) {
    const std::string path = m_folder.File("whole.264");
    support::MakeClip(path, {.frames = kFrames,
                             .keyInterval = kGroup,
                             .codecOptions = {{"coder", "vlc"}, {"crf", "18"}},
                             .container = support::ClipContainer::RawStream});
    const auto whole = MediaFile::Open(path);
    ASSERT_TRUE(whole);
    auto units = whole.Value()->MakeUnitReader();
    ASSERT_TRUE(units && units.Value()->SeekTo(0));
    std::int64_t begin = 0;
    std::int64_t size = 0;
    for (FrameNumber n = 0; n < kGroup; ++n) {
        const auto unit = units.Value()->Next();
        ASSERT_TRUE(unit && unit.Value());
        begin = unit.Value()->packet->pos;
        size = unit.Value()->packet->size;
    }
    const std::vector<std::uint64_t> right = Sums(whole.Value());
    const std::string bytes = ClipFolder::Read(path);
    std::mt19937 random(1);
    int damaged = 0;
    for (int variant = 0; variant < 20; ++variant) {
        // In the last picture of the first group, behind its headers.
        std::string broken = bytes;
        for (int flip = 0; flip < 4; ++flip) {
            const auto at =
                static_cast<std::size_t>(begin + 20 + static_cast<std::int64_t>(random()) % (size - 20));
            broken[at] = static_cast<char>(broken[at] ^ (1 << (random() % 8)));
        }
        const auto file = MediaFile::Open(m_folder.Write("broken.264", broken));
        ASSERT_TRUE(file);
        ASSERT_TRUE(AwaitIndex(*file.Value()));
        if (file.Value()->Index().Total() != kFrames) continue;
        const std::vector<std::uint64_t> shown = Sums(file.Value());
        damaged += shown[kGroup - 1] != right[kGroup - 1] ? 1 : 0;
        for (FrameNumber frame = kGroup; frame < kFrames; ++frame)
            ASSERT_EQ(shown[frame], right[frame]) << "frame " << frame << ", variant " << variant;
    }
    EXPECT_GT(damaged, 10);
}

INSTANTIATE_TEST_SUITE_P(Threads, DamagedPicture, testing::Values(1, 2));

} // namespace testing_ordune
