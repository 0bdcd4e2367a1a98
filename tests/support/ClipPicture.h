// The pictures that test clips are made of: a bar code above content that moves and never repeats within a
// second.
#pragma once

#include <cstdint>
#include <vector>

namespace support {

// Planar 4:2:0, 8 bits, limited range, rows without padding; chroma sizes are rounded up.
class ClipPicture {
  public:
    ClipPicture(int width, int height);

    // Draws picture `number`: the bar code, and below it content that depends on the number, so that a
    // picture decoded from the wrong reference is visibly, and by its checksum, another one.
    void Draw(int number);

    // The same picture turned anti-clockwise by 0, 90, 180 or 270 degrees.
    ClipPicture Turned(int degrees) const;

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    int PlaneWidth(int plane) const { return plane == 0 ? m_width : (m_width + 1) / 2; }
    int PlaneHeight(int plane) const { return plane == 0 ? m_height : (m_height + 1) / 2; }
    const std::uint8_t* Plane(int plane) const { return m_planes[plane].data(); }

  private:
    int m_width;
    int m_height;
    std::vector<std::uint8_t> m_planes[3];
};

} // namespace support
