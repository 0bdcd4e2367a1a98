// How much an MP4 file claims to hold, counted from its headers before libavformat makes room for it.
#pragma once

#include "ordune/FileSource.h"

#include <cstdint>
#include <functional>

namespace ordune {

// A file of a kilobyte can claim four thousand million samples of one byte each.
struct Mp4Claims {
    // Reads box headers and the first bytes of a few boxes. `given_up` is asked before each read: where it
    // says so, the counts end there.
    static Mp4Claims Of(const FileSource& file, const std::function<bool()>& given_up);

    // Whether no honest file of this size claims so many samples. A million are always believed: their list
    // is small, and a recording that was cut off has more of them than bytes.
    bool TooMuchFor(std::int64_t file_bytes) const;

    // How many samples libavformat would list (ISO/IEC 14496-12): those of all tables and of all fragments.
    std::uint64_t samples = 0;
    // Outermost boxes, and how long those are that describe what is in the others.
    std::int64_t boxes = 0;
    std::int64_t movie_bytes = 0;
};

} // namespace ordune
