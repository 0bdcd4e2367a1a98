#include "tests/support/PulseServer.h"

#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <stdexcept>

namespace support {

using namespace std::chrono_literals;

namespace {

constexpr auto kStartLimit = 20s;

// The tone's share by correlation with a sine and a cosine of its frequency; 0 of nothing.
double LevelOf(double hertz, const std::vector<std::int16_t>& samples) {
    if (samples.empty()) return 0.0;
    double sine = 0.0;
    double cosine = 0.0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double angle =
            2 * std::numbers::pi * hertz * static_cast<double>(i) / SoundRecorder::kSampleRate;
        sine += samples[i] / 32768.0 * std::sin(angle);
        cosine += samples[i] / 32768.0 * std::cos(angle);
    }
    return 2 * std::hypot(sine, cosine) / static_cast<double>(samples.size());
}

} // namespace

PulseServer::PulseServer(At state) {
    const std::string folder = m_folder.Path().string();
    const std::map<std::string, std::string> environment = {
        {"HOME", folder},
        {"XDG_RUNTIME_DIR", folder},
        {"XDG_CONFIG_HOME", folder},
        {"PULSE_RUNTIME_PATH", folder},
        {"PULSE_STATE_PATH", folder},
        // Named outright, so that the client library starts no server by itself.
        {"PULSE_SERVER", Address()},
    };
    for (const auto& [name, value] : environment) {
        const char* old = std::getenv(name.c_str());
        m_saved[name] = old ? std::optional<std::string>(old) : std::nullopt;
        setenv(name.c_str(), value.c_str(), 1);
    }
    if (state == At::Running) Start();
}

PulseServer::~PulseServer() {
    if (m_server.IsRunning()) {
        Thaw();
        m_server.Terminate();
    }
    for (const auto& [name, value] : m_saved) {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }
}

void PulseServer::Start() {
    const std::string socket = m_folder / "native";
    std::filesystem::remove(socket);
    std::filesystem::remove(m_folder / "pid");
    m_server =
        ChildProcess::Start({"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                             "-L", "module-null-sink", "-L", "module-native-protocol-unix"});
    const auto answers = [] { return ChildProcess::Run({"pactl", "info"}, 5s).exitCode == 0; };
    const auto up = [&] { return std::filesystem::exists(socket) && answers(); };
    if (!WaitUntil(up, kStartLimit, 20ms))
        throw std::runtime_error("the sound server does not answer: " + m_server.Output());
}

void PulseServer::Kill() {
    m_server.Signal(SIGKILL);
    m_server.WaitForExit(5s);
}

void PulseServer::Freeze() {
    m_server.Signal(SIGSTOP);
}
void PulseServer::Thaw() {
    m_server.Signal(SIGCONT);
}

std::string PulseServer::Address() const {
    return "unix:" + (m_folder / "native");
}

bool PulseServer::HasClient() {
    const auto inputs = ChildProcess::Run({"pactl", "list", "short", "sink-inputs"}, 5s);
    return inputs.exitCode == 0 && !inputs.output.empty();
}

SoundRecorder::SoundRecorder()
    : m_file(m_folder / "heard.raw"),
      m_program(ChildProcess::Start({"parec", "--raw", "--format=s16le", "--channels=1",
                                     "--rate=" + std::to_string(kSampleRate), "--latency-msec=20",
                                     "--device=@DEFAULT_MONITOR@", m_file})) {
    const auto begun = [this] { return !Heard().empty(); };
    if (!WaitUntil(begun, kStartLimit, 10ms))
        throw std::runtime_error("nothing can be recorded: " + m_program.Output());
}

std::vector<std::int16_t> SoundRecorder::Heard() const {
    std::error_code none; // so long as the recording program has not made its file
    const auto size = std::filesystem::file_size(m_file, none);
    if (none) return {};
    std::vector<std::int16_t> samples(size / 2);
    std::ifstream file(m_file, std::ios::binary);
    file.read(static_cast<char*>(static_cast<void*>(samples.data())),
              static_cast<std::streamsize>(samples.size() * 2));
    samples.resize(static_cast<std::size_t>(file.gcount()) / 2);
    return samples;
}

std::vector<std::int16_t> SoundRecorder::Last(std::chrono::milliseconds window) const {
    std::vector<std::int16_t> samples = Heard();
    const auto wanted = static_cast<std::size_t>(window.count() * kSampleRate / 1000);
    if (samples.size() < wanted) return {};
    samples.erase(samples.begin(), samples.end() - static_cast<std::ptrdiff_t>(wanted));
    return samples;
}

double SoundRecorder::ToneLevel(double hertz, std::chrono::milliseconds window) const {
    return LevelOf(hertz, Last(window));
}

double SoundRecorder::StrongestHertz(double least, std::chrono::milliseconds window) const {
    const std::vector<std::int16_t> samples = Last(window);
    double strongest = 0.0;
    double level = least;
    for (double hertz = 100.0; hertz < 2000.0; hertz += 4.0) {
        const double here = LevelOf(hertz, samples);
        if (here <= level) continue;
        level = here;
        strongest = hertz;
    }
    return strongest;
}

bool SoundRecorder::WaitForTone(double hertz, double level, std::chrono::milliseconds limit) const {
    return WaitUntil([&] { return ToneLevel(hertz, 200ms) >= level; }, limit, 20ms);
}

bool SoundRecorder::WaitForSilence(double level, std::chrono::milliseconds window,
                                   std::chrono::milliseconds limit) const {
    const auto silent = [&] {
        const std::vector<std::int16_t> samples = Last(window);
        return !samples.empty() && std::all_of(samples.begin(), samples.end(), [&](std::int16_t sample) {
            return std::abs(sample) <= level * 32768;
        });
    };
    return WaitUntil(silent, limit, 20ms);
}

} // namespace support
