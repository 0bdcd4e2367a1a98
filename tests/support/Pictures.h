// Pictures drawn by a test, pixel by pixel, in any of libavutil's formats with up to 16 bits a sample.
#pragma once

#include "ordune/Picture.h"

#include <cstdint>
#include <functional>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}

namespace support {

struct Yuv {
    int y;
    int u;
    int v;
};

struct PictureSetup {
    AVPixelFormat format = AV_PIX_FMT_YUV420P;
    AVColorSpace space = AVCOL_SPC_BT709;
    AVColorRange range = AVCOL_RANGE_MPEG;
    AVRational aspect{1, 1};
    int rotation = 0;
    ordune::FrameNumber number = 0;
};

// A picture of width x height as decoded; `colour` gives the 8-bit value at a pixel. Null when out of memory.
ordune::PicturePtr MakePicture(int width, int height, const std::function<Yuv(int x, int y)>& colour,
                               const PictureSetup& setup = {});

// Limited-range values of plain colours in BT.709.
inline constexpr Yuv kBlack{16, 128, 128};
inline constexpr Yuv kWhite{235, 128, 128};
inline constexpr Yuv kGrey{126, 128, 128};
inline constexpr Yuv kRed{63, 102, 240};
inline constexpr Yuv kGreen{173, 42, 26};
inline constexpr Yuv kBlue{32, 240, 118};

} // namespace support
