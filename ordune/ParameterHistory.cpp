#include "ordune/ParameterHistory.h"

#include <algorithm>

namespace ordune {

namespace {

// States share what did not change, so that only pointers count: 32 MB of them at most. A stream beyond that
// changes its sets at every picture to fill memory.
constexpr std::size_t kMostHeld = std::size_t{1} << 21;

} // namespace

void ParameterHistory::Record(UnitNumber from, std::vector<ParameterSets::Bytes> sets) {
    const std::lock_guard lock(m_mutex);
    if (m_held + sets.size() > kMostHeld) return;
    m_held += sets.size();
    m_states.push_back({from, std::move(sets)});
}

std::vector<std::uint8_t> ParameterHistory::Before(UnitNumber unit) const {
    std::vector<std::uint8_t> bytes;
    const std::lock_guard lock(m_mutex);
    const auto after =
        std::upper_bound(m_states.begin(), m_states.end(), unit,
                         [](UnitNumber wanted, const State& state) { return wanted < state.from; });
    if (after == m_states.begin()) return bytes;
    for (const ParameterSets::Bytes& set : std::prev(after)->sets) {
        bytes.insert(bytes.end(), {0, 0, 0, 1});
        bytes.insert(bytes.end(), set->begin(), set->end());
    }
    return bytes;
}

} // namespace ordune
