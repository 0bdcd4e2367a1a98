// Files that go on without end after, or before, what there is to see of them.
#include "ordune/FormatInput.h"
#include "ordune/IndexRun.h"
#include "ordune/SoundReader.h"
#include "tests/ordune/ClipReading.h"

#include <gtest/gtest.h>

#include <atomic>

namespace testing_ordune {
namespace {

using namespace std::chrono_literals;

// More than any machine reads through while a test lasts. It takes no room.
constexpr std::uintmax_t kEndless = std::uintmax_t{1} << 41;

// Counts the times that it is asked as work.
std::atomic<int> asked{0};
std::chrono::nanoseconds CountedWork() {
    return ++asked * 50ms;
}

class Endless : public testing::Test {
  protected:
    Endless() {
        asked = 0;
        FormatInput::SetWorkClock(CountedWork);
    }
    ~Endless() override { FormatInput::SetWorkClock(nullptr); }

    static std::string Number(std::uint32_t number) {
        std::string bytes;
        for (const int shift : {24, 16, 8, 0})
            bytes.push_back(static_cast<char>(number >> shift));
        return bytes;
    }

    ClipFolder m_folder{testing::UnitTest::GetInstance()->current_test_info()->name()};
};

class EndlessTail : public Endless, public testing::WithParamInterface<support::ClipContainer> {};

TEST_P(EndlessTail, LeavesTheFilmWhole) {
    constexpr int kFrames = 60;
    const std::string path = m_folder.File("film");
    support::MakeClip(
        path,
        {.frames = kFrames, .keyInterval = 20, .container = GetParam(), .sound = true, .toneHertz = 440});
    std::filesystem::resize_file(path, kEndless);
    const auto file = MediaFile::Open(path);
    ASSERT_TRUE(file) << file.Failure().text;
    ASSERT_TRUE(AwaitIndex(*file.Value()));
    ASSERT_EQ(file.Value()->Index().Total(), kFrames);
    ReaderUnderTest reader(file.Value());
    for (const FrameNumber frame : {kFrames - 1, 0, 45, 20, 19}) {
        const PicturePtr picture = reader.Get(frame, Direction::Backward);
        ASSERT_TRUE(picture) << "frame " << frame;
        EXPECT_EQ(NumberOn(*picture), static_cast<int>(frame));
    }
    const auto sound = SoundReader::Make(*file.Value(), 48000, 2);
    ASSERT_TRUE(sound) << sound.Failure().text;
    std::size_t samples = 0;
    for (;;) {
        const auto block = sound.Value()->Next();
        if (!block || !block.Value()) break;
        samples += block.Value()->samples.size() / 2;
    }
    EXPECT_GE(samples, 48000 * kFrames / 25 - 4800U);
}

INSTANTIATE_TEST_SUITE_P(Containers, EndlessTail,
                         testing::Values(support::ClipContainer::Matroska, support::ClipContainer::Avi,
                                         support::ClipContainer::Flv),
                         [](const auto& tested) {
                             return tested.param == support::ClipContainer::Matroska ? "Matroska"
                                    : tested.param == support::ClipContainer::Avi    ? "Avi"
                                                                                     : "Flv";
                         });

TEST_F(Endless, BoxesAreLookedAtForSoLongOnlyWhereSomebodyWaits) {
    std::string bytes = Number(20) + "ftypisom" + Number(0) + "isom";
    while (bytes.size() < 512 << 10)
        bytes += Number(8) + "free";
    const std::string path = m_folder.Write("boxes.mp4", bytes);
    const auto source = FileSource::Open(path);
    ASSERT_TRUE(source);
    const auto hasty = FormatInput::Open(source.Value(), FormatInput::Haste::Opening);
    ASSERT_FALSE(hasty);
    EXPECT_EQ(hasty.Failure().kind, ErrorKind::Damaged) << hasty.Failure().text;
    const auto patient = FormatInput::Open(source.Value(), FormatInput::Haste::None);
    ASSERT_FALSE(patient);
    EXPECT_EQ(patient.Failure().kind, ErrorKind::NotMedia) << patient.Failure().text;
    // The same inside the movie, before its tracks.
    const std::string whole = m_folder.File("whole.mp4");
    support::MakeClip(whole, {.frames = 10});
    std::string movie = ClipFolder::Read(whole);
    const std::size_t at = movie.rfind("moov") - 4;
    std::string empty;
    while (empty.size() < 2 << 20)
        empty += Number(8) + "abcd";
    const auto tracks = static_cast<std::uint32_t>(movie.size() - at - 8);
    movie.replace(at, 8,
                  Number(16 + static_cast<std::uint32_t>(empty.size()) + tracks) + "moov" +
                      Number(8 + static_cast<std::uint32_t>(empty.size())) + "udta" + empty);
    const auto nested = FileSource::Open(m_folder.Write("movie.mp4", movie));
    ASSERT_TRUE(nested);
    for (const auto haste : {FormatInput::Haste::Opening, FormatInput::Haste::None}) {
        const auto input = FormatInput::Open(nested.Value(), haste);
        const bool reached = input && FindVideoStream(input.Value()->Context());
        EXPECT_EQ(reached, haste == FormatInput::Haste::None);
    }
}

TEST(IndexRun, AsksAStepThatTakesLongToEnd) {
    const CancelToken cancel = CancelToken::Make();
    const auto table = std::make_shared<FrameTable>(true);
    std::atomic<int> steps{0};
    {
        IndexRun run(
            table,
            [&] {
                if (++steps == 1) return true;
                while (!cancel.Cancelled())
                    std::this_thread::sleep_for(1ms);
                return false;
            },
            cancel);
        EXPECT_FALSE(run.Begin(0ms, 0ms));
        run.GoOn();
    }
    EXPECT_LE(steps, 2);
}

TEST(IndexRun, GivesUpByTheClockWhereStepsWaitAndFindNothing) {
    const auto table = std::make_shared<FrameTable>(true);
    IndexRun run(table, [] {
        std::this_thread::sleep_for(1ms);
        return true;
    });
    EXPECT_FALSE(run.Begin(0ms, 1h, nullptr, CancelToken::After(20ms)));
}

TEST_F(Endless, SoundIsNotReadOnceThatIsCancelled) {
    const std::string path = m_folder.File("film.mkv");
    support::MakeClip(path, {.container = support::ClipContainer::Matroska, .sound = true});
    const auto file = MediaFile::Open(path);
    ASSERT_TRUE(file);
    const CancelToken cancel = CancelToken::Make();
    cancel.Cancel();
    const auto sound = SoundReader::Make(*file.Value(), 48000, 2, cancel);
    ASSERT_FALSE(sound);
    EXPECT_EQ(sound.Failure().kind, ErrorKind::Cancelled);
}

} // namespace
} // namespace testing_ordune
