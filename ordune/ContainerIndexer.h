// Makes the frame index of a file in a container from its units, step by step. Decodes nothing.
//
// 1. Units come from the source; those whose bytes are not all in the file are left out.
// 2. What the container says of them is corrected where it is not enough (UnitInspector).
// 3. Units that an edit list leaves out are decoded but not shown; the others are put in the order of their
//    times (OutputOrder).
//
// Used by one thread at a time; what it publishes is for all.
#pragma once

#include "ordune/FileSource.h"
#include "ordune/FrameTable.h"
#include "ordune/OutputOrder.h"
#include "ordune/UnitInspector.h"
#include "ordune/UnitSource.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace ordune {

class ContainerIndexer {
  public:
    // `direct`: units are read straight from the file, by offset and size, as they are.
    ContainerIndexer(std::shared_ptr<const FileSource> file, std::unique_ptr<UnitSource> source,
                     const AVCodecParameters& parameters, bool direct, std::shared_ptr<FrameTable> table);

    // Takes a step and publishes what is final after it. False when there is no more; the table is finished
    // then, and short where the file could not be read.
    bool Advance();

    // The time of frame 0 in the container's own ticks. After the first frame is known.
    std::int64_t Origin() const { return m_output.First(); }
    // Whether the first key picture is known to be decodable.
    bool Sure() const { return m_inspector && m_inspector->FirstKeyIsSure(); }
    // How many pictures at most are decoded before one that is shown ahead of them.
    int Depth() const { return m_output.Depth(); }

  private:
    bool Begun() const;
    void Flush();

    const std::shared_ptr<const FileSource> m_file;
    const std::unique_ptr<UnitSource> m_source;
    const bool m_direct;
    const std::shared_ptr<FrameTable> m_table;
    std::optional<UnitInspector> m_inspector;
    OutputOrder m_output;
    ContainerUnits m_units; // read and not yet in the table
    bool m_begun = false;
    bool m_more = true;
};

} // namespace ordune
