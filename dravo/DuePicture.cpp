#include "dravo/DuePicture.h"

#include <algorithm>

namespace dravo {

using ordune::Effort;
using std::chrono::nanoseconds;

Pick DuePicture::Choose(nanoseconds lateness, nanoseconds interval) {
    if (interval < kShortestInterval) return Pick::Newest;
    return lateness <= kPatience ? Pick::Oldest : Pick::Newest;
}

WallTime DuePicture::NotBefore(WallTime last_shown, WallTime due, nanoseconds interval) {
    if (interval >= kShortestInterval) return due;
    return std::max(due, last_shown + kFastInterval);
}

void EffortGovernor::Reset(nanoseconds interval) {
    // Where not every picture can be shown, unreferenced ones are only work.
    m_best = interval < DuePicture::kShortestInterval ? Effort::Referenced : Effort::Every;
    m_effort = m_best;
    m_late = false;
    m_good = false;
    m_trial = kGoodForMore;
}

void EffortGovernor::Shown(nanoseconds lateness, WallTime now) {
    const bool late = lateness > DuePicture::kPatience;
    if (late) {
        m_good = false;
        if (!m_late) {
            m_late = true;
            m_late_since = now;
        } else if (now - m_late_since >= kLateForLess && m_effort != Effort::KeysOnly) {
            m_trial = std::min<nanoseconds>(m_trial * 2, kLongestTrial);
            Move(m_effort == Effort::Every ? Effort::Referenced : Effort::KeysOnly, now);
        }
        return;
    }
    m_late = false;
    if (!m_good) {
        m_good = true;
        m_good_since = now;
    } else if (now - m_good_since >= m_trial && m_effort != m_best) {
        Move(m_effort == Effort::KeysOnly ? Effort::Referenced : Effort::Every, now);
    }
}

void EffortGovernor::Move(Effort effort, WallTime now) {
    m_effort = effort;
    m_late = false;
    m_good = true;
    m_good_since = now;
}

} // namespace dravo
