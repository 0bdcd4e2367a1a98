#include "ordune/UnitInspector.h"

namespace ordune {

void InspectUnits(const FileSource& file, const AVCodecParameters& parameters, ContainerUnits& units) {
    (void)file;
    (void)parameters;
    (void)units;
}

} // namespace ordune
