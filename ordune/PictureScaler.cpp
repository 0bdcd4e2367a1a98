#include "ordune/PictureScaler.h"

#include "ordune/PictureColour.h"
#include "ordune/PlanarBuffer.h"
#include "ordune/SwsStage.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

namespace ordune {

namespace {

constexpr int kPixelBytes = 4;
constexpr int kVectorPixels = 16; // libswscale's conversion to BGRA reads and writes whole groups of these
// From here on bicubic reads so many rows for each one written that averaging them all is quicker, and
// cleaner.
constexpr int kMuchSmaller = 2;

struct Size {
    int width;
    int height;
    bool operator==(const Size&) const = default;
};

Size Turned(Size size, int rotation) {
    return rotation % 180 == 0 ? size : Size{size.height, size.width};
}
Size Halved(Size size) {
    return {(size.width + 1) / 2, (size.height + 1) / 2};
}
int VectorWidth(int width) {
    return (width + kVectorPixels - 1) / kVectorPixels * kVectorPixels;
}

// The formats with "J" are the plain ones at full range, which is told apart from the format here.
AVPixelFormat WithoutRange(int format) {
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P:
        return AV_PIX_FMT_YUV411P;
    default:
        return static_cast<AVPixelFormat>(format);
    }
}

// Where an area of the picture as shown lies in the picture as decoded.
PictureArea CodedArea(const PictureArea& shown, const Picture& picture) {
    const int right = shown.x + shown.width;
    const int bottom = shown.y + shown.height;
    switch (picture.Rotation()) {
    case 90:
        return {shown.y, picture.CodedHeight() - right, shown.height, shown.width};
    case 180:
        return {picture.CodedWidth() - right, picture.CodedHeight() - bottom, shown.width, shown.height};
    case 270:
        return {picture.CodedWidth() - bottom, shown.x, shown.height, shown.width};
    default:
        return shown;
    }
}

// The frame's planes from the area's first pixel on. Pointers can begin at whole chroma samples only.
ReadPlanes PlanesOf(const AVFrame& frame, PictureArea coded) {
    ReadPlanes planes;
    planes.format = WithoutRange(frame.format);
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(planes.format));
    const bool packed_bits = (format.flags & (AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_PAL)) != 0;
    const int x = packed_bits ? 0 : coded.x >> format.log2_chroma_w << format.log2_chroma_w;
    const int y = coded.y >> format.log2_chroma_h << format.log2_chroma_h;
    planes.width = coded.x + coded.width - x;
    planes.height = coded.y + coded.height - y;
    for (int plane = 0; plane < 4; ++plane) {
        planes.planes[plane] = frame.data[plane];
        planes.strides[plane] = frame.linesize[plane];
    }
    if ((format.flags & AV_PIX_FMT_FLAG_PAL) != 0) {
        planes.planes[0] += static_cast<std::ptrdiff_t>(y) * frame.linesize[0];
        return planes;
    }
    for (int component = format.nb_components - 1; component >= 0; --component) {
        const AVComponentDescriptor& part = format.comp[component];
        // Components 1 and 2 are the chroma of formats that have any; RGB has no smaller planes, its shifts
        // are 0.
        const bool chroma = component == 1 || component == 2;
        const int column = packed_bits ? 0 : (chroma ? x >> format.log2_chroma_w : x) * part.step;
        const int row = chroma ? y >> format.log2_chroma_h : y;
        planes.planes[part.plane] =
            frame.data[part.plane] + static_cast<std::ptrdiff_t>(row) * frame.linesize[part.plane] + column;
    }
    return planes;
}

ReadPlanes PlanesOf(const PlanarBuffer& buffer) {
    ReadPlanes planes;
    std::copy(buffer.Planes().begin(), buffer.Planes().end(), planes.planes.begin());
    planes.strides = buffer.Strides();
    planes.width = buffer.Width();
    planes.height = buffer.Height();
    planes.format = AV_PIX_FMT_YUV420P;
    return planes;
}

// Whether these planes of the frame can go to BGRA as they are: the conversion reads whole vectors, also at
// the end of a row.
bool AreReadyToConvert(const ReadPlanes& from, const AVFrame& frame) {
    if (from.format != AV_PIX_FMT_YUV420P || from.height < 2) return false;
    const auto has_room = [&](int plane, int bytes) {
        const int stride = frame.linesize[plane];
        return stride > 0 && (from.planes[plane] - frame.data[plane]) % stride + bytes <= stride;
    };
    const int width = VectorWidth(from.width);
    return has_room(0, width) && has_room(1, width / 2) && has_room(2, width / 2);
}

int ScalingFlags(Size from, Size to, ScaleQuality quality) {
    if (from == to) return SWS_BILINEAR; // only chroma is scaled, if anything
    const bool much_smaller =
        from.width >= kMuchSmaller * to.width && from.height >= kMuchSmaller * to.height;
    switch (quality) {
    case ScaleQuality::High:
        return much_smaller ? SWS_AREA : SWS_BICUBIC;
    case ScaleQuality::Half:
        // Reads two pixels for one, however many there are. Not for enlarging, where libswscale makes this
        // filter as machine code at run time, which hardened systems forbid.
        return from.width > to.width ? SWS_FAST_BILINEAR : SWS_BILINEAR;
    case ScaleQuality::Fast:
        break;
    }
    return much_smaller ? SWS_AREA : SWS_BILINEAR;
}

// Makes every pixel two by two; odd sizes lose the last column and row of the doubled picture.
void Double(const std::uint8_t* from, std::size_t from_stride, std::uint8_t* to, std::size_t to_stride,
            Size size) {
    for (int y = 0; y < size.height; y += 2) {
        const std::uint8_t* source = from + static_cast<std::size_t>(y / 2) * from_stride;
        std::uint8_t* row = to + static_cast<std::size_t>(y) * to_stride;
        for (int x = 0; x + 1 < size.width; x += 2) {
            std::uint32_t pixel;
            std::memcpy(&pixel, source + static_cast<std::size_t>(x) / 2 * kPixelBytes, sizeof pixel);
            const std::uint64_t pair = static_cast<std::uint64_t>(pixel) << 32 | pixel;
            std::memcpy(row + static_cast<std::size_t>(x) * kPixelBytes, &pair, sizeof pair);
        }
        if (size.width % 2 != 0) {
            const std::size_t last = static_cast<std::size_t>(size.width) - 1;
            std::memcpy(row + last * kPixelBytes, source + last / 2 * kPixelBytes, kPixelBytes);
        }
        if (y + 1 < size.height)
            std::memcpy(row + to_stride, row, static_cast<std::size_t>(size.width) * kPixelBytes);
    }
}

} // namespace

PictureArea ClipToPicture(const PictureArea& area, const Picture& picture) {
    if (area.width == 0 || area.height == 0) return {0, 0, picture.Width(), picture.Height()};
    // In 64 bits: the numbers come from a caller who may ask for anything.
    const std::int64_t left = std::max<std::int64_t>(area.x, 0);
    const std::int64_t top = std::max<std::int64_t>(area.y, 0);
    const std::int64_t right = std::min<std::int64_t>(std::int64_t{area.x} + area.width, picture.Width());
    const std::int64_t bottom = std::min<std::int64_t>(std::int64_t{area.y} + area.height, picture.Height());
    if (right <= left || bottom <= top) return {};
    return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
            static_cast<int>(bottom - top)};
}

struct PictureScaler::Tables {
    SwsStage scale;
    SwsStage enlarge;
    SwsStage convert;
    SwsStage convert_last_row;
    PlanarBuffer scaled;
    PlanarBuffer enlarged;
    PlanarBuffer turned;
    std::vector<std::uint8_t> pixels;
    std::vector<std::uint8_t> small;
    std::vector<std::uint8_t> last_rows;

    // Steps 2 and 3: the planes in the size wanted before rotation, or in half of that; then turned.
    Result<ReadPlanes> Prepare(const ReadPlanes& source, const SwsColour& colour, Size to,
                               ScaleQuality quality, int rotation);
    Result<void> ScaleTo(PlanarBuffer& buffer, SwsStage& stage, const ReadPlanes& from,
                         const SwsColour& colour, Size size, ScaleQuality quality);
    Result<void> ToPixels(const ReadPlanes& from, const SwsColour& colour, std::uint8_t* to, int stride);
    Result<void> ToPixelsInPlace(const ReadPlanes& from, const SwsColour& colour, std::uint8_t* to,
                                 int stride);
    Result<void> Doubled(const ReadPlanes& from, const SwsColour& colour, std::uint8_t* to, Size size,
                         int stride);
};

Result<void> PictureScaler::Tables::ScaleTo(PlanarBuffer& buffer, SwsStage& stage, const ReadPlanes& from,
                                            const SwsColour& colour, Size size, ScaleQuality quality) {
    if (!buffer.Resize(size.width, size.height))
        return Error{ErrorKind::OutOfMemory, "no memory for scaling", {}};
    WritePlanes to;
    to.planes = buffer.Planes();
    to.strides = buffer.Strides();
    to.width = size.width;
    to.height = size.height;
    to.format = AV_PIX_FMT_YUV420P;
    return stage.Convert(from, colour, to, ScalingFlags({from.width, from.height}, size, quality));
}

// libswscale has its quick conversion for even heights only. Of an odd one the last row is converted once
// more, together with the row above it.
Result<void> PictureScaler::Tables::ToPixelsInPlace(const ReadPlanes& from, const SwsColour& colour,
                                                    std::uint8_t* to, int stride) {
    WritePlanes rows;
    rows.planes = {to, nullptr, nullptr, nullptr};
    rows.strides = {stride, 0, 0, 0};
    rows.width = from.width;
    rows.height = from.height / 2 * 2;
    rows.format = AV_PIX_FMT_BGRA;
    ReadPlanes even = from;
    even.height = rows.height;
    if (rows.height > 0) {
        if (Result<void> done = convert.Convert(even, colour, rows, SWS_BILINEAR); !done) return done;
    }
    if (rows.height == from.height) return {};

    const std::size_t row_bytes = static_cast<std::size_t>(VectorWidth(from.width)) * kPixelBytes;
    last_rows.resize(2 * row_bytes);
    // A single row has no other above it; a PlanarBuffer has room for one below.
    const int above = from.height > 1 ? 1 : 0;
    ReadPlanes last = from;
    last.height = 2;
    last.planes[0] += static_cast<std::ptrdiff_t>(rows.height - above) * from.strides[0];
    for (int plane : {1, 2})
        last.planes[plane] += static_cast<std::ptrdiff_t>(rows.height / 2) * from.strides[plane];
    WritePlanes pair = rows;
    pair.planes[0] = last_rows.data();
    pair.strides[0] = static_cast<int>(row_bytes);
    pair.height = 2;
    if (Result<void> done = convert_last_row.Convert(last, colour, pair, SWS_BILINEAR); !done) return done;
    std::memcpy(to + static_cast<std::ptrdiff_t>(rows.height) * stride,
                last_rows.data() + static_cast<std::size_t>(above) * row_bytes,
                static_cast<std::size_t>(from.width) * kPixelBytes);
    return {};
}

Result<void> PictureScaler::Tables::ToPixels(const ReadPlanes& from, const SwsColour& colour,
                                             std::uint8_t* to, int stride) {
    const int vector_bytes = VectorWidth(from.width) * kPixelBytes;
    const bool aligned =
        reinterpret_cast<std::uintptr_t>(to) % kRowAlignment == 0 && stride % kRowAlignment == 0;
    if (aligned && stride >= vector_bytes) return ToPixelsInPlace(from, colour, to, stride);

    const std::size_t rows = static_cast<std::size_t>(from.height);
    pixels.resize(static_cast<std::size_t>(vector_bytes) * rows + kRowAlignment);
    std::uint8_t* first = pixels.data();
    first += (kRowAlignment - reinterpret_cast<std::uintptr_t>(first) % kRowAlignment) % kRowAlignment;
    if (Result<void> done = ToPixelsInPlace(from, colour, first, vector_bytes); !done) return done;
    for (std::size_t y = 0; y < rows; ++y) {
        std::memcpy(to + y * static_cast<std::size_t>(stride),
                    first + y * static_cast<std::size_t>(vector_bytes),
                    static_cast<std::size_t>(from.width) * kPixelBytes);
    }
    return {};
}

Result<void> PictureScaler::Tables::Doubled(const ReadPlanes& from, const SwsColour& colour, std::uint8_t* to,
                                            Size size, int stride) {
    const std::size_t small_stride = static_cast<std::size_t>(VectorWidth(from.width)) * kPixelBytes;
    small.resize(small_stride * static_cast<std::size_t>(from.height));
    if (Result<void> done = ToPixels(from, colour, small.data(), static_cast<int>(small_stride)); !done)
        return done;
    Double(small.data(), small_stride, to, static_cast<std::size_t>(stride), size);
    return {};
}

Result<ReadPlanes> PictureScaler::Tables::Prepare(const ReadPlanes& source, const SwsColour& colour, Size to,
                                                  ScaleQuality quality, int rotation) {
    Size first = to;
    if (quality == ScaleQuality::Half) {
        const Size half_source = Halved({source.width, source.height});
        const Size half_to = Halved(to);
        first = {std::min(half_source.width, half_to.width), std::min(half_source.height, half_to.height)};
    }
    if (Result<void> done = ScaleTo(scaled, scale, source, colour, first, quality); !done)
        return done.Failure();
    const PlanarBuffer* last = &scaled;
    if (!(first == to) && !(first == Halved(to))) {
        if (Result<void> done = ScaleTo(enlarged, enlarge, PlanesOf(scaled), colour, to, ScaleQuality::Fast);
            !done)
            return done.Failure();
        last = &enlarged;
    }
    if (rotation != 0) {
        if (!turned.TakeTurned(*last, rotation))
            return Error{ErrorKind::OutOfMemory, "no memory for turning a picture", {}};
        last = &turned;
    }
    return PlanesOf(*last);
}

PictureScaler::PictureScaler() : m_tables(std::make_unique<Tables>()) {}
PictureScaler::~PictureScaler() = default;

Result<void> PictureScaler::Scale(const Picture& picture, const PictureArea& area, ScaleQuality quality,
                                  std::uint8_t* pixels, int width, int height, int stride) try {
    if (width < 1 || height < 1 || width > kLargestSide || height > kLargestSide ||
        stride < width * kPixelBytes)
        return Error{ErrorKind::OutOfRange, "no such size for a picture on the screen", {}};
    const PictureArea shown = ClipToPicture(area, picture);
    if (shown.width == 0) return Error{ErrorKind::OutOfRange, "the area lies outside the picture", {}};
    const AVFrame& frame = *picture.Frame();
    if (!sws_isSupportedInput(WithoutRange(frame.format)))
        return Error{ErrorKind::UnknownCodec, "a pixel format that cannot be shown", {}};

    ReadPlanes planes = PlanesOf(frame, CodedArea(shown, picture));
    const PictureColour read = ColourOf(frame);
    // From RGB the first step makes full-range BT.709, as good as any between two steps of this class.
    const bool rgb = read.space == AVCOL_SPC_RGB;
    const SwsColour colour{rgb ? AVCOL_SPC_BT709 : read.space, rgb || read.full_range};
    const Size to{width, height};
    const bool same_size = Size{planes.width, planes.height} == to && quality != ScaleQuality::Half;
    if (!same_size || picture.Rotation() != 0 || !AreReadyToConvert(planes, frame)) {
        Result<ReadPlanes> prepared =
            m_tables->Prepare(planes, colour, Turned(to, picture.Rotation()), quality, picture.Rotation());
        if (!prepared) return prepared.Failure();
        planes = prepared.Value();
    }
    if (!(Size{planes.width, planes.height} == to))
        return m_tables->Doubled(planes, colour, pixels, to, stride);
    return m_tables->ToPixels(planes, colour, pixels, stride);
} catch (const std::bad_alloc&) {
    return Error{ErrorKind::OutOfMemory, "no memory for scaling", {}};
}

} // namespace ordune
