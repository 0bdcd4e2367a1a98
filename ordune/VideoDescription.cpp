#include "ordune/VideoDescription.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <cmath>
#include <cstdint>
#include <cstring>

namespace ordune {

namespace {

// Degrees clockwise by which the container asks to turn the picture, a multiple of 90.
int RotationOf(const AVStream* stream) {
    const std::uint8_t* data = nullptr;
    std::size_t size = 0;
#if LIBAVFORMAT_VERSION_MAJOR >= 61
    const AVPacketSideData* side = av_packet_side_data_get(
        stream->codecpar->coded_side_data, stream->codecpar->nb_coded_side_data, AV_PKT_DATA_DISPLAYMATRIX);
    if (side) {
        data = side->data;
        size = side->size;
    }
#else
    data = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
#endif
    std::int32_t matrix[9];
    if (!data || size < sizeof matrix) return 0;
    std::memcpy(matrix, data, sizeof matrix);
    const double counterclockwise = av_display_rotation_get(matrix);
    if (!std::isfinite(counterclockwise)) return 0;
    const int quarters = static_cast<int>(std::lround(-counterclockwise / 90.0));
    return ((quarters % 4) + 4) % 4 * 90;
}

} // namespace

VideoInfo DescribeVideo(AVFormatContext* context, AVStream* stream) {
    VideoInfo info;
    info.codec = avcodec_get_name(stream->codecpar->codec_id);
    info.width = stream->codecpar->width;
    info.height = stream->codecpar->height;
    const AVRational aspect = av_guess_sample_aspect_ratio(context, stream, nullptr);
    if (aspect.num > 0 && aspect.den > 0) {
        info.sample_aspect_numerator = aspect.num;
        info.sample_aspect_denominator = aspect.den;
    }
    info.rotation = RotationOf(stream);
    return info;
}

} // namespace ordune
