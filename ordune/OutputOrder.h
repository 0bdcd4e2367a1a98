// Puts the units of a raw stream into the order of presentation as they come, and writes them into the frame
// table.
//
// 1. Every unit is added to the table in the order of decoding; units that show a picture wait here.
// 2. A picture that begins a period lets out everything before it. Otherwise the one with the lowest count is
// let
//    out as soon as more than sixteen wait: no decoder may hold more (A.3.1), so that none after it can
//    precede it.
// 3. Pictures before the first that can be decoded rightly are not shown, by the same rule as the decoder's.
// 4. A key unit begins a group once everything decoded before it has been let out and nothing of its own was
// let out
//    before that; else it stays part of the group before.
// 5. What is published ends before the first unit that waits and before the first key that is undecided.
#pragma once

#include "ordune/FrameTable.h"

#include <cstdint>
#include <deque>
#include <vector>

namespace ordune {

class OutputOrder {
  public:
    struct Unit {
        std::int64_t offset_bytes = 0;
        std::int64_t order = 0;
        bool new_period = false;
        bool referenced = true;
        bool key = false;       // decoding can begin here
        bool closed = false;    // and nothing shown after it needs what is before
        bool shown = true;      // makes a picture at all
        bool recovered = false; // can be decoded rightly, whatever else cannot
    };

    explicit OutputOrder(FrameTable& table) : m_table(table) {}

    UnitNumber Add(const Unit& unit);
    // The stream has ended here: everything that waits is let out.
    void Finish(std::int64_t end_offset);
    // Publishes what is final.
    void Publish(FrameNumber estimated_total);
    // The most pictures that were decoded before one and shown after it.
    int Depth() const { return m_depth; }

  private:
    struct Waiting {
        std::int64_t order;
        UnitNumber unit;
        bool recovered;
    };
    struct Candidate {
        UnitNumber unit;
        bool broken; // something of its own was let out before something decoded earlier
    };

    void LetOut(std::size_t place);
    void LetOutLowest();
    void LetOutAll();
    void Decide();
    bool WaitsBefore(UnitNumber unit) const;

    FrameTable& m_table;
    std::vector<Waiting> m_waiting; // at most seventeen, in the order of decoding
    std::deque<Candidate> m_candidates;
    std::deque<UnitNumber> m_unpublished_groups;
    std::uint32_t m_published_groups = 0;
    FrameNumber m_published_frames = 0;
    bool m_finished = false;
    bool m_recovered = false; // a picture that is right was shown: all after it are
    int m_depth = 0;
};

} // namespace ordune
