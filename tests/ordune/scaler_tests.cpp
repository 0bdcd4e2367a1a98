// Pictures as pixels for the screen.

#include "ordune/PictureScaler.h"
#include "ordune/PlanarBuffer.h"
#include "ordune/SlowGather.h"
#include "tests/support/Pictures.h"

extern "C" {
#include <libavutil/cpu.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

namespace ordune {
// For the tests' names.
void PrintTo(ScaleQuality quality, std::ostream* out) {
    *out << (quality == ScaleQuality::High ? "High" : quality == ScaleQuality::Fast ? "Fast" : "Half");
}
} // namespace ordune

namespace {

using ordune::PictureArea;
using ordune::PicturePtr;
using ordune::PictureScaler;
using ordune::ScaleQuality;
using support::MakePicture;
using support::PictureSetup;
using support::Yuv;

constexpr ScaleQuality kQualities[] = {ScaleQuality::High, ScaleQuality::Fast, ScaleQuality::Half};

struct Rgb {
    int r;
    int g;
    int b;
};

constexpr Rgb kBlack{0, 0, 0};
constexpr Rgb kWhite{255, 255, 255};
constexpr Rgb kRed{255, 0, 0};
constexpr Rgb kGreen{0, 255, 0};
constexpr Rgb kBlue{0, 0, 255};

// A screen buffer with a guard behind it.
class Screen {
  public:
    static constexpr std::uint8_t kGuard = 0xA5;
    static constexpr std::size_t kGuardBytes = 256;

    Screen(int width, int height, int stride = 0)
        : m_width(width), m_height(height), m_stride(stride == 0 ? width * 4 : stride),
          m_bytes(static_cast<std::size_t>(m_stride) * static_cast<std::size_t>(height) + 2 * kGuardBytes,
                  kGuard) {}

    std::uint8_t* Pixels() { return m_bytes.data() + kGuardBytes; }
    int Stride() const { return m_stride; }

    Rgb At(int x, int y) {
        const std::uint8_t* pixel = Pixels() + static_cast<std::ptrdiff_t>(y) * m_stride + x * 4;
        return {pixel[2], pixel[1], pixel[0]};
    }
    int AlphaAt(int x, int y) { return Pixels()[static_cast<std::ptrdiff_t>(y) * m_stride + x * 4 + 3]; }

    bool GuardsAreWhole() const {
        const auto is_guard = [](std::uint8_t byte) { return byte == kGuard; };
        return std::all_of(m_bytes.begin(), m_bytes.begin() + kGuardBytes, is_guard) &&
               std::all_of(m_bytes.end() - kGuardBytes, m_bytes.end(), is_guard);
    }

    ordune::Result<void> Fill(PictureScaler& scaler, const PicturePtr& picture, ScaleQuality quality,
                              const PictureArea& area = {}) {
        return scaler.Scale(*picture, area, quality, Pixels(), m_width, m_height, m_stride);
    }

    testing::AssertionResult Shows(int x, int y, const Rgb& colour, int tolerance = 5) {
        const Rgb pixel = At(x, y);
        const bool alike = std::abs(pixel.r - colour.r) <= tolerance &&
                           std::abs(pixel.g - colour.g) <= tolerance &&
                           std::abs(pixel.b - colour.b) <= tolerance;
        if (alike && AlphaAt(x, y) == 255) return testing::AssertionSuccess();
        return testing::AssertionFailure()
               << "pixel " << x << "," << y << " is " << pixel.r << "," << pixel.g << "," << pixel.b
               << " alpha " << AlphaAt(x, y) << ", not " << colour.r << "," << colour.g << "," << colour.b;
    }

  private:
    int m_width;
    int m_height;
    int m_stride;
    std::vector<std::uint8_t> m_bytes;
};

// Upper left red, upper right green, lower left blue, lower right white.
PicturePtr Quarters(int width, int height, const PictureSetup& setup = {}) {
    return MakePicture(
        width, height,
        [&](int x, int y) {
            if (y < height / 2) return x < width / 2 ? support::kRed : support::kGreen;
            return x < width / 2 ? support::kBlue : support::kWhite;
        },
        setup);
}

PicturePtr Solid(int width, int height, const Yuv& colour, const PictureSetup& setup = {}) {
    return MakePicture(
        width, height, [&](int, int) { return colour; }, setup);
}

// The corners' colours in the order upper left, upper right, lower left, lower right.
void ExpectCorners(Screen& screen, int width, int height, const std::array<Rgb, 4>& corners,
                   int tolerance = 5) {
    const int left = std::max(width / 8, 0);
    const int top = std::max(height / 8, 0);
    EXPECT_TRUE(screen.Shows(left, top, corners[0], tolerance));
    EXPECT_TRUE(screen.Shows(width - 1 - left, top, corners[1], tolerance));
    EXPECT_TRUE(screen.Shows(left, height - 1 - top, corners[2], tolerance));
    EXPECT_TRUE(screen.Shows(width - 1 - left, height - 1 - top, corners[3], tolerance));
}

class EveryFormat : public testing::TestWithParam<AVPixelFormat> {};

TEST_P(EveryFormat, ComesOutInItsColoursAtEverySizeAndQuality) {
    const PicturePtr picture = Quarters(160, 96, {.format = GetParam()});
    PictureScaler scaler;
    for (const ScaleQuality quality : kQualities) {
        for (const auto& [width, height] :
             {std::pair{160, 96}, {320, 200}, {80, 48}, {37, 29}, {640, 481}, {24, 16}}) {
            SCOPED_TRACE(testing::PrintToString(quality) + " " + std::to_string(width) + "x" +
                         std::to_string(height));
            Screen screen(width, height);
            ASSERT_TRUE(screen.Fill(scaler, picture, quality));
            ExpectCorners(screen, width, height, {kRed, kGreen, kBlue, kWhite});
            EXPECT_TRUE(screen.GuardsAreWhole());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(ScalerTest, EveryFormat,
                         testing::Values(AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV444P,
                                         AV_PIX_FMT_NV12, AV_PIX_FMT_YUV420P10LE, AV_PIX_FMT_YUV422P10LE,
                                         AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_P010LE, AV_PIX_FMT_YUYV422,
                                         AV_PIX_FMT_YUV440P),
                         [](const auto& test) { return std::string(av_get_pix_fmt_name(test.param)); });

TEST(ScalerTest, FullRangeRunsFromZeroTo255AndLimitedRangeFrom16To235) {
    PictureScaler scaler;
    Screen screen(64, 64);
    for (const AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUV420P10LE}) {
        SCOPED_TRACE(format);
        const PictureSetup full{.format = format, .range = AVCOL_RANGE_JPEG};
        const PictureSetup limited{.format = format, .range = AVCOL_RANGE_MPEG};
        ASSERT_TRUE(screen.Fill(scaler, Solid(64, 64, {16, 128, 128}, full), ScaleQuality::High));
        EXPECT_TRUE(screen.Shows(32, 32, {16, 16, 16}, 2));
        ASSERT_TRUE(screen.Fill(scaler, Solid(64, 64, {16, 128, 128}, limited), ScaleQuality::High));
        EXPECT_TRUE(screen.Shows(32, 32, kBlack, 2));
        ASSERT_TRUE(screen.Fill(scaler, Solid(64, 64, {235, 128, 128}, full), ScaleQuality::High));
        EXPECT_TRUE(screen.Shows(32, 32, {235, 235, 235}, 2));
        ASSERT_TRUE(screen.Fill(scaler, Solid(64, 64, {235, 128, 128}, limited), ScaleQuality::High));
        EXPECT_TRUE(screen.Shows(32, 32, kWhite, 2));
    }
    const PictureSetup jpeg{.format = AV_PIX_FMT_YUVJ420P, .range = AVCOL_RANGE_UNSPECIFIED};
    ASSERT_TRUE(screen.Fill(scaler, Solid(64, 64, {16, 128, 128}, jpeg), ScaleQuality::High));
    EXPECT_TRUE(screen.Shows(32, 32, {16, 16, 16}, 2));
}

TEST(ScalerTest, GreyPicturesKeepTheirRange) {
    PictureScaler scaler;
    Screen screen(40, 40);
    const PictureSetup limited{.format = AV_PIX_FMT_GRAY8, .range = AVCOL_RANGE_MPEG};
    ASSERT_TRUE(screen.Fill(scaler, Solid(64, 64, {235, 0, 0}, limited), ScaleQuality::High));
    EXPECT_TRUE(screen.Shows(20, 20, kWhite, 2));
    const PictureSetup full{.format = AV_PIX_FMT_GRAY8, .range = AVCOL_RANGE_JPEG};
    ASSERT_TRUE(screen.Fill(scaler, Solid(64, 64, {100, 0, 0}, full), ScaleQuality::High));
    EXPECT_TRUE(screen.Shows(20, 20, {100, 100, 100}, 2));
}

TEST(ScalerTest, RgbPicturesKeepTheirColours) {
    PictureScaler scaler;
    Screen screen(40, 40);
    const PictureSetup rgb{.format = AV_PIX_FMT_GBRP, .space = AVCOL_SPC_RGB, .range = AVCOL_RANGE_JPEG};
    ASSERT_TRUE(screen.Fill(scaler, Solid(64, 64, {200, 90, 30}, rgb), ScaleQuality::High));
    EXPECT_TRUE(screen.Shows(20, 20, {200, 90, 30}));
}

TEST(ScalerTest, TheMatrixIsTheOneThatThePictureNames) {
    PictureScaler scaler;
    Screen screen(64, 64);
    const Yuv red_in_601{81, 90, 240};
    const Yuv red_in_709 = support::kRed;
    ASSERT_TRUE(
        screen.Fill(scaler, Solid(64, 64, red_in_601, {.space = AVCOL_SPC_SMPTE170M}), ScaleQuality::High));
    EXPECT_TRUE(screen.Shows(32, 32, kRed));
    ASSERT_TRUE(
        screen.Fill(scaler, Solid(64, 64, red_in_601, {.space = AVCOL_SPC_BT470BG}), ScaleQuality::High));
    EXPECT_TRUE(screen.Shows(32, 32, kRed));
    ASSERT_TRUE(
        screen.Fill(scaler, Solid(64, 64, red_in_709, {.space = AVCOL_SPC_BT709}), ScaleQuality::High));
    EXPECT_TRUE(screen.Shows(32, 32, kRed));
    ASSERT_TRUE(
        screen.Fill(scaler, Solid(64, 64, red_in_601, {.space = AVCOL_SPC_BT709}), ScaleQuality::High));
    EXPECT_FALSE(screen.Shows(32, 32, kRed, 8));
}

TEST(ScalerTest, WhereThePictureNamesNoMatrixItsSizeDecides) {
    PictureScaler scaler;
    Screen screen(64, 64);
    const PictureSetup silent{.space = AVCOL_SPC_UNSPECIFIED};
    ASSERT_TRUE(screen.Fill(scaler, Solid(1280, 720, support::kRed, silent), ScaleQuality::High));
    EXPECT_TRUE(screen.Shows(32, 32, kRed));
    ASSERT_TRUE(screen.Fill(scaler, Solid(720, 576, {81, 90, 240}, silent), ScaleQuality::High));
    EXPECT_TRUE(screen.Shows(32, 32, kRed));
}

TEST(ScalerTest, RotationTurnsClockwiseAtEvenAndOddSizes) {
    PictureScaler scaler;
    for (const ScaleQuality quality : kQualities) {
        for (const auto& [width, height] : {std::pair{96, 160}, {48, 80}, {101, 77}, {13, 17}}) {
            SCOPED_TRACE(testing::PrintToString(quality) + " " + std::to_string(width) + "x" +
                         std::to_string(height));
            Screen screen(width, height);
            // At half the size of such a small one the colours run into each other.
            const int tolerance = quality == ScaleQuality::Half && width < 20 ? 60 : 5;
            ASSERT_TRUE(screen.Fill(scaler, Quarters(160, 96, {.rotation = 90}), quality));
            ExpectCorners(screen, width, height, {kBlue, kRed, kWhite, kGreen}, tolerance);
            ASSERT_TRUE(screen.Fill(scaler, Quarters(160, 96, {.rotation = 180}), quality));
            ExpectCorners(screen, width, height, {kWhite, kBlue, kGreen, kRed}, tolerance);
            ASSERT_TRUE(screen.Fill(scaler, Quarters(160, 96, {.rotation = 270}), quality));
            ExpectCorners(screen, width, height, {kGreen, kWhite, kRed, kBlue}, tolerance);
            EXPECT_TRUE(screen.GuardsAreWhole());
        }
    }
}

// Brightness that tells every pixel's place apart, for sizes up to 8 x 8 blocks and what is left beside them.
TEST(ScalerTest, EveryPixelOfATurnedPictureComesFromItsPlace) {
    PictureScaler scaler;
    const int width = 29;
    const int height = 19;
    const auto brightness = [](int x, int y) { return (x * 7 + y * 31) % 200 + 20; };
    for (const int rotation : {0, 90, 180, 270}) {
        const PicturePtr picture = MakePicture(width, height,
                                               [&](int x, int y) {
                                                   return Yuv{brightness(x, y), 128, 128};
                                               },
                                               {.range = AVCOL_RANGE_JPEG, .rotation = rotation});
        Screen screen(picture->Width(), picture->Height());
        ASSERT_TRUE(screen.Fill(scaler, picture, ScaleQuality::High));
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const int shown_x = rotation == 0     ? x
                                    : rotation == 90  ? height - 1 - y
                                    : rotation == 180 ? width - 1 - x
                                                      : y;
                const int shown_y = rotation == 0     ? y
                                    : rotation == 90  ? x
                                    : rotation == 180 ? height - 1 - y
                                                      : width - 1 - x;
                const int value = brightness(x, y);
                ASSERT_TRUE(screen.Shows(shown_x, shown_y, {value, value, value}, 1)) << rotation;
            }
        }
    }
}

TEST(ScalerTest, AnAreaIsTheNamedPartOfThePictureAsShown) {
    PictureScaler scaler;
    struct Case {
        int rotation;
        Rgb upper_left, lower_right;
    };
    for (const Case& c :
         {Case{0, kRed, kWhite}, {90, kBlue, kGreen}, {180, kWhite, kRed}, {270, kGreen, kBlue}}) {
        const PicturePtr picture = Quarters(160, 96, {.rotation = c.rotation});
        const int width = picture->Width();
        const int height = picture->Height();
        for (const ScaleQuality quality : kQualities) {
            SCOPED_TRACE(std::to_string(c.rotation) + " " + testing::PrintToString(quality));
            Screen screen(50, 30);
            ASSERT_TRUE(screen.Fill(scaler, picture, quality, {2, 2, width / 2 - 6, height / 2 - 6}));
            EXPECT_TRUE(screen.Shows(0, 0, c.upper_left));
            EXPECT_TRUE(screen.Shows(49, 29, c.upper_left));
            ASSERT_TRUE(
                screen.Fill(scaler, picture, quality, {width / 2 + 4, height / 2 + 4, width, height}));
            EXPECT_TRUE(screen.Shows(0, 0, c.lower_right));
            EXPECT_TRUE(screen.Shows(49, 29, c.lower_right));
        }
    }
}

TEST(ScalerTest, AnAreaInItsOwnSizeIsCutOutPixelByPixel) {
    PictureScaler scaler;
    const PicturePtr picture = MakePicture(200, 100,
                                           [](int x, int y) {
                                               return Yuv{(x * 3 + y * 5) % 256, 128, 128};
                                           },
                                           {.range = AVCOL_RANGE_JPEG});
    Screen screen(64, 33);
    ASSERT_TRUE(screen.Fill(scaler, picture, ScaleQuality::High, {136, 66, 64, 33}));
    for (int y = 0; y < 33; ++y) {
        for (int x = 0; x < 64; ++x) {
            const int value = ((x + 136) * 3 + (y + 66) * 5) % 256;
            ASSERT_TRUE(screen.Shows(x, y, {value, value, value}, 1));
        }
    }
}

TEST(ScalerTest, NoSizeAndStrideWritesOutsideTheRows) {
    PictureScaler scaler;
    const PicturePtr picture = Solid(45, 33, support::kWhite);
    for (int width = 1; width < 42; ++width) {
        for (const int height : {1, 2, 3, 8, 33}) {
            for (const int extra : {0, 4, 60}) {
                for (const ScaleQuality quality : kQualities) {
                    Screen screen(width, height, width * 4 + extra);
                    ASSERT_TRUE(screen.Fill(scaler, picture, quality));
                    ASSERT_TRUE(screen.GuardsAreWhole()) << width << "x" << height << " +" << extra;
                    for (int y = 0; y < height; ++y) {
                        for (int x = 0; x < width; ++x)
                            ASSERT_TRUE(screen.Shows(x, y, kWhite, 2))
                                << width << "x" << height << " +" << extra;
                    }
                }
            }
        }
    }
}

TEST(ScalerTest, APictureOfOnePixelFillsAnySize) {
    PictureScaler scaler;
    for (const int rotation : {0, 90}) {
        const PicturePtr picture = Solid(1, 1, support::kRed, {.rotation = rotation});
        for (const ScaleQuality quality : kQualities) {
            for (const auto& [width, height] :
                 {std::pair{1, 1}, {2, 2}, {3, 1}, {1, 700}, {1023, 5}, {2048, 2049}}) {
                SCOPED_TRACE(testing::PrintToString(quality) + std::to_string(width) + "x" +
                             std::to_string(height));
                Screen screen(width, height);
                ASSERT_TRUE(screen.Fill(scaler, picture, quality));
                EXPECT_TRUE(screen.Shows(0, 0, kRed));
                EXPECT_TRUE(screen.Shows(width - 1, height - 1, kRed));
            }
        }
    }
}

TEST(ScalerTest, ALargePictureFitsIntoOnePixel) {
    PictureScaler scaler;
    const PicturePtr picture = Solid(4096, 2304, support::kGreen);
    for (const ScaleQuality quality : kQualities) {
        for (const auto& [width, height] : {std::pair{1, 1}, {1, 300}, {300, 1}, {7, 5}}) {
            SCOPED_TRACE(testing::PrintToString(quality) + std::to_string(width) + "x" +
                         std::to_string(height));
            Screen screen(width, height);
            ASSERT_TRUE(screen.Fill(scaler, picture, quality));
            EXPECT_TRUE(screen.Shows(width - 1, height - 1, kGreen));
        }
    }
}

TEST(ScalerTest, HighQualityAveragesFinePatternsWhenShrinkingMuch) {
    PictureScaler scaler;
    const PicturePtr picture = MakePicture(
        400, 400, [](int x, int y) { return (x + y) % 2 == 0 ? support::kWhite : support::kBlack; });
    Screen screen(100, 100);
    ASSERT_TRUE(screen.Fill(scaler, picture, ScaleQuality::High));
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(screen.Shows(i, 99 - i, {127, 127, 127}, 4));
}

TEST(ScalerTest, HalfQualityHasPixelsOfTwiceTheSizeAndHighHasNot) {
    PictureScaler scaler;
    const PicturePtr picture = MakePicture(128, 64, [](int x, int y) { return Yuv{40 + x + y, 128, 128}; });
    Screen half(128, 64);
    ASSERT_TRUE(half.Fill(scaler, picture, ScaleQuality::Half));
    Screen high(128, 64);
    ASSERT_TRUE(high.Fill(scaler, picture, ScaleQuality::High));
    int finer = 0;
    for (int x = 0; x < 128; x += 2) {
        EXPECT_EQ(half.At(x, 20).g, half.At(x + 1, 20).g);
        EXPECT_EQ(half.At(x, 20).g, half.At(x, 21).g);
        if (high.At(x, 20).g != high.At(x + 1, 20).g) ++finer;
    }
    EXPECT_GT(finer, 50);
}

TEST(ScalerTest, HalfQualityIsCoarserAlsoWhenEnlarging) {
    PictureScaler scaler;
    const PicturePtr picture =
        MakePicture(64, 64, [](int x, int) { return x % 2 == 0 ? support::kWhite : support::kBlack; });
    const auto edges = [&](ScaleQuality quality) {
        Screen screen(512, 512);
        EXPECT_TRUE(screen.Fill(scaler, picture, quality));
        int count = 0;
        for (int x = 1; x < 512; ++x) {
            if ((screen.At(x - 1, 200).g < 128) != (screen.At(x, 200).g < 128)) ++count;
        }
        return count;
    };
    EXPECT_EQ(edges(ScaleQuality::High), 63);
    EXPECT_LT(edges(ScaleQuality::Half), 33);
}

TEST(ScalerTest, PicturesOfDifferentKindsInTurnDoNotDisturbEachOther) {
    PictureScaler scaler;
    const PicturePtr small = Solid(64, 48, support::kRed);
    const PicturePtr large = Solid(640, 480, support::kBlue, {.format = AV_PIX_FMT_YUV444P, .rotation = 90});
    for (int round = 0; round < 3; ++round) {
        Screen screen(101, 99);
        ASSERT_TRUE(screen.Fill(scaler, small, ScaleQuality::High));
        EXPECT_TRUE(screen.Shows(50, 50, kRed));
        ASSERT_TRUE(screen.Fill(scaler, large, ScaleQuality::Half));
        EXPECT_TRUE(screen.Shows(50, 50, kBlue));
    }
}

// Which of libswscale's ways is quicker on this machine is measured when the library is first used.
TEST(ScalerTest, PixelsDoNotDependOnHowRowsAreGathered) {
    const PicturePtr picture = MakePicture(200, 120, [](int x, int y) {
        return Yuv{(x * x * 7 + y * 31) % 256, (x * 5 + y) % 256, (x * y) % 256};
    });
    ordune::AvoidSlowGather(); // so that it does not come in between
    const int flags = av_get_cpu_flags();
    for (const ScaleQuality quality : kQualities) {
        SCOPED_TRACE(testing::PrintToString(quality));
        std::vector<Screen> screens;
        for (const int added : {0, AV_CPU_FLAG_SLOW_GATHER}) {
            PictureScaler scaler;
            Screen& screen = screens.emplace_back(137, 77);
            av_force_cpu_flags((flags & ~AV_CPU_FLAG_SLOW_GATHER) | added);
            ASSERT_TRUE(screen.Fill(scaler, picture, quality));
        }
        EXPECT_TRUE(std::equal(screens[0].Pixels(), screens[0].Pixels() + 77 * screens[0].Stride(),
                               screens[1].Pixels()));
    }
    av_force_cpu_flags(flags);
}

TEST(ScalerTest, WhatCannotBeDrawnIsRefused) {
    PictureScaler scaler;
    const PicturePtr picture = Solid(64, 48, support::kRed);
    std::vector<std::uint8_t> pixels(64 * 64 * 4);
    const auto kind = [&](const PictureArea& area, int width, int height, int stride) {
        const auto result =
            scaler.Scale(*picture, area, ScaleQuality::High, pixels.data(), width, height, stride);
        return result                                                   ? "done"
               : result.Failure().kind == ordune::ErrorKind::OutOfRange ? "out of range"
                                                                        : "other";
    };
    EXPECT_STREQ(kind({}, 64, 64, 256), "done");
    EXPECT_STREQ(kind({}, 0, 64, 256), "out of range");
    EXPECT_STREQ(kind({}, 64, -1, 256), "out of range");
    EXPECT_STREQ(kind({}, 64, 64, 252), "out of range");
    EXPECT_STREQ(kind({}, 32768, 1, 32768 * 4), "out of range");
    EXPECT_STREQ(kind({64, 0, 10, 10}, 64, 64, 256), "out of range");
    EXPECT_STREQ(kind({0, -20, 10, 20}, 64, 64, 256), "out of range");
    EXPECT_STREQ(kind({2147483647, 0, 2147483647, 10}, 64, 64, 256), "out of range");
    EXPECT_STREQ(kind({-2147483647, 0, -2147483647, 10}, 64, 64, 256), "out of range");
    EXPECT_STREQ(kind({60, 40, 2147483647, 2147483647}, 64, 64, 256), "done");
    EXPECT_STREQ(kind({63, 47, 1, 1}, 64, 64, 256), "done");
}

TEST(ScalerTest, AFormatThatCannotBeReadIsAnError) {
    AVFrame* frame = av_frame_alloc();
    frame->format = AV_PIX_FMT_VAAPI;
    frame->width = 64;
    frame->height = 64;
    frame->buf[0] = av_buffer_alloc(64);
    frame->data[3] = frame->buf[0]->data;
    const PicturePtr picture = ordune::Picture::FromFrame(frame, 0, ordune::MediaTime{0}, 0);
    av_frame_free(&frame);
    ASSERT_TRUE(picture);
    PictureScaler scaler;
    Screen screen(64, 64);
    const auto result = screen.Fill(scaler, picture, ScaleQuality::High);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.Failure().kind, ordune::ErrorKind::UnknownCodec);
}

} // namespace
