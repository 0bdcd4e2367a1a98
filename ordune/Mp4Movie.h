// The movie box of an MP4 file: what it says of its tracks, read without the file's data.
//
// Immutable; any thread.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/FileSource.h"
#include "ordune/Mp4Box.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace ordune {

class Mp4Movie {
  public:
    static constexpr std::int64_t kMostBytes = 1LL << 30; // a day's recording has some 50 MB

    // Null where the file is no MP4 file, or its movie box is missing, cut off or beyond belief: larger than
    // `most_bytes`. Also once cancelled.
    static std::shared_ptr<const Mp4Movie> Read(const FileSource& file, std::int64_t most_bytes = kMostBytes,
                                                const CancelToken& cancel = {});

    const mp4::Box& Content() const { return m_box; }
    // The track of this id; nothing where there is none.
    std::optional<mp4::Box> Track(std::uint32_t id) const;
    // The movie goes on in fragments, which lie somewhere behind its box.
    bool Fragmented() const { return m_box.Find(mp4::Name("mvex")).has_value(); }
    // Whether it was written to its end, and tells of samples.
    bool TellsOfSamples() const;
    std::int64_t End() const { return m_end; }

    // A small file of the same tracks without a sample: all that libavformat needs to describe them, and
    // nothing whose reading takes longer in a longer recording. Empty where it cannot be made.
    std::vector<std::uint8_t> Skeleton() const;

    // How the track's own time lies on the movie's.
    struct Placement {
        bool plain = false;          // at most one stretch of the track is shown, at its own pace
        bool edited = false;         // an edit list says which
        std::int64_t begin = 0;      // of the stretch, in ticks of the track
        std::int64_t length = -1;    // in ticks of the track; -1: to its end
        std::int64_t delay = 0;      // of the stretch's begin, in ticks of the track
        std::uint32_t timescale = 0; // ticks of the track a second
    };
    Placement PlacementOf(const mp4::Box& track) const;

  private:
    Mp4Movie(std::unique_ptr<std::uint8_t[]> bytes, mp4::Box box, std::int64_t end,
             std::vector<std::uint8_t> type)
        : m_bytes(std::move(bytes)), m_box(box), m_end(end), m_type(std::move(type)) {}

    const std::unique_ptr<const std::uint8_t[]> m_bytes;
    const mp4::Box m_box; // in m_bytes
    const std::int64_t m_end;
    const std::vector<std::uint8_t> m_type; // the file type box, which comes first
};

} // namespace ordune
