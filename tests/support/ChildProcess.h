/*
 * A program started by a test: an X server, a window manager, a sound server, the player itself.
 *
 * The child leads a process group of its own. When the object goes, the whole group is ended and the child is
 * reaped; when the test process dies first, the kernel ends the child. What the child writes to its standard
 * output and standard error is kept in one anonymous file, so that a child that talks a lot never waits for
 * its reader. When the object goes and that holds a report of a sanitizer, all of it is written to this
 * process's standard error, whether the test looks at it or not.
 * One thread at a time may use an object; Start must be called on a thread that outlives the child.
 */
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace support {

class ChildProcess {
  public:
    struct Setup {
        // Added to this process's environment; a name without a value is taken out of it.
        std::map<std::string, std::optional<std::string>> environment;
        // Empty: this process's own.
        std::string workingDirectory;
        // User and group to run as; only root may set it.
        std::optional<uid_t> user;
    };

    struct Result {
        int exitCode; // 128 + n when signal n ended the child, -1 when the deadline passed first
        std::string output;
    };

    ChildProcess() = default;
    ~ChildProcess();
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Starts command[0], looked up in PATH. Throws std::system_error when no process could be made; a program
    // that cannot be executed ends with exit code 127.
    static ChildProcess Start(const std::vector<std::string>& command, const Setup& setup);
    static ChildProcess Start(const std::vector<std::string>& command) { return Start(command, Setup()); }

    // Starts, waits for the end until `limit` has passed, ends what is left.
    static Result Run(const std::vector<std::string>& command, std::chrono::milliseconds limit,
                      const Setup& setup);
    static Result Run(const std::vector<std::string>& command, std::chrono::milliseconds limit) {
        return Run(command, limit, Setup());
    }

    // -1 when nothing was started.
    pid_t Pid() const { return m_pid; }

    // True until the child has ended.
    bool IsRunning();

    // Exit code as in Result; nothing when the child still runs after `limit`.
    std::optional<int> WaitForExit(std::chrono::milliseconds limit);

    // Everything written so far.
    std::string Output() const;

    // Waits until the output holds `text`; false when the deadline passes or the child ends without it.
    bool WaitForOutput(std::string_view text, std::chrono::milliseconds limit);

    // The next whole line not yet handed out, without its newline; nothing when none came within `limit`.
    std::optional<std::string> ReadLine(std::chrono::milliseconds limit);

    // Sends a signal to the child alone; false when it has ended.
    bool Signal(int signal);

    // Asks the group to end (SIGTERM), and kills it when it has not within `grace`. Returns the exit code.
    int Terminate(std::chrono::milliseconds grace = std::chrono::seconds(3));

  private:
    void Reap(int status);
    void Abandon();

    pid_t m_pid = -1;
    int m_output = -1;
    std::optional<int> m_exitCode;
    std::size_t m_linesRead = 0; // bytes of output handed out by ReadLine
};

} // namespace support
