// Wakes a thread that waits on descriptors.
#pragma once

#include <chrono>
#include <optional>
#include <vector>

namespace dravo {

class WakeUp {
  public:
    WakeUp();
    ~WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    // Any thread: ends the wait that runs, or the next one. Never blocks.
    void Wake();
    // Waits until Wake, until one of the descriptors is readable, or until then. Drops wake-ups made so far.
    void Wait(const std::vector<int>& descriptors,
              std::optional<std::chrono::steady_clock::time_point> until);

  private:
    int m_event; // eventfd; -1 where none could be had, which leaves the waits short and polling
};

} // namespace dravo
