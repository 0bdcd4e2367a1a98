// How long a program's window takes to answer, asked again and again, on a thread and a connection to the X
// server of its own.
//
// The question is the one by which window managers find programs that hang (EWMH, _NET_WM_PING): the
// program's event loop answers it, so whatever holds that loop up shows. One answer is awaited at a time.
//
// A busy machine makes answers late as well, above all by keeping the program's main thread from running. So
// of each wait for an answer the part is told apart in which that thread neither ran nor waited for a
// processor, as a thread does that waits for a device.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>

#include <xcb/xcb.h>

namespace system_tests {

class WindowPulse {
  public:
    using Milliseconds = std::chrono::duration<double, std::milli>;

    struct Slowest {
        Milliseconds answer{0};
        // The longest that the main thread slept during one wait for an answer; nothing where the system does
        // not count what its threads do.
        std::optional<Milliseconds> asleep;
    };

    // Begins to ask the window of the process `program`. Throws std::runtime_error when there is no such
    // display.
    WindowPulse(const std::string& display, xcb_window_t window, pid_t program);
    ~WindowPulse();
    WindowPulse(const WindowPulse&) = delete;
    WindowPulse& operator=(const WindowPulse&) = delete;

    // The longest waits for an answer since this was called last, also for one that is still to come.
    Slowest TakeSlowest();
    // How many answers there were so far.
    int Answers() const { return m_answers; }

  private:
    using Clock = std::chrono::steady_clock;

    void Run();
    void Ask();
    void Hear(const xcb_generic_event_t& event);
    void MeasureLocked();
    std::optional<Milliseconds> AwakeSoFar() const;
    xcb_atom_t Atom(const std::string& name);

    xcb_connection_t* m_connection;
    xcb_window_t m_window;
    const std::string m_schedule; // file in which the system counts what the program's main thread does
    xcb_window_t m_root = 0;
    xcb_atom_t m_protocols = 0;
    xcb_atom_t m_ping = 0;
    std::atomic<bool> m_ending{false};
    std::atomic<int> m_answers{0};

    // Guarded by m_mutex.
    std::mutex m_mutex;
    std::uint32_t m_question = 0; // its number
    bool m_open = false;          // not yet answered
    Clock::time_point m_asked;
    std::optional<Milliseconds> m_awake; // before it was asked
    Slowest m_slowest;

    std::thread m_thread; // last: it uses all of the above
};

} // namespace system_tests
