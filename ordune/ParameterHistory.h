// Which parameter sets are in force before which unit of a raw stream: a set may change under its number at
// any picture. Written by the indexing thread, read by any.
#pragma once

#include "ordune/Frame.h"
#include "ordune/ParameterSets.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace ordune {

class ParameterHistory {
  public:
    // From this unit on, these sets are in force before it. Units rise from call to call.
    void Record(UnitNumber from, std::vector<ParameterSets::Bytes> sets);
    // The sets in force before the unit, each with a start code: what a decoder is given ahead of it.
    std::vector<std::uint8_t> Before(UnitNumber unit) const;

  private:
    struct State {
        UnitNumber from;
        std::vector<ParameterSets::Bytes> sets;
    };

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::vector<State> m_states;
    std::size_t m_held = 0; // sets held by all states together
};

} // namespace ordune
