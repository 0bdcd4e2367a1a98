// The sample tables of one track of an MP4 file (ISO/IEC 14496-12, 8.6 and 8.7): for each sample where it
// lies, how long it is, when it is decoded and shown, and whether decoding can begin there. Read from the
// movie box alone, never the data.
//
// Immutable; any thread.
#pragma once

#include "ordune/Mp4Movie.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace ordune {

class SampleTable {
  public:
    struct Sample {
        std::int64_t offset_bytes = 0;
        std::uint32_t size_bytes = 0;
        std::int64_t decode_time = 0;        // in ticks of the track
        std::int32_t composition_offset = 0; // in ticks of the track
        std::uint32_t duration = 0;          // in ticks of the track; 0 where the tables do not say
        bool key = false;
    };

    // The tables of the track with this id; nothing where there are none, or they contradict each other.
    static std::optional<SampleTable> Read(std::shared_ptr<const Mp4Movie> movie, std::uint32_t track_id);

    std::uint32_t SampleCount() const { return m_sample_count; }
    // How many kinds of sample the track has (each with parameters of its own).
    std::uint32_t DescriptionCount() const { return m_description_count; }
    // Whether `key` tells all that the file says of where decoding can begin.
    bool TellsKeys() const { return m_tells_keys; }

    // The times at which the first and the last sample are shown, and the end of the last one decoded.
    struct Span {
        std::int64_t first = 0;
        std::int64_t last = 0;
        std::int64_t end = 0;
    };
    // Of a table with samples. Nothing where times are as no writer means them.
    std::optional<Span> TimeSpan() const;

    // Walks the samples in the order of decoding. Not to outlive the table.
    class Cursor {
      public:
        explicit Cursor(const SampleTable& table) : m_table(&table) { EnterChunk(); }
        // The next sample; nothing after the last, or where the tables break off.
        std::optional<Sample> Next();

      private:
        void EnterChunk();
        void TakeTimes(Sample& sample);

        const SampleTable* m_table;
        std::uint32_t m_sample = 0;
        std::uint32_t m_chunk = 0;
        std::uint32_t m_left_in_chunk = 0;
        std::size_t m_run = 0;
        std::int64_t m_offset = 0;
        std::uint32_t m_offset_run = 0;
        std::uint32_t m_left_in_offset_run = 0;
        std::int32_t m_composition_offset = 0;
        std::uint32_t m_time_run = 0;
        std::uint32_t m_left_in_time_run = 0;
        std::uint32_t m_duration = 0;
        std::int64_t m_time = 0;
        std::uint32_t m_key = 0;
    };

  private:
    struct ChunkRun {
        std::uint32_t first_chunk; // counted from 0
        std::uint32_t samples_per_chunk;
    };
    // Entries of 32-bit numbers inside the movie box.
    struct Entries {
        const std::uint8_t* data = nullptr;
        std::uint32_t count = 0;

        std::uint32_t At(std::uint32_t entry, std::uint32_t number, std::uint32_t numbers) const {
            return mp4::Read32(data + (std::size_t{entry} * numbers + number) * 4);
        }
    };

    bool ReadTables(const mp4::Box& tables);
    bool ReadSizes(const mp4::Box& box);
    bool ReadCompactSizes(const mp4::Box& box);
    bool ReadChunkRuns(const mp4::Box& box);
    bool ReadChunkOffsets(const mp4::Box& box, bool wide);
    static bool ReadEntries(const mp4::Box& box, std::uint32_t numbers, Entries& entries);
    std::int64_t ChunkOffset(std::uint32_t chunk) const;

    std::shared_ptr<const Mp4Movie> m_movie;
    std::uint32_t m_sample_count = 0;
    std::uint32_t m_description_count = 0;
    std::uint32_t m_common_size = 0; // of every sample; 0: see m_sizes
    const std::uint8_t* m_sizes = nullptr;
    std::vector<std::uint32_t> m_compact_sizes;
    std::vector<ChunkRun> m_chunk_runs;
    const std::uint8_t* m_chunk_offsets = nullptr;
    std::uint32_t m_chunk_count = 0;
    bool m_wide_offsets = false;
    Entries m_composition; // runs: how many, offset
    Entries m_times;       // runs: how many, duration
    Entries m_keys;        // sample numbers, counted from 1
    bool m_key_table = false;
    bool m_tells_keys = true;
};

} // namespace ordune
