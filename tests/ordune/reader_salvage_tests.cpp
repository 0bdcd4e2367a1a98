// MP4 recordings whose movie box was never written.
#include "tests/ordune/ClipReading.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace testing_ordune {
namespace {

class WithoutMovie : public testing::Test {
  protected:
    static support::ClipOptions Clip(int frames = 120) {
        support::ClipOptions options;
        options.frames = frames;
        options.keyInterval = 25;
        options.bFrames = 2;
        options.sound = true;
        options.toneHertz = 440;
        return options;
    }

    // The clip up to its movie box; the size in the head of its data is what `head` says.
    std::string Lost(const std::string& name, const support::ClipOptions& options,
                     std::uint32_t data_size = 0) const {
        const std::string whole = m_folder.File("whole.tmp");
        support::MakeClip(whole, options);
        std::string bytes = ClipFolder::Read(whole);
        std::filesystem::remove(whole);
        const std::size_t movie = bytes.rfind("moov");
        const std::size_t data = bytes.find("mdat");
        EXPECT_GT(movie, data);
        bytes.resize(movie - 4);
        for (std::size_t i = 0; i < 4; ++i)
            bytes[data - 4 + i] = static_cast<char>(data_size >> (24 - 8 * i));
        return m_folder.Write(name, bytes);
    }

    static void ExpectAllFrames(const std::string& path, FrameNumber frames) {
        const auto file = MediaFile::Open(path);
        ASSERT_TRUE(file) << file.Failure().text;
        ASSERT_TRUE(AwaitIndex(*file.Value()));
        ASSERT_EQ(file.Value()->Index().Total(), frames);
        ReaderUnderTest reader(file.Value());
        for (FrameNumber step = 0; step < frames; ++step) {
            // Every other one from the end.
            const FrameNumber frame = step % 2 == 0 ? step / 2 : frames - 1 - step / 2;
            const PicturePtr picture = reader.Get(frame);
            ASSERT_TRUE(picture) << "frame " << frame;
            ASSERT_EQ(NumberOn(*picture), static_cast<int>(frame));
        }
    }

    ClipFolder m_folder{testing::UnitTest::GetInstance()->current_test_info()->name()};
};

TEST_F(WithoutMovie, FramesAreFoundByTheSetsOfARecordingBesideIt) {
    support::MakeClip(m_folder.File("rec2.mp4"), Clip(25));
    for (const std::uint32_t size : {0U, 1U, 7U, 0x12345U, 0xffffffffU})
        ExpectAllFrames(Lost("rec1.mp4", Clip(), size), 120);
}

TEST_F(WithoutMovie, TheRateIsTheStreamsOwn) {
    support::ClipOptions options = Clip(60);
    options.rateNumerator = 50;
    support::MakeClip(m_folder.File("rec2.MP4"), options);
    const auto file = MediaFile::Open(Lost("rec1.mp4", options));
    ASSERT_TRUE(file) << file.Failure().text;
    EXPECT_EQ(file.Value()->Index().TimeOf(50), MediaTime(1'000'000));
    EXPECT_EQ(file.Value()->Index().Duration(), MediaTime(1'200'000));
}

TEST_F(WithoutMovie, SetsThatDoNotFitAreTriedAndPassedOver) {
    // The nearest by name has other ones, the next is no recording at all.
    support::ClipOptions other = Clip(25);
    other.width = 480;
    other.height = 272;
    other.codecOptions = {{"coder", "cavlc"}, {"x264-params", "8x8dct=0:ref=5"}};
    support::MakeClip(m_folder.File("rec11.mp4"), other);
    m_folder.Write("rec12.mp4", "no recording");
    support::MakeClip(m_folder.File("older.mp4"), Clip(25));
    ExpectAllFrames(Lost("rec1.mp4", Clip()), 120);
}

TEST_F(WithoutMovie, SetsInTheStreamNeedNoRecordingBesideIt) {
    support::ClipOptions options = Clip();
    options.codecOptions = {{"x264-params", "repeat-headers=1"}};
    ExpectAllFrames(Lost("rec1.mp4", options), 120);
}

TEST_F(WithoutMovie, NothingIsMadeUpWhereThereAreNoSets) {
    const auto file = MediaFile::Open(Lost("rec1.mp4", Clip()));
    ASSERT_FALSE(file);
    EXPECT_EQ(file.Failure().kind, ErrorKind::NotMedia);
}

TEST_F(WithoutMovie, ACutAnywhereLeavesTheFramesBeforeIt) {
    support::MakeClip(m_folder.File("rec2.mp4"), Clip(25));
    const std::string bytes = ClipFolder::Read(Lost("rec1.mp4", Clip()));
    FrameNumber before = 0;
    for (const std::size_t percent : {30U, 55U, 80U}) {
        const std::string path = m_folder.Write("rec1.mp4", bytes.substr(0, bytes.size() * percent / 100));
        const auto file = MediaFile::Open(path);
        ASSERT_TRUE(file) << file.Failure().text;
        ASSERT_TRUE(AwaitIndex(*file.Value()));
        const FrameNumber total = file.Value()->Index().Total();
        EXPECT_GT(total, before);
        EXPECT_LT(total, 120U);
        before = total;
        ReaderUnderTest reader(file.Value());
        // Those at the end may lack what was cut off.
        for (FrameNumber frame = 0; frame + 4 < total; ++frame) {
            const PicturePtr picture = reader.Get(frame);
            ASSERT_TRUE(picture) << "frame " << frame;
            ASSERT_EQ(NumberOn(*picture), static_cast<int>(frame));
        }
    }
}

TEST_F(WithoutMovie, TheFileIsLeftAsItIs) {
    support::MakeClip(m_folder.File("rec2.mp4"), Clip(25));
    const std::string path = Lost("rec1.mp4", Clip(50));
    const std::string before = ClipFolder::Read(path);
    const auto written = std::filesystem::last_write_time(path);
    ExpectAllFrames(path, 50);
    EXPECT_EQ(ClipFolder::Read(path), before);
    EXPECT_EQ(std::filesystem::last_write_time(path), written);
}

TEST_F(WithoutMovie, StartCodesInTheDataAreFoundAsWell) {
    support::ClipOptions options = Clip();
    options.sound = false;
    options.toneHertz = 0;
    options.container = support::ClipContainer::RawStream;
    const std::string raw = m_folder.File("raw.264");
    support::MakeClip(raw, options);
    const std::string head("\0\0\0\x10"
                           "ftypisom\0\0\2\0\0\0\0\0mdat",
                           24);
    ExpectAllFrames(m_folder.Write("rec1.mp4", head + ClipFolder::Read(raw)), 120);
}

} // namespace
} // namespace testing_ordune
