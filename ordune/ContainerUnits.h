// The units of a container's video stream as its indexer gathers them, before they have frame numbers.
#pragma once

#include <cstdint>
#include <vector>

namespace ordune {

struct ContainerUnit {
    std::int64_t offset_bytes = -1;
    std::int64_t time = 0;      // of presentation, in ticks of the stream
    std::uint32_t duration = 0; // in ticks; 0: not known
    std::uint32_t size_bytes = 0;
    bool key = false;
    bool shown = true;
    bool referenced = true;
    bool closed = false; // a key that nothing after it in the file reaches across
};

using ContainerUnits = std::vector<ContainerUnit>;

} // namespace ordune
