// Makes pictures of the NAL units of an H.264 stream and puts them in order, into a frame table. Decodes
// nothing.
//
// 1. Slices, parameter sets and recovery points are looked at, everything else is passed over.
// 2. A unit begins with the first NAL unit behind the last slice of the picture before. The second field of a
//    frame belongs to the first one's unit.
// 3. Units get their picture order count and go through OutputOrder into the table.
//
// Used by one thread at a time; what it publishes is for all.
#pragma once

#include "ordune/FrameTable.h"
#include "ordune/OutputOrder.h"
#include "ordune/ParameterHistory.h"
#include "ordune/ParameterSets.h"
#include "ordune/PictureOrder.h"
#include "ordune/SliceHeader.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ordune {

class PictureGatherer {
  public:
    // `sets` are in force from the start. `history` is told which are in force where; it may be null.
    PictureGatherer(FrameTable& table, ParameterHistory* history, ParameterSets sets);

    // The next NAL unit, or as much of it as tells what it is, at least its header byte. `offset` is where it
    // begins with what stands ahead of it, `end` (of no use to a table without sizes) where it ends.
    void Take(std::span<const std::uint8_t> nal, std::int64_t offset, std::int64_t end = 0);
    // What comes next does not lie behind what came last: a new unit begins with it.
    void Break();
    // The stream has ended; see OutputOrder.
    void Finish(std::int64_t end_offset);
    void Publish(FrameNumber estimated_total) { m_output.Publish(estimated_total); }

    const ParameterSets& Sets() const { return m_sets; }
    // The first sequence that a picture used; nothing before there was one.
    const std::optional<SequenceParameters>& FirstSequence() const { return m_first_sequence; }
    // The sets that the first picture used, with start codes.
    const std::vector<std::uint8_t>& FirstSets() const { return m_first_sets; }
    int Depth() const { return m_output.Depth(); }

  private:
    // The picture or pair of fields being gathered.
    struct Picture {
        // Defined outside, since members with initialisers cannot be asked for inside the class by every
        // compiler.
        Picture();

        std::int64_t offset_bytes = 0;
        SliceHeader slice; // the last one of it
        OutputOrder::Unit unit;
        bool paired = false; // both fields are there
        bool lost = false;   // slices that name sets that are not there
    };

    void HandleSlice(std::span<const std::uint8_t> nal, std::int64_t offset);
    void HandleLostSlice(std::int64_t offset);
    void HandleEnhancement(std::span<const std::uint8_t> payload);
    bool CompletesFrame(const SliceHeader& slice) const;
    void Begin(const SliceHeader& slice, const SequenceParameters& sequence, std::int64_t offset);
    void Recover(const SliceHeader& slice, const SequenceParameters& sequence);
    std::int64_t TakeStart(std::int64_t offset);
    void Flush();
    void RecordSets();

    // Immutable.
    FrameTable& m_table;
    ParameterHistory* const m_history;

    // The indexing thread's own.
    OutputOrder m_output;
    PictureOrder m_order;
    ParameterSets m_sets;

    std::optional<Picture> m_picture;
    std::int64_t m_end = 0; // of its last slice
    // Where the unit to come begins: the first NAL unit behind the last slice; -1 when that is the slice
    // itself.
    std::int64_t m_next_start = -1;
    std::optional<std::uint32_t> m_recovery; // frames until recovery, of the picture to come
    bool m_sets_changed = false;             // since the history was written to

    // The decoder's rule of which pictures it trusts.
    bool m_seen_idr = false;
    bool m_valid_recovery = false;
    std::int64_t m_recovery_frame = -1;
    int m_missing_fields = 0;

    std::optional<SequenceParameters> m_first_sequence;
    std::vector<std::uint8_t> m_first_sets;
};

} // namespace ordune
