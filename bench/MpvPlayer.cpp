#include "bench/MpvPlayer.h"

#include "tests/support/WaitUntil.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace bench {

using namespace std::chrono_literals;

namespace {

constexpr const char* kRestarted = "\"playback-restart\"";
constexpr const char* kPosition = "\"property-change\"";

// The number behind "data": in a line of the player; nothing where there is none.
std::optional<double> DataOf(const std::string& line) {
    const std::size_t at = line.find("\"data\":");
    if (at == std::string::npos) return std::nullopt;
    char* end = nullptr;
    const char* begin = line.c_str() + at + std::strlen("\"data\":");
    const double value = std::strtod(begin, &end);
    if (end == begin) return std::nullopt;
    return value;
}

} // namespace

bool MpvPlayer::IsThere() {
    static const bool there = support::ChildProcess::Run({"mpv", "--version"}, 10s).exitCode == 0;
    return there;
}

MpvPlayer::MpvPlayer(const std::string& film) {
    const auto begin = Clock::now();
    m_process = support::ChildProcess::Start({"mpv", "--no-config", "--really-quiet", "--ao=null", "--vo=x11",
                                              "--pause", "--osd-level=0", "--geometry=1280x720+0+0",
                                              "--no-border", "--keep-open=yes",
                                              "--input-ipc-server=" + (m_folder / "socket"), film});
    Connect();
    if (!ReadUntil(kRestarted, 30s)) throw std::runtime_error("mpv shows no picture of " + film);
    m_start = Milliseconds(begin);
    Send(R"("observe_property", 1, "time-pos")");
}

MpvPlayer::~MpvPlayer() {
    if (m_socket >= 0) close(m_socket);
    m_process.Terminate();
}

void MpvPlayer::Connect() {
    m_socket = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = m_folder / "socket";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const auto connected = [&] {
        return connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    };
    if (m_socket < 0 || !support::WaitUntil(connected, 20s, 1ms))
        throw std::runtime_error("mpv does not listen: " + m_process.Output());
}

void MpvPlayer::Send(const std::string& command) {
    const std::string line = "{\"command\": [" + command + "]}\n";
    if (send(m_socket, line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size()))
        throw std::runtime_error("mpv has gone");
}

std::optional<std::string> MpvPlayer::Read(std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    while (true) {
        const std::size_t end = m_heard.find('\n');
        if (end != std::string::npos) {
            std::string line = m_heard.substr(0, end);
            m_heard.erase(0, end + 1);
            return line;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd wait{m_socket, POLLIN, 0};
        if (poll(&wait, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0))) <= 0)
            return std::nullopt;
        char bytes[4096];
        const ssize_t got = recv(m_socket, bytes, sizeof bytes, 0);
        if (got <= 0) return std::nullopt;
        m_heard.append(bytes, static_cast<std::size_t>(got));
    }
}

std::optional<std::string> MpvPlayer::ReadUntil(const std::string& text, std::chrono::milliseconds limit) {
    const auto deadline = Clock::now() + limit;
    while (Clock::now() < deadline) {
        auto line = Read(std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()));
        if (!line) break;
        if (line->find(text) != std::string::npos) return line;
    }
    return std::nullopt;
}

void MpvPlayer::SkipWhatWasSaid() {
    const auto deadline = Clock::now() + 200ms;
    while (Clock::now() < deadline && Read(50ms)) {
    }
}

std::optional<double> MpvPlayer::JumpTo(double seconds) {
    SkipWhatWasSaid();
    const auto begin = Clock::now();
    Send("\"seek\", " + std::to_string(seconds) + ", \"absolute+exact\"");
    if (!ReadUntil(kRestarted, 30s)) return std::nullopt;
    return Milliseconds(begin);
}

std::optional<double> MpvPlayer::Step(const std::string& command) {
    SkipWhatWasSaid();
    const auto begin = Clock::now();
    Send("\"" + command + "\"");
    if (!ReadUntil(kPosition, 10s)) return std::nullopt;
    return Milliseconds(begin);
}

MpvPlayer::Playing MpvPlayer::Play(double speed, double seconds) {
    JumpTo(0.0);
    Send("\"set_property\", \"speed\", " + std::to_string(speed));
    Send(R"("set_property", "pause", false)");
    std::this_thread::sleep_for(500ms);
    SkipWhatWasSaid();
    const double cpu = CpuSeconds();
    const auto begin = Clock::now();
    std::vector<std::pair<double, Clock::time_point>> seen;
    while (Clock::now() - begin < std::chrono::duration<double>(seconds)) {
        const auto line = ReadUntil(kPosition, 200ms);
        if (!line) continue;
        if (const auto position = DataOf(*line)) seen.emplace_back(*position, Clock::now());
    }
    Playing result;
    const double wall = Milliseconds(begin) / 1000.0;
    result.cpu_a_second = (CpuSeconds() - cpu) / wall;
    if (seen.size() > 1) {
        const double span = Milliseconds(seen.front().second, seen.back().second) / 1000.0;
        result.speed = (seen.back().first - seen.front().first) / span;
        result.pictures_a_second = static_cast<double>(seen.size() - 1) / span;
    }
    Send(R"("set_property", "pause", true)");
    Send(R"("set_property", "speed", 1)");
    return result;
}

double MpvPlayer::CpuSeconds() const {
    std::ifstream file("/proc/" + std::to_string(m_process.Pid()) + "/stat");
    std::string text;
    std::getline(file, text);
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int i = 0; i < 11; ++i)
        fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double MpvPlayer::PeakMegabytes() const {
    std::ifstream file("/proc/" + std::to_string(m_process.Pid()) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("VmHWM:")) return std::strtod(line.c_str() + 6, nullptr) / 1024.0;
    }
    return 0.0;
}

} // namespace bench
