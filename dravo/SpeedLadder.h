// The nine speeds of a port: 2 to the power of a level from -4 to +4. Pure.
#pragma once

#include <chrono>
#include <cstdint>

namespace dravo {

class SpeedLadder {
  public:
    static constexpr int kLowest = -4;
    static constexpr int kHighest = 4;
    // Sound is heard from half speed to four times; beyond, it is silent.
    static constexpr int kLowestHeard = -1;
    static constexpr int kHighestHeard = 2;

    int Level() const { return m_level; }
    void Reset() { m_level = 0; }

    // One level up or down; false at the end of the ladder, where nothing changes.
    bool Up();
    bool Down();

    bool Heard() const { return m_level >= kLowestHeard && m_level <= kHighestHeard; }
    // How much media time passes in a second.
    double Rate() const;

    // Media time that passes in a span of wall time, and the other way round, in whole ticks rounded down.
    std::chrono::nanoseconds ToMedia(std::chrono::nanoseconds wall) const;
    std::chrono::nanoseconds ToWall(std::chrono::nanoseconds media) const;

  private:
    int m_level = 0;
};

} // namespace dravo
