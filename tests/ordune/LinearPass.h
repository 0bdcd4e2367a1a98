// What libavcodec makes of a file in one pass from its start: the oracle of the index.
#pragma once

#include "ordune/MediaFile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ordune::test {

// How many pictures libavformat and libavcodec, used plainly, give for the file.
std::uint32_t CountPictures(const std::string& path);

// The numbers of the units whose pictures come out, in that order, when all units are read and decoded in
// turn. Those that the index says are not shown are left out.
std::vector<UnitNumber> UnitsInOrderOfOutput(const MediaFile& file);

} // namespace ordune::test
