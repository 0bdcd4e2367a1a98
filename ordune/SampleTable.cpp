#include "ordune/SampleTable.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace ordune {

using mp4::Box;
using mp4::Name;
using mp4::Read32;
using mp4::Read64;

namespace {

// No file reaches here; sizes added to offsets end here as well.
constexpr std::uint64_t kFarthestOffset = std::uint64_t{1} << 62;

} // namespace

std::optional<SampleTable> SampleTable::Read(std::shared_ptr<const Mp4Movie> movie, std::uint32_t track_id) {
    const std::optional<Box> track = movie->Track(track_id);
    const std::optional<Box> media = track ? track->Find(Name("mdia")) : std::nullopt;
    const std::optional<Box> information = media ? media->Find(Name("minf")) : std::nullopt;
    const std::optional<Box> tables = information ? information->Find(Name("stbl")) : std::nullopt;
    SampleTable table;
    if (!tables || !table.ReadTables(*tables)) return std::nullopt;
    table.m_movie = std::move(movie);
    return table;
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
            good = sizes = ReadSizes(box);
            break;
        case Name("stz2"):
            good = sizes = ReadCompactSizes(box);
            break;
        case Name("stsc"):
            good = chunks = ReadChunkRuns(box);
            break;
        case Name("stco"):
            good = offsets = ReadChunkOffsets(box, false);
            break;
        case Name("co64"):
            good = offsets = ReadChunkOffsets(box, true);
            break;
        case Name("ctts"):
            good = ReadEntries(box, 2, m_composition);
            break;
        case Name("stts"):
            good = ReadEntries(box, 2, m_times);
            break;
        case Name("stss"):
            good = ReadEntries(box, 1, m_keys);
            m_key_table = true;
            // Without an entry it says nothing that could be true.
            if (m_keys.count == 0) m_tells_keys = false;
            break;
        case Name("stps"):
            m_tells_keys = false;
            break;
        case Name("sbgp"):
            if (Read32(box.Data() + 4) == Name("rap ")) m_tells_keys = false;
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
    m_sizes = box.Data() + 12;
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
            m_compact_sizes[i] =
                (std::uint32_t{data[std::size_t{i} * 2]} << 8) | data[std::size_t{i} * 2 + 1];
        }
    }
    return true;
}

bool SampleTable::ReadChunkRuns(const Box& box) {
    const std::uint32_t count = Read32(box.Data() + 4);
    if (count == 0 || count > (box.Size() - 8) / 12) return count == 0;
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
    m_chunk_offsets = box.Data() + 8;
    m_wide_offsets = wide;
    return m_chunk_count <= (box.Size() - 8) / (wide ? 8 : 4);
}

bool SampleTable::ReadEntries(const Box& box, std::uint32_t numbers, Entries& entries) {
    entries = {box.Data() + 8, Read32(box.Data() + 4)};
    return entries.count <= (box.Size() - 8) / (std::size_t{numbers} * 4);
}

std::int64_t SampleTable::ChunkOffset(std::uint32_t chunk) const {
    const std::uint8_t* entry = m_chunk_offsets + std::size_t{chunk} * (m_wide_offsets ? 8 : 4);
    const std::uint64_t offset = m_wide_offsets ? Read64(entry) : Read32(entry);
    return static_cast<std::int64_t>(std::min(offset, kFarthestOffset));
}

std::optional<SampleTable::Span> SampleTable::TimeSpan() const {
    Span span{std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min(), 0};
    std::uint32_t left = m_sample_count;
    std::uint32_t offsets_left = 0;
    std::uint32_t run = 0;
    std::int64_t offset = 0;
    for (std::uint32_t i = 0; i < m_times.count && left > 0; ++i) {
        const std::uint32_t duration = m_times.At(i, 1, 2);
        if (duration > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
        std::uint32_t samples = std::min(m_times.At(i, 0, 2), left);
        left -= samples;
        while (samples > 0) {
            while (offsets_left == 0 && run < m_composition.count) {
                offsets_left = m_composition.At(run, 0, 2);
                offset = static_cast<std::int32_t>(m_composition.At(run, 1, 2));
                ++run;
            }
            if (offsets_left == 0) {
                offset = 0;
                offsets_left = std::numeric_limits<std::uint32_t>::max();
            }
            const std::uint32_t step = std::min(samples, offsets_left);
            span.first = std::min(span.first, span.end + offset);
            span.end += std::int64_t{duration} * step;
            span.last = std::max(span.last, span.end - duration + offset);
            samples -= step;
            offsets_left -= step;
        }
    }
    if (left > 0 || m_sample_count == 0) return std::nullopt;
    return span;
}

void SampleTable::Cursor::EnterChunk() {
    const SampleTable& table = *m_table;
    while (m_chunk < table.m_chunk_count && !table.m_chunk_runs.empty()) {
        while (m_run + 1 < table.m_chunk_runs.size() && table.m_chunk_runs[m_run + 1].first_chunk <= m_chunk)
            ++m_run;
        m_left_in_chunk = table.m_chunk_runs[m_run].samples_per_chunk;
        m_offset = table.ChunkOffset(m_chunk);
        if (m_left_in_chunk > 0) return;
        ++m_chunk;
    }
}

void SampleTable::Cursor::TakeTimes(Sample& sample) {
    const SampleTable& table = *m_table;
    while (m_left_in_offset_run == 0 && m_offset_run < table.m_composition.count) {
        m_left_in_offset_run = table.m_composition.At(m_offset_run, 0, 2);
        // Version 0 calls the offset unsigned, yet writers put negative ones there too; none is as far as
        // 2^31.
        m_composition_offset = static_cast<std::int32_t>(table.m_composition.At(m_offset_run, 1, 2));
        ++m_offset_run;
    }
    if (m_left_in_offset_run > 0) {
        sample.composition_offset = m_composition_offset;
        --m_left_in_offset_run;
    }
    while (m_left_in_time_run == 0 && m_time_run < table.m_times.count) {
        m_left_in_time_run = table.m_times.At(m_time_run, 0, 2);
        m_duration = table.m_times.At(m_time_run, 1, 2);
        ++m_time_run;
    }
    if (m_left_in_time_run > 0) {
        sample.duration = m_duration;
        --m_left_in_time_run;
    }
    sample.decode_time = m_time;
    m_time += sample.duration;
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
        sample.size_bytes = Read32(table.m_sizes + std::size_t{m_sample} * 4);
    }
    TakeTimes(sample);
    ++m_sample;
    if (!table.m_key_table) {
        sample.key = true;
    } else {
        // Numbers that do not rise are passed over.
        while (m_key < table.m_keys.count && table.m_keys.At(m_key, 0, 1) < m_sample)
            ++m_key;
        sample.key = m_key < table.m_keys.count && table.m_keys.At(m_key, 0, 1) == m_sample;
    }
    m_offset = std::min(m_offset + sample.size_bytes, static_cast<std::int64_t>(kFarthestOffset));
    if (--m_left_in_chunk == 0) {
        ++m_chunk;
        EnterChunk();
    }
    return sample;
}

} // namespace ordune
