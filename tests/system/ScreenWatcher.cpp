#include "tests/system/ScreenWatcher.h"

#include <utility>

namespace system_tests {

ScreenWatcher::ScreenWatcher(const std::string& display, const Area& area,
                             std::function<bool(const Shot&)> isRight)
    : m_screen(display), m_area(area), m_isRight(std::move(isRight)), m_thread(&ScreenWatcher::Run, this) {}

ScreenWatcher::~ScreenWatcher() {
    Stop();
}

void ScreenWatcher::Stop() {
    m_ending = true;
    if (m_thread.joinable()) m_thread.join();
}

// Without a pause: what is wrong may be to be seen for a millisecond.
void ScreenWatcher::Run() {
    while (!m_ending && m_wrong.pixels.empty()) {
        Shot shot = m_screen.Take(m_area);
        ++m_looks;
        if (!m_isRight(shot)) m_wrong = std::move(shot);
    }
}

} // namespace system_tests
