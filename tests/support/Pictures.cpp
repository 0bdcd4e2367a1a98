#include "tests/support/Pictures.h"

#include <cstring>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace support {

namespace {

void DrawComponent(AVFrame& frame, const AVPixFmtDescriptor& format, int component,
                   const std::function<int(int x, int y)>& value) {
    const AVComponentDescriptor& part = format.comp[component];
    const bool chroma = component == 1 || component == 2;
    const int shift_x = chroma ? format.log2_chroma_w : 0;
    const int shift_y = chroma ? format.log2_chroma_h : 0;
    for (int y = 0; y << shift_y < frame.height; ++y) {
        std::uint8_t* row =
            frame.data[part.plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[part.plane];
        for (int x = 0; x << shift_x < frame.width; ++x) {
            std::uint8_t* place = row + static_cast<std::ptrdiff_t>(x) * part.step + part.offset;
            const int deep = value(x << shift_x, y << shift_y) << (part.depth - 8) << part.shift;
            if (part.depth + part.shift > 8) {
                const auto sample = static_cast<std::uint16_t>(deep);
                std::memcpy(place, &sample, sizeof sample);
            } else {
                *place = static_cast<std::uint8_t>(deep);
            }
        }
    }
}

} // namespace

ordune::PicturePtr MakePicture(int width, int height, const std::function<Yuv(int x, int y)>& colour,
                               const PictureSetup& setup) {
    AVFrame* frame = av_frame_alloc();
    if (!frame) return nullptr;
    frame->format = setup.format;
    frame->width = width;
    frame->height = height;
    frame->colorspace = setup.space;
    frame->color_range = setup.range;
    frame->sample_aspect_ratio = setup.aspect;
    ordune::PicturePtr picture;
    if (av_frame_get_buffer(frame, 0) >= 0) {
        const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(setup.format);
        DrawComponent(*frame, format, 0, [&](int x, int y) { return colour(x, y).y; });
        if (format.nb_components >= 3) {
            DrawComponent(*frame, format, 1, [&](int x, int y) { return colour(x, y).u; });
            DrawComponent(*frame, format, 2, [&](int x, int y) { return colour(x, y).v; });
        }
        picture = ordune::Picture::FromFrame(frame, setup.number, ordune::MediaTime{0}, setup.rotation);
    }
    av_frame_free(&frame);
    return picture;
}

} // namespace support
