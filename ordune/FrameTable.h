// The frame index as tables in memory: what every indexer fills and every query reads.
//
// One thread fills it (Add...), then makes a prefix visible (Publish), as often as it likes; any thread may
// query. Queries take no lock: they see the last published prefix, whose contents never change. A frame of a
// raw stream takes 16 bytes, one of a container 28, and a group 8 more.
#pragma once

#include "ordune/ChunkedArray.h"
#include "ordune/FrameIndex.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace ordune {

// How frame numbers become times.
struct TimeScale {
    // Seconds a tick: numerator / denominator, both above 0.
    int tick_numerator = 1;
    int tick_denominator = 25;
};

// The longest time that a frame can have, ten years: what a file claims beyond it is cut off, so that times
// can be added up, and multiplied by the greatest speed in nanoseconds, without a thought of overflow.
inline constexpr MediaTime kLongestTime{310'000'000'000'000};

class FrameTable final : public FrameIndex {
  public:
    struct UnitFlags {
        bool referenced = true; // other pictures refer to it, or that cannot be told
        bool closed = false;    // begins a group none of whose pictures refers to an earlier one
    };

    // With `sized`, units have sizes of their own and frames have ticks; without, a unit reaches to the next
    // one and frames come one tick after the other.
    explicit FrameTable(bool sized);
    bool Sized() const { return m_sized; }

    // --- Filling: the owner's thread alone. ---

    // Before the table is shared.
    void SetTimeScale(const TimeScale& scale) { m_scale = scale; }
    const TimeScale& Scale() const { return m_scale; }
    // The next unit in the order of decoding. `offset_bytes` may be -1 (not known).
    UnitNumber AddUnit(std::int64_t offset_bytes, std::uint32_t size_bytes, UnitFlags flags);
    // The next frame in the order of presentation; frame 0 must have tick 0, and ticks must not fall.
    FrameNumber AddFrame(UnitNumber unit, std::int64_t tick);
    // The next group; groups begin at rising units and at frames that do not fall. The first begins at unit
    // 0.
    void AddGroup(UnitNumber first_unit, FrameNumber first_frame);
    UnitNumber Units() const { return m_frame_of.Size(); }
    FrameNumber Frames() const { return m_unit_of.Size(); }
    UnitNumber AddedUnitOf(FrameNumber frame) const { return m_unit_of[frame]; }
    // Makes the first so many visible. Every frame below `frames` must come from a unit below `units`. In a
    // table that is not `sized` there must be one unit more, or the end: a unit ends where the next begins.
    void Publish(UnitNumber units, FrameNumber frames, std::uint32_t groups, FrameNumber estimated_total);
    // The end of the last frame's display in ticks (`sized` tables), and that nothing more will come. After
    // the last Publish.
    void Finish(std::int64_t end_tick);
    // What is found is not all there is: the file could not be read whole. Before Finish.
    void MarkShort() { m_short.store(true, std::memory_order_release); }
    // Nothing more will come, though the file goes on: what was published is all there is.
    void FinishShort();
    // Where the last unit ends (tables that are not `sized`); after it no unit is added.
    void AddEnd(std::int64_t end_offset);
    std::size_t Bytes() const;

    // --- Queries: any thread. ---

    bool Complete() const override { return m_complete.load(std::memory_order_acquire); }
    FrameNumber Known() const override { return m_frames.load(std::memory_order_acquire); }
    FrameNumber Total() const override;
    MediaTime TimeOf(FrameNumber frame) const override;
    FrameNumber FrameAt(MediaTime time) const override;
    MediaTime Duration() const override;
    std::int64_t RateNumerator() const override;
    std::int64_t RateDenominator() const override;
    std::optional<Group> GroupOf(FrameNumber frame) const override;
    std::optional<Group> GroupOfUnit(UnitNumber unit) const override;
    FrameNumber FrameOf(UnitNumber unit) const override;
    UnitNumber UnitOf(FrameNumber frame) const override;
    bool Referenced(UnitNumber unit) const override;
    std::optional<KeyFrame> KeyAtOrBefore(FrameNumber frame) const override;
    std::optional<KeyFrame> KeyAfter(FrameNumber frame) const override;

    // Of a complete table, whether it ends before the file does.
    bool IsShort() const { return m_short.load(std::memory_order_acquire); }
    // How many units may be asked for so far.
    UnitNumber KnownUnits() const { return m_units.load(std::memory_order_acquire); }
    // Whether the unit is the first of a group.
    bool BeginsGroup(UnitNumber unit) const;
    // Where the unit lies in the file; the offset is -1 where that is not known.
    struct Extent {
        std::int64_t offset_bytes;
        std::int64_t size_bytes;
    };
    Extent ExtentOf(UnitNumber unit) const;

  private:
    struct GroupStart {
        UnitNumber unit;
        FrameNumber frame;
    };

    struct Rate {
        std::int64_t numerator;
        std::int64_t denominator;
    };

    Rate AverageRate() const;
    std::uint32_t GroupIndexOfFrame(FrameNumber frame, std::uint32_t groups) const;
    Group GroupAt(std::uint32_t index, std::uint32_t groups, FrameNumber frames, UnitNumber units) const;
    KeyFrame KeyOf(const Group& group) const;
    std::int64_t OffsetOf(UnitNumber unit) const;

    // Immutable once the table is shared.
    const bool m_sized;
    TimeScale m_scale;

    // Written by the owner's thread beyond the published counts, read by any below them. An offset is kept
    // plus one, shifted left over two flags.
    ChunkedArray<std::uint64_t> m_offsets;
    ChunkedArray<std::uint32_t> m_sizes;
    ChunkedArray<FrameNumber> m_frame_of;
    ChunkedArray<UnitNumber> m_unit_of;
    ChunkedArray<std::int64_t> m_ticks;
    ChunkedArray<GroupStart> m_groups;

    // Atomic. m_frames is stored last: who has loaded it sees units and groups that cover it.
    std::atomic<std::int64_t> m_end_tick{0};
    std::atomic<UnitNumber> m_units{0};
    std::atomic<std::uint32_t> m_group_count{0};
    std::atomic<FrameNumber> m_estimate{0};
    std::atomic<FrameNumber> m_frames{0};
    std::atomic<bool> m_short{false}; // stored before m_complete
    std::atomic<bool> m_complete{false};
};

} // namespace ordune
