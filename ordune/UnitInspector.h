// Looks into the units of H.264 and HEVC in containers where the container's word is not enough.
#pragma once

#include "ordune/ContainerUnits.h"
#include "ordune/FileSource.h"

struct AVCodecParameters;

namespace ordune {

// Corrects what the units say of themselves (key, closed, shown, referenced). Reads the units of a small
// file, and of a large one only what a doubt makes necessary.
void InspectUnits(const FileSource& file, const AVCodecParameters& parameters, ContainerUnits& units);

} // namespace ordune
