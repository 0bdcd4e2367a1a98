// mpv beside the engine: started with a film in a window of the same size, told what to do through its JSON
// IPC, and timed by what it reports itself.
//
// Used by one thread. Ends mpv with the object.
#pragma once

#include "bench/BenchPort.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <optional>
#include <string>
#include <vector>

namespace bench {

class MpvPlayer {
  public:
    // Whether mpv is installed.
    static bool IsThere();

    // Starts mpv, paused at the first picture. Throws std::runtime_error when it does not come so far.
    explicit MpvPlayer(const std::string& film);
    ~MpvPlayer();
    MpvPlayer(const MpvPlayer&) = delete;
    MpvPlayer& operator=(const MpvPlayer&) = delete;

    // Milliseconds from the start of the process to the first picture.
    double StartMilliseconds() const { return m_start; }
    // Milliseconds from the command until mpv says that it shows the place; nothing after 30 s.
    std::optional<double> JumpTo(double seconds);
    // Milliseconds from the command until mpv reports another position; nothing after 10 s.
    std::optional<double> StepBack() { return Step("frame-back-step"); }
    std::optional<double> StepForward() { return Step("frame-step"); }

    struct Playing {
        double cpu_a_second = 0.0;      // processor seconds a second of the wall
        double speed = 0.0;             // seconds of film a second
        double pictures_a_second = 0.0; // positions reported
    };
    // Plays from the start for so many seconds, the first half second not counted.
    Playing Play(double speed, double seconds);
    // The most memory that the process has had, in megabytes.
    double PeakMegabytes() const;

  private:
    void Connect();
    void Send(const std::string& command);
    // The next line that mpv says; nothing when it does not within `limit`.
    std::optional<std::string> Read(std::chrono::milliseconds limit);
    // Reads until a line holds `text`, and returns that line.
    std::optional<std::string> ReadUntil(const std::string& text, std::chrono::milliseconds limit);
    void SkipWhatWasSaid();
    std::optional<double> Step(const std::string& command);
    double CpuSeconds() const;

    support::TemporaryFolder m_folder;
    support::ChildProcess m_process;
    int m_socket = -1;
    std::string m_heard; // not yet a whole line
    double m_start = 0.0;
};

} // namespace bench
