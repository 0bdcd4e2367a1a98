// An 8-bit picture with chroma at half size both ways (4:2:0), in memory of its own: what a picture passes
// through on its way to the screen. The memory is kept and reused; it only grows.
//
// Rows are aligned for vector instructions and have room behind their ends, since libswscale writes whole
// vectors.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ordune {

class PlanarBuffer {
  public:
    static constexpr int kPlanes = 3;

    PlanarBuffer() = default;
    ~PlanarBuffer();
    PlanarBuffer(const PlanarBuffer&) = delete;
    PlanarBuffer& operator=(const PlanarBuffer&) = delete;

    // Makes it width x height; what it held is lost. False when out of memory.
    bool Resize(int width, int height);

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    // libswscale's form of the planes; the fourth is null.
    const std::array<std::uint8_t*, 4>& Planes() const { return m_planes; }
    const std::array<int, 4>& Strides() const { return m_strides; }

    // Makes this the other one turned clockwise by 90, 180 or 270 degrees. False when out of memory.
    bool TakeTurned(const PlanarBuffer& other, int degrees);

  private:
    int PlaneWidth(int plane) const { return plane == 0 ? m_width : (m_width + 1) / 2; }
    int PlaneHeight(int plane) const { return plane == 0 ? m_height : (m_height + 1) / 2; }

    std::uint8_t* m_memory = nullptr;
    std::size_t m_capacity = 0;
    int m_width = 0;
    int m_height = 0;
    std::array<std::uint8_t*, 4> m_planes{};
    std::array<int, 4> m_strides{};
};

} // namespace ordune
