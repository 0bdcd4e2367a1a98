// How much an MP4 file claims to hold, counted from its headers before libavformat makes room for it.
#pragma once

#include "ordune/FileSource.h"

#include <cstdint>

namespace ordune {

// How many samples libavformat would list for the file (ISO/IEC 14496-12): those of all its tables and of all
// its fragments. Reads box headers and the first bytes of a few boxes; 0 for what is no MP4 file. A file of a
// kilobyte can claim four thousand million samples of one byte each.
std::uint64_t CountClaimedSamples(const FileSource& file);

// Whether no honest file of this size claims so many. A million are always believed: their list is small, and
// a recording that was cut off has more of them than bytes.
bool IsTooMuch(std::uint64_t samples, std::int64_t file_bytes);

} // namespace ordune
