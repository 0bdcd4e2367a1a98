// Makes the frame index of an MP4 recording that has lost its own: of the H.264 that is found in its data.
// Decodes nothing.
//
// Used by one thread at a time; what it publishes is for all.
#pragma once

#include "ordune/CancelToken.h"
#include "ordune/FileSource.h"
#include "ordune/FrameTable.h"
#include "ordune/NalChain.h"
#include "ordune/PictureGatherer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace ordune {

class SalvageIndexer {
  public:
    // Looks through [begin, end) of the file, with these sets in force at first.
    SalvageIndexer(std::shared_ptr<const FileSource> file, std::int64_t begin, std::int64_t end,
                   std::size_t length_bytes, ParameterSets sets, std::shared_ptr<FrameTable> table,
                   CancelToken cancel);

    // Takes a step, over before long, and publishes what is final after it. False when there is no more; the
    // table is finished then. Once cancelled, it does nothing.
    bool Advance();

    const std::optional<SequenceParameters>& FirstSequence() const { return m_pictures.FirstSequence(); }
    int Depth() const { return m_pictures.Depth(); }

  private:
    const std::shared_ptr<const FileSource> m_file;
    const std::int64_t m_begin;
    const std::int64_t m_end;
    const std::shared_ptr<FrameTable> m_table;
    const CancelToken m_cancel;
    NalChain m_chain;
    PictureGatherer m_pictures;
};

} // namespace ordune
