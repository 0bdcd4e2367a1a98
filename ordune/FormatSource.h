// The units of a stream as libavformat gives them.
#pragma once

#include "ordune/Error.h"
#include "ordune/FormatInput.h"
#include "ordune/UnitSource.h"

#include <memory>

struct AVStream;

namespace ordune {

// One pass over the packets of the file, which is read whole for it. `input` was opened and not read from.
// `direct` says that packets are the file's own bytes: those that are cut off are left out then.
Result<std::unique_ptr<UnitSource>> MakePacketSource(std::unique_ptr<FormatInput> input,
                                                     const AVStream* video, bool direct);

// libavformat's index entries of an MP4 track (which unit, where, with edit lists applied), joined with the
// composition offsets of the tables, which it keeps to itself. The data is not read, but for one packet:
// `input` is used up. Null where the tables and the entries do not fit together.
std::unique_ptr<UnitSource> MakeEntrySource(FormatInput& input, AVStream* video);

} // namespace ordune
