// What a picture goes through before it reaches the screen, without any screen: shape, colour, layout of
// pixels.

#include "dravo/ColourAdjust.h"
#include "dravo/Letterbox.h"
#include "dravo/PixelLayout.h"
#include "tests/support/Pictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace {

using dravo::AspectOf;
using dravo::Box;
using dravo::Colour;
using dravo::ColourAdjust;
using dravo::FitInWindow;
using dravo::PixelAspect;
using dravo::PixelLayout;
using Pixel = std::array<std::uint8_t, 4>; // B, G, R, alpha

PixelAspect AspectOfPicture(int width, int height, AVRational aspect, int rotation = 0) {
    const auto grey = [](int, int) { return support::kGrey; };
    return AspectOf(*support::MakePicture(width, height, grey, {.aspect = aspect, .rotation = rotation}));
}

TEST(LetterboxTest, PicturesKeepTheirShapeInEveryWindow) {
    struct Case {
        int width, height;
        PixelAspect aspect;
        int window_width, window_height;
        Box box;
    };
    const Case cases[] = {
        {1920, 1080, {1, 1}, 1280, 720, {0, 0, 1280, 720}},
        {1920, 1080, {1, 1}, 1280, 1024, {0, 152, 1280, 720}},
        {1920, 1080, {1, 1}, 1920, 720, {320, 0, 1280, 720}},
        {1920, 1080, {1, 1}, 1281, 721, {0, 0, 1281, 721}}, // 1281.8 x 721: to the edge
        {1080, 1920, {1, 1}, 1280, 720, {437, 0, 405, 720}},
        {720, 576, {16, 15}, 768, 576, {0, 0, 768, 576}},
        {720, 576, {64, 45}, 1024, 576, {0, 0, 1024, 576}},
        {704, 288, {1, 2}, 704, 576, {0, 0, 704, 576}},
        {352, 288, {1, 1}, 353, 288, {0, 0, 352, 288}},
        {1, 1, {1, 1}, 640, 480, {80, 0, 480, 480}},
        {1, 10000, {1, 1}, 640, 480, {319, 0, 1, 480}},
        {10000, 1, {1, 1}, 640, 480, {0, 239, 640, 1}},
        {1920, 1080, {1, 1}, 1, 1, {0, 0, 1, 1}},
        {1920, 1080, {1, 1}, 0, 720, {}},
        {1920, 1080, {1, 1}, 1280, 0, {}},
        {0, 0, {1, 1}, 1280, 720, {}},
        {16384, 16384, {2147483647, 1}, 32767, 32767, {0, 16383, 32767, 1}},
        {16384, 16384, {1, 2147483647}, 32767, 32767, {16383, 0, 1, 32767}},
    };
    for (const Case& c : cases) {
        const Box box = FitInWindow(c.width, c.height, c.aspect, c.window_width, c.window_height);
        EXPECT_EQ(box, c.box) << c.width << "x" << c.height << " in " << c.window_width << "x"
                              << c.window_height << ": " << box.x << "," << box.y << " " << box.width << "x"
                              << box.height;
    }
}

TEST(LetterboxTest, SingleFieldsAreShownAtTwiceTheirHeight) {
    EXPECT_EQ(AspectOfPicture(704, 288, {1, 1}), (PixelAspect{1, 2}));
    EXPECT_EQ(AspectOfPicture(704, 240, {0, 1}), (PixelAspect{1, 2}));
    EXPECT_EQ(AspectOfPicture(704, 288, {1, 1}, 90), (PixelAspect{2, 1}));
    EXPECT_EQ(AspectOfPicture(704, 288, {1, 1}, 180), (PixelAspect{1, 2}));
}

TEST(LetterboxTest, TheSampleAspectOfTheFileGoesFirst) {
    EXPECT_EQ(AspectOfPicture(704, 288, {12, 11}), (PixelAspect{12, 11}));
    EXPECT_EQ(AspectOfPicture(704, 288, {1, 2}), (PixelAspect{1, 2}));
    EXPECT_EQ(AspectOfPicture(720, 576, {16, 15}, 90), (PixelAspect{15, 16}));
}

TEST(LetterboxTest, OtherSizesHaveSquarePixels) {
    EXPECT_EQ(AspectOfPicture(704, 576, {1, 1}), (PixelAspect{1, 1}));
    EXPECT_EQ(AspectOfPicture(352, 288, {0, 1}), (PixelAspect{1, 1}));
    EXPECT_EQ(AspectOfPicture(288, 704, {0, 1}), (PixelAspect{1, 1}));
}

double BrightnessOf(const Pixel& pixel) {
    return 0.2126 * pixel[2] + 0.7152 * pixel[1] + 0.0722 * pixel[0];
}

Pixel Adjusted(const Colour& colour, Pixel pixel) {
    ColourAdjust adjust;
    adjust.Set(colour);
    adjust.Apply(pixel.data(), 1, 1, 4);
    return pixel;
}

// Colours far enough from the ends that no setting used with them reaches one.
const Pixel kMildColours[] = {
    {120, 130, 140, 255}, {100, 140, 120, 255}, {140, 120, 110, 255}, {128, 128, 128, 255}};

TEST(ColourAdjustTest, NeutralChangesNoBitOfAnyPixel) {
    ColourAdjust adjust;
    EXPECT_TRUE(adjust.IsNeutral());
    std::vector<std::uint8_t> pixels(1024 * 4);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<std::uint8_t>(i * 37 + i / 256);
    const std::vector<std::uint8_t> before = pixels;
    adjust.Apply(pixels.data(), 1024, 1, 4096);
    EXPECT_EQ(pixels, before);
    adjust.Set({65, 64, 64, 64});
    EXPECT_FALSE(adjust.IsNeutral());
    adjust.Apply(pixels.data(), 1024, 1, 4096);
    EXPECT_NE(pixels, before);
    pixels = before;
    adjust.Set({64, 64, 64, 64});
    adjust.Apply(pixels.data(), 1024, 1, 4096);
    EXPECT_EQ(pixels, before);
}

TEST(ColourAdjustTest, BrightnessAddsTheSameToEveryChannel) {
    for (const Pixel& pixel : kMildColours) {
        for (int value = 24; value <= 104; value += 8) {
            const Pixel after = Adjusted({value, 64, 64, 64}, pixel);
            for (int channel = 0; channel < 3; ++channel)
                EXPECT_EQ(after[channel], pixel[channel] + 2 * (value - 64));
        }
    }
    EXPECT_EQ(Adjusted({0, 64, 64, 64}, {128, 128, 128, 9}), (Pixel{0, 0, 0, 9}));
    EXPECT_EQ(Adjusted({128, 64, 64, 64}, {128, 128, 128, 9}), (Pixel{255, 255, 255, 9}));
}

TEST(ColourAdjustTest, ContrastTurnsAboutTheMiddleGrey) {
    for (int value = 0; value <= 128; ++value) {
        const Pixel middle = Adjusted({64, value, 64, 64}, {127, 128, 127, 255});
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(middle[channel], 127.5, 1.51) << value; // doubled, and rounded
    }
    EXPECT_EQ(Adjusted({64, 0, 64, 64}, {0, 255, 10, 255}), (Pixel{128, 128, 128, 255}));
    EXPECT_EQ(Adjusted({64, 128, 64, 64}, {60, 200, 100, 255}), (Pixel{0, 255, 73, 255}));
}

TEST(ColourAdjustTest, NoSaturationIsGreyOfTheSameBrightness) {
    for (const Pixel& pixel :
         {Pixel{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}, {17, 99, 201, 255}}) {
        const Pixel after = Adjusted({64, 64, 0, 64}, pixel);
        EXPECT_EQ(after[0], after[1]);
        EXPECT_EQ(after[1], after[2]);
        EXPECT_NEAR(after[0], BrightnessOf(pixel), 1.0);
    }
}

TEST(ColourAdjustTest, HueAndSaturationKeepBrightness) {
    for (const Pixel& pixel : kMildColours) {
        for (int value = 0; value <= 128; value += 4) {
            EXPECT_NEAR(BrightnessOf(Adjusted({64, 64, 64, value}, pixel)), BrightnessOf(pixel), 1.0)
                << value;
            EXPECT_NEAR(BrightnessOf(Adjusted({64, 64, value, 64}, pixel)), BrightnessOf(pixel), 1.0)
                << value;
        }
    }
}

TEST(ColourAdjustTest, HueTurnsColoursAndBothEndsMeet) {
    const Pixel reddish{110, 115, 150, 255};
    const Pixel quarter = Adjusted({64, 64, 64, 96}, reddish);
    EXPECT_NE(quarter, reddish);
    const Pixel opposite = Adjusted({64, 64, 64, 128}, reddish);
    EXPECT_LT(opposite[2], opposite[1]); // no longer red
    EXPECT_EQ(opposite, Adjusted({64, 64, 64, 0}, reddish));
}

TEST(ColourAdjustTest, GreyStaysGreyAtEverySettingOfHueAndSaturation) {
    for (int grey = 0; grey < 256; grey += 5) {
        const auto level = static_cast<std::uint8_t>(grey);
        for (int value = 0; value <= 128; value += 16) {
            EXPECT_EQ(Adjusted({64, 64, value, 128 - value}, {level, level, level, 255}),
                      (Pixel{level, level, level, 255}));
        }
    }
}

TEST(ColourAdjustTest, MoreIsNeverLess) {
    const Pixel pixel{100, 140, 180, 255};
    Pixel darker = Adjusted({0, 64, 64, 64}, pixel);
    int spread_before = 0;
    int chroma_before = 0;
    for (int value = 1; value <= 128; ++value) {
        const Pixel brighter = Adjusted({value, 64, 64, 64}, pixel);
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_GE(brighter[channel], darker[channel]);
        darker = brighter;
        const Pixel dark_grey = Adjusted({64, value, 64, 64}, {60, 60, 60, 255});
        const Pixel light_grey = Adjusted({64, value, 64, 64}, {200, 200, 200, 255});
        EXPECT_GE(light_grey[0] - dark_grey[0], spread_before);
        spread_before = light_grey[0] - dark_grey[0];
        const Pixel coloured = Adjusted({64, 64, value, 64}, pixel);
        EXPECT_GE(coloured[2] - coloured[0], chroma_before);
        chroma_before = coloured[2] - coloured[0];
    }
}

TEST(ColourAdjustTest, EveryWidthGivesEachPixelWhatItGetsAlone) {
    // Widths beside those of the vectors, all axes at once, values beyond the ends.
    for (const Colour& colour :
         {Colour{0, 128, 128, 0}, {128, 128, 128, 128}, {90, 30, 100, 20}, {-5, 900, 64, 64}}) {
        ColourAdjust adjust;
        adjust.Set(colour);
        for (int width = 1; width <= 19; ++width) {
            std::vector<std::uint8_t> row(static_cast<std::size_t>(width) * 4 + 8, 77);
            for (std::size_t i = 0; i < static_cast<std::size_t>(width) * 4; ++i)
                row[i] = static_cast<std::uint8_t>(i * 53 + static_cast<std::size_t>(width));
            const std::vector<std::uint8_t> before = row;
            adjust.Apply(row.data(), width, 1, width * 4);
            for (int x = 0; x < width; ++x) {
                const std::size_t at = static_cast<std::size_t>(x) * 4;
                // One pixel alone takes the way without vectors.
                const Pixel alone =
                    Adjusted(colour, {before[at], before[at + 1], before[at + 2], before[at + 3]});
                EXPECT_EQ((Pixel{row[at], row[at + 1], row[at + 2], row[at + 3]}), alone)
                    << width << " " << x;
            }
            EXPECT_TRUE(std::equal(row.end() - 8, row.end(), before.end() - 8));
        }
    }
}

// The class's formula, in real numbers.
std::array<double, 3> Formula(const Colour& colour, const Pixel& pixel) {
    const double y = BrightnessOf(pixel);
    const double cb = (pixel[0] - y) / 1.8556;
    const double cr = (pixel[2] - y) / 1.5748;
    const double angle = (colour.hue - 64) / 64.0 * 3.14159265358979;
    const double saturation = colour.saturation / 64.0;
    const double blue = y + saturation * 1.8556 * (cb * std::cos(angle) - cr * std::sin(angle));
    const double red = y + saturation * 1.5748 * (cb * std::sin(angle) + cr * std::cos(angle));
    const double green = (y - 0.0722 * blue - 0.2126 * red) / 0.7152;
    std::array<double, 3> result{blue, green, red};
    for (double& channel : result) {
        const double contrast = colour.contrast / 64.0;
        channel = contrast * channel + (1 - contrast) * 127.5 + 2.0 * (colour.brightness - 64);
        channel = std::clamp(channel, 0.0, 255.0);
    }
    return result;
}

TEST(ColourAdjustTest, AllAxesTogetherFollowTheFormula) {
    for (int i = 0; i < 4000; ++i) {
        const Colour colour{i * 7 % 129, i * 11 % 129, i * 13 % 129, i * 17 % 129};
        const Pixel pixel{static_cast<std::uint8_t>(i * 29), static_cast<std::uint8_t>(i * 31),
                          static_cast<std::uint8_t>(i * 37), 255};
        const Pixel after = Adjusted(colour, pixel);
        const std::array<double, 3> wanted = Formula(colour, pixel);
        for (std::size_t channel = 0; channel < 3; ++channel)
            ASSERT_NEAR(after[channel], wanted[channel], 1.0) << "case " << i << " channel " << channel;
    }
}

TEST(ColourAdjustTest, OnlyTheRowsPixelsAreTouched) {
    ColourAdjust adjust;
    adjust.Set({100, 64, 64, 64});
    std::vector<std::uint8_t> pixels(3 * 32, 10);
    adjust.Apply(pixels.data(), 5, 3, 32);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const bool inside = i % 32 < 20 && i % 4 != 3;
        EXPECT_EQ(pixels[i], inside ? 82 : 10) << i;
    }
}

TEST(PixelLayoutTest, TheUsualLayoutNeedsNoConversion) {
    const auto layout = PixelLayout::Make(32, 24, false, 0xFF0000, 0xFF00, 0xFF);
    ASSERT_TRUE(layout);
    EXPECT_TRUE(layout->IsBgra());
    EXPECT_EQ(layout->Black(), 0U);
    const auto mixed = PixelLayout::Make(32, 32, false, 0xFF0000, 0xFF00, 0xFF);
    EXPECT_EQ(mixed->Black(), 0xFF000000U);
}

TEST(PixelLayoutTest, OtherLayoutsAreConverted) {
    const std::uint8_t bgra[] = {0x10, 0x80, 0xF8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    const auto bytes = [&](const std::optional<PixelLayout>& layout) {
        std::vector<std::uint8_t> to(static_cast<std::size_t>(layout->BytesPerPixel()) * 2);
        layout->Convert(bgra, to.data(), 2);
        return to;
    };
    using Bytes = std::vector<std::uint8_t>;
    EXPECT_EQ(bytes(PixelLayout::Make(32, 24, true, 0xFF0000, 0xFF00, 0xFF)),
              (Bytes{0, 0xF8, 0x80, 0x10, 0, 255, 255, 255}));
    EXPECT_EQ(bytes(PixelLayout::Make(32, 24, false, 0xFF, 0xFF00, 0xFF0000)),
              (Bytes{0xF8, 0x80, 0x10, 0, 255, 255, 255, 0}));
    EXPECT_EQ(bytes(PixelLayout::Make(32, 32, false, 0xFF, 0xFF00, 0xFF0000)),
              (Bytes{0xF8, 0x80, 0x10, 255, 255, 255, 255, 255}));
    // 11111 100000 00010
    EXPECT_EQ(bytes(PixelLayout::Make(16, 16, false, 0xF800, 0x7E0, 0x1F)), (Bytes{0x02, 0xFC, 0xFF, 0xFF}));
    EXPECT_EQ(bytes(PixelLayout::Make(16, 16, true, 0xF800, 0x7E0, 0x1F)), (Bytes{0xFC, 0x02, 0xFF, 0xFF}));
    // Ten bits a colour: white stays white.
    EXPECT_EQ(bytes(PixelLayout::Make(32, 30, false, 0x3FF00000, 0xFFC00, 0x3FF))[4], 0xFF);
    EXPECT_EQ(bytes(PixelLayout::Make(32, 30, false, 0x3FF00000, 0xFFC00, 0x3FF))[7], 0x3F);
}

TEST(PixelLayoutTest, LayoutsWithoutDirectColoursAreRefused) {
    EXPECT_FALSE(PixelLayout::Make(8, 8, false, 0, 0, 0));
    EXPECT_FALSE(PixelLayout::Make(32, 24, false, 0, 0xFF00, 0xFF));
    EXPECT_FALSE(PixelLayout::Make(32, 24, false, 0xFFFF00, 0xFF00, 0xFF));
    EXPECT_FALSE(PixelLayout::Make(32, 24, false, 0xF0F0000, 0xFF00, 0xFF));
    EXPECT_FALSE(PixelLayout::Make(24, 24, false, 0xFF0000, 0xFF00, 0xFF));
}

} // namespace
