// Puts the units of a stream into the order of presentation as they come, and writes them into the frame
// table.
//
// 1. Every unit is added to the table in the order of decoding; units that show a picture wait here, sorted.
// 2. A picture that begins a period lets out everything before it. Otherwise the lowest is let out as soon as
//    more than sixteen wait: no decoder may hold more (A.3.1), so that none after it can precede it.
// 3. Pictures before the first that can be decoded rightly are not shown, by the same rule as the decoder's.
// 4. A key unit begins a group once everything decoded before it has been let out and nothing of its own was
//    let out before that; else it stays part of the group before.
// 5. A key whose time lies before what was let out begins a recording of its own, shown behind the last.
// 6. What is published ends before the first unit that waits and before the first key that is undecided.
#pragma once

#include "ordune/FrameTable.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace ordune {

class OutputOrder {
  public:
    // What `order` means.
    enum class By {
        Count, // a picture order count; frames come one tick after the other
        Time   // the time of presentation in ticks of the table
    };

    struct Unit {
        std::int64_t offset_bytes = 0;
        std::int64_t order = 0;
        std::uint32_t size_bytes = 0; // where the table has sizes
        std::uint32_t duration = 0;   // in ticks; 0: not known
        bool new_period = false;
        bool referenced = true;
        bool key = false;       // decoding can begin here
        bool closed = false;    // and nothing shown after it needs what is before
        bool shown = true;      // makes a picture at all
        bool recovered = false; // can be decoded rightly, whatever else cannot
    };

    OutputOrder(FrameTable& table, By by) : m_table(table), m_by(by) {}

    UnitNumber Add(const Unit& unit);
    // The stream has ended here: everything that waits is let out, published, and the table finished.
    // `end_offset` is where the last unit ends in a table without sizes.
    void Finish(std::int64_t end_offset);
    // Publishes what is final.
    void Publish(FrameNumber estimated_total);
    // The most pictures that were decoded before one and shown after it.
    int Depth() const { return m_depth; }
    // The order of frame 0; 0 before it is known.
    std::int64_t First() const { return m_first; }

  private:
    struct Waiting {
        std::int64_t order;
        UnitNumber unit;
        std::uint32_t duration;
        bool recovered;
    };
    struct Candidate {
        UnitNumber unit;
        bool broken; // something of its own was let out before something decoded earlier
    };

    void Enqueue(const Waiting& picture);
    void LetOutLowest();
    void LetOutAll();
    std::int64_t TickOf(const Waiting& picture);
    void FollowJump(const Unit& key);
    void Decide();
    void PublishTo(UnitNumber cut, FrameNumber estimated_total);
    // The first of the units that wait; kNoUnit where none does.
    UnitNumber FirstWaiting() const;

    FrameTable& m_table;
    const By m_by;
    std::vector<Waiting> m_waiting; // at most seventeen, the lowest last
    std::deque<Candidate> m_candidates;
    std::deque<UnitNumber> m_unpublished_groups;
    std::uint32_t m_published_groups = 0;
    FrameNumber m_published_frames = 0;
    bool m_recovered = false; // a picture that is right was shown: all after it are
    int m_depth = 0;

    // Of By::Time.
    std::int64_t m_first = 0;
    std::int64_t m_shift = 0; // what is added to an order to give a tick
    std::int64_t m_last_tick = 0;
    std::uint32_t m_last_duration = 0;
};

} // namespace ordune
