#include "ordune/OutputOrder.h"

#include <algorithm>

namespace ordune {

namespace {

constexpr std::size_t kMostWaiting = 16; // MaxDpbFrames

} // namespace

UnitNumber OutputOrder::Add(const Unit& unit) {
    if (unit.new_period) LetOutAll();
    if (m_by == By::Time && unit.key) FollowJump(unit);
    const UnitNumber number = m_table.AddUnit(unit.offset_bytes, unit.size_bytes,
                                              {.referenced = unit.referenced, .closed = unit.closed});
    if (unit.key || number == 0) m_candidates.push_back({number, false});
    Decide();
    if (unit.shown) Enqueue({unit.order, number, unit.duration, unit.recovered});
    if (m_waiting.size() > kMostWaiting) LetOutLowest();
    return number;
}

void OutputOrder::Enqueue(const Waiting& picture) {
    // Nearly always it is one of the highest, and those are few. Equal ones come in the order of decoding.
    auto place = m_waiting.begin();
    while (place != m_waiting.end() && place->order > picture.order)
        ++place;
    m_depth = std::max(m_depth, static_cast<int>(place - m_waiting.begin()));
    m_waiting.insert(place, picture);
}

void OutputOrder::Finish(std::int64_t end_offset) {
    LetOutAll();
    if (!m_table.Sized()) m_table.AddEnd(end_offset);
    PublishTo(m_table.Units(), m_table.Frames());
    const auto frames = static_cast<std::int64_t>(m_table.Frames());
    if (m_by == By::Count) {
        m_table.Finish(frames);
        return;
    }
    std::int64_t duration = m_last_duration;
    if (duration == 0 && frames > 1) duration = m_last_tick / (frames - 1);
    m_table.Finish(m_last_tick + duration);
}

void OutputOrder::LetOutAll() {
    while (!m_waiting.empty())
        LetOutLowest();
}

void OutputOrder::LetOutLowest() {
    const Waiting picture = m_waiting.back();
    m_waiting.pop_back();
    if (!m_candidates.empty()) {
        const UnitNumber first = FirstWaiting();
        for (Candidate& candidate : m_candidates) {
            if (candidate.unit <= picture.unit && first < candidate.unit) candidate.broken = true;
        }
    }
    m_recovered = m_recovered || picture.recovered;
    if (m_recovered) m_table.AddFrame(picture.unit, TickOf(picture));
    Decide();
}

std::int64_t OutputOrder::TickOf(const Waiting& picture) {
    if (m_by == By::Count) return m_table.Frames();
    if (m_table.Frames() == 0) {
        m_first = picture.order;
        m_shift = -picture.order;
    }
    // What comes late all the same is shown at once; time does not run back.
    m_last_tick = std::max(picture.order + m_shift, m_last_tick);
    m_last_duration = picture.duration;
    return m_last_tick;
}

// A recording put together from several, or a clock that has run over: what follows is shown behind what was.
void OutputOrder::FollowJump(const Unit& key) {
    if (m_table.Frames() == 0 || key.order + m_shift >= m_last_tick) return;
    LetOutAll();
    m_shift = m_last_tick + m_last_duration - key.order;
}

UnitNumber OutputOrder::FirstWaiting() const {
    UnitNumber first = kNoUnit;
    for (const Waiting& waiting : m_waiting)
        first = std::min(first, waiting.unit);
    return first;
}

void OutputOrder::Decide() {
    while (!m_candidates.empty() && FirstWaiting() >= m_candidates.front().unit) {
        const Candidate candidate = m_candidates.front();
        m_candidates.pop_front();
        if (candidate.broken) continue;
        m_table.AddGroup(candidate.unit, m_table.Frames());
        m_unpublished_groups.push_back(candidate.unit);
    }
}

void OutputOrder::Publish(FrameNumber estimated_total) {
    UnitNumber cut = m_table.Units();
    // Without sizes, the newest unit's end is not in the table yet.
    if (!m_table.Sized() && cut > 0) --cut;
    cut = std::min(cut, FirstWaiting());
    if (!m_candidates.empty()) cut = std::min(cut, m_candidates.front().unit);
    PublishTo(cut, estimated_total);
}

void OutputOrder::PublishTo(UnitNumber cut, FrameNumber estimated_total) {
    while (m_published_frames < m_table.Frames() && m_table.AddedUnitOf(m_published_frames) < cut)
        ++m_published_frames;
    while (!m_unpublished_groups.empty() && m_unpublished_groups.front() < cut) {
        m_unpublished_groups.pop_front();
        ++m_published_groups;
    }
    m_table.Publish(cut, m_published_frames, m_published_groups, estimated_total);
}

} // namespace ordune
