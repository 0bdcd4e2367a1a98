// Makes the frame index of a file in a container (MP4 and whatever else libavformat reads). Decodes nothing.
//
// 1. An MP4 file with plain sample tables: libavformat's index entries (which unit, where, with edit lists
// applied)
//    joined with the composition offsets of the tables. The data is not read.
// 2. Everything else (fragments, other containers, tables that do not fit together): one pass over the
// packets.
// 3. Units whose bytes are not all in the file are left out. Units that an edit list leaves out are decoded
// but not
//    shown.
// 4. Shown units are put in the order of their time stamps, equal ones in the order of decoding; a group
// begins at
//    each key unit such that everything before it is shown before everything from it on.
#pragma once

#include "ordune/Error.h"
#include "ordune/FormatInput.h"
#include "ordune/FrameTable.h"

#include <cstdint>
#include <memory>
#include <optional>

struct AVStream;

namespace ordune {

struct ContainerIndex {
    std::shared_ptr<FrameTable> table;
    // Units can be read straight from the file, by offset and size, as they are.
    bool direct = false;
    // The container's own time of frame 0.
    MediaTime origin{0};
    // The first key picture is known to be decodable.
    bool sure = false;
    // How many pictures at most are decoded before one that is shown ahead of them.
    int reorder_depth = 0;
};

// `input` was opened and not read from; it is used up.
Result<ContainerIndex> IndexContainer(const FormatInput& input, AVStream* video);

} // namespace ordune
