// A port of the playback library as the measurements use it: one film, paused, and everything timed.
//
// One object at a time may exist: the display callback has no room to say whose it is.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

// From one moment to another, in milliseconds.
double Milliseconds(Clock::time_point from, Clock::time_point to = Clock::now());
// Processor time in seconds, user and system: of this process, of the calling thread.
double ProcessCpuSeconds();
double ThreadCpuSeconds();

// Until this process has hardly used the processor for a while: what it does in advance shall not share the
// processor with what is measured next. 20 s at most.
void AwaitIdle();

// When each picture was first seen.
struct Sighting {
    unsigned long frame;
    Clock::time_point when;
};

class BenchPort {
  public:
    // Opens and plays into the window (0: none), and pauses at the first picture. Throws std::runtime_error.
    BenchPort(const std::string& path, unsigned window);
    ~BenchPort();
    BenchPort(const BenchPort&) = delete;
    BenchPort& operator=(const BenchPort&) = delete;

    int Number() const { return m_port; }
    unsigned long Total() const { return m_total; }
    // Pictures a second.
    double Rate() const { return m_rate; }

    // Milliseconds until the frame was drawn; `call` gets how long the call itself took. Throws after 30 s.
    double JumpTo(unsigned long frame, double* call = nullptr) const;
    // Milliseconds of each step, up to the first that is refused.
    std::vector<double> Steps(int (*step)(int), int count) const;
    // Plays from the start, `level` steps fast, and tells which pictures were current when, looked at every
    // millisecond or two, until `seconds` have passed or the film has ended. `cpu` gets the processor time
    // used meanwhile, without that of looking.
    std::vector<Sighting> PlayAt(int level, double seconds, double* cpu = nullptr) const;
    // Seconds from the first of these sightings, of the newest play, until the end of the film was told;
    // nothing where it was not.
    std::optional<double> EndedAfter(const std::vector<Sighting>& seen) const;

  private:
    int m_port = 0;
    unsigned m_window = 0;
    unsigned long m_total = 0;
    double m_rate = 25.0;
};

} // namespace bench
