// How a frame reader divides its memory: how many pictures to make and to keep on either side of the wanted
// one. Pure.
//
// 1. Playing, nearly all is for what comes; of what was shown a little is kept.
// 2. At a position that is gone forward from, a few are made ahead and the rest is for those behind: looking
// back is
//    what needs preparing.
// 3. Stepping back, two are made ahead, which are enough to turn round. What was passed on the walk back is
// kept as
//    well, up to three eighths of the memory, so that walking forward again finds it there. A long walk is
//    not about to turn round, and needs the memory for what comes: an eighth then.
#pragma once

#include "ordune/Frame.h"
#include "ordune/FrameReader.h"

#include <cstddef>

namespace ordune {

// How many frames it has been stepped back since the last move of another kind: `walked` was so before `want`
// took the place of `before`.
FrameNumber FollowWalk(FrameNumber walked, const Want& before, const Want& want);

struct ReadRoom {
    FrameNumber ahead = 0;  // to be made
    FrameNumber behind = 0; // to be made
    FrameNumber kept = 0;   // ahead, as far as they are there; not less than what is to be made
    FrameNumber lead = 0;   // how many before a frame that is jumped to are made on the way there at most

    // What there is to divide.
    struct Means {
        FrameNumber fits = 0;          // pictures that the memory holds
        std::size_t picture_bytes = 0; // of one
        FrameNumber ahead = 0;         // as in FrameReaderOptions
        FrameNumber held_back = 0;     // as in RunPosition
    };
    static ReadRoom Divide(const Want& want, FrameNumber walked, const Means& means);
};

} // namespace ordune
