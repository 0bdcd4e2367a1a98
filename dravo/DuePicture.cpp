#include "dravo/DuePicture.h"

#include <algorithm>

namespace dravo {

using ordune::Effort;
using std::chrono::nanoseconds;

Pick DuePicture::Choose(nanoseconds lateness, nanoseconds interval) {
    if (interval < kShortestInterval) return Pick::Newest;
    return lateness <= kPatience ? Pick::Oldest : Pick::Newest;
}

WallTime DuePicture::NotBefore(WallTime last_shown, WallTime due, nanoseconds interval, WallTime now) {
    if (interval >= kShortestInterval && now - due <= kPatience) return due;
    return std::max(due, last_shown + kFastInterval);
}

ordune::FrameNumber DuePicture::Stride(nanoseconds interval) {
    if (interval >= kShortestInterval) return 0;
    const nanoseconds shown(kFastInterval);
    const nanoseconds each = std::max(interval, nanoseconds(1));
    return static_cast<ordune::FrameNumber>((shown.count() + each.count() - 1) / each.count());
}

void EffortGovernor::Reset(nanoseconds interval) {
    // Where not every picture can be shown, unreferenced ones are only work.
    m_best = interval < DuePicture::kShortestInterval ? Effort::Referenced : Effort::Every;
    m_effort = m_best;
    m_late = false;
    m_good = false;
    m_trial = kGoodForMore;
}

void EffortGovernor::Shown(nanoseconds lateness, nanoseconds keys_apart, WallTime now) {
    const bool late = lateness > DuePicture::kPatience;
    if (late) {
        m_good = false;
        if (!m_late) {
            m_late = true;
            m_late_since = now;
        } else if (now - m_late_since >= kLateForLess) {
            const Effort least = keys_apart <= kKeysOften ? Effort::KeysOnly : Effort::Referenced;
            const Effort less = m_effort == Effort::Every ? Effort::Referenced : least;
            if (less == m_effort) return;
            m_trial = std::min<nanoseconds>(m_trial * 2, kLongestTrial);
            Move(less, now);
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
