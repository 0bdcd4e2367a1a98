#include "ordune/ReadRoom.h"

#include <algorithm>

namespace ordune {

namespace {

// The farthest that pictures are made ready behind a position: ten seconds of film. More would cost time for
// what will hardly be looked at.
constexpr FrameNumber kMostBehind = 250;
// How much a play keeps of what it has shown: enough for the first steps back after it is paused. Filling the
// whole budget with pictures that nobody looks at again would cost memory that the kernel has to clear, and
// the processor's caches.
constexpr FrameNumber kKeptByPlay = 32;
// The most that is made ahead of each step of a play that shows only some of the pictures.
constexpr FrameNumber kMostStride = 64;
// A want that lies no farther behind the last one is a step back (over one that is lost, for instance).
constexpr FrameNumber kStep = 2;
// Up to here a walk back is short.
constexpr FrameNumber kShortWalk = 64;
// The lead that steps back from a frame that was jumped to need until what lies before it has been made,
// which has to begin at the key picture again. With small pictures that takes no time.
constexpr std::size_t kLargePicture = std::size_t{1} << 20;
constexpr FrameNumber kLead = 64;
constexpr FrameNumber kLeadOfSmall = 8;

} // namespace

FrameNumber FollowWalk(FrameNumber walked, const Want& before, const Want& want) {
    const bool steps_back = want.exact && before.exact && want.direction == Direction::Backward &&
                            want.frame < before.frame && before.frame - want.frame <= kStep;
    return steps_back ? walked + (before.frame - want.frame) : 0;
}

ReadRoom ReadRoom::Divide(const Want& want, FrameNumber walked, const Means& means) {
    const FrameNumber fits = means.fits;
    // So many come out after those ahead, before the run that made them can be parked.
    const FrameNumber slack = std::min(means.held_back + 1, fits / 3);
    ReadRoom room;
    if (!want.exact) {
        room.ahead = std::min(means.ahead + 2 * std::min(want.stride, kMostStride), fits / 2);
        room.kept = room.ahead + slack;
    } else if (want.direction == Direction::Forward) {
        room.ahead = std::min(means.ahead, fits / 3);
        room.kept = room.ahead + slack;
    } else {
        room.ahead = std::min({means.ahead, fits / 3, FrameNumber{2}});
        const FrameNumber most = walked <= kShortWalk ? fits * 3 / 8 : fits / 8;
        room.kept = std::max(room.ahead + slack, std::min(walked + means.ahead, most));
    }
    const FrameNumber taken = room.kept + 2;
    room.behind = fits > taken ? std::min(fits - taken, want.exact ? kMostBehind : kKeptByPlay) : 0;
    room.lead = means.picture_bytes >= kLargePicture ? kLead : kLeadOfSmall;
    return room;
}

} // namespace ordune
