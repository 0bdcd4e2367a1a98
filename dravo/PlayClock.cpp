#include "dravo/PlayClock.h"

#include <algorithm>

namespace dravo {

using std::chrono::nanoseconds;

void PlayClock::StandAt(ordune::MediaTime time) {
    m_running = false;
    m_media = time;
}

void PlayClock::RunFrom(ordune::MediaTime time, WallTime now) {
    m_running = true;
    m_media = time;
    m_anchor = now;
}

void PlayClock::Pause(WallTime now) {
    if (!m_running) return;
    m_media += m_speed.ToMedia(now - m_anchor);
    m_running = false;
}

void PlayClock::Resume(WallTime now) {
    if (m_running) return;
    m_running = true;
    m_anchor = now;
}

void PlayClock::SetSpeed(const SpeedLadder& speed, WallTime now) {
    if (m_running) {
        m_media += m_speed.ToMedia(now - m_anchor);
        m_anchor = now;
    }
    m_speed = speed;
}

ordune::MediaTime PlayClock::Now(WallTime now) const {
    const nanoseconds media = m_running ? m_media + m_speed.ToMedia(now - m_anchor) : m_media;
    return std::chrono::floor<ordune::MediaTime>(media);
}

WallTime PlayClock::When(ordune::MediaTime time) const {
    // Rounded up: at the returned moment Now() has reached `time`.
    const nanoseconds ahead = nanoseconds(time) - m_media;
    return m_anchor - m_speed.ToWall(-ahead);
}

void PlayClock::Steer(ordune::MediaTime heard, WallTime now) {
    if (!m_running) return;
    const nanoseconds passed = m_speed.ToMedia(now - m_anchor);
    m_media += passed;
    m_anchor = now;
    const nanoseconds error = nanoseconds(heard) - m_media;
    if (error < kIgnoredError && error > -kIgnoredError) return;
    // Taking away less than what has passed since the last call keeps time from running back.
    const nanoseconds limit = std::max(passed, nanoseconds(0)) / kSteerShare;
    m_media += std::clamp(error, -limit, limit);
}

} // namespace dravo
