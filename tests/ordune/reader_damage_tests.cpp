// What a damaged picture does to those that have nothing to do with it.
#include "ordune/PictureDecoder.h"
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

namespace {

// Where a decoder on so many threads met damage in a group whose last picture but one in the order of
// decoding is damaged at places that `variant` tells.
std::optional<UnitNumber> DamageMet(const MediaFile& file, int threads, unsigned variant) {
    constexpr UnitNumber kDamaged = 10;
    std::mt19937 random(variant);
    auto decoder = PictureDecoder::Make(file.VideoParameters(), {threads, 2},
                                        std::make_shared<PicturePool>(std::size_t{1} << 20), file.Path());
    auto units = file.MakeUnitReader();
    if (!decoder || !units) throw std::runtime_error("no decoder");
    const auto take_pictures = [&] {
        while (decoder.Value()->Receive()) {
        }
    };
    for (UnitNumber unit = 0; unit < kDamaged + 2; ++unit) {
        const auto next = units.Value()->Next();
        if (!next || !next.Value()) throw std::runtime_error("no unit");
        AVPacket* packet = next.Value()->packet;
        for (int at = 40; unit == kDamaged && at < packet->size; at += 1 + static_cast<int>(random() % 60))
            packet->data[at] ^= static_cast<std::uint8_t>(1U << (random() % 8));
        decoder.Value()->Send(packet, false);
        take_pictures();
    }
    decoder.Value()->Drain();
    take_pictures();
    return decoder.Value()->SpoiltAt();
}

} // namespace

// A picture is given out before another thread has decoded it to its end, now and then: what it says of
// itself is not enough.
TEST(DamagedPictures, AreNoticedHoweverTheDecodersThreadsRun) {
    const ClipFolder folder("noticed");
    support::MakeClip(folder.File("whole.mp4"),
                      {.width = 160, .height = 96, .frames = 24, .keyInterval = 12, .bFrames = 2});
    const auto file = MediaFile::Open(folder.File("whole.mp4"));
    ASSERT_TRUE(file);
    int noticed = 0;
    for (unsigned variant = 0; variant < 400; ++variant) {
        const auto alone = DamageMet(*file.Value(), 1, variant);
        const auto together = DamageMet(*file.Value(), 4, variant);
        ASSERT_EQ(alone.has_value(), together.has_value()) << "variant " << variant;
        if (!alone) continue; // wrong, but decoded without a word
        ++noticed;
        EXPECT_LE(*together, 10U);
        EXPECT_GE(*together + 5, 10U) << "so many units at a time";
    }
    EXPECT_GT(noticed, 200);
}

INSTANTIATE_TEST_SUITE_P(Threads, DamagedPicture, testing::Values(1, 2));

} // namespace testing_ordune
