// The units of an MP4 track by the file's own tables and fragments (ISO/IEC 14496-12, 8.6 to 8.8). The data
// is not read: of a fragmented file the heads of its boxes and the boxes that describe fragments.
#pragma once

#include "ordune/FileSource.h"
#include "ordune/Mp4Movie.h"
#include "ordune/UnitSource.h"

#include <cstdint>
#include <memory>

namespace ordune {

// Null where the track's tables break off or contradict each other, where it has samples of several kinds, or
// where its edit list shows anything but one stretch that holds all of it. Times are those of the movie, in
// ticks of the track.
std::unique_ptr<UnitSource> MakeMp4Source(std::shared_ptr<const FileSource> file,
                                          std::shared_ptr<const Mp4Movie> movie, std::uint32_t track_id);

} // namespace ordune
