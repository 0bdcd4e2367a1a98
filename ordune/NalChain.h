// Finds H.264 in MP4 data whose index is lost: NAL units behind length fields, with stretches of something
// else (sound, as a rule) between them.
//
// 1. Where a NAL unit ends, the next one begins: what looks like one, and like the next one, is believed
// there.
// 2. Where that breaks off, a new beginning is searched byte by byte: NAL units that announce a picture, up
//    to its slice, or parameter sets with anything behind them, or a slice with the next one behind it.
// 3. A slice that has nothing ahead of it nor behind it is a suspect: it has to go on counting where the last
//    one stopped, and is looked through, a piece at a time: no NAL unit has the beginning of another inside,
//    or pictures in a row.
//
// Used by one thread at a time.
#pragma once

#include "ordune/FileSource.h"
#include "ordune/ParameterSets.h"
#include "ordune/SliceHeader.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace ordune {

class NalChain {
  public:
    // Looks at [begin, end) of the file. `length_bytes` is the size of the length fields: 1 to 4.
    NalChain(std::shared_ptr<const FileSource> file, std::int64_t begin, std::int64_t end,
             std::size_t length_bytes);

    struct Nal {
        std::int64_t offset = 0; // of its length field
        std::int64_t end = 0;
        std::span<const std::uint8_t> head; // its first bytes, valid until the next call
        bool follows = false;               // directly behind the one before
    };
    // The next NAL unit, given the sets in force here; nothing when this step found none. A step looks at
    // some hundred kilobytes at most. Done tells whether there will be no more.
    std::optional<Nal> Next(const ParameterSets& sets);
    bool Done() const { return m_at >= m_end || GaveUp(); }
    // Whether it ends before the data does: to look on would take too long.
    bool GaveUp() const { return m_work > m_most_work; }
    std::int64_t Position() const { return m_at; }
    // How much was looked at, in bytes.
    std::int64_t Work() const { return m_work; }

  private:
    // What looks like a NAL unit.
    struct Found {
        std::int64_t offset = 0; // of its length field
        std::int64_t end = 0;
        unsigned type = 0;
        std::optional<SliceHeader> slice; // where it is one
    };
    struct Inside {
        Found nal;
        int row = 1; // of how many pictures it is the last
    };

    std::span<const std::uint8_t> View(std::int64_t at, std::size_t want);
    bool FillWindow(std::int64_t at);
    std::size_t NextCandidate(std::size_t at) const;
    // The NAL unit whose length field is at `at`, if there can be one; m_head has its first bytes then.
    std::optional<Found> Look(std::int64_t at, const ParameterSets& sets);
    bool HasShapeAt(std::int64_t at);
    bool HasNextBehind(const Found& nal, const ParameterSets& sets);
    bool Begins(Found nal, const ParameterSets& sets);
    bool IsModest(const Found& nal) const;
    bool IsBelievedBehind(const Found& nal, const ParameterSets& sets);
    bool GoesOn(const Found& nal, const ParameterSets& sets) const;
    void Suspect(const Found& nal);
    std::optional<Nal> Examine(const ParameterSets& sets);
    bool GoesOnInside(const Found& nal, const ParameterSets& sets);
    void Refuse();
    std::optional<Nal> Search(const ParameterSets& sets);
    std::optional<Nal> Accept(const Found& nal, const ParameterSets& sets);

    const std::shared_ptr<const FileSource> m_file;
    const std::int64_t m_end;
    const std::size_t m_length_bytes;
    const std::int64_t m_most_work; // more than this is a file made to take long

    std::int64_t m_at;
    bool m_chained = false;   // m_at is the end of a NAL unit
    bool m_announced = false; // of one that is no slice
    std::int64_t m_work = 0;
    std::int64_t m_largest = 0; // slice so far
    std::optional<SliceHeader> m_last;
    std::int64_t m_last_end = 0;
    std::optional<Found> m_suspect;
    std::vector<Inside> m_inside;       // slices found in it, and the last one ahead of it
    std::int64_t m_examined = 0;        // up to here there is nothing against the suspect
    std::int64_t m_refused = -1;        // the suspect before
    std::vector<std::uint8_t> m_window; // of the search, from m_window_at on
    std::int64_t m_window_at = 0;
    std::vector<std::uint8_t> m_apart; // what was looked at outside, from m_apart_at on
    std::int64_t m_apart_at = 0;
    std::span<const std::uint8_t> m_head; // of the NAL unit at m_head_at, in one of these
    std::int64_t m_head_at = -1;
    // While the next one was looked at: that, and the first bytes of the one ahead of it.
    std::optional<Found> m_ahead;
    std::vector<std::uint8_t> m_kept;
    std::int64_t m_kept_at = -1;
};

} // namespace ordune
