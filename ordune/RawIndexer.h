// Makes the frame index of a raw H.264 stream (Annex B) as fast as it can be read. Decodes nothing.
//
// What stands behind the file's start codes goes to the PictureGatherer.
//
// Used by one thread at a time; what it publishes is for all.
#pragma once

#include "ordune/BlockScanner.h"
#include "ordune/Error.h"
#include "ordune/FileSource.h"
#include "ordune/FrameTable.h"
#include "ordune/ParameterHistory.h"
#include "ordune/PictureGatherer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace ordune {

class RawIndexer {
  public:
    // Frames a second; num / den.
    struct Timing {
        int numerator = 25;
        int denominator = 1;
    };

    // How much is read at a time: it stays in the processor's cache.
    static constexpr std::size_t kBlock = 1 << 20;

    RawIndexer(std::shared_ptr<const FileSource> file, FrameTable& table, ParameterHistory& history,
               std::size_t block = kBlock);

    // Reads the next block and publishes what is final after it. False when the file is done; the table is
    // finished then. A file that cannot be read on ends there, and its table is short.
    bool Advance();

    // The first sequence that a picture used; nothing before there was one.
    const std::optional<SequenceParameters>& FirstSequence() const { return m_pictures.FirstSequence(); }
    // The sets that the first picture used, with start codes.
    const std::vector<std::uint8_t>& FirstSets() const { return m_pictures.FirstSets(); }
    int Depth() const { return m_pictures.Depth(); }

    static Timing TimingOf(const SequenceParameters& sequence);

  private:
    // Immutable.
    const std::shared_ptr<const FileSource> m_file;
    FrameTable& m_table;

    // The indexing thread's own.
    BlockScanner m_blocks;
    PictureGatherer m_pictures;
    bool m_done = false;
};

} // namespace ordune
