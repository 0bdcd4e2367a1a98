// Every picture of a file: how many there are, when each is shown, and which coded units make it.
//
// Owned by a MediaFile and shared with whoever reads the file. All queries may be made from any thread and
// none reads the file: what they need is in memory when the file is open. The index of a large file that has
// to be read for it grows in the background; it is never wrong, only short: what it says of a frame below
// Known() is final.
#pragma once

#include "ordune/Frame.h"

#include <cstdint>
#include <optional>

namespace ordune {

// A run of pictures that can be decoded from a key picture on. Its pictures have consecutive frame numbers,
// and its units follow each other in the file.
struct Group {
    FrameNumber first_frame = 0;
    FrameNumber frame_count = 0;
    UnitNumber first_unit = 0; // the key picture's unit
    UnitNumber unit_count = 0;
    // Pictures at the front of the group (in presentation order) that refer to the group before, so that they
    // can only be decoded by starting there. 0 where the group is closed.
    FrameNumber leading_count = 0;
};

struct KeyFrame {
    std::int64_t offset_bytes = 0; // of the unit in the file; -1 where the container cannot tell
    FrameNumber frame = 0;
    MediaTime time{0};
};

class FrameIndex {
  public:
    virtual ~FrameIndex() = default;

    // Whether every picture is known. Once true it stays so.
    virtual bool Complete() const = 0;
    // How many frames are known so far, from frame 0 on without a gap.
    virtual FrameNumber Known() const = 0;
    // How many frames the file has: exact when complete, else an estimate that is never below Known().
    virtual FrameNumber Total() const = 0;

    // When the frame is first shown; past the known frames, extrapolated with the average rate.
    virtual MediaTime TimeOf(FrameNumber frame) const = 0;
    // The last frame whose time is at or before `time`; 0 for times before the first.
    virtual FrameNumber FrameAt(MediaTime time) const = 0;
    // End of the last frame's display.
    virtual MediaTime Duration() const = 0;
    // Average frames a second, as a fraction.
    virtual std::int64_t RateNumerator() const = 0;
    virtual std::int64_t RateDenominator() const = 0;

    // The group that holds the frame; nothing for a frame that is not known (yet).
    virtual std::optional<Group> GroupOf(FrameNumber frame) const = 0;
    // The group whose units hold this one.
    virtual std::optional<Group> GroupOfUnit(UnitNumber unit) const = 0;
    // The frame that this unit is decoded to; kNoFrame for a unit that is decoded but not shown.
    virtual FrameNumber FrameOf(UnitNumber unit) const = 0;
    // The unit that the frame is decoded from; kNoUnit for a frame that is not known.
    virtual UnitNumber UnitOf(FrameNumber frame) const = 0;
    // Whether other pictures refer to this unit's picture; true where that cannot be told.
    virtual bool Referenced(UnitNumber unit) const = 0;

    virtual std::optional<KeyFrame> KeyAtOrBefore(FrameNumber frame) const = 0;
    virtual std::optional<KeyFrame> KeyAfter(FrameNumber frame) const = 0;
};

} // namespace ordune
