#include "tests/support/ClipPicture.h"

#include "tests/support/BarCode.h"

#include <cstddef>
#include <cstdlib>

namespace support {

namespace {

// A triangle wave between 0 and 127.
int Wave(int phase) {
    return std::abs((phase & 255) - 128) * 127 / 128;
}

} // namespace

ClipPicture::ClipPicture(int width, int height) : m_width(width), m_height(height) {
    for (int plane = 0; plane < 3; ++plane) {
        m_planes[plane].assign(
            static_cast<std::size_t>(PlaneWidth(plane)) * static_cast<std::size_t>(PlaneHeight(plane)), 128);
    }
}

void ClipPicture::Draw(int number) {
    std::uint8_t* luma = m_planes[0].data();
    for (int y = BarCodeRows(m_height); y < m_height; ++y) {
        std::uint8_t* row = luma + static_cast<std::ptrdiff_t>(y) * m_width;
        for (int x = 0; x < m_width; ++x) {
            const int texture = ((((x + 3 * number) >> 4) ^ (y >> 4)) & 3) * 20;
            row[x] = static_cast<std::uint8_t>(16 + Wave(x + 2 * y + 7 * number) + texture);
        }
    }
    // A bright square that runs across the picture.
    const int side = m_height / 6;
    const int left = m_width > side ? (number * 5) % (m_width - side) : 0;
    const int top = m_height / 2;
    for (int y = top; y < top + side && y < m_height; ++y) {
        for (int x = left; x < left + side && x < m_width; ++x)
            luma[static_cast<std::ptrdiff_t>(y) * m_width + x] = 235;
    }
    for (int plane = 1; plane < 3; ++plane) {
        std::uint8_t* chroma = m_planes[plane].data();
        for (int y = 0; y < PlaneHeight(plane); ++y) {
            // Grey behind the code, so that it stays black and white in every pixel format.
            const bool isCode = y * 2 < BarCodeRows(m_height) + 2;
            for (int x = 0; x < PlaneWidth(plane); ++x) {
                const int level = isCode ? 128 : 64 + Wave((plane == 1 ? x : y) + 3 * number);
                *chroma++ = static_cast<std::uint8_t>(level);
            }
        }
    }
    DrawBarCode(luma, m_width, m_width, m_height, number);
}

ClipPicture ClipPicture::Turned(int degrees) const {
    const bool swaps = degrees == 90 || degrees == 270;
    ClipPicture turned(swaps ? m_height : m_width, swaps ? m_width : m_height);
    for (int plane = 0; plane < 3; ++plane) {
        const int width = PlaneWidth(plane);
        const int height = PlaneHeight(plane);
        const int turnedWidth = turned.PlaneWidth(plane);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                int toX = x;
                int toY = y;
                if (degrees == 90) {
                    toX = y;
                    toY = width - 1 - x;
                } else if (degrees == 180) {
                    toX = width - 1 - x;
                    toY = height - 1 - y;
                } else if (degrees == 270) {
                    toX = height - 1 - y;
                    toY = x;
                }
                turned.m_planes[plane][static_cast<std::size_t>(toY * turnedWidth + toX)] =
                    m_planes[plane][static_cast<std::size_t>(y * width + x)];
            }
        }
    }
    return turned;
}

} // namespace support
