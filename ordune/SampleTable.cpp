#include "ordune/SampleTable.h"

#include <cstring>

namespace ordune {

namespace {

constexpr std::uint32_t kMostTopBoxes = 4096;       // a whole recording has a dozen
constexpr std::int64_t kMostMovieBytes = 1LL << 30; // a day's recording has some 50 MB
constexpr std::uint32_t kMostBoxesInside = 4096;

constexpr std::uint32_t Name(const char (&text)[5]) {
    return (std::uint32_t{static_cast<std::uint8_t>(text[0])} << 24) |
           (std::uint32_t{static_cast<std::uint8_t>(text[1])} << 16) |
           (std::uint32_t{static_cast<std::uint8_t>(text[2])} << 8) | static_cast<std::uint8_t>(text[3]);
}

std::uint32_t Read32(const std::uint8_t* p) {
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) | p[3];
}

std::uint64_t Read64(const std::uint8_t* p) {
    return (std::uint64_t{Read32(p)} << 32) | Read32(p + 4);
}

} // namespace

// A box inside the movie box: its name and where its content lies in the buffer.
class SampleTable::Box {
  public:
    Box(const std::vector<std::uint8_t>& bytes, std::size_t begin, std::size_t end, std::uint32_t name)
        : m_bytes(&bytes), m_begin(begin), m_end(end), m_name(name) {}

    std::uint32_t Name() const { return m_name; }
    std::size_t Begin() const { return m_begin; }
    std::size_t Size() const { return m_end - m_begin; }
    const std::uint8_t* Data() const { return m_bytes->data() + m_begin; }

    // Calls visit(box) for each box inside until it returns false; false when it did, or at a broken box.
    template <class Visit>
    bool ForEach(Visit visit) const {
        std::size_t at = m_begin;
        for (std::uint32_t n = 0; n < kMostBoxesInside && m_end - at >= 8; ++n) {
            const std::uint8_t* head = m_bytes->data() + at;
            std::uint64_t size = Read32(head);
            std::size_t header = 8;
            if (size == 1 && m_end - at >= 16) {
                size = Read64(head + 8);
                header = 16;
            } else if (size == 0) {
                size = m_end - at;
            }
            if (size < header || size > m_end - at) return false;
            if (!visit(Box(*m_bytes, at + header, at + static_cast<std::size_t>(size), Read32(head + 4))))
                return false;
            at += static_cast<std::size_t>(size);
        }
        return true;
    }

    // The first box of this name inside.
    std::optional<Box> Find(std::uint32_t name) const {
        std::optional<Box> found;
        (void)ForEach([&](const Box& box) {
            if (box.Name() != name) return true;
            found = box;
            return false;
        });
        return found;
    }

  private:
    const std::vector<std::uint8_t>* m_bytes;
    std::size_t m_begin;
    std::size_t m_end;
    std::uint32_t m_name;
};

std::optional<SampleTable> SampleTable::Read(const FileSource& file, std::uint32_t track_id) {
    SampleTable table;
    std::int64_t at = 0;
    std::uint8_t head[16];
    for (std::uint32_t n = 0; n < kMostTopBoxes && file.Size() - at >= 8; ++n) {
        const std::int64_t got = file.ReadAt(at, head, sizeof head);
        if (got < 8) break;
        std::uint64_t size = Read32(head);
        std::int64_t header = 8;
        if (size == 1 && got == 16) {
            size = Read64(head + 8);
            header = 16;
        } else if (size == 0) {
            size = static_cast<std::uint64_t>(file.Size() - at);
        }
        if (size < static_cast<std::uint64_t>(header)) return std::nullopt;
        if (Read32(head + 4) == Name("moov")) {
            if (size > static_cast<std::uint64_t>(file.Size() - at)) return std::nullopt;
            const std::int64_t content = static_cast<std::int64_t>(size) - header;
            if (content > kMostMovieBytes) return std::nullopt;
            table.m_movie.resize(static_cast<std::size_t>(content));
            if (file.ReadAt(at + header, table.m_movie.data(), table.m_movie.size()) != content)
                return std::nullopt;
            const Box movie(table.m_movie, 0, table.m_movie.size(), Name("moov"));
            if (movie.Find(Name("mvex"))) return std::nullopt;
            bool found = false;
            (void)movie.ForEach([&](const Box& box) {
                if (box.Name() == Name("trak")) found = table.ReadTrack(box, track_id);
                return !found;
            });
            if (!found) return std::nullopt;
            return table;
        }
        if (size > static_cast<std::uint64_t>(file.Size() - at)) break;
        at += static_cast<std::int64_t>(size);
    }
    return std::nullopt;
}

bool SampleTable::ReadTrack(const Box& track, std::uint32_t track_id) {
    const std::optional<Box> header = track.Find(Name("tkhd"));
    if (!header || header->Size() < 24) return false;
    const std::size_t id_at = header->Data()[0] == 1 ? 20 : 12;
    if (Read32(header->Data() + id_at) != track_id) return false;
    const std::optional<Box> media = track.Find(Name("mdia"));
    const std::optional<Box> information = media ? media->Find(Name("minf")) : std::nullopt;
    const std::optional<Box> tables = information ? information->Find(Name("stbl")) : std::nullopt;
    return tables && ReadTables(*tables);
}

bool SampleTable::ReadTables(const Box& tables) {
    bool good = true;
    bool sizes = false;
    bool chunks = false;
    bool offsets = false;
    (void)tables.ForEach([&](const Box& box) {
        if (box.Size() < 8) return true;
        switch (box.Name()) {
        case Name("stsd"):
            m_description_count = Read32(box.Data() + 4);
            break;
        case Name("stsz"):
            good = good && (sizes = ReadSizes(box));
            break;
        case Name("stz2"):
            good = good && (sizes = ReadCompactSizes(box));
            break;
        case Name("stsc"):
            good = good && (chunks = ReadChunkRuns(box));
            break;
        case Name("stco"):
            good = good && (offsets = ReadChunkOffsets(box, false));
            break;
        case Name("co64"):
            good = good && (offsets = ReadChunkOffsets(box, true));
            break;
        case Name("ctts"):
            good = good && ReadCompositionOffsets(box);
            break;
        case Name("stts"):
            good = good && ReadDurations(box);
            break;
        default:
            break;
        }
        return good;
    });
    return good && sizes && chunks && offsets;
}

bool SampleTable::ReadSizes(const Box& box) {
    if (box.Size() < 12) return false;
    m_common_size = Read32(box.Data() + 4);
    m_sample_count = Read32(box.Data() + 8);
    m_sizes = box.Begin() + 12;
    return m_common_size != 0 || m_sample_count <= (box.Size() - 12) / 4;
}

bool SampleTable::ReadCompactSizes(const Box& box) {
    if (box.Size() < 12) return false;
    const unsigned bits = box.Data()[7];
    if (bits != 4 && bits != 8 && bits != 16) return false;
    m_sample_count = Read32(box.Data() + 8);
    if (std::uint64_t{m_sample_count} * bits > std::uint64_t{box.Size() - 12} * 8) return false;
    const std::uint8_t* data = box.Data() + 12;
    m_compact_sizes.resize(m_sample_count);
    for (std::uint32_t i = 0; i < m_sample_count; ++i) {
        if (bits == 4) {
            m_compact_sizes[i] = i % 2 == 0 ? data[i / 2] >> 4 : data[i / 2] & 15;
        } else if (bits == 8) {
            m_compact_sizes[i] = data[i];
        } else {
            m_compact_sizes[i] = (std::uint32_t{data[2 * i]} << 8) | data[2 * i + 1];
        }
    }
    return true;
}

bool SampleTable::ReadChunkRuns(const Box& box) {
    const std::uint32_t count = Read32(box.Data() + 4);
    if (count == 0 || count > (box.Size() - 8) / 12) return false;
    m_chunk_runs.resize(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint8_t* entry = box.Data() + 8 + std::size_t{i} * 12;
        const std::uint32_t first = Read32(entry);
        if (first == 0 || (i > 0 && first - 1 <= m_chunk_runs[i - 1].first_chunk)) return false;
        m_chunk_runs[i] = {first - 1, Read32(entry + 4)};
    }
    return m_chunk_runs[0].first_chunk == 0;
}

bool SampleTable::ReadChunkOffsets(const Box& box, bool wide) {
    m_chunk_count = Read32(box.Data() + 4);
    m_chunk_offsets = box.Begin() + 8;
    m_wide_offsets = wide;
    return m_chunk_count <= (box.Size() - 8) / (wide ? 8 : 4);
}

bool SampleTable::ReadCompositionOffsets(const Box& box) {
    m_composition_runs = Read32(box.Data() + 4);
    m_composition = box.Begin() + 8;
    return m_composition_runs <= (box.Size() - 8) / 8;
}

bool SampleTable::ReadDurations(const Box& box) {
    m_time_runs = Read32(box.Data() + 4);
    m_times = box.Begin() + 8;
    return m_time_runs <= (box.Size() - 8) / 8;
}

std::int64_t SampleTable::ChunkOffset(std::uint32_t chunk) const {
    const std::uint8_t* entry =
        m_movie.data() + m_chunk_offsets + std::size_t{chunk} * (m_wide_offsets ? 8 : 4);
    return m_wide_offsets ? static_cast<std::int64_t>(Read64(entry)) : std::int64_t{Read32(entry)};
}

void SampleTable::Cursor::EnterChunk() {
    const SampleTable& table = *m_table;
    while (m_chunk < table.m_chunk_count) {
        while (m_run + 1 < table.m_chunk_runs.size() && table.m_chunk_runs[m_run + 1].first_chunk <= m_chunk)
            ++m_run;
        m_left_in_chunk = table.m_chunk_runs[m_run].samples_per_chunk;
        m_offset = table.ChunkOffset(m_chunk);
        if (m_left_in_chunk > 0) return;
        ++m_chunk;
    }
}

std::optional<SampleTable::Sample> SampleTable::Cursor::Next() {
    const SampleTable& table = *m_table;
    if (m_sample >= table.m_sample_count || m_left_in_chunk == 0) return std::nullopt;
    Sample sample;
    sample.offset_bytes = m_offset;
    if (table.m_common_size != 0) {
        sample.size_bytes = table.m_common_size;
    } else if (!table.m_compact_sizes.empty()) {
        sample.size_bytes = table.m_compact_sizes[m_sample];
    } else {
        sample.size_bytes = Read32(table.m_movie.data() + table.m_sizes + std::size_t{m_sample} * 4);
    }
    while (m_left_in_offset_run == 0 && m_offset_run < table.m_composition_runs) {
        m_left_in_offset_run = Read32(table.m_movie.data() + table.m_composition + m_offset_run * 8);
        ++m_offset_run;
    }
    if (m_left_in_offset_run > 0) {
        // Version 0 calls the offset unsigned, yet writers put negative ones there too; none is as far as
        // 2^31.
        const std::size_t entry = table.m_composition + (m_offset_run - 1) * 8;
        sample.composition_offset = static_cast<std::int32_t>(Read32(table.m_movie.data() + entry + 4));
        --m_left_in_offset_run;
    }
    while (m_left_in_time_run == 0 && m_time_run < table.m_time_runs) {
        m_left_in_time_run = Read32(table.m_movie.data() + table.m_times + m_time_run * 8);
        ++m_time_run;
    }
    if (m_left_in_time_run > 0) {
        sample.duration = Read32(table.m_movie.data() + table.m_times + (m_time_run - 1) * 8 + 4);
        --m_left_in_time_run;
    }
    m_offset += sample.size_bytes;
    ++m_sample;
    if (--m_left_in_chunk == 0) {
        ++m_chunk;
        EnterChunk();
    }
    return sample;
}

} // namespace ordune
