// An array that one thread appends to while others read what is there: elements never move.
//
// Chunk k holds 1024 << k elements, so that twenty-three pointers reach every 32-bit index and the memory of
// the part not yet written is not touched. There is no lock and no count for readers in here: the writer
// publishes how many elements may be read by a release store of its own, and readers load that first.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace ordune {

template <class T>
class ChunkedArray {
  public:
    // Writer alone. Throws std::bad_alloc when out of memory, the array being as it was.
    void Append(T value) {
        const Place place = PlaceOf(m_size);
        if (place.index == 0 && !m_chunks[place.chunk]) {
            m_chunks[place.chunk] = std::make_unique_for_overwrite<T[]>(kFirst << place.chunk);
        }
        m_chunks[place.chunk][place.index] = value;
        ++m_size;
    }

    // Writer alone: how many there are, published or not.
    std::uint32_t Size() const { return m_size; }

    // Readers: an element below the published count. Writer: any.
    const T& operator[](std::uint32_t index) const {
        const Place place = PlaceOf(index);
        return m_chunks[place.chunk][place.index];
    }

    // Writer alone, on an element that is not published yet.
    void Set(std::uint32_t index, T value) {
        const Place place = PlaceOf(index);
        m_chunks[place.chunk][place.index] = value;
    }

    // Memory in use, for tests of the budget. Writer alone.
    std::size_t Bytes() const { return std::size_t{m_size} * sizeof(T); }

  private:
    static constexpr std::size_t kFirst = 1024;

    struct Place {
        std::uint32_t chunk;
        std::size_t index;
    };

    static Place PlaceOf(std::uint32_t index) {
        const std::uint64_t shifted = std::uint64_t{index} + kFirst;
        const auto chunk = static_cast<std::uint32_t>(std::bit_width(shifted) - std::bit_width(kFirst));
        return {chunk, static_cast<std::size_t>(shifted - (std::uint64_t{kFirst} << chunk))};
    }

    std::array<std::unique_ptr<T[]>, 24> m_chunks;
    std::uint32_t m_size = 0;
};

} // namespace ordune
