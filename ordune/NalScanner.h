// Finds the start codes (00 00 01) of an Annex B byte stream, at the speed of memory.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ordune {

// The place of the first start code that lies wholly within [from, size); `size` where there is none. Any
// thread.
std::size_t FindStartCode(const std::uint8_t* data, std::size_t from, std::size_t size);

// The portable way to the same, for machines without vector instructions and for comparison.
std::size_t FindStartCodePortably(const std::uint8_t* data, std::size_t from, std::size_t size);

} // namespace ordune
