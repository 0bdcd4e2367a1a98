// The sample tables of one track of an MP4 file (ISO/IEC 14496-12, 8.6 and 8.7): for each sample where it
// lies, how long it is and how far its presentation is from its decoding. Read from the file header alone,
// never the data.
//
// libavformat keeps the composition offsets to itself until a packet is read; they are what the order of
// presentation is made of.
#pragma once

#include "ordune/FileSource.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ordune {

class SampleTable {
  public:
    struct Sample {
        std::int64_t offset_bytes = 0;
        std::uint32_t size_bytes = 0;
        std::int32_t composition_offset = 0; // in ticks of the track
        std::uint32_t duration = 0;          // in ticks of the track; 0 where the tables do not say
    };

    // The tables of the track with this id; nothing where there are none, or they contradict each other, or
    // the file goes on in fragments.
    static std::optional<SampleTable> Read(const FileSource& file, std::uint32_t track_id);

    std::uint32_t SampleCount() const { return m_sample_count; }
    // How many kinds of sample the track has (each with parameters of its own).
    std::uint32_t DescriptionCount() const { return m_description_count; }

    // Walks the samples in the order of decoding.
    class Cursor {
      public:
        explicit Cursor(const SampleTable& table) : m_table(&table) { EnterChunk(); }
        // The next sample; nothing after the last, or where the tables break off.
        std::optional<Sample> Next();

      private:
        void EnterChunk();

        const SampleTable* m_table;
        std::uint32_t m_sample = 0;
        std::uint32_t m_chunk = 0;
        std::uint32_t m_left_in_chunk = 0;
        std::size_t m_run = 0;
        std::int64_t m_offset = 0;
        std::size_t m_offset_run = 0;
        std::uint32_t m_left_in_offset_run = 0;
        std::size_t m_time_run = 0;
        std::uint32_t m_left_in_time_run = 0;
    };

  private:
    struct ChunkRun {
        std::uint32_t first_chunk; // counted from 0
        std::uint32_t samples_per_chunk;
    };
    class Box;

    bool ReadTrack(const Box& track, std::uint32_t track_id);
    bool ReadTables(const Box& tables);
    bool ReadSizes(const Box& box);
    bool ReadCompactSizes(const Box& box);
    bool ReadChunkRuns(const Box& box);
    bool ReadChunkOffsets(const Box& box, bool wide);
    bool ReadCompositionOffsets(const Box& box);
    bool ReadDurations(const Box& box);
    std::int64_t ChunkOffset(std::uint32_t chunk) const;

    std::vector<std::uint8_t> m_movie; // the moov box; tables are read out of it in place
    std::uint32_t m_sample_count = 0;
    std::uint32_t m_description_count = 0;
    std::uint32_t m_common_size = 0; // of every sample; 0: see m_sizes
    std::size_t m_sizes = 0;         // place of the sizes in m_movie
    std::vector<std::uint32_t> m_compact_sizes;
    std::vector<ChunkRun> m_chunk_runs;
    std::size_t m_chunk_offsets = 0; // place of the offsets in m_movie
    std::uint32_t m_chunk_count = 0;
    bool m_wide_offsets = false;
    std::size_t m_composition = 0; // place of the runs in m_movie
    std::uint32_t m_composition_runs = 0;
    std::size_t m_times = 0; // place of the runs in m_movie
    std::uint32_t m_time_runs = 0;
};

} // namespace ordune
