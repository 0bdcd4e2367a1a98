// Stills are made, read back by other means (the BMP by hand, the JPEG by its library) and compared with
// colours computed in floating point.
#include "ordune/StillEncoder.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/common.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace ordune;

constexpr int kBlock = 32;    // side of one patch of colour
constexpr int kQuality = 95;  // what the player asks for
constexpr int kBmpBound = 3;  // rounding to 8 bits twice, once magnified by 1.77
constexpr int kJpegBound = 5; // and the quantisation of a flat patch

struct Rgb {
    int r = 0;
    int g = 0;
    int b = 0;
};

// Patches from left to right, top to bottom.
const std::vector<Rgb> kPatches = {{255, 255, 255}, {0, 0, 0},     {255, 0, 0},    {0, 255, 0},
                                   {0, 0, 255},     {255, 255, 0}, {20, 120, 200}, {128, 128, 128}};
constexpr int kPatchColumns = 4;

struct Source {
    AVPixelFormat format = AV_PIX_FMT_YUV420P;
    AVColorSpace space = AVCOL_SPC_SMPTE170M;
    AVColorRange range = AVCOL_RANGE_MPEG;
    double red_weight = 0.299;
    double blue_weight = 0.114;
    bool full = false;
};

struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;

FramePtr NewFrame(int width, int height, const Source& source) {
    FramePtr frame(av_frame_alloc());
    frame->format = source.format;
    frame->width = width;
    frame->height = height;
    frame->colorspace = source.space;
    frame->color_range = source.range;
    if (av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
    return frame;
}

void PutSample(AVFrame& frame, int component, int x, int y, double value) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    const AVComponentDescriptor& part = format->comp[component];
    std::uint8_t* at = frame.data[part.plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[part.plane] +
                       static_cast<std::ptrdiff_t>(x) * part.step + part.offset;
    // The differences of saturated full-range colours round to one more than fits.
    const auto most = (1L << part.depth) - 1;
    const auto whole = std::clamp(std::lround(value), 0L, most) << part.shift;
    at[0] = static_cast<std::uint8_t>(whole);
    if (part.depth > 8) at[1] = static_cast<std::uint8_t>(whole >> 8);
}

// Brightness and colour differences of a colour as this source writes them.
std::array<double, 3> Coded(const Rgb& colour, const Source& source, int depth) {
    const double r = colour.r / 255.0;
    const double g = colour.g / 255.0;
    const double b = colour.b / 255.0;
    const double y =
        source.red_weight * r + (1 - source.red_weight - source.blue_weight) * g + source.blue_weight * b;
    const double blue = (b - y) / (2 * (1 - source.blue_weight));
    const double red = (r - y) / (2 * (1 - source.red_weight));
    const double unit = std::ldexp(1.0, depth - 8);
    const double most = std::ldexp(1.0, depth) - 1;
    if (source.full) return {y * most, blue * most + 128 * unit, red * most + 128 * unit};
    return {(16 + 219 * y) * unit, (128 + 224 * blue) * unit, (128 + 224 * red) * unit};
}

// A frame whose pixel (x, y) has the colour that `colour_at` gives.
template <class ColourAt>
FramePtr Paint(int width, int height, const Source& source, ColourAt colour_at) {
    FramePtr frame = NewFrame(width, height, source);
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(source.format);
    const bool rgb = (format->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    for (int component = 0; component < format->nb_components; ++component) {
        const bool difference = !rgb && component > 0;
        const int across = difference ? format->log2_chroma_w : 0;
        const int down = difference ? format->log2_chroma_h : 0;
        for (int y = 0; y < AV_CEIL_RSHIFT(height, down); ++y) {
            for (int x = 0; x < AV_CEIL_RSHIFT(width, across); ++x) {
                const Rgb colour =
                    colour_at(std::min(width - 1, x << across), std::min(height - 1, y << down));
                double value = 0;
                if (rgb) {
                    value = component == 0 ? colour.r : component == 1 ? colour.g : colour.b;
                } else {
                    value = Coded(colour, source, format->comp[0].depth)[static_cast<std::size_t>(component)];
                }
                PutSample(*frame, component, x, y, value);
            }
        }
    }
    return frame;
}

Rgb PatchAt(int x, int y) {
    const auto index =
        static_cast<std::size_t>(y / kBlock * kPatchColumns + std::min(x / kBlock, kPatchColumns - 1));
    return kPatches[std::min(index, kPatches.size() - 1)];
}

FramePtr PaintPatches(const Source& source) {
    return Paint(kBlock * kPatchColumns, kBlock * 2, source, PatchAt);
}

PicturePtr Wrap(const FramePtr& frame, int rotation = 0) {
    return Picture::FromFrame(frame.get(), 0, MediaTime{0}, rotation);
}

struct Decoded {
    int width = 0;
    int height = 0;
    std::vector<Rgb> pixels;
    const Rgb& At(int x, int y) const { return pixels[static_cast<std::size_t>(y * width + x)]; }
};

std::uint32_t Little(const std::vector<std::uint8_t>& file, std::size_t at, int bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i)
        value |= static_cast<std::uint32_t>(file[at + static_cast<std::size_t>(i)]) << (8 * i);
    return value;
}

Decoded ReadBmp(const std::vector<std::uint8_t>& file) {
    Decoded out;
    EXPECT_EQ(file[0], 'B');
    EXPECT_EQ(file[1], 'M');
    EXPECT_EQ(Little(file, 2, 4), file.size());
    EXPECT_EQ(Little(file, 14, 4), 40U);
    EXPECT_EQ(Little(file, 26, 2), 1U);
    EXPECT_EQ(Little(file, 28, 2), 24U);
    EXPECT_EQ(Little(file, 30, 4), 0U);
    out.width = static_cast<int>(Little(file, 18, 4));
    out.height = static_cast<int>(Little(file, 22, 4));
    const std::size_t start = Little(file, 10, 4);
    const std::size_t row = (static_cast<std::size_t>(out.width) * 3 + 3) / 4 * 4;
    EXPECT_EQ(start + row * static_cast<std::size_t>(out.height), file.size());
    for (int y = 0; y < out.height; ++y) {
        const std::size_t at = start + row * static_cast<std::size_t>(out.height - 1 - y);
        for (int x = 0; x < out.width; ++x) {
            const std::size_t pixel = at + static_cast<std::size_t>(x) * 3;
            out.pixels.push_back({file[pixel + 2], file[pixel + 1], file[pixel]});
        }
    }
    return out;
}

Decoded ReadJpeg(const std::vector<std::uint8_t>& file) {
    Decoded out;
    tjhandle handle = tjInitDecompress();
    int sampling = 0;
    int space = 0;
    EXPECT_EQ(
        tjDecompressHeader3(handle, file.data(), file.size(), &out.width, &out.height, &sampling, &space), 0);
    EXPECT_EQ(sampling, TJSAMP_420);
    EXPECT_EQ(space, TJCS_YCbCr);
    EXPECT_EQ(std::memcmp(file.data() + 6, "JFIF", 5), 0);
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(out.width * out.height) * 3);
    EXPECT_EQ(
        tjDecompress2(handle, file.data(), file.size(), pixels.data(), out.width, 0, out.height, TJPF_RGB, 0),
        0);
    tjDestroy(handle);
    for (std::size_t i = 0; i < pixels.size(); i += 3)
        out.pixels.push_back({pixels[i], pixels[i + 1], pixels[i + 2]});
    return out;
}

Decoded Bmp(const Picture& picture) {
    std::vector<std::uint8_t> file(static_cast<std::size_t>(picture.Width() * picture.Height()) * 5 + 100);
    StillEncoder encoder;
    const auto length = encoder.EncodeBmp(picture, file);
    if (!length) {
        ADD_FAILURE() << length.Failure().text;
        return {};
    }
    file.resize(length.Value());
    return ReadBmp(file);
}

Decoded Jpeg(const Picture& picture) {
    std::vector<std::uint8_t> file(static_cast<std::size_t>(picture.Width() * picture.Height()) * 5 + 1000);
    StillEncoder encoder;
    const auto length = encoder.EncodeJpeg(picture, kQuality, file);
    if (!length) {
        ADD_FAILURE() << length.Failure().text;
        return {};
    }
    file.resize(length.Value());
    return ReadJpeg(file);
}

int Distance(const Rgb& a, const Rgb& b) {
    return std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)});
}

std::string Text(const Rgb& c) {
    return std::to_string(c.r) + " " + std::to_string(c.g) + " " + std::to_string(c.b);
}

// The middle of every patch has the colour it was painted with.
void ExpectPatches(const Decoded& still, int bound) {
    ASSERT_EQ(still.width, kBlock * kPatchColumns);
    ASSERT_EQ(still.height, kBlock * 2);
    for (std::size_t i = 0; i < kPatches.size(); ++i) {
        const int x = static_cast<int>(i) % kPatchColumns * kBlock + kBlock / 2;
        const int y = static_cast<int>(i) / kPatchColumns * kBlock + kBlock / 2;
        EXPECT_LE(Distance(still.At(x, y), kPatches[i]), bound)
            << "patch " << i << " is " << Text(still.At(x, y)) << ", painted " << Text(kPatches[i]);
    }
}

const Source kBt601Limited{};
const Source kBt709Limited{AV_PIX_FMT_YUV420P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 0.2126, 0.0722, false};

struct NamedSource {
    const char* name;
    Source source;
};

class StillColours : public testing::TestWithParam<NamedSource> {};

TEST_P(StillColours, AreThoseOfThePictureInABmp) {
    ExpectPatches(Bmp(*Wrap(PaintPatches(GetParam().source))), kBmpBound);
}

TEST_P(StillColours, AreThoseOfThePictureInAJpeg) {
    ExpectPatches(Jpeg(*Wrap(PaintPatches(GetParam().source))), kJpegBound);
}

INSTANTIATE_TEST_SUITE_P(
    Sources, StillColours,
    testing::Values(
        NamedSource{"Bt601Limited", kBt601Limited}, NamedSource{"Bt709Limited", kBt709Limited},
        NamedSource{"Bt601Full",
                    {AV_PIX_FMT_YUV420P, AVCOL_SPC_BT470BG, AVCOL_RANGE_JPEG, 0.299, 0.114, true}},
        NamedSource{"Bt709Full",
                    {AV_PIX_FMT_YUV420P, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG, 0.2126, 0.0722, true}},
        NamedSource{"FormatWithFullRangeInItsName",
                    {AV_PIX_FMT_YUVJ420P, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_UNSPECIFIED, 0.299, 0.114, true}},
        NamedSource{
            "NothingSaidInStandardSize",
            {AV_PIX_FMT_YUV420P, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED, 0.299, 0.114, false}},
        NamedSource{"RgbClaimedForColourDifferences",
                    {AV_PIX_FMT_YUV420P, AVCOL_SPC_RGB, AVCOL_RANGE_MPEG, 0.299, 0.114, false}},
        NamedSource{"TenBits",
                    {AV_PIX_FMT_YUV420P10LE, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 0.2126, 0.0722, false}},
        NamedSource{"TenBitsFull",
                    {AV_PIX_FMT_YUV420P10LE, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG, 0.2126, 0.0722, true}},
        NamedSource{"TwelveBits422",
                    {AV_PIX_FMT_YUV422P12LE, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, 0.299, 0.114, false}},
        NamedSource{"SixteenBits444",
                    {AV_PIX_FMT_YUV444P16LE, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, 0.299, 0.114, false}},
        NamedSource{"Bt2020TenBits",
                    {AV_PIX_FMT_YUV420P10LE, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG, 0.2627, 0.0593, false}},
        NamedSource{"Limited422",
                    {AV_PIX_FMT_YUV422P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 0.2126, 0.0722, false}},
        NamedSource{"Limited444",
                    {AV_PIX_FMT_YUV444P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 0.2126, 0.0722, false}},
        NamedSource{"Limited440",
                    {AV_PIX_FMT_YUV440P, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, 0.299, 0.114, false}},
        NamedSource{"Limited411",
                    {AV_PIX_FMT_YUV411P, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, 0.299, 0.114, false}},
        NamedSource{"Limited410",
                    {AV_PIX_FMT_YUV410P, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, 0.299, 0.114, false}},
        NamedSource{"InterleavedDifferences",
                    {AV_PIX_FMT_NV12, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 0.2126, 0.0722, false}},
        NamedSource{"Rgb24", {AV_PIX_FMT_RGB24, AVCOL_SPC_RGB, AVCOL_RANGE_JPEG, 0, 0, true}},
        NamedSource{"PlanarRgb", {AV_PIX_FMT_GBRP, AVCOL_SPC_RGB, AVCOL_RANGE_JPEG, 0, 0, true}}),
    [](const testing::TestParamInfo<NamedSource>& parameter) { return parameter.param.name; });

TEST(StillEncoder, ReadsAHighDefinitionPictureWithoutStatementAsBt709) {
    Source source = kBt709Limited;
    source.space = AVCOL_SPC_UNSPECIFIED;
    const Rgb colour{200, 40, 90};
    const auto frame = Paint(1280, 720, source, [&](int, int) { return colour; });
    const Decoded still = Bmp(*Wrap(frame));
    EXPECT_LE(Distance(still.At(640, 360), colour), kBmpBound) << Text(still.At(640, 360));
}

TEST(StillEncoder, GivesGreyPicturesNoColour) {
    const Source source{AV_PIX_FMT_GRAY8, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_MPEG, 0.299, 0.114, false};
    const auto frame = Paint(64, 48, source, [](int x, int) {
        return x < 32 ? Rgb{0, 0, 0} : Rgb{180, 180, 180};
    });
    for (const Decoded& still : {Bmp(*Wrap(frame)), Jpeg(*Wrap(frame))}) {
        EXPECT_LE(Distance(still.At(8, 24), {0, 0, 0}), kJpegBound);
        EXPECT_LE(Distance(still.At(56, 24), {180, 180, 180}), kJpegBound);
    }
}

TEST(StillEncoder, CutsWhatIsBelowBlackAndAboveWhite) {
    const auto frame = NewFrame(64, 64, kBt601Limited);
    for (int y = 0; y < 64; ++y)
        std::memset(frame->data[0] + y * frame->linesize[0], y < 32 ? 1 : 254, 64);
    for (int y = 0; y < 32; ++y) {
        std::memset(frame->data[1] + y * frame->linesize[1], 128, 32);
        std::memset(frame->data[2] + y * frame->linesize[2], 128, 32);
    }
    const Decoded still = Bmp(*Wrap(frame));
    EXPECT_LE(Distance(still.At(5, 5), {0, 0, 0}), 0);
    EXPECT_LE(Distance(still.At(5, 60), {255, 255, 255}), 0);
}

// Every combination of brightness and colour differences comes within rounding of the exact conversion.
TEST(StillEncoder, IsExactToRoundingOverTheWholeRangeOfValues) {
    const int step = 5;
    for (const Source& source : {kBt601Limited, kBt709Limited}) {
        int worst = 0;
        for (int blue = 16; blue <= 240; blue += step * 4) {
            const auto frame = NewFrame(256, 256, source);
            for (int y = 0; y < 256; ++y) {
                for (int x = 0; x < 256; ++x)
                    PutSample(*frame, 0, x, y, std::clamp(x, 16, 235));
            }
            for (int y = 0; y < 128; ++y) {
                for (int x = 0; x < 128; ++x) {
                    PutSample(*frame, 1, x, y, blue);
                    PutSample(*frame, 2, x, y, std::clamp(y / step * step * 2, 16, 240));
                }
            }
            const Decoded still = Bmp(*Wrap(frame));
            // Away from where the colour differences step, since they are smoothed there.
            for (int y = step; y < 256; y += 2 * step) {
                for (int x = 16; x <= 235; ++x) {
                    const double luma = (x - 16) / 219.0;
                    const double cb = (blue - 128) / 224.0;
                    const double cr = (std::clamp(y / 2 / step * step * 2, 16, 240) - 128) / 224.0;
                    const double r = luma + 2 * (1 - source.red_weight) * cr;
                    const double b = luma + 2 * (1 - source.blue_weight) * cb;
                    const double g = (luma - source.red_weight * r - source.blue_weight * b) /
                                     (1 - source.red_weight - source.blue_weight);
                    // Colours that no screen has are cut at different stages; only real ones are compared.
                    if (std::min({r, g, b}) < 0 || std::max({r, g, b}) > 1) continue;
                    const Rgb wanted{static_cast<int>(std::lround(r * 255)),
                                     static_cast<int>(std::lround(g * 255)),
                                     static_cast<int>(std::lround(b * 255))};
                    worst = std::max(worst, Distance(still.At(x, y), wanted));
                }
            }
        }
        EXPECT_LE(worst, 2);
    }
}

TEST(StillEncoder, WritesTheBottomRowFirst) {
    const auto frame = Paint(64, 64, kBt601Limited, [](int, int y) {
        return y < 32 ? Rgb{255, 255, 255} : Rgb{};
    });
    std::vector<std::uint8_t> file(64 * 64 * 5);
    StillEncoder encoder;
    ASSERT_TRUE(encoder.EncodeBmp(*Wrap(frame), file));
    EXPECT_LE(file[54], 1);
    EXPECT_GE(file[54 + 63 * 64 * 3], 254);
}

TEST(StillEncoder, PadsTheRowsOfOddWidthsWithZeroes) {
    for (const int width : {65, 66, 67}) {
        const auto frame = Paint(width, 33, kBt601Limited, [](int, int) { return Rgb{200, 100, 50}; });
        std::vector<std::uint8_t> file(static_cast<std::size_t>(width) * 33 * 5, 0xee);
        StillEncoder encoder;
        const auto length = encoder.EncodeBmp(*Wrap(frame), file);
        ASSERT_TRUE(length);
        const std::size_t row = (static_cast<std::size_t>(width) * 3 + 3) / 4 * 4;
        ASSERT_EQ(length.Value(), 54 + row * 33);
        for (std::size_t y = 0; y < 33; ++y) {
            for (std::size_t x = static_cast<std::size_t>(width) * 3; x < row; ++x)
                ASSERT_EQ(file[54 + y * row + x], 0) << "width " << width << " row " << y;
        }
    }
}

TEST(StillEncoder, KeepsTheLastColumnAndRowOfOddSizes) {
    const auto colour = [](int x, int y) { return x >= 64 || y >= 48 ? Rgb{255, 255, 255} : Rgb{0, 0, 0}; };
    const auto frame = Paint(65, 49, kBt601Limited, colour);
    const Decoded bmp = Bmp(*Wrap(frame));
    const Decoded jpeg = Jpeg(*Wrap(frame));
    ASSERT_EQ(bmp.width, 65);
    ASSERT_EQ(jpeg.width, 65);
    ASSERT_EQ(jpeg.height, 49);
    EXPECT_GE(bmp.At(64, 20).g, 250);
    EXPECT_GE(bmp.At(20, 48).g, 250);
    EXPECT_LE(bmp.At(63, 47).g, 5);
    EXPECT_GE(jpeg.At(64, 20).g, 200);
    EXPECT_GE(jpeg.At(20, 48).g, 200);
}

class TurnedStill : public testing::TestWithParam<std::tuple<int, int, int, AVPixelFormat>> {};

TEST_P(TurnedStill, ShowsEachCornerWhereTheRotationPutsIt) {
    const auto [rotation, width, height, format] = GetParam();
    Source source = kBt601Limited;
    source.format = format;
    const Rgb corners[2][2] = {{{255, 0, 0}, {0, 255, 0}}, {{0, 0, 255}, {255, 255, 255}}};
    const auto colour_at = [&, w = width, h = height](int x, int y) {
        return corners[y < h / 2 ? 0 : 1][x < w / 2 ? 0 : 1];
    };
    const auto frame = Paint(width, height, source, colour_at);
    const PicturePtr picture = Wrap(frame, rotation);
    for (const Decoded& still : {Bmp(*picture), Jpeg(*picture)}) {
        ASSERT_EQ(still.width, picture->Width());
        ASSERT_EQ(still.height, picture->Height());
        for (int y = 4; y < height; y += 7) {
            for (int x = 4; x < width; x += 7) {
                // Edges are smoothed; look at what is clear of them.
                if (std::abs(x - width / 2) < 17 || std::abs(y - height / 2) < 17) continue;
                int shown_x = x;
                int shown_y = y;
                if (rotation == 90) {
                    shown_x = height - 1 - y;
                    shown_y = x;
                } else if (rotation == 180) {
                    shown_x = width - 1 - x;
                    shown_y = height - 1 - y;
                } else if (rotation == 270) {
                    shown_x = y;
                    shown_y = width - 1 - x;
                }
                ASSERT_LE(Distance(still.At(shown_x, shown_y), colour_at(x, y)), 8) << x << "," << y;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Turns, TurnedStill,
                         testing::Combine(testing::Values(0, 90, 180, 270), testing::Values(96, 97),
                                          testing::Values(64, 75),
                                          testing::Values(AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P)));

TEST(StillEncoder, LeavesPixelsThatAreNotSquareUnstretched) {
    const auto frame = Paint(128, 48, kBt601Limited, [](int, int) { return Rgb{9, 9, 9}; });
    frame->sample_aspect_ratio = {1, 2};
    EXPECT_EQ(Bmp(*Wrap(frame)).height, 48);
    EXPECT_EQ(Jpeg(*Wrap(frame)).height, 48);
}

FramePtr Noise(int width, int height, unsigned seed) {
    FramePtr frame = NewFrame(width, height, kBt601Limited);
    std::mt19937 random(seed);
    for (int component = 0; component < 3; ++component) {
        const int shift = component ? 1 : 0;
        for (int y = 0; y < AV_CEIL_RSHIFT(height, shift); ++y) {
            for (int x = 0; x < AV_CEIL_RSHIFT(width, shift); ++x)
                PutSample(*frame, component, x, y, random() % 2 ? 255 : 0);
        }
    }
    return frame;
}

TEST(StillEncoder, FitsFiveBytesAPixelWhateverTheContent) {
    constexpr unsigned kSeed = 20;
    SCOPED_TRACE("seed " + std::to_string(kSeed));
    StillEncoder encoder;
    for (const auto& [width, height] :
         {std::pair{16, 16}, {18, 16}, {33, 31}, {64, 64}, {65, 63}, {176, 144}}) {
        const auto frame = Noise(width, height, kSeed);
        std::vector<std::uint8_t> file(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                                       5);
        EXPECT_TRUE(encoder.EncodeBmp(*Wrap(frame), file)) << width << "x" << height;
        EXPECT_TRUE(encoder.EncodeJpeg(*Wrap(frame), kQuality, file)) << width << "x" << height;
    }
}

TEST(StillEncoder, NeedsExactlyTheBytesItWritesAndTouchesNoneBeyond) {
    const auto frame = Noise(90, 70, 3);
    StillEncoder encoder;
    const auto encode = [&](bool jpeg, std::span<std::uint8_t> out) {
        return jpeg ? encoder.EncodeJpeg(*Wrap(frame), kQuality, out) : encoder.EncodeBmp(*Wrap(frame), out);
    };
    for (const bool jpeg : {false, true}) {
        std::vector<std::uint8_t> file(90 * 70 * 5, 0xa5);
        const auto length = encode(jpeg, file);
        ASSERT_TRUE(length);
        const std::size_t needed = length.Value();
        EXPECT_TRUE(std::all_of(file.begin() + static_cast<std::ptrdiff_t>(needed), file.end(),
                                [](std::uint8_t byte) { return byte == 0xa5; }));

        std::vector<std::uint8_t> guarded(needed + 4096, 0xa5);
        const auto again = encode(jpeg, std::span(guarded.data(), needed));
        ASSERT_TRUE(again);
        EXPECT_EQ(again.Value(), needed);
        EXPECT_TRUE(
            std::equal(guarded.begin(), guarded.begin() + static_cast<std::ptrdiff_t>(needed), file.begin()));
        EXPECT_TRUE(std::all_of(guarded.begin() + static_cast<std::ptrdiff_t>(needed), guarded.end(),
                                [](std::uint8_t byte) { return byte == 0xa5; }));

        std::fill(guarded.begin(), guarded.end(), std::uint8_t{0xa5});
        const auto refused = encode(jpeg, std::span(guarded.data(), needed - 1));
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.Failure().kind, ErrorKind::OutOfRange);
        EXPECT_TRUE(
            std::all_of(guarded.begin(), guarded.end(), [](std::uint8_t byte) { return byte == 0xa5; }));
        EXPECT_FALSE(encode(jpeg, {}));
    }
}

TEST(StillEncoder, TakesPicturesOfChangingSizeAndKindInTurn) {
    StillEncoder encoder;
    std::vector<std::uint8_t> file(1000 * 1000);
    for (int round = 0; round < 3; ++round) {
        for (const auto format :
             {AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_NV12, AV_PIX_FMT_YUV420P, AV_PIX_FMT_RGB24}) {
            Source source = kBt601Limited;
            source.format = format;
            const int side = 40 + 16 * round;
            const Rgb colour{60, 130, 190};
            const auto frame = Paint(side, side, source, [&](int, int) { return colour; });
            const auto length = encoder.EncodeBmp(*Wrap(frame), file);
            ASSERT_TRUE(length);
            const Decoded still =
                ReadBmp({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length.Value())});
            ASSERT_EQ(still.width, side);
            EXPECT_LE(Distance(still.At(side / 2, side / 2), colour), kBmpBound);
        }
    }
}

} // namespace
