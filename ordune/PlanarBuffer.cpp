#include "ordune/PlanarBuffer.h"

extern "C" {
#include <libavutil/mem.h>
}

#include <algorithm>
#include <bit>
#include <cstring>

namespace ordune {

namespace {

constexpr std::size_t kAlignment = 64;
constexpr int kBlock = 8;

std::size_t Aligned(std::size_t bytes) {
    return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

// One plane to read from and one to write to; width and height are those of the one read.
struct Turn {
    const std::uint8_t* from;
    std::ptrdiff_t from_stride;
    int width;
    int height;
    std::uint8_t* to;
    std::ptrdiff_t to_stride;
    bool clockwise; // a quarter turn; otherwise three quarters

    // The pixel of the source that comes to column x, row y of the turned plane.
    const std::uint8_t* Origin(int x, int y) const {
        return clockwise ? from + (height - 1 - x) * from_stride + y
                         : from + x * from_stride + (width - 1 - y);
    }
};

// Swaps rows and columns of 8 x 8 bytes, one row a word with column 0 in the lowest byte, in three rounds:
// the halves, then the quarters, then single bytes.
void Transpose(std::array<std::uint64_t, kBlock>& rows) {
    const auto exchange = [&rows](int upper, int lower, int bits, std::uint64_t mask) {
        const std::uint64_t differing = ((rows[upper] >> bits) ^ rows[lower]) & mask;
        rows[upper] ^= differing << bits;
        rows[lower] ^= differing;
    };
    for (int row : {0, 1, 2, 3})
        exchange(row, row + 4, 32, 0x00000000FFFFFFFFU);
    for (int row : {0, 1, 4, 5})
        exchange(row, row + 2, 16, 0x0000FFFF0000FFFFU);
    for (int row : {0, 2, 4, 6})
        exchange(row, row + 1, 8, 0x00FF00FF00FF00FFU);
}

// The 8 x 8 pixels of the turned plane at column x, row y.
void TurnBlock(const Turn& turn, int x, int y) {
    std::array<std::uint64_t, kBlock> words;
    for (int i = 0; i < kBlock; ++i) {
        // A source row lies along a column of the turned plane: downwards after a quarter, upwards after
        // three.
        const std::uint8_t* row = turn.clockwise ? turn.Origin(x + i, y) : turn.Origin(x + i, y + kBlock - 1);
        std::memcpy(&words[i], row, sizeof words[i]);
    }
    Transpose(words);
    for (int i = 0; i < kBlock; ++i) {
        std::uint8_t* row = turn.to + (turn.clockwise ? y + i : y + kBlock - 1 - i) * turn.to_stride + x;
        std::memcpy(row, &words[i], sizeof words[i]);
    }
}

void TurnQuarter(const Turn& turn) {
    const int columns = turn.height;
    const int rows = turn.width;
    const bool blocks = std::endian::native == std::endian::little;
    const int whole_columns = blocks ? columns / kBlock * kBlock : 0;
    const int whole_rows = blocks ? rows / kBlock * kBlock : 0;
    for (int y = 0; y < whole_rows; y += kBlock) {
        for (int x = 0; x < whole_columns; x += kBlock)
            TurnBlock(turn, x, y);
    }
    for (int y = 0; y < rows; ++y) {
        for (int x = y < whole_rows ? whole_columns : 0; x < columns; ++x)
            turn.to[y * turn.to_stride + x] = *turn.Origin(x, y);
    }
}

void TurnHalf(const Turn& turn) {
    for (int y = 0; y < turn.height; ++y) {
        const std::uint8_t* row = turn.from + (turn.height - 1 - y) * turn.from_stride;
        std::reverse_copy(row, row + turn.width, turn.to + y * turn.to_stride);
    }
}

} // namespace

PlanarBuffer::~PlanarBuffer() {
    av_free(m_memory);
}

bool PlanarBuffer::Resize(int width, int height) {
    const std::size_t luma_stride = Aligned(static_cast<std::size_t>(width) + kAlignment);
    const std::size_t chroma_stride = Aligned(static_cast<std::size_t>(width + 1) / 2 + kAlignment);
    const std::size_t luma_bytes = luma_stride * (static_cast<std::size_t>(height + 1) / 2 * 2);
    const std::size_t chroma_bytes = chroma_stride * (static_cast<std::size_t>(height + 1) / 2);
    const std::size_t needed = luma_bytes + 2 * chroma_bytes + kAlignment;
    if (needed > m_capacity) {
        av_freep(&m_memory);
        m_capacity = 0;
        m_width = 0;
        m_height = 0;
        m_memory = static_cast<std::uint8_t*>(av_mallocz(needed));
        if (!m_memory) return false;
        m_capacity = needed;
    }
    m_width = width;
    m_height = height;
    m_planes = {m_memory, m_memory + luma_bytes, m_memory + luma_bytes + chroma_bytes, nullptr};
    const int stride = static_cast<int>(chroma_stride);
    m_strides = {static_cast<int>(luma_stride), stride, stride, 0};
    return true;
}

bool PlanarBuffer::TakeTurned(const PlanarBuffer& other, int degrees) {
    const bool sideways = degrees % 180 != 0;
    if (!Resize(sideways ? other.m_height : other.m_width, sideways ? other.m_width : other.m_height))
        return false;
    for (int plane = 0; plane < kPlanes; ++plane) {
        const Turn turn{other.m_planes[plane],
                        other.m_strides[plane],
                        other.PlaneWidth(plane),
                        other.PlaneHeight(plane),
                        m_planes[plane],
                        m_strides[plane],
                        degrees == 90};
        if (sideways) {
            TurnQuarter(turn);
        } else {
            TurnHalf(turn);
        }
    }
    return true;
}

} // namespace ordune
