// MP4 recordings whose movie box was never written.
#include "tests/ordune/BoxBuilder.h"
#include "tests/ordune/ClipReading.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace testing_ordune {
namespace {

using ordune::test::Box;
using ordune::test::Number;

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

    // A clip's parts. Its head is that of an MP4 file.
    struct Parts {
        std::string head;
        std::string data;
        std::string movie; // with its own head
    };
    Parts Take(const support::ClipOptions& options) const {
        const std::string whole = m_folder.File("whole.clip");
        support::MakeClip(whole, options);
        const std::string bytes = ClipFolder::Read(whole);
        std::filesystem::remove(whole);
        const std::size_t movie = bytes.rfind("moov") - 4;
        const std::size_t data = bytes.find("mdat") - 4;
        EXPECT_GT(movie, data);
        return {bytes.substr(0, data), bytes.substr(data + 8, movie - data - 8), bytes.substr(movie)};
    }

    // The clip up to its movie box; the size in the head of its data is `data_size`.
    std::string Lost(const std::string& name, const support::ClipOptions& options,
                     std::uint32_t data_size = 0) const {
        const Parts parts = Take(options);
        return m_folder.Write(name, parts.head + Number(data_size) + "mdat" + parts.data);
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

TEST_F(WithoutMovie, OpenGroupsAreFoundWithSoundBehindEveryPicture) {
    // One IDR picture; the others that begin a group follow a recovery point.
    support::ClipOptions options = Clip();
    options.openGop = true;
    for (const char* parameters : {"open-gop=1", "open-gop=1:repeat-headers=1", "open-gop=1:aud=1"}) {
        options.codecOptions = {{"x264-params", parameters}};
        support::MakeClip(m_folder.File("rec2.mp4"), options);
        const std::string path = Lost("rec1.mp4", options);
        ExpectAllFrames(path, 120);
        const auto file = MediaFile::Open(path);
        ASSERT_TRUE(file);
        EXPECT_GE(file.Value()->Index().KeyAtOrBefore(119)->frame, 75U);
    }
}

TEST_F(WithoutMovie, ARecordingNeedsNoPictureButThoseBehindARecoveryPoint) {
    support::ClipOptions options = Clip();
    options.openGop = true;
    support::MakeClip(m_folder.File("rec2.mp4"), options);
    const Parts parts = Take(options);
    // Without the first group: from the second picture of those that begin one on.
    const auto whole = MediaFile::Open(m_folder.File("rec2.mp4"));
    ASSERT_TRUE(whole);
    const auto key = whole.Value()->Index().KeyAfter(0);
    ASSERT_TRUE(key);
    ASSERT_GT(key->frame, 10U);
    const std::string bytes = ClipFolder::Read(m_folder.File("rec2.mp4"));
    const std::string data = bytes.substr(static_cast<std::size_t>(key->offset_bytes));
    const auto file = MediaFile::Open(
        m_folder.Write("rec1.mp4", parts.head + Number(0) + "mdat" + data.substr(0, data.rfind("moov") - 4)));
    ASSERT_TRUE(file) << file.Failure().text;
    ASSERT_TRUE(AwaitIndex(*file.Value()));
    const FrameNumber total = file.Value()->Index().Total();
    ASSERT_EQ(total, 120 - key->frame);
    ReaderUnderTest reader(file.Value());
    for (FrameNumber frame = 0; frame < total; ++frame) {
        const PicturePtr picture = reader.Get(frame);
        ASSERT_TRUE(picture) << "frame " << frame;
        ASSERT_EQ(NumberOn(*picture), static_cast<int>(frame + key->frame));
    }
}

TEST_F(WithoutMovie, DataBeginsBehindWhateverBoxesAndWithEitherHead) {
    support::MakeClip(m_folder.File("rec2.mp4"), Clip(25));
    const Parts parts = Take(Clip(50));
    const std::string wide_head = Number(1) + "mdat";
    const std::string size = Number(parts.data.size() + 16, 8);
    for (const std::string& boxes : {Box("free", ""), Box("skip", std::string(9, 'x')) + Box("wide", ""),
                                     Number(1) + "free" + Number(100, 8) + std::string(84, '\0')}) {
        ExpectAllFrames(m_folder.Write("rec1.mp4", parts.head + boxes + wide_head + size + parts.data), 50);
        ExpectAllFrames(
            m_folder.Write("rec1.mp4", boxes + Number(parts.data.size() + 8) + "mdat" + parts.data), 50);
    }
    // A wide head whose size was not written yet.
    ExpectAllFrames(m_folder.Write("rec1.mp4", parts.head + wide_head + Number(0, 8) + parts.data), 50);
}

TEST_F(WithoutMovie, PicturesAreFoundBehindFourGigabytes) {
    support::MakeClip(m_folder.File("rec2.mp4"), Clip(25));
    const Parts parts = Take(Clip(50));
    const std::string path = m_folder.Write("rec1.mp4", parts.head);
    constexpr std::uint64_t kSpace = (std::uint64_t{4} << 30) + 4321;
    {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary | std::ios::ate);
        file << Number(1) + "free" + Number(kSpace, 8);
        file.seekp(static_cast<std::streamoff>(parts.head.size() + kSpace));
        file << Number(0) + "mdat" + parts.data;
    }
    ASSERT_GT(std::filesystem::file_size(path), kSpace);
    ExpectAllFrames(path, 50);
}

TEST_F(WithoutMovie, AMovieBoxThatIsHalfWrittenIsAsGoodAsNone) {
    support::MakeClip(m_folder.File("rec2.mp4"), Clip(25));
    const Parts parts = Take(Clip(50));
    const std::string start = parts.head + Number(parts.data.size() + 8) + "mdat" + parts.data;
    for (const std::size_t written : {std::size_t{8}, std::size_t{100}, std::size_t{200}}) {
        std::string movie = parts.movie.substr(0, written);
        movie.resize(parts.movie.size(), '\0');
        ExpectAllFrames(m_folder.Write("rec1.mp4", start + movie), 50);
    }
}

TEST_F(WithoutMovie, AMovieBoxWithoutSamplesStillHasTheSets) {
    support::ClipOptions fragmented = Clip(50);
    fragmented.container = support::ClipContainer::FragmentedMp4;
    support::MakeClip(m_folder.File("fragments.clip"), fragmented);
    const std::string bytes = ClipFolder::Read(m_folder.File("fragments.clip"));
    const std::size_t movie = bytes.find("moov") - 4;
    std::string empty = bytes.substr(movie, bytes.find("moof") - 4 - movie);
    empty.replace(empty.find("mvex"), 4, "free");
    const Parts parts = Take(Clip(50));
    ExpectAllFrames(m_folder.Write("rec1.mp4", parts.head + empty + Number(0) + "mdat" + parts.data), 50);
}

TEST_F(WithoutMovie, PicturesStandAsThoseOfTheRecordingBesideIt) {
    support::ClipOptions options = Clip(25);
    options.rotation = 90;
    options.sampleAspectNumerator = 4;
    options.sampleAspectDenominator = 3;
    support::MakeClip(m_folder.File("rec2.mp4"), options);
    const auto whole = MediaFile::Open(m_folder.File("rec2.mp4"));
    const auto lost = MediaFile::Open(Lost("rec1.mp4", options));
    ASSERT_TRUE(whole);
    ASSERT_TRUE(lost) << lost.Failure().text;
    EXPECT_EQ(lost.Value()->Video().rotation, 90);
    EXPECT_EQ(lost.Value()->Video().sample_aspect_numerator, whole.Value()->Video().sample_aspect_numerator);
    EXPECT_EQ(lost.Value()->Video().sample_aspect_denominator,
              whole.Value()->Video().sample_aspect_denominator);
    EXPECT_EQ(lost.Value()->Video().width, whole.Value()->Video().width);
}

TEST_F(WithoutMovie, AFileThatWasNeverRenamedIsReadByTheSetsOfThoseThatWere) {
    support::MakeClip(m_folder.File("rec2.mp4"), Clip(25));
    ExpectAllFrames(Lost("rec1.mp4.part", Clip(50)), 50);
    ExpectAllFrames(Lost("rec1.rsv", Clip(50)), 50);
}

TEST_F(WithoutMovie, ARecordingThatIsStillBeingWrittenOpensAsFarAsItGoes) {
    support::MakeClip(m_folder.File("rec2.mp4"), Clip(25));
    const std::string bytes = ClipFolder::Read(Lost("rec1.mp4", Clip()));
    FrameNumber before = 0;
    for (const std::size_t percent : {20U, 60U, 100U}) {
        const auto file =
            MediaFile::Open(m_folder.Write("rec1.mp4", bytes.substr(0, bytes.size() * percent / 100)));
        ASSERT_TRUE(file) << file.Failure().text;
        ASSERT_TRUE(AwaitIndex(*file.Value()));
        EXPECT_GT(file.Value()->Index().Total(), before);
        before = file.Value()->Index().Total();
    }
    EXPECT_EQ(before, 120U);
}

TEST_F(WithoutMovie, WhatIsNoH264IsRefusedAsEver) {
    if (!support::HasEncoder("libx265")) GTEST_SKIP() << "no HEVC encoder";
    support::MakeClip(m_folder.File("rec2.mp4"), Clip(25));
    support::ClipOptions options = Clip(25);
    options.codec = "libx265";
    support::MakeClip(m_folder.File("rec3.mp4"), options);
    const auto file = MediaFile::Open(Lost("rec1.mp4", options));
    ASSERT_FALSE(file);
    EXPECT_EQ(file.Failure().kind, ErrorKind::NotMedia);
    EXPECT_FALSE(file.Failure().text.empty());
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
