// Files that are damaged, or that change under a port that plays them.
#include "tests/dravo/PortFixture.h"
#include "tests/support/AvHandles.h"
#include "tests/support/CallTimes.h"

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using namespace dravo_tests;

// What a call may take where a file is damaged, with room for a machine that is busy.
constexpr auto kCallLimit = 2s;

void CountEnd(int, void* user) {
    static_cast<std::atomic<int>*>(user)->fetch_add(1);
}

template <class Call>
auto InTime(Call call) {
    const auto begin = std::chrono::steady_clock::now();
    const auto result = call();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kCallLimit);
    return result;
}

// Writes the pictures of an MP4 file `times` over, one after the other, into another.
void Repeat(const std::string& from, const std::string& to, int times) {
    AVFormatContext* opened = nullptr;
    support::CheckAv(avformat_open_input(&opened, from.c_str(), nullptr, nullptr), "opening " + from);
    const support::FormatHandle in(opened);
    const AVStream* source = in->streams[0];
    AVFormatContext* made = nullptr;
    support::CheckAv(avformat_alloc_output_context2(&made, nullptr, "mp4", to.c_str()), "making " + to);
    const support::FormatHandle out(made);
    AVStream* stream = avformat_new_stream(made, nullptr);
    support::CheckAv(avcodec_parameters_copy(stream->codecpar, source->codecpar), "describing " + to);
    stream->codecpar->codec_tag = 0;
    stream->time_base = source->time_base;
    support::CheckAv(avio_open(&made->pb, to.c_str(), AVIO_FLAG_WRITE), "writing " + to);
    support::CheckAv(avformat_write_header(made, nullptr), "writing " + to);
    const support::PacketHandle packet(av_packet_alloc());
    for (int time = 0; time < times; ++time) {
        support::CheckAv(av_seek_frame(opened, 0, 0, AVSEEK_FLAG_BACKWARD), "seeking in " + from);
        while (av_read_frame(opened, packet.get()) == 0) {
            packet->pts += time * source->duration;
            packet->dts += time * source->duration;
            av_packet_rescale_ts(packet.get(), source->time_base, stream->time_base);
            support::CheckAv(av_write_frame(made, packet.get()), "writing " + to);
            av_packet_unref(packet.get());
        }
    }
    support::CheckAv(av_write_trailer(made), "writing " + to);
}

// Zeroes the bytes of a frame's unit, so that nothing comes out of the decoder for it.
void Spoil(const std::string& path, int frame) {
    AVFormatContext* opened = nullptr;
    support::CheckAv(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), "opening " + path);
    const support::FormatHandle in(opened);
    const AVIndexEntry* entry = avformat_index_get_entry(in->streams[0], frame);
    if (!entry) throw std::runtime_error("no such frame in " + path);
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(entry->pos);
    const std::vector<char> nothing(static_cast<std::size_t>(entry->size), 0);
    file.write(nothing.data(), entry->size);
}

// Two hours and more of 25 pictures a second, in groups of 50 without B pictures.
constexpr int kLoop = 250;
constexpr int kLoops = 800;

const std::string& LongFilm() {
    static support::TemporaryFolder folder;
    static std::string path;
    if (path.empty()) {
        path = folder / "hours.mp4";
        Repeat(Clip("loop.mp4", {.width = 160, .height = 96, .frames = kLoop, .keyInterval = 50}), path,
               kLoops);
    }
    return path;
}

TEST(LostMovieBox, LeavesARecordingThatIsSteppedAndCapturedAsEver) {
    constexpr int kFrames = 60;
    const support::TemporaryFolder folder;
    const support::ClipOptions options{.frames = kFrames, .keyInterval = 20, .bFrames = 2, .sound = true};
    support::MakeClip(folder / "rec1.mp4", options);
    support::MakeClip(folder / "rec2.mp4", options);
    std::ifstream whole(folder / "rec1.mp4", std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(whole), {});
    std::filesystem::resize_file(folder / "rec1.mp4", bytes.rfind("moov") - 4);
    const OpenPort port(folder / "rec1.mp4");
    ASSERT_TRUE(port.Open());
    ASSERT_TRUE(support::WaitUntil([&] { return Dravo_GetFileTotalFrames(port) == kFrames; }, 20s));
    port.PlayPaused();
    for (int frame = 1; frame <= 45; ++frame) {
        ASSERT_TRUE(Dravo_OneByOne(port));
        ASSERT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(frame));
    }
    EXPECT_EQ(port.StillNumber(), 45);
    for (int frame = 44; frame >= 15; --frame)
        ASSERT_TRUE(Dravo_OneByOneBack(port));
    EXPECT_EQ(port.StillNumber(true), 15);
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, kFrames - 1));
    EXPECT_EQ(port.StillNumber(), kFrames - 1);
    EXPECT_FALSE(Dravo_OneByOne(port));
}

TEST(LostPictures, InAVeryLongFilmArePassedOverWithoutAWait) {
    // The last three of a group: what comes after them refers to none of them.
    constexpr int kAt = kLoop * (kLoops - 2) + 147;
    const std::string film = LongFilm();
    for (int frame = kAt; frame < kAt + 3; ++frame)
        Spoil(film, frame);
    const OpenPort port(film);
    ASSERT_TRUE(port.Open());
    ASSERT_TRUE(support::WaitUntil(
        [&] { return Dravo_GetFileTotalFrames(port) == static_cast<unsigned long>(kLoop * kLoops); }, 20s));
    port.PlayPaused();

    // A jump ends at the neighbour that comes out, and the number says so.
    ASSERT_TRUE(InTime([&] { return Dravo_SetCurrentFrameNum(port, kAt + 1); }));
    EXPECT_EQ(InTime([&] { return port.StillNumber(); }), (kAt - 1) % kLoop);
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(kAt - 1));
    // Steps pass over them both ways.
    ASSERT_TRUE(InTime([&] { return Dravo_OneByOne(port); }));
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(kAt + 3));
    EXPECT_EQ(port.StillNumber(), (kAt + 3) % kLoop);
    ASSERT_TRUE(InTime([&] { return Dravo_OneByOneBack(port); }));
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(kAt - 1));
    // Playing goes on across them.
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, kAt - 10));
    ASSERT_TRUE(Dravo_Pause(port, 0));
    EXPECT_TRUE(support::WaitUntil(
        [&] { return Dravo_GetCurrentFrameNum(port) > static_cast<unsigned long>(kAt) + 20; }, 10s));
}

TEST(LostPictures, ToTheEndOfAFilmWithOneKeyLeadToTheLastOneThatIsThere) {
    constexpr int kFrames = 600;
    constexpr int kLost = 200;
    const std::string& film =
        Clip("one-key.mp4", {.width = 160, .height = 96, .frames = kFrames, .keyInterval = kFrames});
    const OpenPort port(film);
    ASSERT_TRUE(port.Open());
    // Open already: a small file is looked through for such units.
    for (int frame = kLost; frame < kFrames; ++frame)
        Spoil(film, frame);
    port.PlayPaused();
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 450));
    EXPECT_EQ(port.StillNumber(), kLost - 1);
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(kLost - 1));
}

TEST(LostPictures, AStepThatFindsNothingButThemLeavesThePortPlaying) {
    constexpr int kLost = 70;
    const std::string& film =
        Clip("no-end.mp4", {.width = 160, .height = 96, .frames = 100, .keyInterval = 25});
    const OpenPort port(film);
    ASSERT_TRUE(port.Open());
    for (int frame = kLost; frame < 100; ++frame)
        Spoil(film, frame);
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(port, CountEnd, &ends);
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, kLost - 1));
    ASSERT_TRUE(Dravo_Slow(port));
    ASSERT_TRUE(port.WaitForPicture(kLost - 1));
    EXPECT_FALSE(Dravo_OneByOne(port));
    EXPECT_TRUE(support::WaitUntil([&] { return ends == 1; }, 30s)) << "it plays to its end";
    EXPECT_EQ(Dravo_GetCurrentFrameNum(port), static_cast<unsigned long>(kLost - 1));
}

class ChangingFile : public testing::Test {
  protected:
    static constexpr int kFrames = 250;
    static constexpr int kGroup = 25;

    static support::ClipContainer Container(const std::string& ending) {
        if (ending == "mp4") return support::ClipContainer::Mp4;
        return ending == "mkv" ? support::ClipContainer::Matroska : support::ClipContainer::RawStream;
    }
    // A copy of the film that may be spoilt.
    std::string Copy(const std::string& ending) {
        const std::string& film = Clip("whole." + ending, {.width = 640,
                                                           .height = 360,
                                                           .frames = kFrames,
                                                           .keyInterval = kGroup,
                                                           .bFrames = 2,
                                                           .codecOptions = {{"crf", "12"}},
                                                           .container = Container(ending)});
        const std::string copy = m_folder / ("copy." + ending);
        std::filesystem::copy_file(film, copy, std::filesystem::copy_options::overwrite_existing);
        return copy;
    }
    static bool PlaysTo(const OpenPort& port, int frame) {
        return support::WaitUntil([&] { return port.Pictures().Last() >= frame; }, 10s);
    }

    support::TemporaryFolder m_folder;
};

class CutWhilePlaying : public ChangingFile, public testing::WithParamInterface<const char*> {};

TEST_P(CutWhilePlaying, EndsOnceAndWhatIsLeftCanStillBeSeen) {
    const std::string path = Copy(GetParam());
    const OpenPort port(path);
    ASSERT_TRUE(port.Open());
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(port, CountEnd, &ends);
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(PlaysTo(port, 20));
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
    EXPECT_TRUE(support::WaitUntil([&] { return ends == 1; }, 20s)) << "it plays to its end";
    EXPECT_GE(port.Pictures().Last(), 70) << "what was there of it was shown";
    EXPECT_EQ(Dravo_GetFileTotalFrames(port), static_cast<unsigned long>(kFrames));

    // Where nothing is any more the nearest picture is shown; where something is, just that.
    EXPECT_TRUE(InTime([&] { return Dravo_SetCurrentFrameNum(port, kFrames - 10); }));
    const int nearest = InTime([&] { return port.StillNumber(); });
    EXPECT_GE(nearest, 70);
    EXPECT_LT(nearest, 200);
    EXPECT_TRUE(Dravo_Pause(port, 1));
    for (const int frame : {30, 3, 51}) {
        EXPECT_TRUE(
            InTime([&] { return Dravo_SetCurrentFrameNum(port, static_cast<unsigned long>(frame)); }));
        EXPECT_EQ(InTime([&] { return port.StillNumber(); }), frame);
    }
    EXPECT_TRUE(InTime([&] { return Dravo_OneByOneBack(port); }));
    EXPECT_EQ(port.StillNumber(), 50);
    EXPECT_TRUE(InTime([&] { return Dravo_Stop(port); }));
}

TEST_P(CutWhilePlaying, ToNothingHoldsNoCallUp) {
    support::CallTimes time;
    for (int round = 0; round < 3; ++round) {
        const std::string path = Copy(GetParam());
        const OpenPort port(path);
        ASSERT_TRUE(Dravo_Play(port, 0));
        ASSERT_TRUE(PlaysTo(port, 20));
        std::filesystem::resize_file(path, 0);
        EXPECT_TRUE(time("SetCurrentFrameNum", [&] { return Dravo_SetCurrentFrameNum(port, 200); }));
        time("GetBMP", [&] { return port.StillNumber(); });
        time("OneByOne", [&] { return Dravo_OneByOne(port); });
        time("OneByOneBack", [&] { return Dravo_OneByOneBack(port); });
        time("Fast", [&] { return Dravo_Fast(port); });
        EXPECT_TRUE(time("Stop", [&] { return Dravo_Stop(port); }));
        EXPECT_TRUE(time("Play", [&] { return Dravo_Play(port, 0); }));
        EXPECT_TRUE(time("CloseFile", [&] { return Dravo_CloseFile(port); }));
        EXPECT_FALSE(time("OpenFile", [&] { return Dravo_OpenFile(port, path.c_str()); })) << "it is empty";
    }
    EXPECT_LE(time.Slowest(), support::CallTimes::kLongest) << time;
    RecordProperty("slowest_ms", std::to_string(time.Slowest().count()));
}

TEST_P(CutWhilePlaying, BeforeItsFirstPictureEndsOnce) {
    const std::string path = Copy(GetParam());
    const OpenPort port(path);
    ASSERT_TRUE(port.Open());
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(port, CountEnd, &ends);
    std::filesystem::resize_file(path, 0);
    ASSERT_TRUE(Dravo_Play(port, 0));
    EXPECT_TRUE(support::WaitUntil([&] { return ends == 1; }, 30s));
    EXPECT_TRUE(Dravo_SetCurrentFrameNum(port, 100)) << "it still plays, and ends there again";
    EXPECT_TRUE(support::WaitUntil([&] { return ends == 2; }, 30s));
    EXPECT_TRUE(Dravo_Stop(port));
    EXPECT_EQ(ends, 2);
}

INSTANTIATE_TEST_SUITE_P(Files, CutWhilePlaying, testing::Values("mp4", "264", "mkv"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_F(ChangingFile, DeletedWhilePlayingItPlaysToItsEndExactly) {
    const std::string path = Copy("mp4");
    const OpenPort port(path);
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(port, CountEnd, &ends);
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(PlaysTo(port, 20));
    std::filesystem::remove(path);
    for (const int frame : {200, 7, 130}) {
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, static_cast<unsigned long>(frame)));
        ASSERT_TRUE(Dravo_Pause(port, 1));
        EXPECT_EQ(port.StillNumber(), frame);
        ASSERT_TRUE(Dravo_Pause(port, 0));
    }
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, 215));
    EXPECT_TRUE(support::WaitUntil([&] { return ends == 1; }, 20s));
    EXPECT_EQ(port.Pictures().Last(), kFrames - 1);
}

class GrowingFile : public ChangingFile, public testing::WithParamInterface<support::ClipContainer> {};

TEST_P(GrowingFile, OpensAtItsPresentLengthAndPlaysToIt) {
    const std::string path = m_folder / "growing";
    support::MakeClip(path, {.frames = kFrames, .keyInterval = kGroup, .container = GetParam()});
    std::ifstream file(path, std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(file), {}};
    std::ofstream writer(path, std::ios::binary | std::ios::trunc);
    writer << whole.substr(0, whole.size() / 2) << std::flush;
    const OpenPort port(path);
    ASSERT_TRUE(port.Open());
    const unsigned long present = Dravo_GetFileTotalFrames(port);
    EXPECT_GT(present, 80UL);
    EXPECT_LT(present, 170UL);
    std::atomic<int> ends{0};
    Dravo_SetFileEndCallback(port, CountEnd, &ends);
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, present - 30));
    writer << whole.substr(whole.size() / 2) << std::flush;
    EXPECT_TRUE(support::WaitUntil([&] { return ends == 1; }, 20s));
    EXPECT_EQ(Dravo_GetFileTotalFrames(port), present);
    // The last pictures were not all written yet when the file was opened.
    EXPECT_GE(port.Pictures().Last(), static_cast<int>(present) - 4);
    EXPECT_LT(port.Pictures().Last(), static_cast<int>(present));
    // Opened again it is longer.
    ASSERT_TRUE(Dravo_CloseFile(port));
    ASSERT_TRUE(Dravo_OpenFile(port, path.c_str()));
    EXPECT_TRUE(support::WaitUntil([&] { return Dravo_GetFileTotalFrames(port) == kFrames; }, 20s));
}

INSTANTIATE_TEST_SUITE_P(Containers, GrowingFile,
                         testing::Values(support::ClipContainer::RawStream,
                                         support::ClipContainer::FragmentedMp4,
                                         support::ClipContainer::Matroska),
                         [](const auto& tested) {
                             return tested.param == support::ClipContainer::RawStream       ? "Raw"
                                    : tested.param == support::ClipContainer::FragmentedMp4 ? "Fragmented"
                                                                                            : "Matroska";
                         });

} // namespace
