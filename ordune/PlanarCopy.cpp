#include "ordune/PlanarCopy.h"

#include <array>
#include <new>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

namespace ordune {

namespace {

struct Layout {
    std::array<std::uint8_t*, 3> planes{};
    std::array<int, 3> strides{};
};

std::size_t BytesFor(int width, int height) {
    const auto luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    return luma + 2 * static_cast<std::size_t>((width + 1) / 2) * static_cast<std::size_t>((height + 1) / 2);
}

Layout LayOut(std::uint8_t* bytes, int width, int height) {
    const int chroma_width = (width + 1) / 2;
    const std::ptrdiff_t luma = static_cast<std::ptrdiff_t>(width) * height;
    const std::ptrdiff_t chroma = static_cast<std::ptrdiff_t>(chroma_width) * ((height + 1) / 2);
    return {{bytes, bytes + luma, bytes + luma + chroma}, {width, chroma_width, chroma_width}};
}

// Turns a plane clockwise by a quarter, a half or three quarters.
void TurnPlane(const std::uint8_t* from, int width, int height, int rotation, std::uint8_t* to) {
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::uint8_t sample = from[static_cast<std::ptrdiff_t>(y) * width + x];
            std::ptrdiff_t at = 0;
            if (rotation == 90) {
                at = static_cast<std::ptrdiff_t>(x) * height + (height - 1 - y);
            } else if (rotation == 180) {
                at = static_cast<std::ptrdiff_t>(height - 1 - y) * width + (width - 1 - x);
            } else {
                at = static_cast<std::ptrdiff_t>(width - 1 - x) * height + y;
            }
            to[at] = sample;
        }
    }
}

} // namespace

PlanarCopy::~PlanarCopy() {
    sws_freeContext(m_converter);
}

Result<void> PlanarCopy::Make(const Picture& picture) {
    const int width = picture.CodedWidth();
    const int height = picture.CodedHeight();
    try {
        m_bytes.resize(BytesFor(width, height));
        if (picture.Rotation() != 0) m_unturned.resize(m_bytes.size());
    } catch (const std::bad_alloc&) {
        return Error{ErrorKind::OutOfMemory, "Not enough memory for a copy of the picture.", {}};
    }
    m_width = picture.Width();
    m_height = picture.Height();
    if (picture.Rotation() != 0) return Turn(picture);
    const Layout layout = LayOut(m_bytes.data(), width, height);
    return Convert(picture, layout.planes.data(), layout.strides.data());
}

Result<void> PlanarCopy::Convert(const Picture& picture, std::uint8_t* const planes[3],
                                 const int strides[3]) {
    const AVFrame& frame = *picture.Frame();
    if (frame.format == AV_PIX_FMT_YUV420P || frame.format == AV_PIX_FMT_YUVJ420P) {
        std::array<const std::uint8_t*, 4> source{frame.data[0], frame.data[1], frame.data[2], nullptr};
        std::array<std::uint8_t*, 4> target{planes[0], planes[1], planes[2], nullptr};
        std::array<int, 4> target_strides{strides[0], strides[1], strides[2], 0};
        av_image_copy(target.data(), target_strides.data(), source.data(), frame.linesize,
                      static_cast<AVPixelFormat>(frame.format), frame.width, frame.height);
        return {};
    }
    m_converter = sws_getCachedContext(m_converter, frame.width, frame.height,
                                       static_cast<AVPixelFormat>(frame.format), frame.width, frame.height,
                                       AV_PIX_FMT_YUV420P, SWS_BILINEAR, nullptr, nullptr, nullptr);
    if (!m_converter) return Error{ErrorKind::OutOfMemory, "The picture's pixels cannot be converted.", {}};
    sws_scale(m_converter, frame.data, frame.linesize, 0, frame.height, planes, strides);
    return {};
}

Result<void> PlanarCopy::Turn(const Picture& picture) {
    const int width = picture.CodedWidth();
    const int height = picture.CodedHeight();
    const Layout from = LayOut(m_unturned.data(), width, height);
    if (auto done = Convert(picture, from.planes.data(), from.strides.data()); !done) return done;
    const Layout to = LayOut(m_bytes.data(), m_width, m_height);
    TurnPlane(from.planes[0], width, height, picture.Rotation(), to.planes[0]);
    for (std::size_t plane = 1; plane < 3; ++plane)
        TurnPlane(from.planes[plane], (width + 1) / 2, (height + 1) / 2, picture.Rotation(),
                  to.planes[plane]);
    return {};
}

} // namespace ordune
