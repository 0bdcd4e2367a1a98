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
constexpr std::size_t kSample = 64 * 1024;
constexpr int kMostBeforeSlice = 8;

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

unsigned TypeOf(const NalChain::Nal& nal) {
    return nal.head[0] & 31U;
}

// Whether a NAL unit of this length can begin with these bytes.
bool IsLikely(std::span<const std::uint8_t> head, std::int64_t length, const ParameterSets& sets) {
    const unsigned type = head[0] & 31U;
    const bool referenced = (head[0] & 0x60U) != 0;
    if ((head[0] & 0x80U) != 0) return false;
    switch (type) {
    case kSlice:
        return ParseSliceHeader(head, sets).has_value();
    case kIdrSlice:
        return referenced && ParseSliceHeader(head, sets).has_value();
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
      m_most_work((end - begin) * 16 + (64 << 20)), m_at(begin) {}

// Up to `want` bytes from the window, or read for this alone.
std::span<const std::uint8_t> NalChain::View(std::int64_t at, std::size_t want) {
    want = static_cast<std::size_t>(std::clamp<std::int64_t>(m_end - at, 0, static_cast<std::int64_t>(want)));
    const std::int64_t into = at - m_window_at;
    if (into >= 0 && into + static_cast<std::int64_t>(want) <= static_cast<std::int64_t>(m_window.size()))
        return std::span(m_window).subspan(static_cast<std::size_t>(into), want);
    m_apart.resize(want);
    const std::int64_t got = m_file->ReadAt(at, m_apart.data(), want);
    return std::span(m_apart).first(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
}

std::optional<NalChain::Nal> NalChain::Look(std::int64_t at, const ParameterSets& sets) {
    const std::span<const std::uint8_t> bytes = View(at, m_length_bytes + kHead);
    m_work += 16;
    if (bytes.size() <= m_length_bytes) return std::nullopt;
    std::int64_t length = 0;
    for (std::size_t i = 0; i < m_length_bytes; ++i)
        length = (length << 8) | bytes[i];
    const std::int64_t begin = at + static_cast<std::int64_t>(m_length_bytes);
    // What the recording's end cut off is left out: it may be half a picture.
    if (length == 0 || length > kLargestNal || length > m_end - begin) return std::nullopt;
    Nal nal;
    nal.offset = at;
    nal.end = begin + length;
    nal.head = bytes.subspan(m_length_bytes);
    if (static_cast<std::int64_t>(nal.head.size()) > length)
        nal.head = nal.head.first(static_cast<std::size_t>(length));
    if (length > std::max(kAlwaysFine, m_largest * 4)) return std::nullopt;
    if (!IsLikely(nal.head, length, sets)) return std::nullopt;
    return nal;
}

// Whether the NAL unit, as the first of a picture, is followed by others up to a slice and one behind it.
bool NalChain::Begins(Nal nal, const ParameterSets& sets) {
    for (int n = 0; n < kMostBeforeSlice; ++n) {
        const bool slice = IsSlice(TypeOf(nal));
        const std::optional<Nal> next = Look(nal.end, sets);
        if (slice || !next) return slice && next;
        nal = *next;
    }
    return false;
}

bool NalChain::GoesOn(const Nal& nal, const ParameterSets& sets) {
    // Its bytes may have been read over.
    const std::optional<Nal> again = Look(nal.offset, sets);
    const std::optional<SliceHeader> slice = again ? ParseSliceHeader(again->head, sets) : std::nullopt;
    if (!slice || slice->first_macroblock != 0) return false;
    const unsigned bits = sets.Sequence(sets.Picture(slice->picture_set)->sequence_id)->frame_number_bits;
    const std::uint32_t range = std::uint32_t{1} << bits;
    const bool counts =
        slice->idr ? slice->frame_number == 0
                   : m_last && (slice->frame_number + range - m_last->frame_number) % range <= kLargestGap;
    if (!counts) return false;
    const auto length = static_cast<std::size_t>(nal.end - nal.offset) - m_length_bytes;
    const std::int64_t begin = nal.offset + static_cast<std::int64_t>(m_length_bytes);
    const std::span<const std::uint8_t> sample = View(begin, std::min(length, kSample));
    m_work += static_cast<std::int64_t>(sample.size());
    return !HasForbiddenBytes(sample) && !HasBeginningInside(begin, nal.end, sets);
}

bool NalChain::HasBeginningInside(std::int64_t begin, std::int64_t end, const ParameterSets& sets) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(end - begin));
    if (m_file->ReadAt(begin, bytes.data(), bytes.size()) != end - begin) return true;
    m_work += end - begin;
    for (std::size_t at = 0; at + m_length_bytes < bytes.size(); ++at) {
        if (m_length_bytes == 4 && bytes[at] != 0) continue;
        if (!IsSlice(bytes[at + m_length_bytes] & 31U)) continue;
        const std::optional<Nal> nal = Look(begin + static_cast<std::int64_t>(at), sets);
        if (nal && Begins(*nal, sets)) return true;
    }
    return false;
}

NalChain::Nal NalChain::Accept(const Nal& nal, const ParameterSets& sets, bool follows) {
    m_at = nal.end;
    m_chained = true;
    m_work += static_cast<std::int64_t>(kHead);
    // Its bytes may have been read over.
    Nal accepted = Look(nal.offset, sets).value_or(nal);
    accepted.follows = follows;
    if (IsSlice(TypeOf(accepted))) {
        m_largest = std::max(m_largest, nal.end - nal.offset);
        if (const auto slice = ParseSliceHeader(accepted.head, sets)) m_last = slice;
    }
    return accepted;
}

std::optional<NalChain::Nal> NalChain::Next(const ParameterSets& sets) {
    if (Done()) return std::nullopt;
    if (m_chained) {
        if (const std::optional<Nal> nal = Look(m_at, sets)) return Accept(*nal, sets, true);
        m_chained = false;
    }
    return Search(sets);
}

std::optional<NalChain::Nal> NalChain::Search(const ParameterSets& sets) {
    const std::int64_t left = m_window_at + static_cast<std::int64_t>(m_window.size()) - m_at;
    if (m_at < m_window_at || left < std::min<std::int64_t>(kHead, m_end - m_at)) {
        m_window.resize(static_cast<std::size_t>(
            std::min<std::int64_t>(static_cast<std::int64_t>(kWindow), m_end - m_at)));
        m_window_at = m_at;
        const std::int64_t got = m_file->ReadAt(m_at, m_window.data(), m_window.size());
        m_window.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
    }
    const std::size_t header = m_length_bytes;
    const auto from = static_cast<std::size_t>(m_at - m_window_at);
    std::size_t at = from;
    for (; at + header < m_window.size(); ++at) {
        // Nothing is as long as 16 MB, so that the first of four bytes is 0.
        if (header == 4 && m_window[at] != 0) {
            const void* zero = std::memchr(m_window.data() + at, 0, m_window.size() - at);
            if (!zero) {
                at = m_window.size();
                break;
            }
            at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(zero) - m_window.data());
            if (at + header >= m_window.size()) break;
        }
        const std::optional<Nal> nal = Look(m_window_at + static_cast<std::int64_t>(at), sets);
        if (!nal) continue;
        const bool slice = IsSlice(TypeOf(*nal));
        if (Begins(*nal, sets) || (slice && GoesOn(*nal, sets))) return Accept(*nal, sets, false);
        if (Done()) break;
    }
    at = std::min(at, m_window.size());
    m_work += static_cast<std::int64_t>(at - from);
    // Nothing more to read: the end, or the file has become shorter.
    const bool last = m_window_at + static_cast<std::int64_t>(m_window.size()) >= m_end || at == from;
    m_at = last ? m_end : m_window_at + static_cast<std::int64_t>(at);
    return std::nullopt;
}

} // namespace ordune
