// Pictures as bytes for other programs, and how bright they are.
#include "ordune/PlanarCopy.h"
#include "ordune/Brightness.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/frame.h>
}

#include <functional>
#include <memory>

namespace {

using ordune::Picture;
using ordune::PicturePtr;

struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

// A picture whose sample at (x, y) of each plane is given by `sample`.
template <class Sample>
PicturePtr Make(AVPixelFormat format, int width, int height, int rotation,
                const std::function<int(int plane, int x, int y)>& sample) {
    const std::unique_ptr<AVFrame, FrameDeleter> frame(av_frame_alloc());
    frame->format = format;
    frame->width = width;
    frame->height = height;
    if (av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
    for (int plane = 0; plane < 3; ++plane) {
        const int plane_width = plane == 0 ? width : (width + 1) / 2;
        const int plane_height = plane == 0 ? height : (height + 1) / 2;
        for (int y = 0; y < plane_height; ++y) {
            auto* row =
                static_cast<Sample*>(static_cast<void*>(frame->data[plane] + y * frame->linesize[plane]));
            for (int x = 0; x < plane_width; ++x)
                row[x] = static_cast<Sample>(sample(plane, x, y));
        }
    }
    return Picture::FromFrame(frame.get(), 0, ordune::MediaTime(0), rotation);
}

int Coordinates(int plane, int x, int y) {
    return plane * 64 + y * 8 + x;
}

TEST(PlanarCopy, PacksRowsWithoutPaddingAlsoForOddSizes) {
    const PicturePtr picture = Make<std::uint8_t>(AV_PIX_FMT_YUV420P, 5, 3, 0, Coordinates);
    ordune::PlanarCopy copy;
    ASSERT_TRUE(copy.Make(*picture));
    EXPECT_EQ(copy.Width(), 5);
    EXPECT_EQ(copy.Height(), 3);
    ASSERT_EQ(copy.Bytes(), 5U * 3U + 2U * 3U * 2U);
    EXPECT_EQ(copy.Data()[0], Coordinates(0, 0, 0));
    EXPECT_EQ(copy.Data()[5 * 2 + 4], Coordinates(0, 4, 2));
    EXPECT_EQ(copy.Data()[15], Coordinates(1, 0, 0));
    EXPECT_EQ(copy.Data()[15 + 3 + 2], Coordinates(1, 2, 1));
    EXPECT_EQ(copy.Data()[21 + 3 + 2], Coordinates(2, 2, 1));
}

TEST(PlanarCopy, TurnsThePictureAsItAsks) {
    struct Expected {
        int rotation;
        int top_left_x;
        int top_left_y;
    };
    for (const Expected& expected : {Expected{90, 0, 3}, Expected{180, 5, 3}, Expected{270, 5, 0}}) {
        const PicturePtr picture =
            Make<std::uint8_t>(AV_PIX_FMT_YUV420P, 6, 4, expected.rotation, Coordinates);
        ordune::PlanarCopy copy;
        ASSERT_TRUE(copy.Make(*picture));
        const bool upright = expected.rotation == 180;
        EXPECT_EQ(copy.Width(), upright ? 6 : 4);
        EXPECT_EQ(copy.Height(), upright ? 4 : 6);
        EXPECT_EQ(copy.Data()[0], Coordinates(0, expected.top_left_x, expected.top_left_y))
            << expected.rotation;
        EXPECT_EQ(copy.Data()[24], Coordinates(1, expected.top_left_x / 2, expected.top_left_y / 2))
            << expected.rotation;
    }
}

TEST(PlanarCopy, ConvertsOtherFormatsToEightBitFourTwoZero) {
    const PicturePtr picture = Make<std::uint16_t>(
        AV_PIX_FMT_YUV420P10, 16, 16, 0, [](int plane, int, int) { return plane == 0 ? 400 : 512; });
    ordune::PlanarCopy copy;
    ASSERT_TRUE(copy.Make(*picture));
    ASSERT_EQ(copy.Bytes(), 16U * 16U * 3U / 2U);
    EXPECT_NEAR(copy.Data()[100], 100, 1);
    EXPECT_NEAR(copy.Data()[256 + 10], 128, 1);
}

TEST(PlanarCopy, ServesPicturesOfChangingSize) {
    ordune::PlanarCopy copy;
    ASSERT_TRUE(copy.Make(*Make<std::uint8_t>(AV_PIX_FMT_YUV420P, 32, 16, 0, Coordinates)));
    ASSERT_TRUE(copy.Make(*Make<std::uint8_t>(AV_PIX_FMT_YUV420P, 8, 8, 90, Coordinates)));
    EXPECT_EQ(copy.Bytes(), 96U);
    ASSERT_TRUE(copy.Make(*Make<std::uint8_t>(AV_PIX_FMT_YUV420P, 32, 16, 0, Coordinates)));
    EXPECT_EQ(copy.Bytes(), 768U);
}

TEST(Brightness, IsTheMeanOfTheLuma) {
    const PicturePtr half = Make<std::uint8_t>(AV_PIX_FMT_YUV420P, 64, 64, 0, [](int plane, int x, int) {
        return plane == 0 && x >= 32 ? 200 : 100;
    });
    EXPECT_DOUBLE_EQ(ordune::MeanBrightness(*half).value(), 150.0);
}

TEST(Brightness, IsOnOneScaleForAllDepths) {
    const PicturePtr ten =
        Make<std::uint16_t>(AV_PIX_FMT_YUV420P10, 64, 64, 0, [](int, int, int) { return 400; });
    EXPECT_DOUBLE_EQ(ordune::MeanBrightness(*ten).value(), 100.0);
}

} // namespace
