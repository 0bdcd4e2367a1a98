#include "ordune/Mp4Movie.h"

#include "ordune/ContainerUnits.h"

extern "C" {
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace ordune {

using mp4::Box;
using mp4::Name;

namespace {

constexpr int kMostTopBoxes = 4096; // a whole recording has a dozen
constexpr std::int64_t kMostTypeBytes = 4096;
constexpr std::size_t kMostSkeletonBytes = 16 << 20;

std::unique_ptr<std::uint8_t[]> ReadBox(const FileSource& file, std::int64_t at, std::int64_t size,
                                        const CancelToken& cancel) {
    auto bytes = std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(size));
    if (!file.ReadWhole(at, bytes.get(), static_cast<std::size_t>(size), cancel)) return nullptr;
    return bytes;
}

void Put32(std::vector<std::uint8_t>& out, std::size_t at, std::size_t value) {
    for (std::size_t i = 0; i < 4; ++i)
        out[at + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

// Whether all that is inside has a name, and room: not so where zeros stand for what was not written any
// more. `samples` turns true at a table that has some.
bool IsWritten(const Box& box, bool& samples) {
    switch (box.Name()) {
    case 0:
        return false;
    case Name("moov"):
    case Name("trak"):
    case Name("mdia"):
    case Name("minf"):
    case Name("stbl"): {
        bool good = true;
        const bool whole = box.ForEach([&](const Box& inside) { return good = IsWritten(inside, samples); });
        return whole && good;
    }
    case Name("stsz"):
    case Name("stz2"):
        samples = samples || (box.Size() >= 12 && mp4::Read32(box.Data() + 8) > 0);
        return true;
    default:
        return true;
    }
}

// Copies the box, and of a box of tables only the description of what they hold. False at a broken box.
bool CopySkeleton(const Box& box, std::vector<std::uint8_t>& out) {
    const auto begin = out.size();
    const auto end_box = [&] { Put32(out, begin, out.size() - begin); };
    switch (box.Name()) {
    case Name("moov"):
    case Name("trak"):
    case Name("mdia"):
    case Name("minf"):
    case Name("stbl"): {
        out.insert(out.end(), {0, 0, 0, 0});
        for (const int shift : {24, 16, 8, 0})
            out.push_back(static_cast<std::uint8_t>(box.Name() >> shift));
        bool good = true;
        const bool tables = box.Name() == Name("stbl");
        const bool whole = box.ForEach([&](const Box& inside) {
            // The edit list has nothing to cut, and fragments are not there.
            const bool left_out = (tables && inside.Name() != Name("stsd")) ||
                                  inside.Name() == Name("edts") || inside.Name() == Name("mvex");
            if (!left_out) good = CopySkeleton(inside, out);
            return good;
        });
        end_box();
        return whole && good;
    }
    default:
        if (out.size() + box.Whole().size() > kMostSkeletonBytes) return false;
        out.insert(out.end(), box.Whole().begin(), box.Whole().end());
        return true;
    }
}

} // namespace

std::shared_ptr<const Mp4Movie> Mp4Movie::Read(const FileSource& file, std::int64_t most_bytes,
                                               const CancelToken& cancel) {
    std::int64_t at = 0;
    std::vector<std::uint8_t> type;
    for (int n = 0; n < kMostTopBoxes && file.Size() - at >= 8 && !cancel.Cancelled(); ++n) {
        std::array<std::uint8_t, 16> bytes{};
        const std::int64_t got = file.ReadAt(at, bytes.data(), bytes.size());
        if (got < 8) return nullptr;
        const std::optional<mp4::BoxHead> head =
            mp4::ReadHead({bytes.data(), static_cast<std::size_t>(got)}, file.Size() - at);
        if (!head || (head->cut && head->name != Name("mdat"))) return nullptr;
        if (at == 0 && head->name == Name("ftyp") && head->size_bytes <= kMostTypeBytes) {
            type.resize(static_cast<std::size_t>(head->size_bytes));
            if (file.ReadAt(0, type.data(), type.size()) != head->size_bytes) return nullptr;
        }
        if (head->name == Name("moov")) {
            if (head->size_bytes > most_bytes) return nullptr;
            std::unique_ptr<std::uint8_t[]> movie = ReadBox(file, at, head->size_bytes, cancel);
            if (!movie) return nullptr;
            const Box box(head->name, {movie.get(), static_cast<std::size_t>(head->size_bytes)},
                          static_cast<std::size_t>(head->header_bytes));
            return std::shared_ptr<const Mp4Movie>(
                new Mp4Movie(std::move(movie), box, at + head->size_bytes, std::move(type)));
        }
        at += head->size_bytes;
    }
    return nullptr;
}

bool Mp4Movie::TellsOfSamples() const {
    bool samples = Fragmented();
    return IsWritten(m_box, samples) && samples;
}

std::optional<Box> Mp4Movie::Track(std::uint32_t id) const {
    std::optional<Box> found;
    (void)m_box.ForEach([&](const Box& box) {
        if (box.Name() != Name("trak")) return true;
        const std::optional<Box> header = box.Find(Name("tkhd"));
        if (!header || header->Size() < 24) return true;
        if (mp4::Read32(header->Data() + (header->Data()[0] == 1 ? 20 : 12)) == id) found.emplace(box);
        return !found;
    });
    return found;
}

std::vector<std::uint8_t> Mp4Movie::Skeleton() const {
    std::vector<std::uint8_t> bytes = m_type;
    if (!CopySkeleton(m_box, bytes)) return {};
    // An empty box of data: libavformat looks for one.
    bytes.insert(bytes.end(), {0, 0, 0, 8, 'm', 'd', 'a', 't'});
    return bytes;
}

Mp4Movie::Placement Mp4Movie::PlacementOf(const Box& track) const {
    Placement placement;
    const std::optional<Box> movie = m_box.Find(Name("mvhd"));
    const std::optional<Box> media = track.Find(Name("mdia"));
    const std::optional<Box> media_header = media ? media->Find(Name("mdhd")) : std::nullopt;
    const auto timescale_of = [](const std::optional<Box>& box) -> std::uint32_t {
        if (!box || box->Size() < 24) return 0;
        return mp4::Read32(box->Data() + (box->Data()[0] == 1 ? 20 : 12));
    };
    const std::uint32_t movie_scale = timescale_of(movie);
    placement.timescale = timescale_of(media_header);
    if (movie_scale == 0 || placement.timescale == 0) return placement;
    placement.plain = true;
    const std::optional<Box> edits = track.Find(Name("edts"));
    const std::optional<Box> list = edits ? edits->Find(Name("elst")) : std::nullopt;
    if (!list) return placement;
    placement.plain = false;
    placement.edited = true;
    if (list->Size() < 8) return placement;
    const bool wide = list->Data()[0] == 1;
    const std::size_t entry_bytes = wide ? 20 : 12;
    const std::uint32_t count = mp4::Read32(list->Data() + 4);
    if (count == 0 || count > 2 || list->Size() - 8 < count * entry_bytes) return placement;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint8_t* entry = list->Data() + 8 + i * entry_bytes;
        const std::uint64_t duration = wide ? mp4::Read64(entry) : mp4::Read32(entry);
        const std::int64_t begin = wide ? static_cast<std::int64_t>(mp4::Read64(entry + 8))
                                        : static_cast<std::int32_t>(mp4::Read32(entry + 4));
        const bool own_pace = mp4::Read32(entry + (wide ? 16 : 8)) == 0x10000;
        if (!own_pace || duration > std::numeric_limits<std::int32_t>::max() * std::uint64_t{1000})
            return placement;
        const std::int64_t ticks =
            av_rescale(static_cast<std::int64_t>(duration), placement.timescale, movie_scale);
        if (!Believable(ticks) || !Believable(begin)) return placement;
        if (i + 1 < count) {
            if (begin != -1) return placement;
            placement.delay = ticks;
        } else {
            if (begin < 0) return placement;
            placement.begin = begin;
            placement.length = duration == 0 ? -1 : ticks;
        }
    }
    placement.plain = true;
    return placement;
}

} // namespace ordune
