// Which moment of the film it is. Pure: the wall time comes in as an argument.
//
// Media time runs at the ladder's rate from an anchor. Within an epoch (from one Seek, Pause or speed change
// to the next) it never runs back: Steer, which follows a sound device's own idea of a second, slows it down
// or speeds it up a little instead of setting it. Used by one thread at a time; whoever shares it guards it.
#pragma once

#include "dravo/SpeedLadder.h"
#include "ordune/Frame.h"

#include <chrono>

namespace dravo {

using WallTime = std::chrono::steady_clock::time_point;

class PlayClock {
  public:
    // A difference to the sound below this is left alone; position reports jitter that much.
    static constexpr std::chrono::milliseconds kIgnoredError{5};
    // At most this share of the time passed since the last call is added or taken away by Steer.
    static constexpr int kSteerShare = 20;

    // Stands at `time`.
    void StandAt(ordune::MediaTime time);
    // Runs from `time` on, beginning now. Standing clocks start, running ones jump: a new epoch either way.
    void RunFrom(ordune::MediaTime time, WallTime now);
    // Stops where it is, and goes on from where it is.
    void Pause(WallTime now);
    void Resume(WallTime now);
    // Changes the rate without a jump.
    void SetSpeed(const SpeedLadder& speed, WallTime now);

    bool Running() const { return m_running; }
    ordune::MediaTime Now(WallTime now) const;
    // When it will be (or was) `time`, if nothing changes; meaningful while running.
    WallTime When(ordune::MediaTime time) const;

    // Draws the clock towards `heard`, the media time that is heard now.
    void Steer(ordune::MediaTime heard, WallTime now);

  private:
    SpeedLadder m_speed;
    bool m_running = false;
    std::chrono::nanoseconds m_media{0}; // at the anchor
    WallTime m_anchor;
};

} // namespace dravo
