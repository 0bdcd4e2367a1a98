#include "ordune/FrameTable.h"

extern "C" {
#include <libavutil/mathematics.h>
#include <libavutil/rational.h>
}

#include <algorithm>
#include <climits>

namespace ordune {

namespace {

constexpr std::uint64_t kReferenced = 1;
constexpr std::uint64_t kClosed = 2;
constexpr int kFlagBits = 2;

// libavutil's rescaling answers with the lowest number where the result does not fit.
MediaTime Bounded(std::int64_t rescaled, bool positive) {
    if (positive && rescaled < 0) return kLongestTime;
    return std::clamp(MediaTime(rescaled), MediaTime(0), kLongestTime);
}

MediaTime TimeOfTicks(std::int64_t ticks, const TimeScale& scale) {
    return Bounded(av_rescale_q(ticks, AVRational{scale.tick_numerator, scale.tick_denominator},
                                AVRational{1, 1'000'000}),
                   ticks > 0);
}

} // namespace

FrameTable::FrameTable(bool sized) : m_sized(sized) {}

UnitNumber FrameTable::AddUnit(std::int64_t offset_bytes, std::uint32_t size_bytes, UnitFlags flags) {
    const UnitNumber unit = m_frame_of.Size();
    m_offsets.Append((static_cast<std::uint64_t>(offset_bytes + 1) << kFlagBits) |
                     (flags.referenced ? kReferenced : 0) | (flags.closed ? kClosed : 0));
    if (m_sized) m_sizes.Append(size_bytes);
    m_frame_of.Append(kNoFrame);
    return unit;
}

void FrameTable::AddEnd(std::int64_t end_offset) {
    m_offsets.Append(static_cast<std::uint64_t>(end_offset + 1) << kFlagBits);
}

FrameNumber FrameTable::AddFrame(UnitNumber unit, std::int64_t tick) {
    const FrameNumber frame = m_unit_of.Size();
    m_unit_of.Append(unit);
    if (m_sized) m_ticks.Append(tick);
    m_frame_of.Set(unit, frame);
    return frame;
}

void FrameTable::AddGroup(UnitNumber first_unit, FrameNumber first_frame) {
    m_groups.Append({first_unit, first_frame});
}

void FrameTable::Publish(UnitNumber units, FrameNumber frames, std::uint32_t groups,
                         FrameNumber estimated_total) {
    m_units.store(units, std::memory_order_release);
    m_group_count.store(groups, std::memory_order_release);
    m_estimate.store(std::max(estimated_total, frames), std::memory_order_release);
    m_frames.store(frames, std::memory_order_release);
}

void FrameTable::Finish(std::int64_t end_tick) {
    m_end_tick.store(end_tick, std::memory_order_release);
    m_complete.store(true, std::memory_order_release);
}

void FrameTable::FinishShort() {
    MarkShort();
    const FrameNumber known = Known();
    const std::int64_t last = m_sized && known > 0 ? m_ticks[known - 1] : 0;
    Finish(known > 1 ? last + last / (known - 1) : last);
}

std::size_t FrameTable::Bytes() const {
    return m_offsets.Bytes() + m_sizes.Bytes() + m_frame_of.Bytes() + m_unit_of.Bytes() + m_ticks.Bytes() +
           m_groups.Bytes();
}

FrameNumber FrameTable::Total() const {
    const bool complete = Complete();
    const FrameNumber known = Known();
    return complete ? known : std::max(known, m_estimate.load(std::memory_order_acquire));
}

MediaTime FrameTable::TimeOf(FrameNumber frame) const {
    if (!m_sized) return TimeOfTicks(frame, m_scale);
    const bool complete = Complete();
    const FrameNumber known = Known();
    if (frame < known) return TimeOfTicks(m_ticks[frame], m_scale);
    const MediaTime last = known > 0 ? TimeOfTicks(m_ticks[known - 1], m_scale) : MediaTime(0);
    const MediaTime from = complete ? Duration() : last;
    const std::int64_t frames = std::int64_t{frame} - known + (complete || known == 0 ? 0 : 1);
    const Rate rate = AverageRate();
    const std::int64_t beyond =
        av_rescale_rnd(frames, rate.denominator * 1'000'000, rate.numerator, AV_ROUND_NEAR_INF);
    return std::min(from + Bounded(beyond, true), kLongestTime);
}

FrameNumber FrameTable::FrameAt(MediaTime time) const {
    const FrameNumber total = Total();
    if (total == 0 || time < MediaTime(0)) return 0;
    FrameNumber low = 0; // TimeOf(low) <= time < TimeOf(high), with high's time taken as endless
    FrameNumber high = total;
    while (high - low > 1) {
        const FrameNumber middle = low + (high - low) / 2;
        (TimeOf(middle) <= time ? low : high) = middle;
    }
    return low;
}

MediaTime FrameTable::Duration() const {
    if (!m_sized) return TimeOfTicks(Total(), m_scale);
    if (!Complete()) return TimeOf(Total());
    return TimeOfTicks(m_end_tick.load(std::memory_order_acquire), m_scale);
}

FrameTable::Rate FrameTable::AverageRate() const {
    if (!m_sized) return {m_scale.tick_denominator, m_scale.tick_numerator};
    const bool complete = Complete();
    const std::int64_t known = Known();
    // While it grows, the last frame's own duration is not known.
    const std::int64_t frames = complete || known == 0 ? known : known - 1;
    const std::int64_t ticks = complete    ? m_end_tick.load(std::memory_order_acquire)
                               : known > 0 ? m_ticks[static_cast<FrameNumber>(known - 1)]
                                           : 0;
    if (frames == 0 || ticks <= 0) return {25, 1};
    int numerator = 0;
    int denominator = 0;
    // Frames over seconds; the product of an hour's ticks and their length is far from 64 bits, a lie is cut
    // off.
    const std::int64_t seconds_scaled =
        ticks > std::numeric_limits<std::int64_t>::max() / m_scale.tick_numerator
            ? std::numeric_limits<std::int64_t>::max()
            : ticks * m_scale.tick_numerator;
    av_reduce(&numerator, &denominator, frames * m_scale.tick_denominator, seconds_scaled, INT_MAX);
    if (numerator <= 0 || denominator <= 0) return {25, 1};
    return {numerator, denominator};
}

std::int64_t FrameTable::RateNumerator() const {
    return AverageRate().numerator;
}
std::int64_t FrameTable::RateDenominator() const {
    return AverageRate().denominator;
}

// The last group that begins at or before the frame: groups without a frame lie before it and are passed
// over.
std::uint32_t FrameTable::GroupIndexOfFrame(FrameNumber frame, std::uint32_t groups) const {
    std::uint32_t low = 0;
    std::uint32_t high = groups;
    while (high - low > 1) {
        const std::uint32_t middle = low + (high - low) / 2;
        (m_groups[middle].frame <= frame ? low : high) = middle;
    }
    return low;
}

Group FrameTable::GroupAt(std::uint32_t index, std::uint32_t groups, FrameNumber frames,
                          UnitNumber units) const {
    const GroupStart start = m_groups[index];
    const GroupStart end = index + 1 < groups ? m_groups[index + 1] : GroupStart{units, frames};
    Group group;
    group.first_unit = start.unit;
    group.unit_count = end.unit - start.unit;
    group.first_frame = start.frame;
    group.frame_count = end.frame - start.frame;
    const FrameNumber key = m_frame_of[start.unit];
    const bool closed = (m_offsets[start.unit] & kClosed) != 0;
    if (!closed && key != kNoFrame && key > start.frame) group.leading_count = key - start.frame;
    return group;
}

std::optional<Group> FrameTable::GroupOf(FrameNumber frame) const {
    const FrameNumber frames = Known();
    const std::uint32_t groups = m_group_count.load(std::memory_order_acquire);
    const UnitNumber units = KnownUnits();
    if (frame >= frames || groups == 0) return std::nullopt;
    return GroupAt(GroupIndexOfFrame(frame, groups), groups, frames, units);
}

std::optional<Group> FrameTable::GroupOfUnit(UnitNumber unit) const {
    const FrameNumber frames = Known();
    const std::uint32_t groups = m_group_count.load(std::memory_order_acquire);
    const UnitNumber units = KnownUnits();
    if (unit >= units || groups == 0) return std::nullopt;
    std::uint32_t low = 0;
    std::uint32_t high = groups;
    while (high - low > 1) {
        const std::uint32_t middle = low + (high - low) / 2;
        (m_groups[middle].unit <= unit ? low : high) = middle;
    }
    return GroupAt(low, groups, frames, units);
}

FrameNumber FrameTable::FrameOf(UnitNumber unit) const {
    return unit < KnownUnits() ? m_frame_of[unit] : kNoFrame;
}

UnitNumber FrameTable::UnitOf(FrameNumber frame) const {
    return frame < Known() ? m_unit_of[frame] : kNoUnit;
}

bool FrameTable::Referenced(UnitNumber unit) const {
    return unit >= KnownUnits() || (m_offsets[unit] & kReferenced) != 0;
}

std::int64_t FrameTable::OffsetOf(UnitNumber unit) const {
    return static_cast<std::int64_t>(m_offsets[unit] >> kFlagBits) - 1;
}

FrameTable::Extent FrameTable::ExtentOf(UnitNumber unit) const {
    const UnitNumber units = KnownUnits();
    if (unit >= units) return {-1, 0};
    const std::int64_t offset = OffsetOf(unit);
    if (m_sized) return {offset, m_sizes[unit]};
    return {offset, OffsetOf(unit + 1) - offset};
}

bool FrameTable::BeginsGroup(UnitNumber unit) const {
    const std::optional<Group> group = GroupOfUnit(unit);
    return group && group->first_unit == unit;
}

KeyFrame FrameTable::KeyOf(const Group& group) const {
    KeyFrame key;
    key.offset_bytes = OffsetOf(group.first_unit);
    const FrameNumber frame = m_frame_of[group.first_unit];
    key.frame = frame != kNoFrame ? frame : group.first_frame;
    key.time = TimeOf(key.frame);
    return key;
}

std::optional<KeyFrame> FrameTable::KeyAtOrBefore(FrameNumber frame) const {
    const FrameNumber frames = Known();
    const std::uint32_t groups = m_group_count.load(std::memory_order_acquire);
    const UnitNumber units = KnownUnits();
    if (frame >= frames || groups == 0) return std::nullopt;
    std::uint32_t index = GroupIndexOfFrame(frame, groups);
    // A leading picture lies in the group whose key is shown after it.
    KeyFrame key = KeyOf(GroupAt(index, groups, frames, units));
    if (key.frame > frame && index > 0) key = KeyOf(GroupAt(index - 1, groups, frames, units));
    if (key.frame > frame) return std::nullopt;
    return key;
}

std::optional<KeyFrame> FrameTable::KeyAfter(FrameNumber frame) const {
    const FrameNumber frames = Known();
    const std::uint32_t groups = m_group_count.load(std::memory_order_acquire);
    const UnitNumber units = KnownUnits();
    if (groups == 0 || frame == kNoFrame) return std::nullopt;
    for (std::uint32_t index = GroupIndexOfFrame(frame, groups); index < groups; ++index) {
        const Group group = GroupAt(index, groups, frames, units);
        if (group.frame_count == 0) continue;
        const KeyFrame key = KeyOf(group);
        if (key.frame > frame && key.frame < frames) return key;
    }
    return std::nullopt;
}

} // namespace ordune
