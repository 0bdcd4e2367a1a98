#include "tests/system/Desktop.h"

#include "tests/support/WaitUntil.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>

namespace system_tests {

using namespace std::chrono_literals;
using support::ChildProcess;

Desktop::Desktop() {
    // A sound server refuses a runtime folder that others may enter.
    std::filesystem::permissions(m_home.Path(), std::filesystem::perms::owner_all);
    StartWindowManager();
    StartSoundServer();
}

std::map<std::string, std::optional<std::string>> Desktop::Environment() const {
    const std::string home = m_home.Path().string();
    return {
        {"DISPLAY", m_server.Display()},
        {"HOME", home},
        {"XDG_RUNTIME_DIR", home},
        {"XDG_CONFIG_HOME", home + "/config"},
        {"XDG_CACHE_HOME", home + "/cache"},
        {"WAYLAND_DISPLAY", std::nullopt},
        {"XAUTHORITY", std::nullopt},
        {"PULSE_SERVER", std::nullopt},
        {"QT_QPA_PLATFORM", std::nullopt}, // CTest sets it for tests without a screen
        {"QT_SCALE_FACTOR", std::nullopt},
        {"DBUS_SESSION_BUS_ADDRESS", std::nullopt},
        {"LC_ALL", "C.UTF-8"},
    };
}

void Desktop::StartWindowManager() {
    ChildProcess::Setup setup;
    setup.environment = Environment();
    m_windowManager = ChildProcess::Start({"openbox", "--sm-disable"}, setup);
    const bool isUp = support::WaitUntil(
        [&] {
            const auto answer = ChildProcess::Run({"xprop", "-root", "_NET_SUPPORTING_WM_CHECK"}, 5s, setup);
            return answer.output.find("window id") != std::string::npos;
        },
        20s, 20ms);
    if (!isUp) throw std::runtime_error("no window manager: " + m_windowManager.Output());
}

void Desktop::StartSoundServer() {
    ChildProcess::Setup setup;
    setup.environment = Environment();
    m_soundServer = ChildProcess::Start({"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "-L",
                                         "module-null-sink", "-L", "module-native-protocol-unix"},
                                        setup);
    const bool isUp = support::WaitUntil(
        [&] {
            return ChildProcess::Run({"pactl", "info"}, 5s, setup).exitCode == 0;
        },
        20s, 20ms);
    if (!isUp) throw std::runtime_error("no sound server: " + m_soundServer.Output());
}

} // namespace system_tests
