#include "tests/system/PlayerRun.h"

#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace system_tests {

using namespace std::chrono_literals;
using support::ChildProcess;
using support::WaitUntil;

namespace {

constexpr const char* kMainTitle = "Talvio";
constexpr const char* kChooserTitle = "Open File";

} // namespace

PlayerRun::PlayerRun(Desktop& desktop, const Setup& setup) : m_desktop(desktop), m_screen(desktop.Display()) {
    if (!setup.settings.empty()) std::ofstream(Folder() / "Player.config") << setup.settings;
    if (setup.prepare) setup.prepare(Folder());
    ChildProcess::Setup process;
    process.environment = setup.readsTexts ? desktop.TellingEnvironment() : desktop.Environment();
    process.workingDirectory = Folder();
    if (setup.user) {
        // A folder that this user may write; the desktop's own is closed to others.
        std::filesystem::permissions(Folder(), std::filesystem::perms::all);
        process.environment["HOME"] = Folder();
        process.environment["XDG_RUNTIME_DIR"] = Folder();
        process.environment["XDG_CONFIG_HOME"] = Folder() / "config";
        process.environment["XDG_CACHE_HOME"] = Folder() / "cache";
        process.user = setup.user;
    }
    const auto started = std::chrono::steady_clock::now();
    m_process = ChildProcess::Start({setup.program.empty() ? TALVIO_PROGRAM : setup.program}, process);
    const bool isShown = WaitUntil(
        [&] {
            const auto windows = m_screen.WindowsTitled(kMainTitle);
            if (!windows.empty()) m_window = windows.front();
            return m_window != 0 || !m_process.IsRunning();
        },
        30s, 1ms);
    m_startMilliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
    if (!isShown || m_window == 0) throw std::runtime_error("no window of the player: " + m_process.Output());
    if (desktop.HasWindowManager()) {
        Xdotool({"windowactivate", "--sync", std::to_string(m_window)});
    } else {
        Xdotool({"windowfocus", "--sync", std::to_string(m_window)});
    }
    MoveAway();
    if (setup.readsTexts) m_texts.emplace(desktop.SessionBus(), m_process.Pid());
}

void PlayerRun::Xdotool(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {"xdotool"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    ChildProcess::Setup setup;
    setup.environment = m_desktop.Environment();
    const auto result = ChildProcess::Run(command, 20s, setup);
    if (result.exitCode == 0) return;
    std::string text;
    for (const std::string& word : command)
        text += word + ' ';
    throw std::runtime_error("failed: " + text + result.output);
}

void PlayerRun::Key(const std::string& keys) {
    Xdotool({"key", "--clearmodifiers", keys});
}

void PlayerRun::Type(const std::string& text) {
    Xdotool({"type", "--clearmodifiers", "--delay", "4", text});
}

void PlayerRun::HoldKey(const std::string& key) {
    Xdotool({"keydown", key});
}

void PlayerRun::LetKeyGo(const std::string& key) {
    Xdotool({"keyup", key});
}

void PlayerRun::ClickTimes(int times, int x, int y, int button) {
    Xdotool({"mousemove", std::to_string(x), std::to_string(y), "click", "--repeat", std::to_string(times),
             "--delay", "60", std::to_string(button)});
}

void PlayerRun::Click(int x, int y, int button) {
    const Area area = MainArea();
    ClickTimes(1, area.x + x, area.y + y, button);
}

void PlayerRun::DoubleClick(int x, int y) {
    const Area area = MainArea();
    ClickTimes(2, area.x + x, area.y + y, 1);
}

void PlayerRun::MoveTo(int x, int y) {
    const Area area = MainArea();
    Xdotool({"mousemove", std::to_string(area.x + x), std::to_string(area.y + y)});
}

void PlayerRun::Press(int x, int y, int button) {
    MoveTo(x, y);
    Xdotool({"mousedown", std::to_string(button)});
}

void PlayerRun::Release(int button) {
    Xdotool({"mouseup", std::to_string(button)});
}

void PlayerRun::Drag(int x, int y, int dx, int dy, int button) {
    constexpr int kSteps = 5;
    const Area area = MainArea();
    const auto place = [&](int step) {
        return std::vector<std::string>{"mousemove", std::to_string(area.x + x + dx * step / kSteps),
                                        std::to_string(area.y + y + dy * step / kSteps)};
    };
    std::vector<std::string> command = place(0);
    command.insert(command.end(), {"mousedown", std::to_string(button)});
    for (int step = 1; step <= kSteps; ++step) {
        const std::vector<std::string> move = place(step);
        command.insert(command.end(), move.begin(), move.end());
        command.insert(command.end(), {"sleep", "0.03"});
    }
    command.insert(command.end(), {"mouseup", std::to_string(button)});
    Xdotool(command);
}

void PlayerRun::MoveAway() {
    const Area screen = m_screen.Screen();
    Xdotool({"mousemove", std::to_string(screen.width - 10), std::to_string(screen.height - 9)});
}

void PlayerRun::Restore() {
    Xdotool({"windowactivate", "--sync", std::to_string(m_window)});
}

void PlayerRun::ForceSize(int width, int height) {
    Xdotool({"windowsize", std::to_string(m_window), std::to_string(width), std::to_string(height)});
}

void PlayerRun::ChooseInContextMenu(const std::vector<std::string>& keys) {
    const Area area = MainArea();
    Click((area.width - 180) / 2, area.height / 2, 3);
    for (const std::string& key : keys)
        Key(key);
}

void PlayerRun::PointAt(const Area& place) {
    Xdotool(
        {"mousemove", std::to_string(place.x + place.width / 2), std::to_string(place.y + place.height / 2)});
}

void PlayerRun::ClickAt(const Area& place, int button) {
    ClickTimes(1, place.x + place.width / 2, place.y + place.height / 2, button);
}

void PlayerRun::DoubleClickAt(const Area& place) {
    ClickTimes(2, place.x + place.width / 2, place.y + place.height / 2, 1);
}

void PlayerRun::PressButton(const std::string& button) {
    const Area place = Texts().PlaceOfButton(button);
    if (place.width == 0) throw std::runtime_error("no button " + button);
    ClickAt(place);
}

void PlayerRun::ChooseInMenu(int entry) {
    const bool isOpen = WaitUntil([&] { return m_screen.IsMenuOpen(); }, 15s, 5ms);
    if (!isOpen) throw std::runtime_error("no menu opened");
    const std::string key = entry < 0 ? "Up" : "Down";
    std::vector<std::string> arguments = {"key", "--clearmodifiers"};
    arguments.insert(arguments.end(), static_cast<std::size_t>(std::abs(entry)), key);
    arguments.emplace_back("Return");
    Xdotool(arguments);
    if (!WaitUntil([&] { return !m_screen.IsMenuOpen(); }, 15s, 5ms))
        throw std::runtime_error("the menu stays open");
}

bool PlayerRun::ShowChooser() {
    // A key that meets another window on its way out is lost, to a person as well, who presses it again.
    bool isShown = false;
    for (int attempt = 0; attempt < 3 && !isShown; ++attempt) {
        Key("ctrl+o");
        isShown = WaitForWindow(kChooserTitle, 5s);
    }
    if (!isShown) return false;
    const auto windows = m_screen.WindowsTitled(kChooserTitle);
    if (windows.empty()) return false;
    m_chooser = windows.front();
    // Keys go to the window that has the focus: it must be the chooser before anything is typed.
    Xdotool({m_desktop.HasWindowManager() ? "windowactivate" : "windowfocus", "--sync",
             std::to_string(windows.front())});
    return true;
}

bool PlayerRun::WaitForChooserToGo() {
    if (!WaitForNoWindow(kChooserTitle)) return false;
    // Between its disappearance and its end the program lets no key through to the main window.
    return WaitUntil([&] { return !m_screen.Exists(m_chooser); }, 15s, 5ms);
}

bool PlayerRun::Open(const std::string& path) {
    if (!ShowChooser()) return false;
    Type(path);
    Key("Return");
    return WaitForChooserToGo();
}

bool PlayerRun::OpenFirstListed() {
    if (!ShowChooser()) return false;
    const auto windows = m_screen.WindowsTitled(kChooserTitle);
    const Area chooser = windows.empty() ? Area() : m_screen.AreaOf(windows.front());
    // Below the list's header, right of the places' column.
    Xdotool({"mousemove", std::to_string(chooser.x + 166), std::to_string(chooser.y + 71), "click",
             "--repeat", "2", "--delay", "60", "1"});
    return WaitForChooserToGo();
}

void PlayerRun::SetPictureSize(int width, int height) {
    m_pictureWidth = width;
    m_pictureHeight = height;
}

int PlayerRun::Number() {
    return m_screen.NumberShown(m_window, m_pictureWidth, m_pictureHeight);
}

bool PlayerRun::WaitForNumber(int number, std::chrono::milliseconds limit) {
    return WaitUntil([&] { return Number() == number; }, limit);
}

bool PlayerRun::WaitForAtLeast(int number, std::chrono::milliseconds limit) {
    return WaitUntil([&] { return Number() >= number; }, limit);
}

int PlayerRun::StandingNumber(std::chrono::milliseconds limit) {
    constexpr auto kStanding = 500ms;
    int number = Number();
    auto since = std::chrono::steady_clock::now();
    const bool stands = WaitUntil(
        [&] {
            const int now = Number();
            if (now != number || now < 0) {
                number = now;
                since = std::chrono::steady_clock::now();
            }
            return std::chrono::steady_clock::now() - since >= kStanding;
        },
        limit, 10ms);
    return stands ? number : -1;
}

bool PlayerRun::WaitForWindow(const std::string& title, std::chrono::milliseconds limit) {
    return WaitUntil([&] { return !m_screen.WindowsTitled(title).empty(); }, limit, 10ms);
}

bool PlayerRun::WaitForNoWindow(const std::string& title, std::chrono::milliseconds limit) {
    if (!WaitUntil([&] { return m_screen.WindowsTitled(title).empty(); }, limit, 10ms)) return false;
    // The window manager takes the frame away and hands the keyboard on only after that; keys and clicks that
    // come before are lost.
    if (m_desktop.HasWindowManager())
        (void)WaitUntil([&] { return m_screen.HasProgramKeyboard(m_window); }, 3s, 5ms);
    return true;
}

Area PlayerRun::MainArea() {
    return m_screen.AreaOf(m_window);
}

bool PlayerRun::WaitForArea(const Area& area, std::chrono::milliseconds limit) {
    return WaitUntil([&] { return MainArea() == area; }, limit, 5ms);
}

std::vector<std::filesystem::path> PlayerRun::Captures() const {
    std::vector<std::filesystem::path> captures;
    for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
        if (entry.path().filename().string().starts_with("picture-")) captures.push_back(entry.path());
    }
    std::sort(captures.begin(), captures.end());
    return captures;
}

bool PlayerRun::WaitForCaptures(std::size_t count, std::chrono::milliseconds limit) {
    return WaitUntil([&] { return Captures().size() >= count; }, limit, 10ms);
}

std::optional<int> PlayerRun::Close() {
    // The window manager passes on what the title bar's close button of other programs would ask.
    Xdotool({"windowactivate", "--sync", std::to_string(m_window), "key", "alt+F4"});
    return m_process.WaitForExit(20s);
}

void PlayerRun::Screenshot(const std::string& name) {
    ChildProcess::Setup setup;
    setup.environment = m_desktop.Environment();
    ChildProcess::Run({"import", "-window", "root", std::string(TALVIO_TEST_WORK_DIR) + "/" + name + ".png"},
                      20s, setup);
}

} // namespace system_tests
