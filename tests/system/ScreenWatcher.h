// Looks at a part of the screen over and over, while a test does something else.
//
// It runs on a thread and a connection of its own from the constructor to Stop or the destructor. Throws
// std::runtime_error when there is no such display.
#pragma once

#include "tests/system/ScreenReader.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>

namespace system_tests {

class ScreenWatcher {
  public:
    // `isRight` judges what a look has shown. It is called on the watching thread, and no more after the
    // first wrong look.
    ScreenWatcher(const std::string& display, const Area& area, std::function<bool(const Shot&)> isRight);
    ~ScreenWatcher();
    ScreenWatcher(const ScreenWatcher&) = delete;
    ScreenWatcher& operator=(const ScreenWatcher&) = delete;

    void Stop();

    // After Stop: how many looks there were, and the first wrong one; without pixels when all were right.
    int Looks() const { return m_looks; }
    const Shot& Wrong() const { return m_wrong; }

  private:
    void Run();

    ScreenReader m_screen;
    const Area m_area;
    const std::function<bool(const Shot&)> m_isRight;
    std::atomic<bool> m_ending = false;
    int m_looks = 0;
    Shot m_wrong;
    std::thread m_thread;
};

} // namespace system_tests
