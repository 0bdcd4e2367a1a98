#include "tests/support/AvHandles.h"
#include "tests/support/BarCode.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/TemporaryFolder.h"

extern "C" {
#include <libavutil/display.h>
#include <libavutil/pixdesc.h>
}

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <numeric>

using support::ClipContainer;
using support::ClipOptions;

namespace {

struct SeenPicture {
    int number;
    int width;
    int height;
    bool isKey;
    bool isInterlaced;
    char type;
    double seconds;
};

struct SeenClip {
    std::vector<SeenPicture> pictures;
    double rotation = 0; // clockwise degrees asked for
    AVRational aspect = {0, 1};
    int soundPackets = 0;
    double soundSeconds = 0;
    std::string format;

    std::vector<int> Numbers() const {
        std::vector<int> numbers;
        for (const auto& picture : pictures)
            numbers.push_back(picture.number);
        return numbers;
    }
};

bool IsInterlaced(const AVFrame& frame) {
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 7, 100)
    return (frame.flags & AV_FRAME_FLAG_INTERLACED) != 0;
#else
    return frame.interlaced_frame != 0;
#endif
}

const void* DisplayMatrix(const AVStream& stream) {
#if LIBAVFORMAT_VERSION_INT >= AV_VERSION_INT(60, 15, 100)
    const AVPacketSideData* side = av_packet_side_data_get(
        stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
    return side != nullptr ? side->data : nullptr;
#else
    return av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
#endif
}

int NumberOf(const AVFrame& frame) {
    const int bits = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format))->comp[0].depth;
    return support::ReadBarCodeFromLuma(frame.data[0], frame.linesize[0], frame.width, frame.height, bits);
}

// Decodes the whole clip in one pass.
SeenClip Look(const std::string& path) {
    SeenClip seen;
    AVFormatContext* opened = nullptr;
    support::CheckAv(avformat_open_input(&opened, path.c_str(), nullptr, nullptr), "opening");
    const support::FormatHandle input(opened);
    support::CheckAv(avformat_find_stream_info(input.get(), nullptr), "looking");
    seen.format = input->iformat->name;
    const int index = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    const AVStream& stream = *input->streams[support::CheckAv(index, "finding pictures")];
    if (const void* matrix = DisplayMatrix(stream))
        seen.rotation = -av_display_rotation_get(static_cast<const std::int32_t*>(matrix));
    seen.aspect = stream.sample_aspect_ratio;
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    const support::CodecHandle decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), stream.codecpar);
    support::CheckAv(avcodec_open2(decoder.get(), codec, nullptr), "opening the decoder");
    const support::PacketHandle packet(av_packet_alloc());
    const support::FrameHandle frame(av_frame_alloc());
    const auto drain = [&] {
        while (avcodec_receive_frame(decoder.get(), frame.get()) >= 0) {
            seen.pictures.push_back(
                {NumberOf(*frame), frame->width, frame->height, frame->pict_type == AV_PICTURE_TYPE_I,
                 IsInterlaced(*frame), av_get_picture_type_char(frame->pict_type),
                 static_cast<double>(frame->best_effort_timestamp) * av_q2d(stream.time_base)});
        }
    };
    while (av_read_frame(input.get(), packet.get()) >= 0) {
        if (packet->stream_index == index) {
            avcodec_send_packet(decoder.get(), packet.get());
            drain();
        } else {
            ++seen.soundPackets;
            seen.soundSeconds =
                static_cast<double>(packet->pts) * av_q2d(input->streams[packet->stream_index]->time_base);
        }
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(decoder.get(), nullptr);
    drain();
    return seen;
}

std::vector<int> Range(int from, int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), from);
    return numbers;
}

class ClipMaker : public testing::Test {
  protected:
    SeenClip MakeAndLook(const std::string& name, const ClipOptions& options) {
        support::EncodeClip(m_folder / name, options);
        return Look(m_folder / name);
    }

    support::TemporaryFolder m_folder;
};

} // namespace

TEST(BarCode, EveryBitIsReadBack) {
    std::vector<std::uint8_t> luma(320 * 180, 77);
    for (int number : {0, 1, 2, 3, 12345, 0x55555, 0xaaaaa, support::kLargestBarCode}) {
        support::DrawBarCode(luma.data(), 320, 320, 180, number);
        EXPECT_EQ(support::ReadBarCodeFromLuma(luma.data(), 320, 320, 180), number);
    }
    for (int bit = 0; bit < 20; ++bit) {
        support::DrawBarCode(luma.data(), 320, 320, 180, 1 << bit);
        EXPECT_EQ(support::ReadBarCodeFromLuma(luma.data(), 320, 320, 180), 1 << bit);
    }
}

TEST(BarCode, BlackWhiteAndGreyAreNoCodes) {
    for (const std::uint8_t level : {0, 16, 128, 235, 255}) {
        const std::vector<std::uint8_t> luma(320 * 180, level);
        EXPECT_EQ(support::ReadBarCodeFromLuma(luma.data(), 320, 320, 180), -1) << int(level);
    }
}

TEST(BarCode, OneWrongBlockIsNoticed) {
    std::vector<std::uint8_t> luma(240 * 20);
    for (int block = 0; block < 24; ++block) {
        support::DrawBarCode(luma.data(), 240, 240, 20, 4711);
        for (int y = 0; y < 20; ++y)
            for (int x = block * 10; x < block * 10 + 10; ++x)
                luma[static_cast<std::size_t>(y * 240 + x)] ^= 0xff;
        EXPECT_EQ(support::ReadBarCodeFromLuma(luma.data(), 240, 240, 20), -1) << "block " << block;
    }
}

TEST(BarCode, RowsOfAnyStrideAndDepthAreRead) {
    std::vector<std::uint8_t> luma(400 * 180, 0);
    support::DrawBarCode(luma.data(), 400, 320, 180, 98765);
    std::vector<std::uint8_t> bgra(1500 * 180, 0);
    std::vector<std::uint8_t> deep(800 * 180, 0);
    for (std::size_t y = 0; y < 180; ++y) {
        for (std::size_t x = 0; x < 320; ++x) {
            const std::uint8_t level = luma[y * 400 + x];
            for (std::size_t c = 0; c < 3; ++c)
                bgra[y * 1500 + x * 4 + c] = level;
            deep[y * 800 + x * 2] = static_cast<std::uint8_t>(level << 2);
            deep[y * 800 + x * 2 + 1] = static_cast<std::uint8_t>(level >> 6);
        }
    }
    EXPECT_EQ(support::ReadBarCodeFromLuma(luma.data(), 400, 320, 180), 98765);
    EXPECT_EQ(support::ReadBarCodeFromBgra(bgra.data(), 1500, 320, 180), 98765);
    EXPECT_EQ(support::ReadBarCodeFromLuma(deep.data(), 800, 320, 180, 10), 98765);
}

TEST(BarCode, WhatIsNoPictureIsNoCode) {
    EXPECT_EQ(support::ReadBarCodeFromStillFile("/nonexistent"), -1);
    EXPECT_EQ(support::ReadBarCodeFromStill({}), -1);
    EXPECT_EQ(support::ReadBarCodeFromStill(std::vector<std::uint8_t>(100, 'B')), -1);
    std::vector<std::uint8_t> cut = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(support::ReadBarCodeFromStill(cut), -1);
}

TEST_F(ClipMaker, PicturesCarryTheirNumbersInEveryContainer) {
    const std::vector<std::pair<std::string, ClipContainer>> containers = {
        {"a.mp4", ClipContainer::Mp4},       {"b.mp4", ClipContainer::FragmentedMp4},
        {"c.mov", ClipContainer::Mov},       {"d.mkv", ClipContainer::Matroska},
        {"e.264", ClipContainer::RawStream},
    };
    for (const auto& [name, container] : containers) {
        ClipOptions options;
        options.container = container;
        options.bFrames = 2;
        options.firstNumber = 1000;
        EXPECT_EQ(MakeAndLook(name, options).Numbers(), Range(1000, 100)) << name;
    }
}

TEST_F(ClipMaker, EveryEncoderMakesReadableCodes) {
    for (const char* codec : {"libx264", "libx265", "mpeg4", "libvpx-vp9", "libaom-av1", "libsvtav1"}) {
        if (!support::HasEncoder(codec)) continue;
        ClipOptions options;
        options.codec = codec;
        options.frames = 20;
        EXPECT_EQ(MakeAndLook("clip.mp4", options).Numbers(), Range(0, 20)) << codec;
    }
}

TEST_F(ClipMaker, OtherPixelFormatsAndSmallSizesAreReadable) {
    for (const char* format : {"yuvj420p", "yuv422p", "yuv444p", "yuv420p10le"}) {
        ClipOptions options;
        options.pixelFormat = format;
        options.frames = 5;
        EXPECT_EQ(MakeAndLook("clip.mp4", options).Numbers(), Range(0, 5)) << format;
    }
    ClipOptions small;
    small.width = 176;
    small.height = 144;
    small.frames = 5;
    EXPECT_EQ(MakeAndLook("small.mp4", small).Numbers(), Range(0, 5));
}

TEST_F(ClipMaker, GroupsAndBPicturesAreAsAsked) {
    ClipOptions options;
    options.frames = 60;
    options.keyInterval = 12;
    options.bFrames = 3;
    options.bPyramid = true;
    for (const bool openGop : {false, true}) {
        options.openGop = openGop;
        for (const char* codec : {"libx264", "libx265"}) {
            options.codec = codec;
            const SeenClip seen = MakeAndLook("clip.mp4", options);
            EXPECT_EQ(seen.Numbers(), Range(0, 60)) << codec;
            int keys = 0;
            int both = 0;
            for (const auto& picture : seen.pictures) {
                keys += picture.isKey ? 1 : 0;
                both += picture.type == 'B' ? 1 : 0;
            }
            EXPECT_EQ(keys, 5) << codec << openGop;
            EXPECT_GT(both, 30) << codec << openGop;
        }
    }
}

TEST_F(ClipMaker, RateMayBeAFractionOrVary) {
    ClipOptions options;
    options.frames = 31;
    options.rateNumerator = 30000;
    options.rateDenominator = 1001;
    SeenClip seen = MakeAndLook("a.mp4", options);
    EXPECT_NEAR(seen.pictures.at(30).seconds, 1.001, 0.0005);
    options.durations = {40, 80, 20};
    seen = MakeAndLook("b.mp4", options);
    EXPECT_EQ(seen.Numbers(), Range(0, 31));
    EXPECT_NEAR(seen.pictures.at(1).seconds, 0.040, 0.0005);
    EXPECT_NEAR(seen.pictures.at(2).seconds, 0.120, 0.0005);
    EXPECT_NEAR(seen.pictures.at(3).seconds, 0.140, 0.0005);
}

TEST_F(ClipMaker, FieldsAspectAndRotationAreMarked) {
    ClipOptions options;
    options.frames = 4;
    options.scan = support::ClipScan::TopFieldFirst;
    options.sampleAspectNumerator = 16;
    options.sampleAspectDenominator = 15;
    SeenClip seen = MakeAndLook("a.mp4", options);
    EXPECT_TRUE(seen.pictures.at(1).isInterlaced);
    EXPECT_EQ(av_cmp_q(seen.aspect, {16, 15}), 0);
    EXPECT_EQ(seen.Numbers(), Range(0, 4));

    options = ClipOptions();
    options.frames = 2;
    for (const int degrees : {90, 180, 270}) {
        options.rotation = degrees;
        seen = MakeAndLook("b.mp4", options);
        EXPECT_EQ((static_cast<int>(seen.rotation) + 360) % 360, degrees);
        EXPECT_EQ(seen.pictures.at(0).width, degrees == 180 ? 320 : 180);
        EXPECT_EQ(seen.pictures.at(0).height, degrees == 180 ? 180 : 320);
    }
}

TEST_F(ClipMaker, EditListHidesPicturesAndDelaysTheStart) {
    ClipOptions options;
    options.frames = 20;
    options.bFrames = 2;
    options.hiddenFrames = 7;
    SeenClip seen = MakeAndLook("a.mp4", options);
    EXPECT_EQ(seen.Numbers(), Range(0, 20));
    EXPECT_NEAR(seen.pictures.at(0).seconds, 0.0, 0.0005);

    options.hiddenFrames = 0;
    options.startDelayMs = 400;
    seen = MakeAndLook("b.mp4", options);
    EXPECT_EQ(seen.Numbers(), Range(0, 20));
    EXPECT_NEAR(seen.pictures.at(0).seconds, 0.4, 0.0005);
}

TEST_F(ClipMaker, RawStreamMayChangeItsSize) {
    ClipOptions options;
    options.container = ClipContainer::RawStream;
    options.frames = 30;
    options.sizeChanges = {{10, 640, 360}, {20, 176, 144}};
    const SeenClip seen = MakeAndLook("a.264", options);
    EXPECT_EQ(seen.Numbers(), Range(0, 30));
    EXPECT_EQ(seen.pictures.at(9).width, 320);
    EXPECT_EQ(seen.pictures.at(10).width, 640);
    EXPECT_EQ(seen.pictures.at(20).height, 144);
}

TEST_F(ClipMaker, SoundIsAsLongAsTheFilm) {
    ClipOptions options;
    options.sound = true;
    options.toneHertz = 440;
    const SeenClip seen = MakeAndLook("a.mp4", options);
    EXPECT_EQ(seen.Numbers(), Range(0, 100));
    EXPECT_GT(seen.soundPackets, 180);
    EXPECT_NEAR(seen.soundSeconds, 4.0, 0.1);
}

TEST_F(ClipMaker, AStoredClipIsTheEncodedOne) {
    const auto content = [this](const std::string& name) {
        std::ifstream file(m_folder / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    };
    ClipOptions options;
    options.frames = 7;
    support::EncodeClip(m_folder / "encoded", options);
    for (const char* name : {"first", "second"}) {
        support::MakeClip(m_folder / name, options);
        EXPECT_EQ(content(name), content("encoded"));
    }
    // A test may change its copy.
    std::ofstream(m_folder / "first") << "changed";
    support::MakeClip(m_folder / "first", options);
    EXPECT_EQ(content("first"), content("encoded"));
    options.firstNumber = 1;
    support::MakeClip(m_folder / "other", options);
    EXPECT_NE(content("other"), content("encoded"));
}

TEST_F(ClipMaker, WhatCannotBeMadeIsRefused) {
    ClipOptions options;
    options.codec = "no-such-encoder";
    EXPECT_THROW(support::EncodeClip(m_folder / "a.mp4", options), std::runtime_error);
    options = ClipOptions();
    options.codecOptions["no-such-option"] = "1";
    EXPECT_THROW(support::EncodeClip(m_folder / "a.mp4", options), std::runtime_error);
    EXPECT_THROW(support::EncodeClip("/nonexistent/a.mp4"), std::runtime_error);
}
