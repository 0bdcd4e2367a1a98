// The fragments of an MP4 file (ISO/IEC 14496-12, 8.8): walks from box to box, reads those that describe
// fragments and passes over the others. A file that was cut off has fragments up to its cut.
//
// Used by one thread at a time.
#pragma once

#include "ordune/ContainerUnits.h"
#include "ordune/FileSource.h"
#include "ordune/Mp4Movie.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace ordune {

class Mp4Fragments {
  public:
    // `time` is when the first fragment begins where it does not say, in ticks of the track; `shift` is added
    // to all times.
    Mp4Fragments(std::shared_ptr<const FileSource> file, const Mp4Movie& movie, std::uint32_t track_id,
                 std::int64_t time, std::int64_t shift);

    // Goes on by some boxes and appends the samples of the track that it comes by. False at the file's end.
    bool Read(ContainerUnits& units);
    double Share() const;

  private:
    // What holds for samples that do not say otherwise.
    struct Defaults {
        std::uint32_t duration = 0;
        std::uint32_t size = 0;
        std::uint32_t flags = 0;
    };
    struct TrackFragment {
        Defaults defaults;
        std::int64_t base = 0; // of the offsets of its runs
    };

    void ReadFragment(std::int64_t at, std::int64_t size, ContainerUnits& units);
    void ReadTrackFragment(const mp4::Box& box, std::int64_t fragment_at, ContainerUnits& units);
    // Nothing for another track, or what is cut off.
    bool ReadHeader(const mp4::Box& box, std::int64_t fragment_at, TrackFragment& fragment,
                    std::uint32_t& track) const;
    void ReadRun(const mp4::Box& box, const TrackFragment& fragment, bool ours, ContainerUnits& units);

    const std::shared_ptr<const FileSource> m_file;
    const std::uint32_t m_track_id;
    const std::int64_t m_shift;
    std::vector<std::pair<std::uint32_t, Defaults>> m_defaults; // of each track
    std::int64_t m_at;
    std::int64_t m_time;
    std::int64_t m_implicit = 0; // where a run lies that does not say: behind the one before
    std::uint64_t m_claimed = 0;
    std::vector<std::uint8_t> m_bytes;
};

} // namespace ordune
