// Which picture to show now, when to look again, and how much to leave out. Pure: decided from numbers alone.
#pragma once

#include "dravo/PlayClock.h"
#include "ordune/FrameReader.h"

#include <chrono>

namespace dravo {

// How to choose among the decoded pictures after the current one, up to the one that is due.
enum class Pick {
    Oldest, // every picture in turn: only a little late, or not late at all
    Newest, // too late for all of them: the newest counts
};

// Shows every picture in turn as long as that keeps it within `kPatience` of the clock and there is time to
// show each; `lateness` is how long ago the oldest of them was due, `interval` the wall time from picture to
// picture.
class DuePicture {
  public:
    static constexpr std::chrono::milliseconds kPatience{40};
    // Faster than this (125 a second) no screen shows them, and the time is better spent on decoding.
    static constexpr std::chrono::microseconds kShortestInterval{8000};
    // What is shown at least apart where not every picture can be: 30 a second.
    static constexpr std::chrono::microseconds kFastInterval{33000};

    static Pick Choose(std::chrono::nanoseconds lateness, std::chrono::nanoseconds interval);
    // The earliest moment for the next picture, given when the last one was shown and when the next one is
    // due. Whoever is late does not draw every picture that comes in: the time is needed for decoding.
    static WallTime NotBefore(WallTime last_shown, WallTime due, std::chrono::nanoseconds interval,
                              WallTime now);
    // How many frames apart the pictures are that are shown; 0 where it is every one.
    static ordune::FrameNumber Stride(std::chrono::nanoseconds interval);
};

// Which pictures are decoded at all, so that the picture never falls behind the clock: all, those that others
// refer to, or key pictures alone. Gives up quality when pictures keep coming late, and tries for it again
// when decoding has been well ahead for a while; each failed try doubles the time until the next one, so that
// a speed which the machine cannot keep does not swing for ever.
//
// Key pictures alone are enough to see only where they follow each other closely. Where they do not, each
// group is decoded from its key picture on as far as its time reaches, and the next one is taken up when its
// own has come: what is seen is then never older than the key picture that would be seen otherwise.
class EffortGovernor {
  public:
    static constexpr std::chrono::milliseconds kLateForLess{250};
    static constexpr std::chrono::milliseconds kGoodForMore{1000};
    static constexpr std::chrono::milliseconds kLongestTrial{16000};
    // Key pictures that come so often are enough alone.
    static constexpr std::chrono::milliseconds kKeysOften{80};

    // Forgets the past: a seek, a speed change. `interval` is the wall time from picture to picture at full
    // rate.
    void Reset(std::chrono::nanoseconds interval);
    // `lateness` of the picture shown now (zero or less: on time), `keys_apart` the wall time from the key
    // picture before it to the next one.
    void Shown(std::chrono::nanoseconds lateness, std::chrono::nanoseconds keys_apart, WallTime now);
    ordune::Effort Current() const { return m_effort; }

  private:
    void Move(ordune::Effort effort, WallTime now);

    ordune::Effort m_effort = ordune::Effort::Every;
    ordune::Effort m_best = ordune::Effort::Every;
    WallTime m_late_since{};
    WallTime m_good_since{};
    bool m_late = false;
    bool m_good = false;
    std::chrono::nanoseconds m_trial = kGoodForMore;
};

} // namespace dravo
