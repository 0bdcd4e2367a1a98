// The units of a container's video stream as its indexer gathers them, before they have frame numbers.
#pragma once

#include <cstdint>
#include <vector>

namespace ordune {

struct ContainerUnit {
    std::int64_t offset_bytes = -1;
    std::int64_t time = 0;      // of presentation, in ticks of the stream; or see UnitSource::Order
    std::uint32_t duration = 0; // in ticks; 0: not known
    std::uint32_t size_bytes = 0;
    bool key = false;
    bool shown = true;
    bool referenced = true;
    bool closed = false;     // a key that nothing after it in the file reaches across
    bool new_period = false; // shown after everything before it
};

using ContainerUnits = std::vector<ContainerUnit>;

// Times beyond this are damage; within it, differences and sums of two do not overflow.
inline bool Believable(std::int64_t ticks) {
    constexpr std::int64_t kFarthest = std::int64_t{1} << 60;
    return ticks >= -kFarthest && ticks <= kFarthest;
}

// A day at 240 pictures a second is less; more is a file that lies.
inline constexpr std::uint32_t kMostUnits = 24'000'000;

} // namespace ordune
