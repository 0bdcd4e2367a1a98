/*
 * A sound server of a test's own: PulseAudio with one null sink, in a folder of its own.
 *
 * While the object lives, this process and the programs it starts use that server and no other: PULSE_SERVER
 * and the rest of the environment point to it. One at a time in a process. Make it before threads are started
 * that read the environment.
 */
#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace support {

class PulseServer {
  public:
    // Whether the server runs from the beginning.
    enum class At { Running, Absent };

    explicit PulseServer(At state = At::Running);
    ~PulseServer();
    PulseServer(const PulseServer&) = delete;
    PulseServer& operator=(const PulseServer&) = delete;

    // Starts the server (again) and waits until it answers. Throws std::runtime_error when it does not.
    void Start();
    // Ends it at once, as a crash would.
    void Kill();
    // Halts it, so that it answers nothing, and lets it go on.
    void Freeze();
    void Thaw();

    // Where programs find it, as PULSE_SERVER says it.
    std::string Address() const;

    // Whether a program plays, as the server sees it.
    bool HasClient();

  private:
    ChildProcess m_server;
    TemporaryFolder m_folder;
    std::map<std::string, std::optional<std::string>> m_saved; // environment to be put back
};

// Hears what the sink of the server that the environment names plays: mono, 16 bits, 8000 Hz.
class SoundRecorder {
  public:
    static constexpr int kSampleRate = 8000;

    // Begins to record.
    SoundRecorder();

    // Everything heard so far.
    std::vector<std::int16_t> Heard() const;
    // How loud a tone is in the last `window` of what was heard: about the tone's amplitude, 0 to 1.
    double ToneLevel(double hertz, std::chrono::milliseconds window) const;
    // The loudest tone from 100 to 2000 Hz in the last `window`, to 4 Hz; 0 when none is louder than `least`.
    double StrongestHertz(double least, std::chrono::milliseconds window) const;
    // Waits until the tone is at least that loud.
    bool WaitForTone(double hertz, double level, std::chrono::milliseconds limit) const;
    // Waits until the last `window` is silent but for at most `level`.
    bool WaitForSilence(double level, std::chrono::milliseconds window,
                        std::chrono::milliseconds limit) const;

  private:
    // The last `window` of what was heard; nothing while that is shorter.
    std::vector<std::int16_t> Last(std::chrono::milliseconds window) const;

    TemporaryFolder m_folder;
    std::string m_file;
    ChildProcess m_program;
};

} // namespace support
