// A day's recording, 2,160,000 pictures at 25 a second, is counted, sought and stepped like a short one.
#include "tests/dravo/PortFixture.h"
#include "tests/support/AvHandles.h"

#include <fstream>
#include <iterator>

using namespace dravo_tests;

namespace {

constexpr unsigned long kPart = 250; // pictures of the clip that the day is made of
constexpr unsigned long kParts = 8640;
constexpr unsigned long kDay = kPart * kParts;

// Nothing between key pictures but what changes: a day of it is some 200 MB.
support::ClipOptions PartOf(support::ClipContainer container) {
    return {.width = 96,
            .height = 64,
            .frames = kPart,
            .keyInterval = 125,
            .codecOptions = {{"crf", "40"}},
            .container = container};
}

std::string Day(const std::string& name) {
    static support::TemporaryFolder folder;
    return folder / name;
}

// A raw stream may simply be repeated: each part begins with a key picture and its parameter sets.
std::string RawDay() {
    const std::string& part = Clip("part.264", PartOf(support::ClipContainer::RawStream));
    std::ifstream in(part, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    std::ofstream out(Day("day.264"), std::ios::binary);
    for (unsigned long i = 0; i < kParts; ++i)
        out << bytes;
    EXPECT_TRUE(out.flush());
    return Day("day.264");
}

// The part's packets over and over, with times that go on.
std::string Mp4Day() {
    const std::string& part = Clip("part.mp4", PartOf(support::ClipContainer::Mp4));
    AVFormatContext* opened = nullptr;
    support::CheckAv(avformat_open_input(&opened, part.c_str(), nullptr, nullptr), "opening the part");
    const support::FormatHandle in(opened);
    std::vector<support::PacketHandle> packets;
    for (;;) {
        support::PacketHandle packet(av_packet_alloc());
        if (av_read_frame(in.get(), packet.get()) < 0) break;
        packets.push_back(std::move(packet));
    }
    const AVStream& from = *in->streams[0];
    const std::int64_t frame = from.duration / static_cast<std::int64_t>(kPart);

    const std::string path = Day("day.mp4");
    support::CheckAv(avformat_alloc_output_context2(&opened, nullptr, "mp4", path.c_str()), "a container");
    const support::FormatHandle out(opened);
    support::CheckAv(avio_open(&out->pb, path.c_str(), AVIO_FLAG_WRITE), "writing the day");
    AVStream* to = avformat_new_stream(out.get(), nullptr);
    support::CheckAv(avcodec_parameters_copy(to->codecpar, from.codecpar), "describing the stream");
    to->time_base = from.time_base;
    support::CheckAv(avformat_write_header(out.get(), nullptr), "beginning the day");
    const support::PacketHandle packet(av_packet_alloc());
    for (std::size_t i = 0; i < kDay; ++i) {
        support::CheckAv(av_packet_ref(packet.get(), packets[i % kPart].get()), "a packet");
        const std::int64_t later = static_cast<std::int64_t>(i / kPart * kPart) * frame;
        packet->pts += later;
        packet->dts += later;
        av_packet_rescale_ts(packet.get(), from.time_base, to->time_base);
        packet->stream_index = 0;
        support::CheckAv(av_write_frame(out.get(), packet.get()), "writing a packet");
        av_packet_unref(packet.get());
    }
    support::CheckAv(av_write_trailer(out.get()), "ending the day");
    return path;
}

int NumberIn(unsigned long frame) {
    return static_cast<int>(frame % kPart);
}

void ExpectADay(const std::string& path) {
    const auto begin = std::chrono::steady_clock::now();
    const auto since = [&] {
        return static_cast<long long>(
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin)
                .count());
    };
    const OpenPort port(path);
    ASSERT_TRUE(port.Open());
    const long long opened = since();
    ASSERT_TRUE(support::WaitUntil([&] { return Dravo_GetFileTotalFrames(port) == kDay; }, 60s));
    std::printf("opened after %lld ms, counted after %lld ms\n", opened, since());
    EXPECT_EQ(Dravo_GetFileTime(port), 24UL * 60 * 60);
    ASSERT_TRUE(Dravo_Play(port, 0));
    ASSERT_TRUE(Dravo_Pause(port, 1));
    for (const unsigned long frame : {kDay - 1, 0UL, kDay / 2 + 17, 1'234'567UL, kDay - kPart, 124UL}) {
        SCOPED_TRACE(frame);
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
        EXPECT_EQ(port.StillNumber(), NumberIn(frame));
        EXPECT_EQ(Dravo_GetCurrentFrameNum(port), frame);
        if (frame + 2 < kDay) {
            ASSERT_TRUE(Dravo_OneByOne(port));
            ASSERT_TRUE(Dravo_OneByOne(port));
            EXPECT_EQ(port.StillNumber(), NumberIn(frame + 2));
        }
        if (frame > 0) {
            ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
            ASSERT_TRUE(Dravo_OneByOneBack(port));
            EXPECT_EQ(port.StillNumber(), NumberIn(frame - 1));
        }
        DravoFramePos key{};
        ASSERT_TRUE(Dravo_GetKeyFramePos(port, frame, 1, &key));
        EXPECT_EQ(key.frame, frame / 125 * 125);
        EXPECT_EQ(key.milliseconds, key.frame * 40);
    }
    ASSERT_TRUE(Dravo_SetPlayedTimeEx(port, 23UL * 60 * 60 * 1000 + 40));
    EXPECT_EQ(port.StillNumber(), NumberIn(23UL * 60 * 60 * 25 + 1));
}

} // namespace

TEST(ADaysRecording, IsLikeAShortOneAsARawStream) {
    ExpectADay(RawDay());
}

TEST(ADaysRecording, IsLikeAShortOneAsMp4) {
    ExpectADay(Mp4Day());
}
