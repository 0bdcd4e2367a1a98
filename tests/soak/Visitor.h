// A user without a plan: does at random what can be done with a port.
#pragma once

#include "dravo/include/Dravo.h"
#include "tests/support/XScreen.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace soak {

struct Film {
    std::string path;
    bool numbered = false; // its pictures show their frame numbers
};

using Random = std::mt19937_64;

class Visitor {
  public:
    // Takes a port. `films` and `random` outlive the object.
    Visitor(const std::vector<Film>& films, support::XScreen& screen, Random& random);
    // Closes what is open and gives the port back; the window goes too.
    ~Visitor();
    Visitor(const Visitor&) = delete;
    Visitor& operator=(const Visitor&) = delete;

    // Does one thing; what went wrong, if something did.
    std::optional<std::string> Act();

    // Plays for `length` and tells by how many milliseconds film and wall clock went apart in between: the
    // median over the pictures shown. Nothing when too few were.
    std::optional<double> WatchClock(std::chrono::milliseconds length);

  private:
    std::size_t Below(std::size_t limit) { return static_cast<std::size_t>(m_random() % limit); }
    std::optional<std::string> Open();
    std::optional<std::string> Seek();
    std::optional<std::string> Step();
    std::optional<std::string> Capture();
    void ChangeSpeed();
    void ChangeWindow();
    void ChangeSound();

    const std::vector<Film>& m_films;
    support::XScreen& m_screen;
    Random& m_random;
    int m_port = 0;
    xcb_window_t m_window = XCB_NONE;
    const Film* m_film = nullptr; // open
    int m_level = 0;
    std::vector<std::uint8_t> m_still;
};

} // namespace soak
