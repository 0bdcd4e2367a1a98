// Finds H.264 in MP4 data whose index is lost: NAL units behind length fields, with stretches of something
// else (sound, as a rule) between them.
//
// 1. Where a NAL unit ends, the next one begins: one that looks like one is believed there.
// 2. Where that breaks off, a new beginning is searched byte by byte. It is a NAL unit that looks like the
//    beginning of a picture, with another one directly behind it that looks like one, or else a slice that
//    goes on counting where the last one stopped, is not far larger than those before, and has no other
//    beginning inside.
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
    // The next NAL unit, given the sets in force here; nothing when this step found none. Done tells whether
    // there will be no more.
    std::optional<Nal> Next(const ParameterSets& sets);
    bool Done() const { return m_at >= m_end || m_work > m_most_work; }
    std::int64_t Position() const { return m_at; }

  private:
    std::span<const std::uint8_t> View(std::int64_t at, std::size_t want);
    // The NAL unit whose length field is at `at`, if there can be one.
    std::optional<Nal> Look(std::int64_t at, const ParameterSets& sets);
    bool Begins(Nal nal, const ParameterSets& sets);
    bool GoesOn(const Nal& nal, const ParameterSets& sets);
    bool HasBeginningInside(std::int64_t begin, std::int64_t end, const ParameterSets& sets);
    std::optional<Nal> Search(const ParameterSets& sets);
    Nal Accept(const Nal& nal, const ParameterSets& sets, bool follows);

    const std::shared_ptr<const FileSource> m_file;
    const std::int64_t m_end;
    const std::size_t m_length_bytes;
    const std::int64_t m_most_work; // bytes looked at; more than this is a file made to take long

    std::int64_t m_at;
    bool m_chained = false;
    std::int64_t m_work = 0;
    std::int64_t m_largest = 0; // NAL unit so far
    std::optional<SliceHeader> m_last;
    std::vector<std::uint8_t> m_window; // of the search, from m_window_at on
    std::int64_t m_window_at = 0;
    std::vector<std::uint8_t> m_apart;
};

} // namespace ordune
