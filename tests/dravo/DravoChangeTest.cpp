// What a file may do to a port: change its size, be one picture long, be cut off, run at uneven times, end.
#include "tests/dravo/PortFixture.h"
#include "tests/dravo/TwoEntriesClip.h"

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

using namespace dravo_tests;
using support::ClipContainer;

void CountEnd(int, void* user) {
    static_cast<std::atomic<int>*>(user)->fetch_add(1);
}
void CountChange(int, std::intptr_t user) {
    reinterpret_cast<std::atomic<int>*>(user)->fetch_add(1);
}
std::intptr_t AsUser(std::atomic<int>& counter) {
    return reinterpret_cast<std::intptr_t>(&counter);
}

struct Size {
    long width = 0;
    long height = 0;
    bool operator==(const Size&) const = default;
};

Size PictureSize(int port) {
    Size size;
    EXPECT_TRUE(Dravo_GetPictureSize(port, &size.width, &size.height));
    return size;
}

// The size in the header of the current picture's BMP file.
Size StillSize(int port) {
    std::vector<std::uint8_t> bytes(640 * 360 * 4);
    unsigned long written = 0;
    if (!Dravo_GetBMP(port, bytes.data(), bytes.size(), &written)) return {};
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::memcpy(&width, bytes.data() + 18, 4);
    std::memcpy(&height, bytes.data() + 22, 4);
    return {width, std::abs(height)};
}

// A copy of the file's first part.
std::string CutOff(const std::string& path, double part) {
    const std::string cut = path + ".cut" + std::filesystem::path(path).extension().string();
    std::filesystem::copy_file(path, cut, std::filesystem::copy_options::overwrite_existing);
    std::filesystem::resize_file(
        cut, static_cast<std::uintmax_t>(static_cast<double>(std::filesystem::file_size(path)) * part));
    return cut;
}

// ---- Size changes

const std::string& GrowingRawFilm() {
    return Clip("growing.264", {.frames = 60,
                                .keyInterval = 15,
                                .container = ClipContainer::RawStream,
                                .sizeChanges = {{.frame = 30, .width = 480, .height = 270}}});
}

// The same as an MP4 file with a sample entry for each size.
const std::string& GrowingMp4Film() {
    static support::TemporaryFolder folder;
    static std::string path;
    if (path.empty()) {
        path = folder / "growing.mp4";
        JoinAsTwoEntries(
            Clip("small.mp4", {.frames = 30, .keyInterval = 15}),
            Clip("large.mp4",
                 {.width = 480, .height = 270, .frames = 30, .firstNumber = 30, .keyInterval = 15}),
            path);
    }
    return path;
}

class SizeChange : public testing::TestWithParam<bool> {
  protected:
    static const std::string& GrowingFilm() { return GetParam() ? GrowingRawFilm() : GrowingMp4Film(); }
};

TEST_P(SizeChange, IsToldOnceWhilePlayingAndTheSizeIsTheNewOne) {
    const OpenPort port(GrowingFilm());
    ASSERT_TRUE(port.Open());
    std::atomic<int> changes{0};
    std::atomic<int> ends{0};
    std::atomic<bool> told_new_size{false};
    struct User {
        std::atomic<int>* changes;
        std::atomic<bool>* told_new_size;
    } user{&changes, &told_new_size};
    ASSERT_TRUE(Dravo_SetEncTypeChangeCallBack(
        port,
        [](int number, std::intptr_t value) {
            const auto* const seen = reinterpret_cast<const User*>(value);
            ++*seen->changes;
            *seen->told_new_size = PictureSize(number) == Size{480, 270};
        },
        reinterpret_cast<std::intptr_t>(&user)));
    Dravo_SetFileEndCallback(port, CountEnd, &ends);
    EXPECT_EQ(PictureSize(port), (Size{320, 180}));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 20s));
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(told_new_size) << "from inside the callback";
    EXPECT_EQ(PictureSize(port), (Size{480, 270}));
    EXPECT_EQ(StillSize(port), (Size{480, 270}));
    EXPECT_EQ(port.StillNumber(), 59);
    for (const Displayed& picture : port.Pictures().All()) {
        EXPECT_EQ(picture.width, picture.number < 30 ? 320 : 480) << picture.number;
        EXPECT_EQ(picture.size, picture.width * picture.height * 3 / 2) << picture.number;
    }
}

TEST_P(SizeChange, LeavesEveryPictureExactByEveryPath) {
    const OpenPort port(GrowingFilm());
    ASSERT_EQ(Dravo_GetFileTotalFrames(port), 60U);
    port.PlayPaused();
    for (const int frame : {45, 3, 59, 30, 29, 31, 0, 44, 14, 58}) {
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, static_cast<unsigned long>(frame)));
        ASSERT_TRUE(port.WaitForPicture(frame)) << "the size that is asked for is that of the picture shown";
        EXPECT_EQ(port.StillNumber(), frame);
        EXPECT_EQ(StillSize(port).width, frame < 30 ? 320 : 480) << frame;
    }
    for (int frame = 57; frame >= 0; --frame) {
        ASSERT_TRUE(Dravo_OneByOneBack(port));
        ASSERT_EQ(port.StillNumber(), frame);
    }
    for (int frame = 1; frame < 60; ++frame) {
        ASSERT_TRUE(Dravo_OneByOne(port));
        ASSERT_EQ(port.StillNumber(), frame);
    }
}

TEST_P(SizeChange, IsToldForJumpsAndStepsAcrossItBothWays) {
    const OpenPort port(GrowingFilm());
    std::atomic<int> changes{0};
    ASSERT_TRUE(Dravo_SetEncTypeChangeCallBack(port, CountChange, AsUser(changes)));
    port.PlayPaused();
    EXPECT_EQ(changes, 0);
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 30));
    ASSERT_TRUE(port.WaitForPicture(30));
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(StillSize(port), (Size{480, 270}));
    ASSERT_TRUE(Dravo_OneByOneBack(port));
    ASSERT_TRUE(port.WaitForPicture(29));
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(StillSize(port), (Size{320, 180}));
    EXPECT_EQ(PictureSize(port), (Size{320, 180}));
    ASSERT_TRUE(Dravo_OneByOneBack(port));
    ASSERT_TRUE(port.WaitForPicture(28));
    EXPECT_EQ(changes, 2) << "no change between these two";
}

INSTANTIATE_TEST_SUITE_P(Containers, SizeChange, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "Raw" : "Mp4WithTwoEntries"; });

// ---- An index that takes long

// Many small pictures: what a scan costs is the pictures, not the bytes.
constexpr unsigned long kLoop = 250;
constexpr unsigned long kLoops = 6000;

const std::string& VeryLongRawFilm() {
    static support::TemporaryFolder folder;
    static std::string path;
    if (path.empty()) {
        path = folder / "hours.264";
        const std::string& loop = Clip("loop.264", {.width = 96,
                                                    .height = 64,
                                                    .frames = static_cast<int>(kLoop),
                                                    .keyInterval = 50,
                                                    .codecOptions = {{"crf", "40"}},
                                                    .container = ClipContainer::RawStream});
        std::ifstream in(loop, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::ofstream out(path, std::ios::binary);
        for (unsigned long time = 0; time < kLoops; ++time)
            out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    return path;
}

TEST(LongIndex, TheFilmPlaysAtOnceAndItsLengthIsExactWhenTheCallbackSaysSo) {
    int port = 0;
    ASSERT_TRUE(Dravo_GetPort(&port));
    DisplayRecord::Of(port).Clear();
    std::atomic<int> told{0};
    Dravo_SetDisplayCallBack(port, DisplayRecord::Callback);
    Dravo_SetFileRefCallBack(
        port, [](unsigned int, std::uintptr_t user) { ++*reinterpret_cast<std::atomic<int>*>(user); },
        reinterpret_cast<std::uintptr_t>(&told));
    ASSERT_TRUE(Dravo_OpenFile(port, VeryLongRawFilm().c_str()));
    const unsigned long at_opening = Dravo_GetFileTotalFrames(port);
    EXPECT_GT(at_opening, 0U);
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_TRUE(support::WaitUntil([&] { return DisplayRecord::Of(port).Count() > 3; }, 10s));
    ASSERT_TRUE(support::WaitUntil([&] { return told > 0; }, 60s));
    EXPECT_EQ(Dravo_GetFileTotalFrames(port), kLoop * kLoops);
    EXPECT_EQ(Dravo_GetFileTime(port), kLoop * kLoops / 25);
    // Far into it, and at its very end.
    ASSERT_TRUE(Dravo_Pause(port, 1));
    for (const unsigned long frame : {kLoop * kLoops - 1, kLoop * (kLoops / 2) + 77}) {
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
        EXPECT_TRUE(support::WaitUntil(
            [&] { return DisplayRecord::Of(port).Last() == static_cast<int>(frame % kLoop); }, 10s))
            << frame;
        EXPECT_EQ(Dravo_GetCurrentFrameNum(port), frame);
    }
    EXPECT_EQ(told, 1);
    std::printf("total at opening: %lu of %lu\n", at_opening, kLoop * kLoops);
    EXPECT_TRUE(Dravo_FreePort(port));
}

// ---- Callbacks

std::atomic<int> g_displays{0};

void CountDisplay(int, char*, int, int, int, int, int, int) {
    ++g_displays;
}

TEST(Registration, BeforeOpeningHoldsOutlastsStopAndEndsWithTheFile) {
    const std::string& film =
        Clip("short.264", {.frames = 20,
                           .keyInterval = 10,
                           .container = ClipContainer::RawStream,
                           .sizeChanges = {{.frame = 10, .width = 480, .height = 270}}});
    int port = 0;
    ASSERT_TRUE(Dravo_GetPort(&port));
    std::atomic<int> ends{0};
    std::atomic<int> changes{0};
    static std::atomic<int> refs;
    refs = 0;
    g_displays = 0;
    ASSERT_TRUE(Dravo_SetFileEndCallback(port, CountEnd, &ends));
    ASSERT_TRUE(Dravo_SetEncTypeChangeCallBack(port, CountChange, AsUser(changes)));
    ASSERT_TRUE(Dravo_SetFileRefCallBack(
        port, [](unsigned int, std::uintptr_t) { ++refs; }, 0));
    ASSERT_TRUE(Dravo_SetDisplayCallBack(port, CountDisplay));
    ASSERT_TRUE(Dravo_OpenFile(port, film.c_str()));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 10s));
    EXPECT_EQ(changes, 1);
    EXPECT_GT(g_displays, 10);
    EXPECT_TRUE(support::WaitUntil([] { return refs == 1; }, 10s));

    ASSERT_TRUE(Dravo_Stop(port));
    const int before = g_displays;
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return ends == 2; }, 10s)) << "outlasts Stop";
    EXPECT_GT(g_displays, before + 10);
    EXPECT_EQ(refs, 1) << "once for each file";

    ASSERT_TRUE(Dravo_CloseFile(port));
    const int after = g_displays;
    const int changes_after = changes;
    ASSERT_TRUE(Dravo_OpenFile(port, film.c_str()));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return Dravo_GetCurrentFrameNum(port) == 19; }, 10s));
    // The end would be told one picture's time later; nothing is.
    EXPECT_FALSE(support::WaitUntil([&] { return ends != 2 || g_displays != after; }, 300ms));
    EXPECT_EQ(changes, changes_after);
    EXPECT_EQ(refs, 1);
    EXPECT_TRUE(Dravo_FreePort(port));
}

TEST(Registration, ANullCallbackRemovesIt) {
    const OpenPort port(Film());
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return port.Pictures().Count() > 2; }, 10s));
    ASSERT_TRUE(Dravo_SetDisplayCallBack(port, nullptr));
    const unsigned long frame = Dravo_GetCurrentFrameNum(port);
    ASSERT_TRUE(support::WaitUntil([&] { return Dravo_GetCurrentFrameNum(port) > frame + 2; }, 10s));
    port.Pictures().Clear();
    ASSERT_TRUE(support::WaitUntil([&] { return Dravo_GetCurrentFrameNum(port) > frame + 8; }, 10s));
    EXPECT_EQ(port.Pictures().Count(), 0U);
}

TEST(EndCallback, AStillCanBeMadeInsideItAndShowsTheLastPicture) {
    const OpenPort port(Film());
    struct Seen {
        const OpenPort* port;
        std::atomic<int> bmp{-2};
        std::atomic<int> jpeg{-2};
        std::atomic<unsigned long> frame{0};
        std::atomic<bool> done{false};
    } seen{.port = &port};
    Dravo_SetFileEndCallback(
        port,
        [](int number, void* user) {
            auto* const into = static_cast<Seen*>(user);
            into->bmp = into->port->StillNumber();
            into->jpeg = into->port->StillNumber(true);
            into->frame = Dravo_GetCurrentFrameNum(number);
            into->done = true;
        },
        &seen);
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 94));
    ASSERT_TRUE(support::WaitUntil([&] { return seen.done.load(); }, 10s));
    EXPECT_EQ(seen.bmp, 99);
    EXPECT_EQ(seen.jpeg, 99);
    EXPECT_EQ(seen.frame, 99U);
}

// ---- Before the first picture

TEST(BeforeTheFirstPicture, TheFrameNumberIsAllOnesAlthoughPlayingHasBegun) {
    // A callback runs on the port's own thread, which shows no picture meanwhile: playing begun from inside
    // one, of a port that was stopped, has shown none yet.
    const OpenPort port(Film());
    struct Seen {
        std::atomic<int> played{0};
        std::atomic<unsigned long> frame{0};
        std::atomic<float> position{-1.0F};
        std::atomic<bool> done{false};
    } seen;
    ASSERT_TRUE(Dravo_SetFileRefCallBack(
        port,
        [](unsigned int number, std::uintptr_t user) {
            auto* const into = reinterpret_cast<Seen*>(user);
            into->played = Dravo_Play(static_cast<int>(number), 0);
            into->frame = Dravo_GetCurrentFrameNum(static_cast<int>(number));
            into->position = Dravo_GetPlayPos(static_cast<int>(number));
            into->done = true;
        },
        reinterpret_cast<std::uintptr_t>(&seen)));
    ASSERT_TRUE(support::WaitUntil([&] { return seen.done.load(); }, 10s));
    EXPECT_TRUE(seen.played);
    EXPECT_EQ(seen.frame, kNoFrame);
    EXPECT_EQ(seen.position, 0.0F);
    EXPECT_TRUE(support::WaitUntil([&] { return Dravo_GetCurrentFrameNum(port) < 100; }, 10s)) << "it plays";
}

// ---- Short and cut-off files

class OnePicture : public testing::TestWithParam<ClipContainer> {};

TEST_P(OnePicture, PlaysAndEndsOnce) {
    const bool raw = GetParam() == ClipContainer::RawStream;
    const OpenPort port(Clip(raw ? "one.264" : "one.mp4", {.frames = 1, .container = GetParam()}));
    ASSERT_TRUE(port.Open());
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(port, CountEnd, &ends);
    EXPECT_EQ(Dravo_GetFileTotalFrames(port), 1U);
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 10s));
    EXPECT_FALSE(support::WaitUntil([&] { return ends != 1; }, 300ms));
    EXPECT_EQ(port.Pictures().Count(), 1U);
    EXPECT_EQ(port.Pictures().Last(), 0);
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), 0U);
    EXPECT_EQ(port.StillNumber(), 0);
    EXPECT_FALSE(Dravo_OneByOne(port));
    EXPECT_FALSE(Dravo_OneByOneBack(port));
    ASSERT_TRUE(Dravo_Stop(port));
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_TRUE(support::WaitUntil([&] { return ends == 2; }, 10s));
}

INSTANTIATE_TEST_SUITE_P(Containers, OnePicture,
                         testing::Values(ClipContainer::Mp4, ClipContainer::RawStream),
                         [](const auto& tested) {
                             return tested.param == ClipContainer::Mp4 ? std::string("Mp4")
                                                                       : std::string("Raw");
                         });

void ExpectPlaysWhatIsThere(const std::string& path, unsigned long at_least) {
    const OpenPort port(path);
    ASSERT_TRUE(port.Open());
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(port, CountEnd, &ends);
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 20s));
    const unsigned long total = Dravo_GetFileTotalFrames(port);
    EXPECT_GE(total, at_least);
    EXPECT_LT(total, 100U);
    EXPECT_GE(port.Pictures().Last(), static_cast<int>(at_least) - 1);
    EXPECT_GE(port.Pictures().Count(), at_least / 2);
    for (const Displayed& picture : port.Pictures().All()) {
        // The picture that the cut went through may be torn; the others are whole.
        if (picture.current_frame + 4 < total) {
            EXPECT_EQ(picture.number, static_cast<int>(picture.current_frame));
        }
    }
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 10));
    EXPECT_TRUE(support::WaitUntil([&] { return ends == 2; }, 20s)) << "and again from a jump";
}

TEST(CutOffFiles, ARawStreamPlaysWhatIsThere) {
    ExpectPlaysWhatIsThere(CutOff(RawFilm(), 0.6), 40);
}

TEST(CutOffFiles, AFragmentedFilePlaysWhatIsThere) {
    const std::string& film =
        Clip("fragments.mp4", {.keyInterval = 25, .container = ClipContainer::FragmentedMp4});
    ExpectPlaysWhatIsThere(CutOff(film, 0.6), 40);
}

TEST(CutOffFiles, AFileWithoutItsDirectoryPlaysToTheCut) {
    const OpenPort whole(Film());
    const OpenPort port(CutOff(Film(), 0.6));
    ASSERT_TRUE(port.Open());
    const unsigned long frames = Dravo_GetFileTotalFrames(port);
    EXPECT_GT(frames, 0U);
    EXPECT_LT(frames, Dravo_GetFileTotalFrames(whole));
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_Pause(port, 1));
    // The last ones may follow pictures that were to be decoded after them, and are lost.
    const unsigned long sure = frames - 8;
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, sure));
    EXPECT_EQ(port.StillNumber(), static_cast<int>(sure));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frames - 1));
    EXPECT_GE(port.StillNumber(), static_cast<int>(frames - 1));
}

TEST(CutOffFiles, AFileCutBeforeItsFirstPictureIsRefusedAndThePortStaysUsable) {
    const OpenPort port(CutOff(Film(), 0.001));
    EXPECT_FALSE(port.Open());
    EXPECT_FALSE(Dravo_Play(port, 0));
    EXPECT_TRUE(Dravo_OpenFile(port, Film().c_str()));
    EXPECT_TRUE(Dravo_Play(port, 0));
}

// ---- The end

TEST(LastGroup, AJumpIntoAnOpenOnePlaysToTheLastPicture) {
    const std::string& film = Clip("open.264", {.frames = 90,
                                                .keyInterval = 20,
                                                .bFrames = 3,
                                                .openGop = true,
                                                .container = ClipContainer::RawStream});
    for (const unsigned long frame : {78UL, 81UL, 85UL, 89UL}) {
        const OpenPort port(film);
        std::atomic<int> ends{0};
        Dravo_SetFileEndCallback(port, CountEnd, &ends);
        ASSERT_TRUE(Dravo_Play(port, 0));
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
        ASSERT_TRUE(support::WaitUntil([&] { return ends == 1; }, 10s)) << frame;
        EXPECT_EQ(port.Pictures().Last(), 89) << frame;
        EXPECT_EQ(port.StillNumber(), 89) << frame;
        for (const Displayed& picture : port.Pictures().All())
            EXPECT_EQ(picture.number, static_cast<int>(picture.current_frame)) << frame;
    }
}

class AtTheEnd : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(m_port.Open());
        Dravo_SetFileEndCallback(m_port, CountEnd, &m_ends);
        ASSERT_TRUE(Dravo_Play(m_port, 0));
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(m_port, 95));
        ASSERT_TRUE(Ends(1));
    }
    bool Ends(int times) {
        return support::WaitUntil([&] { return m_ends >= times; }, 10s);
    }
    bool StaysAtTheEnd() {
        return !support::WaitUntil([&] { return m_ends != 1 || Dravo_GetCurrentFrameNum(m_port) != 99; },
                                   300ms);
    }

    std::atomic<int> m_ends{0};
    const OpenPort m_port{Film()};
};

TEST_F(AtTheEnd, PausingAndResumingChangesNothing) {
    EXPECT_TRUE(Dravo_Pause(m_port, 1));
    EXPECT_TRUE(Dravo_Pause(m_port, 0));
    EXPECT_TRUE(StaysAtTheEnd());
    EXPECT_EQ(m_port.StillNumber(), 99);
}

TEST_F(AtTheEnd, ChangesOfSpeedChangeNothingElse) {
    EXPECT_TRUE(Dravo_Fast(m_port));
    EXPECT_TRUE(Dravo_Slow(m_port));
    EXPECT_TRUE(Dravo_Slow(m_port));
    EXPECT_TRUE(StaysAtTheEnd());
}

TEST_F(AtTheEnd, AStepOnFailsAndAStepBackGoesOnFromThere) {
    EXPECT_FALSE(Dravo_OneByOne(m_port));
    EXPECT_TRUE(StaysAtTheEnd());
    ASSERT_TRUE(Dravo_OneByOneBack(m_port));
    EXPECT_EQ(Dravo_GetCurrentFrameNum(m_port), 98U);
    EXPECT_EQ(m_port.StillNumber(), 98);
    ASSERT_TRUE(Dravo_Pause(m_port, 0));
    EXPECT_TRUE(Ends(2));
    EXPECT_EQ(m_port.StillNumber(), 99);
}

TEST_F(AtTheEnd, AJumpWhilePausedShowsThePictureAndEndsAgainAfterResuming) {
    ASSERT_TRUE(Dravo_Pause(m_port, 1));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(m_port, 96));
    ASSERT_TRUE(m_port.WaitForPicture(96));
    EXPECT_FALSE(support::WaitUntil([&] { return m_ends != 1; }, 300ms));
    ASSERT_TRUE(Dravo_Pause(m_port, 0));
    EXPECT_TRUE(Ends(2));
}

TEST_F(AtTheEnd, AJumpToTheLastPictureEndsAgain) {
    ASSERT_TRUE(Dravo_SetPlayPos(m_port, 1.0F));
    EXPECT_TRUE(Ends(2));
    EXPECT_EQ(m_port.Pictures().Last(), 99);
}

} // namespace
