#include "tests/support/ChildProcess.h"

#include "tests/support/WaitUntil.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

extern char** environ;

namespace support {

namespace {

std::vector<std::string> MergedEnvironment(const ChildProcess::Setup& setup) {
    std::map<std::string, std::string> merged;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        const auto equals = text.find('=');
        if (equals != std::string_view::npos)
            merged[std::string(text.substr(0, equals))] = text.substr(equals + 1);
    }
    for (const auto& [name, value] : setup.environment) {
        if (value) {
            merged[name] = *value;
        } else {
            merged.erase(name);
        }
    }
    std::vector<std::string> lines;
    for (const auto& [name, value] : merged)
        lines.push_back(name + "=" + value);
    return lines;
}

std::vector<char*> Pointers(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    for (auto& string : strings)
        pointers.push_back(string.data());
    pointers.push_back(nullptr);
    return pointers;
}

struct Prepared {
    char* const* arguments;
    char* const* environment;
    const char* directory;
    std::optional<uid_t> user;
    int output;
    pid_t parent;
};

// Runs between fork and exec, where only async-signal-safe calls are allowed.
[[noreturn]] void BecomeChild(const Prepared& prepared) {
    setpgid(0, 0);
    const int null = open("/dev/null", O_RDONLY);
    dup2(null, STDIN_FILENO);
    dup2(prepared.output, STDOUT_FILENO);
    dup2(prepared.output, STDERR_FILENO);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (*prepared.directory != '\0' && chdir(prepared.directory) != 0) _exit(126);
    if (prepared.user && (setgid(*prepared.user) != 0 || setuid(*prepared.user) != 0)) _exit(126);
    prctl(PR_SET_PDEATHSIG, SIGKILL); // after setuid, which clears it
    if (getppid() != prepared.parent) _exit(126);
    environ = const_cast<char**>(prepared.environment);
    execvp(prepared.arguments[0], prepared.arguments);
    _exit(127);
}

// A sanitizer's: of a race, an error of memory, undefined behaviour.
bool HoldsReport(const std::string& output) {
    return output.find("Sanitizer: ") != std::string::npos ||
           output.find(": runtime error: ") != std::string::npos;
}

} // namespace

ChildProcess::~ChildProcess() {
    Abandon();
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : m_pid(std::exchange(other.m_pid, -1)), m_output(std::exchange(other.m_output, -1)),
      m_exitCode(std::exchange(other.m_exitCode, std::nullopt)),
      m_linesRead(std::exchange(other.m_linesRead, 0)) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    if (this != &other) {
        Abandon();
        m_pid = std::exchange(other.m_pid, -1);
        m_output = std::exchange(other.m_output, -1);
        m_exitCode = std::exchange(other.m_exitCode, std::nullopt);
        m_linesRead = std::exchange(other.m_linesRead, 0);
    }
    return *this;
}

ChildProcess ChildProcess::Start(const std::vector<std::string>& command, const Setup& setup) {
    std::vector<std::string> arguments = command;
    std::vector<std::string> environment = MergedEnvironment(setup);
    const std::vector<char*> argumentPointers = Pointers(arguments);
    const std::vector<char*> environmentPointers = Pointers(environment);

    ChildProcess child;
    child.m_output = memfd_create("child-output", MFD_CLOEXEC);
    if (child.m_output < 0) throw std::system_error(errno, std::generic_category(), "memfd_create");

    const Prepared prepared = {argumentPointers.data(),
                               environmentPointers.data(),
                               setup.workingDirectory.c_str(),
                               setup.user,
                               child.m_output,
                               getpid()};
    const pid_t pid = fork();
    if (pid < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (pid == 0) BecomeChild(prepared);
    setpgid(pid, pid); // both sides do it: whichever runs first, the group is there when either goes on
    child.m_pid = pid;
    return child;
}

ChildProcess::Result ChildProcess::Run(const std::vector<std::string>& command,
                                       std::chrono::milliseconds limit, const Setup& setup) {
    ChildProcess child = Start(command, setup);
    const std::optional<int> code = child.WaitForExit(limit);
    if (!code) child.Terminate();
    return {code.value_or(-1), child.Output()};
}

bool ChildProcess::IsRunning() {
    if (m_pid < 0 || m_exitCode) return false;
    int status = 0;
    const pid_t ended = waitpid(m_pid, &status, WNOHANG);
    if (ended == m_pid) Reap(status);
    return ended == 0;
}

std::optional<int> ChildProcess::WaitForExit(std::chrono::milliseconds limit) {
    WaitUntil([this] { return !IsRunning(); }, limit);
    return m_exitCode;
}

std::string ChildProcess::Output() const {
    struct stat facts = {};
    if (m_output < 0 || fstat(m_output, &facts) != 0) return {};
    std::string text(static_cast<std::size_t>(facts.st_size), '\0');
    // pread leaves the offset alone, which the child shares.
    const ssize_t count = pread(m_output, text.data(), text.size(), 0);
    text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return text;
}

bool ChildProcess::WaitForOutput(std::string_view text, std::chrono::milliseconds limit) {
    const auto isThere = [&] { return Output().find(text) != std::string::npos; };
    WaitUntil([&] { return isThere() || !IsRunning(); }, limit);
    return isThere();
}

std::optional<std::string> ChildProcess::ReadLine(std::chrono::milliseconds limit) {
    std::optional<std::string> line;
    const auto takeLine = [&] {
        const std::string output = Output();
        const auto end = output.find('\n', m_linesRead);
        if (end == std::string::npos) return false;
        line = output.substr(m_linesRead, end - m_linesRead);
        m_linesRead = end + 1;
        return true;
    };
    WaitUntil([&] { return takeLine() || !IsRunning(); }, limit);
    if (!line) takeLine(); // written between the last look and the end of the child
    return line;
}

bool ChildProcess::Signal(int signal) {
    return IsRunning() && kill(m_pid, signal) == 0;
}

int ChildProcess::Terminate(std::chrono::milliseconds grace) {
    if (m_pid < 0) return -1;
    if (IsRunning()) {
        kill(-m_pid, SIGTERM);
        WaitForExit(grace);
    }
    kill(-m_pid, SIGKILL); // the group may hold grandchildren that outlive their parent
    if (!m_exitCode) {
        int status = 0;
        while (waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
        Reap(status);
    }
    return *m_exitCode;
}

void ChildProcess::Reap(int status) {
    m_exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void ChildProcess::Abandon() {
    if (m_pid >= 0) {
        Terminate();
        if (const std::string output = Output(); HoldsReport(output))
            std::cerr << "A child of this test wrote a report:\n" << output << std::endl;
    }
    m_pid = -1;
    if (m_output >= 0) close(m_output);
    m_output = -1;
}

} // namespace support
