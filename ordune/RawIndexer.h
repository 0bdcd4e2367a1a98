// Makes the frame index of a raw H.264 stream (Annex B) as fast as it can be read. Decodes nothing.
//
// 1. The file is read in blocks and its start codes found; slices, parameter sets and recovery points are
// looked at,
//    everything else is passed over.
// 2. A unit begins with the first NAL unit behind the last slice of the picture before. The second field of a
// frame
//    belongs to the first one's unit.
// 3. Units get their picture order count and go through OutputOrder into the table.
//
// Used by one thread at a time; what it publishes is for all.
#pragma once

#include "ordune/Error.h"
#include "ordune/FileSource.h"
#include "ordune/FrameTable.h"
#include "ordune/OutputOrder.h"
#include "ordune/ParameterHistory.h"
#include "ordune/ParameterSets.h"
#include "ordune/PictureOrder.h"
#include "ordune/SliceHeader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace ordune {

class RawIndexer {
  public:
    // Frames a second; num / den.
    struct Timing {
        int numerator = 25;
        int denominator = 1;
    };

    // How much is read at a time: it stays in the processor's cache.
    static constexpr std::size_t kBlock = 1 << 20;

    RawIndexer(std::shared_ptr<const FileSource> file, FrameTable& table, ParameterHistory& history,
               std::size_t block = kBlock);

    // Reads the next block and publishes what is final after it. False when the file is done; the table is
    // finished then. A file that cannot be read on ends there.
    bool Advance();

    // The first sequence that a picture used; nothing before there was one.
    const std::optional<SequenceParameters>& FirstSequence() const { return m_first_sequence; }
    // The sets that the first picture used, with start codes.
    const std::vector<std::uint8_t>& FirstSets() const { return m_first_sets; }
    int Depth() const { return m_output.Depth(); }
    bool Failed() const { return m_failed; }

    static Timing TimingOf(const SequenceParameters& sequence);

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

    void Handle(std::span<const std::uint8_t> nal, std::int64_t offset);
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
    const std::shared_ptr<const FileSource> m_file;
    FrameTable& m_table;
    ParameterHistory& m_history;

    // The indexing thread's own.
    OutputOrder m_output;
    PictureOrder m_order;
    ParameterSets m_sets;
    std::vector<std::uint8_t> m_buffer;
    std::int64_t m_buffer_offset = 0; // in the file
    std::size_t m_filled = 0;
    std::size_t m_scanned = 0;
    bool m_failed = false;
    bool m_done = false;

    std::optional<Picture> m_picture;
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
