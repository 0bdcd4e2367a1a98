#include "dravo/SpeedLadder.h"

namespace dravo {

namespace {

std::chrono::nanoseconds Shift(std::chrono::nanoseconds span, int level) {
    // An arithmetic right shift rounds down, for negative spans too.
    return std::chrono::nanoseconds(level >= 0 ? span.count() * (std::int64_t{1} << level)
                                               : span.count() >> -level);
}

} // namespace

bool SpeedLadder::Up() {
    if (m_level >= kHighest) return false;
    ++m_level;
    return true;
}

bool SpeedLadder::Down() {
    if (m_level <= kLowest) return false;
    --m_level;
    return true;
}

double SpeedLadder::Rate() const {
    return m_level >= 0 ? static_cast<double>(1 << m_level) : 1.0 / static_cast<double>(1 << -m_level);
}

std::chrono::nanoseconds SpeedLadder::ToMedia(std::chrono::nanoseconds wall) const {
    return Shift(wall, m_level);
}

std::chrono::nanoseconds SpeedLadder::ToWall(std::chrono::nanoseconds media) const {
    return Shift(media, -m_level);
}

} // namespace dravo
