// A window manager that shows windows where they first asked to be and refuses every later wish: no moving,
// no resizing, no states.
//
// It runs on a thread of its own from the constructor to the destructor. Throws std::runtime_error when the
// display has a window manager already.
#pragma once

#include <atomic>
#include <string>
#include <thread>

#include <xcb/xcb.h>

namespace system_tests {

class StubbornWindowManager {
  public:
    explicit StubbornWindowManager(const std::string& display);
    ~StubbornWindowManager();
    StubbornWindowManager(const StubbornWindowManager&) = delete;
    StubbornWindowManager& operator=(const StubbornWindowManager&) = delete;

    // Wishes refused so far.
    int Refused() const { return m_refused; }

  private:
    void Run();
    void HandleEvent(const xcb_generic_event_t& event);
    void Show(xcb_window_t window);
    void Answer(const xcb_configure_request_event_t& request);

    xcb_connection_t* m_connection;
    std::atomic<bool> m_ending = false;
    std::atomic<int> m_refused = 0;
    std::thread m_thread;
};

} // namespace system_tests
