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
        {"PULSE_SERVER", "unix:" + folder + "/native"},
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
    std::ifstream file(m_file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::vector<std::int16_t> samples(bytes.size() / 2);
    std::copy_n(bytes.data(), samples.size() * 2, static_cast<char*>(static_cast<void*>(samples.data())));
    return samples;
}

// The tone's share by correlation with a sine and a cosine of its frequency.
double SoundRecorder::ToneLevel(double hertz, std::chrono::milliseconds window) const {
    const std::vector<std::int16_t> samples = Heard();
    const auto wanted = static_cast<std::size_t>(window.count() * kSampleRate / 1000);
    if (samples.size() < wanted || wanted == 0) return 0;
    double sine = 0;
    double cosine = 0;
    for (std::size_t i = samples.size() - wanted; i < samples.size(); ++i) {
        const double angle = 2 * std::numbers::pi * hertz * static_cast<double>(i) / kSampleRate;
        sine += samples[i] / 32768.0 * std::sin(angle);
        cosine += samples[i] / 32768.0 * std::cos(angle);
    }
    return 2 * std::hypot(sine, cosine) / static_cast<double>(wanted);
}

bool SoundRecorder::WaitForTone(double hertz, double level, std::chrono::milliseconds limit) const {
    return WaitUntil([&] { return ToneLevel(hertz, 200ms) >= level; }, limit, 20ms);
}

bool SoundRecorder::WaitForSilence(double level, std::chrono::milliseconds window,
                                   std::chrono::milliseconds limit) const {
    const auto silent = [&] {
        const std::vector<std::int16_t> samples = Heard();
        const auto wanted = static_cast<std::ptrdiff_t>(window.count() * kSampleRate / 1000);
        if (static_cast<std::ptrdiff_t>(samples.size()) < wanted) return false;
        return std::all_of(samples.end() - wanted, samples.end(),
                           [&](std::int16_t sample) { return std::abs(sample) <= level * 32768; });
    };
    return WaitUntil(silent, limit, 20ms);
}

} // namespace support
