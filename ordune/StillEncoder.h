// Encodes a picture as a still file image, as decoded but for the rotation that the file asks for.
//
// Keeps its buffers between pictures. Used by one thread at a time.
#pragma once

#include "ordune/Error.h"
#include "ordune/Picture.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace ordune {

class StillEncoder {
  public:
    StillEncoder();
    ~StillEncoder();
    StillEncoder(const StillEncoder&) = delete;
    StillEncoder& operator=(const StillEncoder&) = delete;

    // Both write a whole file into `out` and return its length in bytes; ErrorKind::OutOfRange when it does
    // not fit.

    // BMP, 24 bits a pixel, rows from the bottom up, BITMAPINFOHEADER.
    Result<std::size_t> EncodeBmp(const Picture& picture, std::span<std::uint8_t> out);
    // JPEG (JFIF), 4:2:0, full-range BT.601 as JFIF asks; quality from 1 to 100.
    Result<std::size_t> EncodeJpeg(const Picture& picture, int quality, std::span<std::uint8_t> out);

  private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace ordune
