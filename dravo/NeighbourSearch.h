// Which frame a position goes to when the picture that it asked for is lost. Pure.
//
// From the position on in the direction of the move: frame by frame at first, then in strides that double,
// since what is missing after so many is a part of the file, whose length nobody knows. Where a stride finds
// a picture, the part's edge is looked for between it and what was lost last, so that the nearest picture is
// the one that is shown. A jump that finds nothing that way looks the other way from where it began; a step
// does not. In a film of any length there are no more than some two hundred tries.
#pragma once

#include "ordune/FrameIndex.h"
#include "ordune/FrameReader.h"

namespace dravo {

class NeighbourSearch {
  public:
    // How many frames each way are tried one by one.
    static constexpr ordune::FrameNumber kOneByOne = 64;

    void Begin(ordune::FrameNumber frame, ordune::Direction direction, bool both_ways);
    // The frame tried last is lost: the one to try next of a film of `total` frames; kNoFrame when there is
    // none further.
    ordune::FrameNumber Lost(ordune::FrameNumber total);
    // The frame tried last came out: the one to try next, which is that same frame when it is the one.
    ordune::FrameNumber Found();
    // There is no time for further tries: the best frame that came out so far; kNoFrame when none did.
    ordune::FrameNumber Settle();
    ordune::Direction Way() const { return m_way; }

  private:
    ordune::FrameNumber Beyond(ordune::FrameNumber total) const;
    ordune::FrameNumber Between();

    ordune::FrameNumber m_begin = 0;
    ordune::FrameNumber m_tried = 0; // the last one
    ordune::Direction m_way = ordune::Direction::Forward;
    bool m_may_turn = false;
    // The farthest frame known to be lost this way, and the nearest one behind it that came out.
    ordune::FrameNumber m_lost = ordune::kNoFrame;
    ordune::FrameNumber m_found = ordune::kNoFrame;
};

} // namespace dravo
