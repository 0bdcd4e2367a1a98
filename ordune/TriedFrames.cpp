#include "ordune/TriedFrames.h"

#include <algorithm>

namespace ordune {

Reach TriedFrames::Next(FrameNumber frame) const {
    if (Undecodable(frame)) return Reach::Undecodable;
    const auto found = m_next.find(frame);
    return found == m_next.end() ? Reach::OwnKey : found->second;
}

void TriedFrames::Fail(FrameNumber frame, Reach tried) {
    const Reach next = std::max(Next(frame), static_cast<Reach>(static_cast<int>(tried) + 1));
    if (next < Reach::Undecodable) {
        m_next[frame] = next;
        return;
    }
    m_next.erase(frame);
    if (frame >= m_undecodable.size()) m_undecodable.resize(static_cast<std::size_t>(frame) + 1);
    m_undecodable[frame] = true;
}

void TriedFrames::Succeed(FrameNumber frame) {
    m_next.erase(frame);
    if (frame < m_undecodable.size()) m_undecodable[frame] = false;
}

} // namespace ordune
