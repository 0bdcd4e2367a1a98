// A picture as one run of bytes: planar 4:2:0 with eight bits a sample, rows without padding, turned as the
// file asks. What programs that look at pictures themselves are handed.
//
// Keeps its memory between pictures. Used by one thread at a time.
#pragma once

#include "ordune/Error.h"
#include "ordune/Picture.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct SwsContext;

namespace ordune {

class PlanarCopy {
  public:
    PlanarCopy() = default;
    ~PlanarCopy();
    PlanarCopy(const PlanarCopy&) = delete;
    PlanarCopy& operator=(const PlanarCopy&) = delete;

    // Copies the picture; valid until the next call. Chroma planes have (size + 1) / 2 rows and columns.
    Result<void> Make(const Picture& picture);
    std::uint8_t* Data() { return m_bytes.data(); }
    std::size_t Bytes() const { return m_bytes.size(); }
    int Width() const { return m_width; }
    int Height() const { return m_height; }

  private:
    Result<void> Convert(const Picture& picture, std::uint8_t* const planes[3], const int strides[3]);
    Result<void> Turn(const Picture& picture);

    std::vector<std::uint8_t> m_bytes;
    std::vector<std::uint8_t> m_unturned;
    int m_width = 0;
    int m_height = 0;
    SwsContext* m_converter = nullptr;
};

} // namespace ordune
