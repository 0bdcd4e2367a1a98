// The words in which this library speaks of positions.
#pragma once

#include <chrono>
#include <cstdint>
#include <limits>

namespace ordune {

// Number of a picture in presentation order, counted from 0.
using FrameNumber = std::uint32_t;
inline constexpr FrameNumber kNoFrame = std::numeric_limits<FrameNumber>::max();

// Number of a coded unit (the bytes of one picture, both fields included) in the order of the file, which is
// the order of decoding, counted from 0.
using UnitNumber = std::uint32_t;
inline constexpr UnitNumber kNoUnit = std::numeric_limits<UnitNumber>::max();

// Time in the file; frame 0 is at 0.
using MediaTime = std::chrono::microseconds;

} // namespace ordune
