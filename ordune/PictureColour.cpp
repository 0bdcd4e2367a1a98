#include "ordune/PictureColour.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace ordune {

namespace {

// Rows of the larger standard television picture; anything above is high definition.
constexpr int kStandardRows = 576;
constexpr int kStandardColumns = 1024;

AVColorSpace SpaceOf(const AVFrame& frame) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (format && (format->flags & AV_PIX_FMT_FLAG_RGB)) return AVCOL_SPC_RGB;
    // RGB claimed for a format that has brightness and colour differences is a mistake of the file.
    if (frame.colorspace != AVCOL_SPC_UNSPECIFIED && frame.colorspace != AVCOL_SPC_RGB &&
        frame.colorspace != AVCOL_SPC_RESERVED) {
        return frame.colorspace;
    }
    const bool high_definition = frame.height > kStandardRows || frame.width > kStandardColumns;
    return high_definition ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

// Recommendation ITU-T H.273, table 4.
LumaWeights WeightsOf(AVColorSpace space) {
    switch (space) {
    case AVCOL_SPC_BT709:
        return {0.2126, 0.0722};
    case AVCOL_SPC_FCC:
        return {0.30, 0.11};
    case AVCOL_SPC_SMPTE240M:
        return {0.212, 0.087};
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return {0.2627, 0.0593};
    default:
        return kBt601;
    }
}

bool IsFullRange(const AVFrame& frame) {
    switch (frame.format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ411P:
        return true;
    default:
        return frame.color_range == AVCOL_RANGE_JPEG;
    }
}

} // namespace

PictureColour ColourOf(const AVFrame& frame) {
    const AVColorSpace space = SpaceOf(frame);
    return {space, WeightsOf(space), IsFullRange(frame)};
}

} // namespace ordune
