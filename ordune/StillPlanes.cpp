#include "ordune/StillPlanes.h"

#include "ordune/StillKernels.h"

extern "C" {
#include <libavutil/common.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <bit>
#include <cstring>

namespace ordune {

namespace {

constexpr std::uint8_t kNoColour = 128;

int Even(int value) {
    return (value + 1) & ~1;
}

bool IsGrey(const AVPixFmtDescriptor& format) {
    return format.nb_components < 3;
}

// Whether the kernels can read it: brightness and colour differences in planes of their own, 8 to 16 bits.
bool IsPlanar(const AVPixFmtDescriptor& format) {
    constexpr std::uint64_t kOthers = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM |
                                      AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BAYER;
    if (format.flags & kOthers) return false;
    const bool big_endian = (format.flags & AV_PIX_FMT_FLAG_BE) != 0;
    const int depth = format.comp[0].depth;
    if (depth < 8 || depth > 16) return false;
    if (depth > 8 && big_endian != (std::endian::native == std::endian::big)) return false;
    const int planes = IsGrey(format) ? 1 : 3;
    for (int i = 0; i < planes; ++i) {
        const AVComponentDescriptor& part = format.comp[i];
        if (part.plane != i || part.offset != 0 || part.shift != 0 || part.depth != depth) return false;
        if (part.step != (depth > 8 ? 2 : 1)) return false;
    }
    return true;
}

const AVPixFmtDescriptor* FormatOf(const AVFrame& frame) {
    return av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
}

void LoadRow(const std::uint8_t* in, std::int16_t* out, int count, int depth) {
    if (depth == 8) {
        still::Load8(in, out, count);
    } else {
        still::Load16(in, out, count, 15 - depth);
    }
}

// Spreads a row of colour samples, of which each stands for `1 << shift` pixels, over the pixels.
void Spread(std::int16_t* row, std::int16_t* spare, int count, int shift) {
    for (int step = shift - 1; step >= 0; --step) {
        const int wide = AV_CEIL_RSHIFT(count, step);
        still::Double(row, spare, wide);
        std::copy_n(spare, wide, row);
    }
}

// Turns one plane by a quarter or half clockwise. Tiles keep both sides in the processor's cache.
void TurnPlane(const std::uint8_t* in, int in_stride, int width, int height, std::uint8_t* out,
               int out_stride, int rotation) {
    if (rotation == 180) {
        for (int y = 0; y < height; ++y) {
            const std::uint8_t* row = in + static_cast<std::ptrdiff_t>(y) * in_stride;
            std::reverse_copy(row, row + width,
                              out + static_cast<std::ptrdiff_t>(height - 1 - y) * out_stride);
        }
        return;
    }
    constexpr int kTile = 32;
    for (int top = 0; top < height; top += kTile) {
        const int bottom = std::min(height, top + kTile);
        for (int left = 0; left < width; left += kTile) {
            const int right = std::min(width, left + kTile);
            for (int x = left; x < right; ++x) {
                const int row = rotation == 90 ? x : width - 1 - x;
                std::uint8_t* to = out + static_cast<std::ptrdiff_t>(row) * out_stride;
                const std::uint8_t* from = in + static_cast<std::ptrdiff_t>(top) * in_stride + x;
                for (int y = top; y < bottom; ++y, from += in_stride)
                    to[rotation == 90 ? height - 1 - y : y] = *from;
            }
        }
    }
}

} // namespace

void StillPlanes::Buffer::Size(int width, int height) {
    stride = (width + 31) & ~31;
    bytes.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
}

void StillPlanes::ScalerDeleter::operator()(SwsContext* scaler) const {
    sws_freeContext(scaler);
}

StillPlanes::StillPlanes() = default;
StillPlanes::~StillPlanes() = default;

Result<void> StillPlanes::Convert(const AVFrame& frame, int rotation, Chroma chroma) {
    const AVPixFmtDescriptor* format = FormatOf(frame);
    if (!format || !frame.data[0] || frame.width <= 0 || frame.height <= 0)
        return Error{ErrorKind::Damaged, "The picture has no pixels that can be read", {}};
    m_width = frame.width;
    m_height = frame.height;
    PictureColour colour = ColourOf(frame);
    if (UseFrameItself(frame, colour, rotation)) return {};

    const AVFrame* source = &frame;
    if (!IsPlanar(*format)) {
        Result<const AVFrame*> made = MadePlanar(frame, colour);
        if (!made) return made.Failure();
        source = made.Value();
        format = FormatOf(*source);
    }
    // A quarter turn of an odd number of columns would pair other pixels than the colour samples were made
    // for.
    const bool pairs_move = rotation != 0 && (m_width % 2 != 0 || m_height % 2 != 0);
    const bool halved = IsGrey(*format) || (format->log2_chroma_w == 1 && format->log2_chroma_h == 1);
    m_chroma = halved && !pairs_move ? Chroma::Halved : Chroma::Whole;
    ConvertPlanar(*source, colour);
    Turn(rotation);
    Pad();
    if (chroma == Chroma::Halved) HalveChroma();
    Publish();
    return {};
}

// A frame that is already what is wanted needs no copy.
bool StillPlanes::UseFrameItself(const AVFrame& frame, const PictureColour& colour, int rotation) {
    const bool halved = frame.format == AV_PIX_FMT_YUVJ420P || frame.format == AV_PIX_FMT_YUV420P;
    const bool bt601 = colour.space == AVCOL_SPC_SMPTE170M || colour.space == AVCOL_SPC_BT470BG;
    if (!halved || !bt601 || !colour.full_range || rotation != 0) return false;
    if (m_width % 2 != 0 || m_height % 2 != 0) return false;
    for (std::size_t i = 0; i < 3; ++i) {
        if (!frame.data[i] || frame.linesize[i] <= 0) return false;
        m_plane[i] = frame.data[i];
        m_stride[i] = frame.linesize[i];
    }
    m_chroma = Chroma::Halved;
    return true;
}

// Formats that the kernels do not read (packed, RGB, palettes) go through the general converter first.
Result<const AVFrame*> StillPlanes::MadePlanar(const AVFrame& frame, PictureColour& colour) {
    const Error failure{ErrorKind::Damaged, "The picture's pixel format cannot be converted", {}};
    const auto from = static_cast<AVPixelFormat>(frame.format);
    if (!sws_isSupportedInput(from)) return failure;
    m_planar = ffmpeg::MakeFrame();
    if (!m_planar) return Error{ErrorKind::OutOfMemory, "No memory for a still", {}};
    m_planar->format = AV_PIX_FMT_YUV444P;
    m_planar->width = frame.width;
    m_planar->height = frame.height;
    if (av_frame_get_buffer(m_planar.get(), 0) < 0)
        return Error{ErrorKind::OutOfMemory, "No memory for a still", {}};
    m_scaler.reset(sws_getCachedContext(m_scaler.release(), frame.width, frame.height, from, frame.width,
                                        frame.height, AV_PIX_FMT_YUV444P, SWS_BILINEAR | SWS_ACCURATE_RND,
                                        nullptr, nullptr, nullptr));
    if (!m_scaler) return failure;
    // RGB becomes full-range BT.601 at once; anything else keeps its matrix and range here.
    if (colour.space == AVCOL_SPC_RGB) colour = {AVCOL_SPC_SMPTE170M, kBt601, true};
    const int* matrix = sws_getCoefficients(SWS_CS_ITU601);
    const int range = colour.full_range ? 1 : 0;
    constexpr int kOne = 1 << 16;
    sws_setColorspaceDetails(m_scaler.get(), matrix, range, matrix, range, 0, kOne, kOne);
    if (sws_scale(m_scaler.get(), frame.data, frame.linesize, 0, frame.height, m_planar->data,
                  m_planar->linesize) < 0)
        return failure;
    return static_cast<const AVFrame*>(m_planar.get());
}

void StillPlanes::SizeBuffers(bool grey) {
    const bool whole = m_chroma == Chroma::Whole;
    const int width = Even(m_width);
    const int height = Even(m_height);
    m_buffer[0].Size(width, height);
    for (std::size_t i = 1; i < 3; ++i) {
        m_buffer[i].Size(whole ? width : width / 2, whole ? height : height / 2);
        if (grey) std::fill(m_buffer[i].bytes.begin(), m_buffer[i].bytes.end(), kNoColour);
    }
    m_row.resize(5 * (static_cast<std::size_t>(width) + 4));
}

// Row by row, so that what a row needs stays in the processor's nearest cache.
void StillPlanes::ConvertPlanar(const AVFrame& frame, const PictureColour& colour) {
    const AVPixFmtDescriptor& format = *FormatOf(frame);
    const int depth = format.comp[0].depth;
    const bool grey = IsGrey(format);
    const bool whole = m_chroma == Chroma::Whole;
    const int samples = grey ? 0 : AV_CEIL_RSHIFT(m_width, format.log2_chroma_w);
    const still::Coefficients k = still::MakeCoefficients(colour, depth);
    const bool term_wanted = !grey && !k.SameMatrix();
    SizeBuffers(grey);

    const std::size_t length = m_row.size() / 5;
    std::int16_t* luma = m_row.data();
    std::int16_t* blue = luma + length;
    std::int16_t* red = blue + length;
    std::int16_t* term = red + length;
    std::int16_t* spare = term + length;
    const auto load = [&](std::size_t plane, int row, std::int16_t* to, int count) {
        LoadRow(frame.data[plane] + static_cast<std::ptrdiff_t>(row) * frame.linesize[plane], to, count,
                depth);
    };
    for (int y = 0; y < m_height; ++y) {
        const int sample_row = y >> format.log2_chroma_h;
        if (!grey && y == sample_row << format.log2_chroma_h) {
            load(1, sample_row, blue, samples);
            load(2, sample_row, red, samples);
            still::Centre(blue, samples);
            still::Centre(red, samples);
            if (term_wanted) {
                still::LumaTerm(blue, red, term, samples, k);
                Spread(term, spare, m_width, format.log2_chroma_w);
            }
            if (whole) {
                Spread(blue, spare, m_width, format.log2_chroma_w);
                Spread(red, spare, m_width, format.log2_chroma_w);
            } else {
                still::Chroma(blue, red, m_buffer[1].Row(sample_row), samples, 0, k);
                still::Chroma(blue, red, m_buffer[2].Row(sample_row), samples, 1, k);
            }
        }
        load(0, y, luma, m_width);
        if (term_wanted) {
            still::LumaWithTerm(luma, term, m_buffer[0].Row(y), m_width, k);
        } else {
            still::Luma(luma, m_buffer[0].Row(y), m_width, k);
        }
        if (whole && !grey) {
            still::Chroma(blue, red, m_buffer[1].Row(y), m_width, 0, k);
            still::Chroma(blue, red, m_buffer[2].Row(y), m_width, 1, k);
        }
    }
}

void StillPlanes::Turn(int rotation) {
    if (rotation == 0) return;
    const bool quarter = rotation != 180;
    for (std::size_t i = 0; i < 3; ++i) {
        const bool half = i > 0 && m_chroma == Chroma::Halved;
        const int width = half ? Even(m_width) / 2 : m_width;
        const int height = half ? Even(m_height) / 2 : m_height;
        const int out_width = quarter ? height : width;
        const int out_height = quarter ? width : height;
        m_spare[i].Size(half ? out_width : Even(out_width), half ? out_height : Even(out_height));
        TurnPlane(m_buffer[i].bytes.data(), m_buffer[i].stride, width, height, m_spare[i].bytes.data(),
                  m_spare[i].stride, rotation);
        std::swap(m_buffer[i], m_spare[i]);
    }
    if (quarter) std::swap(m_width, m_height);
}

// Repeats the last column and row where their number is odd.
void StillPlanes::Pad() {
    for (std::size_t i = 0; i < 3; ++i) {
        if (i > 0 && m_chroma == Chroma::Halved) return;
        Buffer& buffer = m_buffer[i];
        if (m_width % 2 != 0) {
            for (int y = 0; y < m_height; ++y)
                buffer.Row(y)[m_width] = buffer.Row(y)[m_width - 1];
        }
        if (m_height % 2 != 0)
            std::memcpy(buffer.Row(m_height), buffer.Row(m_height - 1),
                        static_cast<std::size_t>(Even(m_width)));
    }
}

void StillPlanes::HalveChroma() {
    if (m_chroma == Chroma::Halved) return;
    const int width = Even(m_width) / 2;
    const int height = Even(m_height) / 2;
    for (std::size_t i = 1; i < 3; ++i) {
        m_spare[i].Size(width, height);
        for (int y = 0; y < height; ++y)
            still::HalveRows(m_buffer[i].Row(2 * y), m_buffer[i].Row(2 * y + 1), m_spare[i].Row(y), width);
        std::swap(m_buffer[i], m_spare[i]);
    }
    m_chroma = Chroma::Halved;
}

void StillPlanes::Publish() {
    for (std::size_t i = 0; i < 3; ++i) {
        m_plane[i] = m_buffer[i].bytes.data();
        m_stride[i] = m_buffer[i].stride;
    }
}

} // namespace ordune
