#include "ordune/NalChain.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ordune {

namespace {

constexpr std::size_t kWindow = 64 * 1024;
// As much of a NAL unit as is looked at: parameter sets and slice headers are far shorter.
constexpr std::size_t kHead = 1024;
constexpr std::int64_t kLargestNal = (16 << 20) - 1;
constexpr std::int64_t kAlwaysFine = 256 * 1024;
constexpr std::int64_t kLongestNote = 64 * 1024; // beside the picture
// Pictures that were not found leave a gap in the count.
constexpr std::uint32_t kLargestGap = 3;
constexpr int kMostBeforeSlice = 8;
// What is looked at apart: small NAL units in a row come with one read.
constexpr std::int64_t kApart = 8 * 1024;
constexpr std::int64_t kLongestSound = 64 * 1024; // between the pictures inside a suspect
constexpr std::size_t kMostInside = 32;
// A step ends after so much work, in bytes.
constexpr std::int64_t kStep = 256 * 1024;
constexpr std::int64_t kLookWork = 64;

// ITU-T H.264, table 7-1.
constexpr unsigned kSlice = 1;
constexpr unsigned kIdrSlice = 5;
constexpr unsigned kEnhancement = 6;
constexpr unsigned kSequenceSet = 7;
constexpr unsigned kPictureSet = 8;
constexpr unsigned kDelimiter = 9;
constexpr unsigned kEndOfSequence = 10;
constexpr unsigned kEndOfStream = 11;
constexpr unsigned kFiller = 12;

bool IsSlice(unsigned type) {
    return type == kSlice || type == kIdrSlice;
}

bool IsSet(unsigned type) {
    return type == kSequenceSet || type == kPictureSet;
}

std::size_t At(std::int64_t offset, std::int64_t begin) {
    return static_cast<std::size_t>(offset - begin);
}

std::int64_t LengthAt(const std::uint8_t* bytes, std::size_t length_bytes) {
    std::int64_t length = 0;
    for (std::size_t i = 0; i < length_bytes; ++i)
        length = (length << 8) | bytes[i];
    return length;
}

// Whether a NAL unit can begin with this length field and the byte behind it.
bool HasShape(const std::uint8_t* bytes, std::size_t length_bytes) {
    constexpr std::uint32_t kTypes = 1U << kSlice | 1U << kIdrSlice | 1U << kEnhancement |
                                     1U << kSequenceSet | 1U << kPictureSet | 1U << kDelimiter |
                                     1U << kEndOfSequence | 1U << kEndOfStream | 1U << kFiller;
    const std::uint8_t head = bytes[length_bytes];
    if ((head & 0x80U) != 0 || (kTypes >> (head & 31U) & 1U) == 0) return false;
    const std::int64_t length = LengthAt(bytes, length_bytes);
    return length > 0 && length <= kLargestNal;
}

// By how much the number of the slice, as the first of a picture, is ahead of that of the slice before.
// Nothing where it cannot be the first of one.
std::optional<std::uint32_t> Ahead(const std::optional<SliceHeader>& before, const SliceHeader& slice,
                                   const ParameterSets& sets) {
    if (slice.first_macroblock != 0) return std::nullopt;
    if (slice.idr && slice.frame_number == 0 && slice.kind == SliceHeader::Kind::I) return 0;
    if (slice.idr || !before) return std::nullopt;
    const unsigned bits = sets.Sequence(sets.Picture(slice.picture_set)->sequence_id)->frame_number_bits;
    const std::uint32_t range = std::uint32_t{1} << bits;
    return (slice.frame_number + range - before->frame_number) % range;
}

bool Counts(const std::optional<SliceHeader>& before, const SliceHeader& slice, std::uint32_t gap,
            const ParameterSets& sets) {
    const std::optional<std::uint32_t> ahead = Ahead(before, slice, sets);
    return ahead && *ahead <= gap;
}

// Whether the slice has the very number that comes next (7.4.3).
bool IsExpected(const std::optional<SliceHeader>& before, const SliceHeader& slice,
                const ParameterSets& sets) {
    const std::optional<std::uint32_t> ahead = Ahead(before, slice, sets);
    if (!ahead || slice.idr) return ahead.has_value();
    const std::uint32_t expected = before->reference_idc != 0 ? 1 : 0;
    return slice.field ? *ahead <= expected : *ahead == expected;
}

// Whether a NAL unit of this length can begin with these bytes. Slices are told by their headers.
bool IsLikely(std::span<const std::uint8_t> head, std::int64_t length) {
    const unsigned type = head[0] & 31U;
    const bool referenced = (head[0] & 0x60U) != 0;
    switch (type) {
    case kSlice:
        return true;
    case kIdrSlice:
        return referenced;
    case kEnhancement:
        return !referenced && length <= kLongestNote && head.size() > 3 && head[2] < length &&
               (std::cmp_less(head.size(), length) || head.back() == 0x80);
    case kSequenceSet:
        return referenced && length <= static_cast<std::int64_t>(kHead) && head.size() > 4 &&
               ParseSequenceParameters(head.subspan(1)).has_value();
    case kPictureSet:
        return referenced && length <= static_cast<std::int64_t>(kHead) && head.size() > 2 &&
               ParsePictureParameters(head.subspan(1)).has_value();
    case kDelimiter:
        return !referenced && length == 2 && (head[1] & 0x1fU) == 0x10U;
    case kEndOfSequence:
    case kEndOfStream:
        return !referenced && length == 1;
    case kFiller:
        return !referenced && length <= kAlwaysFine && head.size() > 1 && head[1] == 0xff;
    default:
        return false;
    }
}

// No NAL unit holds these (7.4.1).
bool HasForbiddenBytes(std::span<const std::uint8_t> bytes) {
    for (std::size_t at = 2; at < bytes.size(); ++at) {
        if (bytes[at] > 2) {
            at += 2; // neither can the next two end such a sequence
        } else if (bytes[at - 1] == 0 && bytes[at - 2] == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

NalChain::NalChain(std::shared_ptr<const FileSource> file, std::int64_t begin, std::int64_t end,
                   std::size_t length_bytes)
    : m_file(std::move(file)), m_end(end), m_length_bytes(length_bytes),
      m_most_work((end - begin) * 4 + (64 << 20)), m_at(begin) {}

// Up to `want` bytes from the window, or read apart.
std::span<const std::uint8_t> NalChain::View(std::int64_t at, std::size_t want) {
    m_head_at = -1;
    want = static_cast<std::size_t>(std::clamp<std::int64_t>(m_end - at, 0, static_cast<std::int64_t>(want)));
    const auto has = [&](const std::vector<std::uint8_t>& bytes, std::int64_t from) {
        return at >= from && at - from + static_cast<std::int64_t>(want) <= std::ssize(bytes);
    };
    if (has(m_window, m_window_at)) return std::span(m_window).subspan(At(at, m_window_at), want);
    if (!has(m_apart, m_apart_at)) {
        m_work += static_cast<std::int64_t>(want);
        m_apart.resize(static_cast<std::size_t>(std::min<std::int64_t>(kApart, m_end - at)));
        m_apart_at = at;
        const std::int64_t got = m_file->ReadAt(at, m_apart.data(), m_apart.size());
        m_apart.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
        want = std::min(want, m_apart.size());
    }
    return std::span(m_apart).subspan(At(at, m_apart_at), want);
}

// Sees to it that the window has what is at `at`, and enough behind it. False where the file has nothing.
bool NalChain::FillWindow(std::int64_t at) {
    const std::int64_t left = m_window_at + static_cast<std::int64_t>(m_window.size()) - at;
    if (at < m_window_at || left < std::min<std::int64_t>(kHead, m_end - at)) {
        m_head_at = -1;
        m_window.resize(
            static_cast<std::size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(kWindow), m_end - at)));
        m_window_at = at;
        const std::int64_t got = m_file->ReadAt(at, m_window.data(), m_window.size());
        m_window.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    }
    return m_window_at + static_cast<std::int64_t>(m_window.size()) > at;
}

// Where in the window, from `at` on, a NAL unit can begin; near its end where it can nowhere.
std::size_t NalChain::NextCandidate(std::size_t at) const {
    const std::uint8_t* bytes = m_window.data();
    const std::size_t size = m_window.size();
    for (; at + m_length_bytes < size; ++at) {
        if (m_length_bytes == 4) {
            // Nothing is as long as 16 MB, so that the first of four bytes is 0.
            const void* zero = std::memchr(bytes + at, 0, size - at);
            if (!zero) return size;
            at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(zero) - bytes);
            // Space that was never written to is passed over quickly.
            constexpr std::uint8_t kNothing[8] = {};
            if (at + sizeof kNothing <= size && std::memcmp(bytes + at, kNothing, sizeof kNothing) == 0) {
                at += 4;
                continue;
            }
            if (at + m_length_bytes >= size) break;
        }
        if (HasShape(bytes + at, m_length_bytes)) break;
    }
    return at;
}

std::optional<NalChain::Found> NalChain::Look(std::int64_t at, const ParameterSets& sets) {
    const std::span<const std::uint8_t> bytes = View(at, m_length_bytes + kHead);
    m_work += kLookWork;
    if (bytes.size() <= m_length_bytes || !HasShape(bytes.data(), m_length_bytes)) return std::nullopt;
    const std::int64_t length = LengthAt(bytes.data(), m_length_bytes);
    const std::int64_t begin = at + static_cast<std::int64_t>(m_length_bytes);
    // What the recording's end cut off is left out: it may be half a picture.
    if (length > m_end - begin) return std::nullopt;
    std::span<const std::uint8_t> head = bytes.subspan(m_length_bytes);
    if (static_cast<std::int64_t>(head.size()) > length) head = head.first(static_cast<std::size_t>(length));
    if (!IsLikely(head, length)) return std::nullopt;
    Found found{at, begin + length, head[0] & 31U, std::nullopt};
    if (IsSlice(found.type)) {
        found.slice = ParseSliceHeader(head, sets);
        if (!found.slice) return std::nullopt;
    }
    m_head = head;
    m_head_at = at;
    return found;
}

bool NalChain::HasShapeAt(std::int64_t at) {
    const std::span<const std::uint8_t> bytes = View(at, m_length_bytes + 1);
    return bytes.size() > m_length_bytes && HasShape(bytes.data(), m_length_bytes) &&
           LengthAt(bytes.data(), m_length_bytes) <= m_end - at;
}

// Whether directly behind this slice, which is no larger than others, there is a NAL unit that can follow it.
bool NalChain::HasNextBehind(const Found& nal, const ParameterSets& sets) {
    if (!IsModest(nal)) return false;
    const std::optional<Found> next = Look(nal.end, sets);
    if (!next || !next->slice) return next.has_value();
    return IsModest(*next) &&
           (!BeginsPicture(*nal.slice, *next->slice) || Counts(nal.slice, *next->slice, 1, sets));
}

// Whether a picture certainly begins with this NAL unit.
bool NalChain::Begins(Found nal, const ParameterSets& sets) {
    for (int n = 0; n < kMostBeforeSlice; ++n) {
        if (nal.slice && nal.slice->first_macroblock != 0) return false;
        if (nal.slice) return n > 0 || HasNextBehind(nal, sets);
        // The slice behind new sets cannot be read before they are in force.
        if (IsSet(nal.type)) return HasShapeAt(nal.end);
        const std::optional<Found> next = Look(nal.end, sets);
        if (!next) return false;
        nal = *next;
    }
    return false;
}

// Whether it is not far larger than those before.
bool NalChain::IsModest(const Found& nal) const {
    return nal.end - nal.offset <= std::max(kAlwaysFine, m_largest * 4);
}

// Whether it needs no proof where a NAL unit ends.
bool NalChain::IsBelievedBehind(const Found& nal, const ParameterSets& sets) {
    if (!nal.slice) return true;
    m_kept.assign(m_head.begin(), m_head.end());
    m_kept_at = nal.offset;
    m_ahead = Look(nal.end, sets);
    if (m_ahead) return true;
    return nal.slice->first_macroblock == 0 ? m_announced : m_last && !BeginsPicture(*m_last, *nal.slice);
}

bool NalChain::GoesOn(const Found& nal, const ParameterSets& sets) const {
    return nal.slice && nal.offset != m_refused && Counts(m_last, *nal.slice, kLargestGap, sets);
}

void NalChain::Suspect(const Found& nal) {
    m_suspect = nal;
    m_inside.clear();
    if (m_last) m_inside.push_back({{m_last_end, m_last_end, m_last->idr ? kIdrSlice : kSlice, m_last}, 1});
    m_examined = nal.offset + static_cast<std::int64_t>(m_length_bytes);
}

// The next piece of the suspect.
std::optional<NalChain::Nal> NalChain::Examine(const ParameterSets& sets) {
    const Found nal = *m_suspect;
    const std::int64_t work = m_work;
    if (!FillWindow(m_examined)) {
        m_at = m_end; // the file has become shorter, or cannot be read any more
        return std::nullopt;
    }
    const auto from = static_cast<std::size_t>(m_examined - m_window_at);
    const std::size_t to = std::min(m_window.size(), static_cast<std::size_t>(nal.end - m_window_at));
    const bool first = m_examined == nal.offset + static_cast<std::int64_t>(m_length_bytes);
    if (first && HasForbiddenBytes(std::span(m_window).subspan(from, to - from))) {
        Refuse();
        return std::nullopt;
    }
    std::size_t at = NextCandidate(from);
    for (; at + m_length_bytes < to && m_work - work < kStep; at = NextCandidate(at + 1)) {
        const std::optional<Found> inside = Look(m_window_at + static_cast<std::int64_t>(at), sets);
        if (inside && (Begins(*inside, sets) || GoesOnInside(*inside, sets))) {
            Refuse();
            return std::nullopt;
        }
    }
    at = std::min(at, to);
    m_work += static_cast<std::int64_t>(at - from);
    m_examined = m_window_at + static_cast<std::int64_t>(at);
    if (m_examined + static_cast<std::int64_t>(m_length_bytes) < nal.end) {
        if (at == from) m_at = m_end; // the file has become shorter
        return std::nullopt;
    }
    m_suspect.reset();
    return Accept(nal, sets);
}

// Whether the slice, inside the suspect, is the last of pictures in a row: by chance that comes about once in
// gigabytes. Of a suspect that does not count as expected less is believed.
bool NalChain::GoesOnInside(const Found& nal, const ParameterSets& sets) {
    if (!nal.slice || nal.slice->first_macroblock != 0 || !IsModest(nal)) return false;
    int row = 1;
    for (const Inside& before : m_inside) {
        const std::int64_t apart = nal.offset - before.nal.end;
        if (apart >= 0 && apart <= kLongestSound && Counts(before.nal.slice, *nal.slice, 1, sets))
            row = std::max(row, before.row + 1);
    }
    if (m_inside.size() >= kMostInside) m_inside.erase(m_inside.begin());
    m_inside.push_back({nal, row});
    return row >= (IsExpected(m_last, *m_suspect->slice, sets) ? 3 : 2);
}

void NalChain::Refuse() {
    m_refused = m_suspect->offset;
    m_at = m_refused;
    m_chained = false;
    m_suspect.reset();
}

// Nothing where the file cannot be read any more.
std::optional<NalChain::Nal> NalChain::Accept(const Found& nal, const ParameterSets& sets) {
    // Its bytes may have been read over.
    const bool kept = m_kept_at == nal.offset;
    if (!kept && m_head_at != nal.offset && !Look(nal.offset, sets)) {
        m_at = m_end;
        return std::nullopt;
    }
    const Nal accepted{nal.offset, nal.end, kept ? std::span<const std::uint8_t>(m_kept) : m_head, m_chained};
    m_at = nal.end;
    m_chained = true;
    m_announced = !nal.slice;
    if (nal.slice) {
        m_largest = std::max(m_largest, nal.end - nal.offset);
        m_last = nal.slice;
        m_last_end = nal.end;
    }
    return accepted;
}

std::optional<NalChain::Nal> NalChain::Next(const ParameterSets& sets) {
    if (Done()) return std::nullopt;
    if (m_suspect) return Examine(sets);
    if (m_chained) {
        const bool ahead = m_ahead && m_head_at == m_at;
        const std::optional<Found> nal = ahead ? std::exchange(m_ahead, std::nullopt) : Look(m_at, sets);
        if (nal && IsBelievedBehind(*nal, sets)) return Accept(*nal, sets);
        if (nal && GoesOn(*nal, sets)) {
            Suspect(*nal);
            return std::nullopt;
        }
        m_chained = false;
    }
    return Search(sets);
}

std::optional<NalChain::Nal> NalChain::Search(const ParameterSets& sets) {
    const std::int64_t work = m_work;
    if (!FillWindow(m_at)) {
        m_at = m_end;
        return std::nullopt;
    }
    const auto from = static_cast<std::size_t>(m_at - m_window_at);
    std::size_t at = NextCandidate(from);
    for (; at + m_length_bytes < m_window.size() && m_work - work < kStep; at = NextCandidate(at + 1)) {
        const std::optional<Found> nal = Look(m_window_at + static_cast<std::int64_t>(at), sets);
        if (!nal) continue;
        if (Begins(*nal, sets)) return Accept(*nal, sets);
        if (GoesOn(*nal, sets) && (IsModest(*nal) || nal->slice->idr || Look(nal->end, sets))) {
            m_at = nal->offset;
            Suspect(*nal);
            return std::nullopt;
        }
    }
    const bool through = at + m_length_bytes >= m_window.size();
    at = std::min(at, m_window.size());
    m_work += static_cast<std::int64_t>(at - from);
    // Nothing more to read: the end, or the file has become shorter.
    const bool last =
        through && (m_window_at + static_cast<std::int64_t>(m_window.size()) >= m_end || at == from);
    m_at = last ? m_end : m_window_at + static_cast<std::int64_t>(at);
    return std::nullopt;
}

} // namespace ordune
