// What is needed to read the H.264 of an MP4 recording that does not tell of it any more: parameter sets and
// the size of length fields, from the data itself or from another recording of the same recorder.
#pragma once

#include "ordune/AvcConfiguration.h"
#include "ordune/CancelToken.h"
#include "ordune/FileSource.h"
#include "ordune/FrameTable.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace ordune {

struct SalvageKey {
    AvcConfiguration configuration;
    // Of another recording: the pictures are likely to have these, too.
    std::optional<TimeScale> rate; // where the sets do not tell
    int aspect_numerator = 1;      // where the sets tell of square pixels
    int aspect_denominator = 1;
    int rotation = 0;
};

// The sets that stand in [begin, end) of the file near its start, behind length fields of four bytes; nothing
// where there are none, or once cancelled.
std::optional<SalvageKey> KeyInData(const FileSource& file, std::int64_t begin, std::int64_t end,
                                    const CancelToken& cancel);

// What the movie box of this file says of its H.264, where it has some; its samples need not be there. Not of
// a box larger than `most_bytes`, which is made less by what was read.
std::optional<SalvageKey> KeyOfRecording(const std::shared_ptr<const FileSource>& file,
                                         std::int64_t& most_bytes, const CancelToken& cancel);

} // namespace ordune
