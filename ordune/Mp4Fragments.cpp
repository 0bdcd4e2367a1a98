#include "ordune/Mp4Fragments.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>

namespace ordune {

using mp4::Box;
using mp4::Name;
using mp4::Read32;

namespace {

constexpr int kBoxesInAStep = 256;
constexpr std::int64_t kMostFragmentBytes = 64 << 20;
// Fragment descriptions are short: most come with the head.
constexpr std::size_t kHeadBytes = 4096;
// An hour has some hundred thousand samples; what claims more than this and has not the bytes for it lies.
constexpr std::uint64_t kAlwaysBelieved = 1 << 20;

// tfhd, 8.8.7
constexpr std::uint32_t kHasBase = 0x1;
constexpr std::uint32_t kHasDescription = 0x2;
constexpr std::uint32_t kHasDuration = 0x8;
constexpr std::uint32_t kHasSize = 0x10;
constexpr std::uint32_t kHasFlags = 0x20;
constexpr std::uint32_t kBaseIsFragment = 0x20000;
// trun, 8.8.8
constexpr std::uint32_t kRunOffset = 0x1;
constexpr std::uint32_t kFirstFlags = 0x4;
constexpr std::uint32_t kEachDuration = 0x100;
constexpr std::uint32_t kEachSize = 0x200;
constexpr std::uint32_t kEachFlags = 0x400;
constexpr std::uint32_t kEachOffset = 0x800;
// Of a sample, 8.8.3.1: it depends on others; it is no place to begin at.
constexpr std::uint32_t kDepends = 0x1000000;
constexpr std::uint32_t kNoKey = 0x10000;

// Numbers one after the other; 0 past the end.
class Numbers {
  public:
    explicit Numbers(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}
    std::uint32_t Next32() {
        if (m_bytes.size() < 4) {
            m_bytes = {};
            return 0;
        }
        const std::uint32_t number = Read32(m_bytes.data());
        m_bytes = m_bytes.subspan(4);
        return number;
    }
    std::int64_t Next64() {
        const std::uint64_t high = Next32();
        return static_cast<std::int64_t>((high << 32) | Next32());
    }
    std::size_t Left() const { return m_bytes.size(); }

  private:
    std::span<const std::uint8_t> m_bytes;
};

std::uint32_t FlagsOf(const Box& box) {
    return Read32(box.Data()) & 0xffffffU;
}

} // namespace

Mp4Fragments::Mp4Fragments(std::shared_ptr<const FileSource> file, const Mp4Movie& movie,
                           std::uint32_t track_id, std::int64_t time, std::int64_t shift)
    : m_file(std::move(file)), m_track_id(track_id), m_shift(shift), m_at(movie.End()), m_time(time) {
    const std::optional<Box> extends = movie.Content().Find(Name("mvex"));
    if (!extends) return;
    (void)extends->ForEach([&](const Box& box) {
        if (box.Name() != Name("trex") || box.Size() < 24) return true;
        const std::uint8_t* data = box.Data();
        m_defaults.push_back({Read32(data + 4), {Read32(data + 12), Read32(data + 16), Read32(data + 20)}});
        return true;
    });
}

double Mp4Fragments::Share() const {
    return static_cast<double>(m_at) / static_cast<double>(std::max<std::int64_t>(m_file->Size(), 1));
}

bool Mp4Fragments::Read(ContainerUnits& units) {
    for (int n = 0; n < kBoxesInAStep; ++n) {
        const std::int64_t room = m_file->Size() - m_at;
        if (room < 8) return false;
        m_bytes.resize(kHeadBytes);
        const std::int64_t got = m_file->ReadAt(m_at, m_bytes.data(), m_bytes.size());
        m_bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
        const std::optional<mp4::BoxHead> head = mp4::ReadHead(m_bytes, room);
        if (!head) return false;
        if (head->name == Name("moof") && !head->cut) ReadFragment(m_at, head->size_bytes, units);
        m_at += head->size_bytes;
    }
    return true;
}

void Mp4Fragments::ReadFragment(std::int64_t at, std::int64_t size, ContainerUnits& units) {
    if (size > kMostFragmentBytes) return;
    const auto had = static_cast<std::int64_t>(m_bytes.size());
    m_bytes.resize(static_cast<std::size_t>(size));
    if (size > had &&
        m_file->ReadAt(at + had, m_bytes.data() + had, static_cast<std::size_t>(size - had)) != size - had)
        return;
    const std::optional<mp4::BoxHead> head = mp4::ReadHead(m_bytes, size);
    const Box fragment(Name("moof"), m_bytes, static_cast<std::size_t>(head->header_bytes));
    m_implicit = at;
    (void)fragment.ForEach([&](const Box& box) {
        if (box.Name() == Name("traf")) ReadTrackFragment(box, at, units);
        return true;
    });
}

void Mp4Fragments::ReadTrackFragment(const Box& box, std::int64_t fragment_at, ContainerUnits& units) {
    std::optional<TrackFragment> fragment;
    bool ours = false;
    (void)box.ForEach([&](const Box& inside) {
        if (inside.Size() < 4) return true;
        if (inside.Name() == Name("tfhd")) {
            std::uint32_t track = 0;
            fragment.emplace();
            if (!ReadHeader(inside, fragment_at, *fragment, track)) fragment.reset();
            if (fragment) m_implicit = fragment->base;
            ours = track == m_track_id;
        } else if (inside.Name() == Name("tfdt") && ours) {
            Numbers numbers(inside.Content().subspan(4));
            m_time = inside.Data()[0] == 1 ? numbers.Next64() : numbers.Next32();
        } else if (inside.Name() == Name("trun") && fragment) {
            ReadRun(inside, *fragment, ours, units);
        }
        return true;
    });
}

bool Mp4Fragments::ReadHeader(const Box& box, std::int64_t fragment_at, TrackFragment& fragment,
                              std::uint32_t& track) const {
    const std::uint32_t flags = FlagsOf(box);
    Numbers numbers(box.Content().subspan(4));
    if (numbers.Left() < 4) return false;
    track = numbers.Next32();
    for (const auto& [id, defaults] : m_defaults) {
        if (id == track) fragment.defaults = defaults;
    }
    fragment.base = (flags & kHasBase) != 0          ? numbers.Next64()
                    : (flags & kBaseIsFragment) != 0 ? fragment_at
                                                     : m_implicit;
    if ((flags & kHasDescription) != 0) (void)numbers.Next32();
    if ((flags & kHasDuration) != 0) fragment.defaults.duration = numbers.Next32();
    if ((flags & kHasSize) != 0) fragment.defaults.size = numbers.Next32();
    if ((flags & kHasFlags) != 0) fragment.defaults.flags = numbers.Next32();
    return fragment.base >= 0 && fragment.base <= m_file->Size();
}

void Mp4Fragments::ReadRun(const Box& box, const TrackFragment& fragment, bool ours, ContainerUnits& units) {
    const std::uint32_t flags = FlagsOf(box);
    Numbers numbers(box.Content().subspan(4));
    std::uint32_t count = numbers.Next32();
    std::int64_t offset = m_implicit;
    if ((flags & kRunOffset) != 0) offset = fragment.base + static_cast<std::int32_t>(numbers.Next32());
    std::optional<std::uint32_t> first_flags;
    if ((flags & kFirstFlags) != 0) first_flags = numbers.Next32();
    const std::size_t each = ((flags & kEachDuration) != 0 ? 4U : 0U) + ((flags & kEachSize) != 0 ? 4U : 0U) +
                             ((flags & kEachFlags) != 0 ? 4U : 0U) + ((flags & kEachOffset) != 0 ? 4U : 0U);
    if (each > 0) count = static_cast<std::uint32_t>(std::min<std::size_t>(count, numbers.Left() / each));
    const std::uint64_t most =
        std::max(kAlwaysBelieved, static_cast<std::uint64_t>(std::max<std::int64_t>(m_file->Size(), 0)) / 4);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t duration =
            (flags & kEachDuration) != 0 ? numbers.Next32() : fragment.defaults.duration;
        const std::uint32_t size = (flags & kEachSize) != 0 ? numbers.Next32() : fragment.defaults.size;
        std::uint32_t sample_flags = fragment.defaults.flags;
        if ((flags & kEachFlags) != 0) sample_flags = numbers.Next32();
        if (i == 0 && first_flags) sample_flags = *first_flags;
        // Signed in version 1; writers put negative ones into version 0 as well.
        const std::int32_t composition =
            (flags & kEachOffset) != 0 ? static_cast<std::int32_t>(numbers.Next32()) : 0;
        // What lies behind the file's end was not written any more.
        if (!Believable(m_time)) break;
        if (offset < 0 || size > m_file->Size() || offset > m_file->Size() - size || ++m_claimed > most)
            break;
        if (ours) {
            ContainerUnit& unit = units.emplace_back();
            unit.offset_bytes = offset;
            unit.size_bytes = size;
            unit.time = m_time + composition + m_shift;
            unit.duration = duration;
            unit.key = (sample_flags & (kNoKey | kDepends)) == 0;
            m_time += duration;
        }
        offset += size;
    }
    m_implicit = offset;
}

} // namespace ordune
