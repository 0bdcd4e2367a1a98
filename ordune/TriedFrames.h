// Which frames did not come out of the decoder, and from how far back that was tried.
//
// Not thread-safe: its owner guards it.
#pragma once

#include "ordune/Frame.h"

#include <map>
#include <vector>

namespace ordune {

// From how far back a frame's decoding is begun. Each failure leads to the next.
enum class Reach {
    OwnKey,     // the key picture that the index names
    KeyBefore,  // one key picture earlier: the first pictures after a key may need what was before it
    Far,        // some minutes back, which is nearly always as far as can matter
    Start,      // the file's start
    Undecodable // tried all
};

class TriedFrames {
  public:
    // From where the frame is to be tried next.
    Reach Next(FrameNumber frame) const;
    bool Undecodable(FrameNumber frame) const { return frame < m_undecodable.size() && m_undecodable[frame]; }
    // Whether any try has failed.
    bool Failed(FrameNumber frame) const { return Undecodable(frame) || m_next.contains(frame); }

    // The frame did not come out though decoding was begun at `tried`.
    void Fail(FrameNumber frame, Reach tried);
    // It did come out.
    void Succeed(FrameNumber frame);

  private:
    std::map<FrameNumber, Reach> m_next; // for frames between their first failure and their last
    std::vector<bool> m_undecodable;
};

} // namespace ordune
