#include "dravo/NeighbourSearch.h"

#include <algorithm>

namespace dravo {

using ordune::Direction;
using ordune::FrameNumber;
using ordune::kNoFrame;

void NeighbourSearch::Begin(FrameNumber frame, Direction direction, bool both_ways) {
    m_begin = frame;
    m_tried = frame;
    m_way = direction;
    m_may_turn = both_ways;
    m_lost = kNoFrame;
    m_found = kNoFrame;
}

FrameNumber NeighbourSearch::Lost(FrameNumber total) {
    if (m_found != kNoFrame) {
        // What came out a moment ago and does no more will not the next time either.
        if (m_tried == m_found) return kNoFrame;
        m_lost = m_tried;
        return m_tried = Between();
    }
    m_lost = m_tried;
    FrameNumber next = Beyond(total);
    if (next == kNoFrame && m_may_turn) {
        m_may_turn = false;
        m_way = m_way == Direction::Forward ? Direction::Backward : Direction::Forward;
        m_tried = m_lost = m_begin;
        next = Beyond(total);
    }
    if (next != kNoFrame) m_tried = next;
    return next;
}

FrameNumber NeighbourSearch::Found() {
    m_found = m_tried;
    if (m_lost != kNoFrame) m_tried = Between();
    return m_tried;
}

FrameNumber NeighbourSearch::Settle() {
    if (m_tried == m_found) return kNoFrame; // it is lost after all
    if (m_found != kNoFrame) m_tried = m_found;
    m_lost = kNoFrame;
    return m_found;
}

// The next frame this way from the one tried last.
FrameNumber NeighbourSearch::Beyond(FrameNumber total) const {
    const bool forward = m_way == Direction::Forward;
    const FrameNumber room = forward ? (m_tried + 1 < total ? total - 1 - m_tried : 0) : m_tried;
    if (room == 0) return kNoFrame;
    const FrameNumber gone = forward ? m_tried - m_begin : m_begin - m_tried;
    const FrameNumber stride = std::min(gone < kOneByOne ? 1 : gone, room);
    return forward ? m_tried + stride : m_tried - stride;
}

// The middle between what is lost and what was found, or what was found when nothing lies between them.
FrameNumber NeighbourSearch::Between() {
    const bool forward = m_found > m_lost;
    const FrameNumber half = (forward ? m_found - m_lost : m_lost - m_found) / 2;
    if (half == 0) return m_found;
    return forward ? m_lost + half : m_lost - half;
}

} // namespace dravo
