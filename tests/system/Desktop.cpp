#include "tests/system/Desktop.h"

#include "tests/support/WaitUntil.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>

namespace system_tests {

using namespace std::chrono_literals;
using support::ChildProcess;

Desktop::Desktop(const Setup& setup) : m_scale(setup.scale), m_server(setup.screen, setup.serverArguments) {
    // Programs warn of a runtime folder that others may enter.
    std::filesystem::permissions(m_home.Path(), std::filesystem::perms::owner_all);
    for (const auto& command : setup.commands) {
        ChildProcess::Setup process;
        process.environment = Environment();
        const auto result = ChildProcess::Run(command, 20s, process);
        if (result.exitCode != 0) throw std::runtime_error(command.front() + ": " + result.output);
    }
    if (setup.windowManager) StartWindowManager();
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
        {"PULSE_SERVER", m_sound.Address()},
        {"QT_QPA_PLATFORM", std::nullopt}, // CTest sets it for tests without a screen
        {"QT_SCALE_FACTOR", m_scale.empty() ? std::nullopt : std::optional(m_scale)},
        {"DBUS_SESSION_BUS_ADDRESS", std::nullopt},
        {"LC_ALL", "C.UTF-8"},
    };
}

std::map<std::string, std::optional<std::string>> Desktop::TellingEnvironment() {
    if (!m_textBus.IsRunning()) StartTextBus();
    auto environment = Environment();
    environment["DBUS_SESSION_BUS_ADDRESS"] = SessionBus();
    return environment;
}

std::string Desktop::SessionBus() const {
    return "unix:path=" + m_home.Path().string() + "/session";
}

void Desktop::StartTextBus() {
    ChildProcess::Setup setup;
    setup.environment = Environment();
    setup.environment["DBUS_SESSION_BUS_ADDRESS"] = SessionBus();
    m_sessionBus = ChildProcess::Start({"dbus-daemon", "--session", "--nofork", "--nopidfile",
                                        "--print-address", "--address=" + SessionBus()},
                                       setup);
    if (!m_sessionBus.WaitForOutput(SessionBus(), 20s))
        throw std::runtime_error("no session bus: " + m_sessionBus.Output());
    m_textBus = ChildProcess::Start({"/usr/libexec/at-spi-bus-launcher", "--a11y=1"}, setup);
    const bool isUp = support::WaitUntil(
        [&] {
            const auto names =
                ChildProcess::Run({"dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus",
                                   "/", "org.freedesktop.DBus.ListNames"},
                                  5s, setup);
            return names.output.find("org.a11y.Bus") != std::string::npos;
        },
        20s, 20ms);
    if (!isUp) throw std::runtime_error("no bus for texts: " + m_textBus.Output());
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

} // namespace system_tests
