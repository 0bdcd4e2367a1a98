#include "dravo/Deflash.h"

#include <algorithm>
#include <cmath>

namespace dravo {

void Deflash::Reset() {
    m_started = false;
    m_offset = 0.0;
    m_step = 0.0;
}

int Deflash::Correction(double mean, bool key) {
    if (m_started && key) {
        const double jump = mean - m_last_shown;
        if (std::abs(jump) <= kLargestJump) {
            m_offset = -jump;
            m_step = jump / kSpread;
        } else {
            m_offset = 0.0;
        }
    } else if (m_offset != 0.0) {
        const double left = m_offset + m_step;
        m_offset = left * m_offset > 0.0 ? left : 0.0;
    }
    m_started = true;
    m_last_shown = mean + m_offset;
    return static_cast<int>(std::lround(m_offset));
}

} // namespace dravo
