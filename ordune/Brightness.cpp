#include "ordune/Brightness.h"

#include <cstdint>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace ordune {

namespace {

constexpr int kStep = 8;

template <class Sample>
double MeanOfGrid(const AVFrame& frame) {
    std::uint64_t sum = 0;
    std::uint64_t count = 0;
    for (int y = 0; y < frame.height; y += kStep) {
        const std::uint8_t* row = frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0];
        const auto* samples = static_cast<const Sample*>(static_cast<const void*>(row));
        for (int x = 0; x < frame.width; x += kStep) {
            sum += samples[x];
            ++count;
        }
    }
    return count == 0 ? 0.0 : static_cast<double>(sum) / static_cast<double>(count);
}

} // namespace

std::optional<double> MeanBrightness(const Picture& picture) {
    const AVFrame& frame = *picture.Frame();
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (!format || (format->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BE)))
        return {};
    const int depth = format->comp[0].depth;
    const int bytes = format->comp[0].step;
    if (bytes == 1) return MeanOfGrid<std::uint8_t>(frame);
    if (bytes != 2 || depth <= 8) return {};
    const double scale = 1.0 / static_cast<double>(1 << (depth + format->comp[0].shift - 8));
    return MeanOfGrid<std::uint16_t>(frame) * scale;
}

} // namespace ordune
