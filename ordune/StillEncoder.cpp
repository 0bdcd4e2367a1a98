#include "ordune/StillEncoder.h"

#include "ordune/StillPlanes.h"

#include <turbojpeg.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <limits>
#include <vector>

namespace ordune {

namespace {

constexpr std::size_t kBmpHeaderBytes = 54; // BITMAPFILEHEADER and BITMAPINFOHEADER
constexpr int kJpegSideLimit = 65500;       // the format has 16 bits for it; the library keeps a margin

// Little-endian numbers, one behind the other.
class HeaderWriter {
  public:
    explicit HeaderWriter(std::uint8_t* out) : m_out(out) {}
    void Put(std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            *m_out++ = static_cast<std::uint8_t>(value >> (8 * i));
    }

  private:
    std::uint8_t* m_out;
};

void WriteBmpHeader(std::uint8_t* out, int width, int height, std::size_t pixel_bytes) {
    HeaderWriter header(out);
    header.Put('B', 1);
    header.Put('M', 1);
    header.Put(static_cast<std::uint32_t>(kBmpHeaderBytes + pixel_bytes), 4);
    header.Put(0, 4);
    header.Put(kBmpHeaderBytes, 4);
    header.Put(40, 4); // length of BITMAPINFOHEADER
    header.Put(static_cast<std::uint32_t>(width), 4);
    header.Put(static_cast<std::uint32_t>(height), 4); // positive: the bottom row comes first
    header.Put(1, 2);                                  // planes
    header.Put(24, 2);                                 // bits a pixel
    header.Put(0, 4);                                  // not compressed
    header.Put(static_cast<std::uint32_t>(pixel_bytes), 4);
    header.Put(0, 4); // no statement of pixels a metre
    header.Put(0, 4);
    header.Put(0, 4); // no palette
    header.Put(0, 4);
}

Error TooSmall(std::size_t needed, std::size_t given) {
    return {ErrorKind::OutOfRange,
            "The still needs " + std::to_string(needed) + " bytes, the buffer has " + std::to_string(given),
            {}};
}

} // namespace

struct StillEncoder::State {
    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() {
        if (compressor) tjDestroy(compressor);
        if (decoder) tjDestroy(decoder);
    }

    StillPlanes planes;
    tjhandle compressor = nullptr;   // made at the first JPEG
    tjhandle decoder = nullptr;      // made at the first BMP: turns planes into pixels
    std::vector<std::uint8_t> spill; // where a JPEG is made that the caller's buffer may not hold
};

StillEncoder::StillEncoder() : m_state(std::make_unique<State>()) {}
StillEncoder::~StillEncoder() = default;

Result<std::size_t> StillEncoder::EncodeBmp(const Picture& picture, std::span<std::uint8_t> out) {
    const auto width = static_cast<std::size_t>(picture.Width());
    const auto height = static_cast<std::size_t>(picture.Height());
    const std::size_t row_bytes = (width * 3 + 3) & ~std::size_t{3};
    const std::size_t pixel_bytes = row_bytes * height;
    const std::size_t total = kBmpHeaderBytes + pixel_bytes;
    if (total > out.size()) return TooSmall(total, out.size());
    if (total > std::numeric_limits<std::uint32_t>::max() || row_bytes > INT_MAX)
        return Error{ErrorKind::OutOfRange, "The picture is too large for a BMP file", {}};
    if (!m_state->decoder) m_state->decoder = tjInitDecompress();
    if (!m_state->decoder) return Error{ErrorKind::OutOfMemory, "No memory for a still", {}};

    StillPlanes& planes = m_state->planes;
    if (auto converted = planes.Convert(*picture.Frame(), picture.Rotation(), StillPlanes::Chroma::Whole);
        !converted)
        return converted.Failure();
    WriteBmpHeader(out.data(), planes.Width(), planes.Height(), pixel_bytes);
    std::uint8_t* pixels = out.data() + kBmpHeaderBytes;
    const unsigned char* sources[3] = {planes.Plane(0), planes.Plane(1), planes.Plane(2)};
    const int strides[3] = {planes.Stride(0), planes.Stride(1), planes.Stride(2)};
    const int sampling = planes.Layout() == StillPlanes::Chroma::Halved ? TJSAMP_420 : TJSAMP_444;
    if (tjDecodeYUVPlanes(m_state->decoder, sources, strides, sampling, pixels, planes.Width(),
                          static_cast<int>(row_bytes), planes.Height(), TJPF_BGR, TJFLAG_BOTTOMUP) != 0)
        return Error{ErrorKind::Damaged, tjGetErrorStr2(m_state->decoder), {}};
    const std::size_t padding = row_bytes - width * 3;
    if (padding != 0) {
        for (std::size_t row = 0; row < height; ++row)
            std::memset(pixels + row * row_bytes + width * 3, 0, padding);
    }
    return total;
}

Result<std::size_t> StillEncoder::EncodeJpeg(const Picture& picture, int quality,
                                             std::span<std::uint8_t> out) {
    const int width = picture.Width();
    const int height = picture.Height();
    if (width > kJpegSideLimit || height > kJpegSideLimit)
        return Error{ErrorKind::OutOfRange, "The picture is too large for a JPEG file", {}};
    if (!m_state->compressor) m_state->compressor = tjInitCompress();
    if (!m_state->compressor) return Error{ErrorKind::OutOfMemory, "No memory for a still", {}};

    StillPlanes& planes = m_state->planes;
    if (auto converted = planes.Convert(*picture.Frame(), picture.Rotation(), StillPlanes::Chroma::Halved);
        !converted)
        return converted.Failure();
    // The library writes up to this many bytes whatever it is told, so it writes straight into the caller's
    // buffer only where that holds them.
    const unsigned long bound = tjBufSize(width, height, TJSAMP_420);
    const bool direct = out.size() >= bound;
    if (!direct) m_state->spill.resize(bound);
    unsigned char* file = direct ? out.data() : m_state->spill.data();
    unsigned long length = bound;
    const unsigned char* sources[3] = {planes.Plane(0), planes.Plane(1), planes.Plane(2)};
    const int strides[3] = {planes.Stride(0), planes.Stride(1), planes.Stride(2)};
    if (tjCompressFromYUVPlanes(m_state->compressor, sources, width, strides, height, TJSAMP_420, &file,
                                &length, std::clamp(quality, 1, 100), TJFLAG_NOREALLOC) != 0)
        return Error{ErrorKind::Damaged, tjGetErrorStr2(m_state->compressor), {}};
    if (length > out.size()) return TooSmall(length, out.size());
    if (!direct) std::memcpy(out.data(), file, length);
    return std::size_t{length};
}

} // namespace ordune
