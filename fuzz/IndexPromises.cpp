#include "fuzz/IndexPromises.h"

#include "fuzz/FuzzInput.h"

#include <algorithm>

namespace fuzz {

using namespace ordune;

namespace {

constexpr FrameNumber kMostFrames = 20'000;

bool Holds(const Group& group, FrameNumber frame) {
    return frame >= group.first_frame && frame - group.first_frame < group.frame_count;
}

void CheckFrame(const FrameIndex& index, FrameNumber frame) {
    const UnitNumber unit = index.UnitOf(frame);
    Require(unit != kNoUnit && index.FrameOf(unit) == frame, "a frame is that of its unit");
    const std::optional<Group> group = index.GroupOf(frame);
    Require(group && Holds(*group, frame), "a frame lies in its group");
    Require(unit >= group->first_unit && unit - group->first_unit < group->unit_count,
            "the frame's unit lies in the frame's group");
    Require(group->leading_count <= group->frame_count, "leading frames are the group's");
    const std::optional<Group> of_unit = index.GroupOfUnit(unit);
    Require(of_unit && of_unit->first_unit == group->first_unit, "a unit's group is that of its frame");

    const MediaTime time = index.TimeOf(frame);
    Require(time.count() >= 0 && time <= index.Duration(), "a frame is shown within the film");
    Require(frame == 0 || index.TimeOf(frame - 1) <= time, "times do not fall");
    const FrameNumber found = index.FrameAt(time);
    Require(found >= frame && index.TimeOf(found) == time, "a frame is found by its time");

    const std::optional<KeyFrame> before = index.KeyAtOrBefore(frame);
    Require(!before || before->frame <= frame, "the key before is not after");
    const std::optional<KeyFrame> after = index.KeyAfter(frame);
    Require(!after || after->frame > frame, "the key after is after");
    (void)index.Referenced(unit);
}

} // namespace

void CheckIndex(const FrameIndex& index) {
    const FrameNumber known = index.Known();
    Require(index.Total() >= known, "the total holds the known");
    Require(index.RateNumerator() > 0 && index.RateDenominator() > 0, "the rate is a rate");
    for (FrameNumber frame = 0; frame < std::min(known, kMostFrames); ++frame)
        CheckFrame(index, frame);
    (void)index.TimeOf(kNoFrame - 1);
    (void)index.FrameAt(MediaTime::max());
    (void)index.FrameAt(MediaTime::min());
    Require(!index.GroupOf(kNoFrame), "there is no frame without a number");
    Require(index.UnitOf(kNoFrame) == kNoUnit, "no unit makes no frame");
}

void CheckSame(const FrameIndex& one, const FrameIndex& other) {
    Require(one.Total() == other.Total(), "the same count of frames");
    for (FrameNumber frame = 0; frame < std::min(one.Total(), kMostFrames); ++frame) {
        Require(one.UnitOf(frame) == other.UnitOf(frame), "the same units");
        const std::optional<Group> mine = one.GroupOf(frame);
        const std::optional<Group> theirs = other.GroupOf(frame);
        Require(mine->first_frame == theirs->first_frame && mine->first_unit == theirs->first_unit &&
                    mine->leading_count == theirs->leading_count,
                "the same groups");
        const std::optional<KeyFrame> key = one.KeyAtOrBefore(frame);
        const std::optional<KeyFrame> their_key = other.KeyAtOrBefore(frame);
        Require(key.has_value() == their_key.has_value(), "the same keys");
        Require(!key || key->offset_bytes == their_key->offset_bytes, "the keys in the same places");
    }
}

} // namespace fuzz
