// How bright a picture is.
#pragma once

#include "ordune/Picture.h"

#include <optional>

namespace ordune {

// Mean of the luma of every eighth sample in every eighth row, scaled to 0 to 255; nothing for pixel formats
// whose first plane is not luma. Pure; any thread.
std::optional<double> MeanBrightness(const Picture& picture);

} // namespace ordune
