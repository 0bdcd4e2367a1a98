#include "ordune/OutputOrder.h"

#include <algorithm>

namespace ordune {

namespace {

constexpr std::size_t kMostWaiting = 16; // MaxDpbFrames

} // namespace

UnitNumber OutputOrder::Add(const Unit& unit) {
    if (unit.new_period) LetOutAll();
    const UnitNumber number =
        m_table.AddUnit(unit.offset_bytes, 0, {.referenced = unit.referenced, .closed = unit.closed});
    if (unit.key || number == 0) m_candidates.push_back({number, false});
    Decide();
    if (unit.shown) m_waiting.push_back({unit.order, number, unit.recovered});
    if (m_waiting.size() > kMostWaiting) LetOutLowest();
    return number;
}

void OutputOrder::Finish(std::int64_t end_offset) {
    LetOutAll();
    m_table.AddEnd(end_offset);
    m_finished = true;
}

void OutputOrder::LetOutLowest() {
    std::size_t lowest = 0;
    for (std::size_t i = 1; i < m_waiting.size(); ++i) {
        if (m_waiting[i].order < m_waiting[lowest].order) lowest = i;
    }
    LetOut(lowest);
}

void OutputOrder::LetOutAll() {
    while (!m_waiting.empty())
        LetOutLowest();
}

void OutputOrder::LetOut(std::size_t place) {
    const Waiting picture = m_waiting[place];
    m_waiting.erase(m_waiting.begin() + static_cast<std::ptrdiff_t>(place));
    m_depth = std::max(m_depth, static_cast<int>(place));
    for (Candidate& candidate : m_candidates) {
        if (candidate.unit <= picture.unit && WaitsBefore(candidate.unit)) candidate.broken = true;
    }
    m_recovered = m_recovered || picture.recovered;
    if (m_recovered) m_table.AddFrame(picture.unit, 0);
    Decide();
}

bool OutputOrder::WaitsBefore(UnitNumber unit) const {
    return !m_waiting.empty() && m_waiting.front().unit < unit;
}

void OutputOrder::Decide() {
    while (!m_candidates.empty() && !WaitsBefore(m_candidates.front().unit)) {
        const Candidate candidate = m_candidates.front();
        m_candidates.pop_front();
        if (candidate.broken) continue;
        m_table.AddGroup(candidate.unit, m_table.Frames());
        m_unpublished_groups.push_back(candidate.unit);
    }
}

void OutputOrder::Publish(FrameNumber estimated_total) {
    UnitNumber cut = m_table.Units();
    // The newest unit's end is not in the table yet.
    if (!m_finished && cut > 0) --cut;
    if (!m_waiting.empty()) cut = std::min(cut, m_waiting.front().unit);
    if (!m_candidates.empty()) cut = std::min(cut, m_candidates.front().unit);
    while (m_published_frames < m_table.Frames() && m_table.AddedUnitOf(m_published_frames) < cut)
        ++m_published_frames;
    while (!m_unpublished_groups.empty() && m_unpublished_groups.front() < cut) {
        m_unpublished_groups.pop_front();
        ++m_published_groups;
    }
    m_table.Publish(cut, m_published_frames, m_published_groups, estimated_total);
}

} // namespace ordune
