#include "tests/system/SettingsDialog.h"

#include "tests/support/WaitUntil.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace system_tests {

using namespace std::chrono_literals;
using support::ChildProcess;
using support::WaitUntil;

namespace {

constexpr const char* kTitle = "Player Settings";
constexpr const char* kChooserTitle = "Open Diectory";
constexpr auto kLimit = 15s;
constexpr int kListY[] = {28, 55, 110, 137, 192, 219, 272, 299}; // of the pages' entries
constexpr std::uint32_t kMarkedEntry = 0x3C87FF;
constexpr int kRight = 130; // left edge of the pages

} // namespace

SettingsDialog::SettingsDialog(const Desktop& desktop, PlayerRun& player)
    : m_desktop(desktop), m_player(player), m_screen(desktop.Display()),
      m_connection(xcb_connect(desktop.Display().c_str(), nullptr)) {
    if (xcb_connection_has_error(m_connection) != 0) throw std::runtime_error("no display");
}

SettingsDialog::~SettingsDialog() {
    xcb_disconnect(m_connection);
}

bool SettingsDialog::Open() {
    const Area main = m_player.MainArea();
    m_player.Click(main.width / 3, main.height / 3, 3);
    m_player.Key("Up");
    m_player.Key("Return");
    // It may be moved once more after it was shown.
    Area last;
    return WaitUntil(
        [&] {
            const auto windows = m_screen.WindowsTitled(kTitle);
            if (windows.empty()) return false;
            m_place = m_screen.AreaOf(windows.front());
            const bool stands = m_place.width == 470 && m_place.x == last.x && m_place.y == last.y;
            last = m_place;
            return stands;
        },
        kLimit, 100ms);
}

bool SettingsDialog::ShowPage(int page) {
    const int y = kListY[page - 1];
    Click(60, y + 13);
    return WaitUntil([&] { return Take(OnScreen({3, y + 3, 1, 1})) == Pixels{kMarkedEntry}; }, kLimit, 20ms);
}

void SettingsDialog::Click(int x, int y) {
    Xdotool(
        {"mousemove", "--sync", std::to_string(m_place.x + x), std::to_string(m_place.y + y), "click", "1"});
}

bool SettingsDialog::Leave(int x) {
    // A click that meets a chooser on its way out is lost, to a person as well, who clicks again.
    bool isGone = false;
    for (int attempt = 0; attempt < 3 && !isGone; ++attempt) {
        Click(x, 345);
        isGone = WaitUntil([&] { return m_screen.WindowsTitled(kTitle).empty(); }, 5s, 20ms);
    }
    return isGone;
}

// The mark lies in the middle of a white field of 13 or so pixels at the left end.
bool SettingsDialog::IsMarked(int x, int y) {
    const Pixels field = Take(OnScreen({x + 4, y + 5, 6, 6}));
    return std::any_of(field.begin(), field.end(),
                       [](std::uint32_t colour) { return (colour & 0xFF) < 0x90; });
}

bool SettingsDialog::ClickMark(int x, int y, bool marked) {
    Click(x + 7, y + 8);
    MoveAway();
    return WaitUntil([&] { return IsMarked(x, y) == marked; }, kLimit, 20ms);
}

bool SettingsDialog::ClickSlider(const Area& slider, int x) {
    const Pixels before = Look(slider);
    Click(x, slider.y + slider.height / 2);
    MoveAway();
    return WaitUntil([&] { return Take(OnScreen(slider)) != before; }, kLimit, 20ms);
}

bool SettingsDialog::Browse(const std::string& folder) {
    Click(kRight + 300, 80);
    if (!m_player.WaitForWindow(kChooserTitle)) return false;
    Xdotool({"windowactivate", "--sync", std::to_string(m_screen.WindowsTitled(kChooserTitle).at(0))});
    m_player.Type(folder);
    m_player.Key("Return");
    return m_player.WaitForNoWindow(kChooserTitle);
}

SettingsDialog::Pixels SettingsDialog::LookAtScreen(const Area& area) {
    MoveAway();
    Pixels last = Take(area);
    int same = 0;
    WaitUntil(
        [&] {
            Pixels now = Take(area);
            same = now == last ? same + 1 : 0;
            last = std::move(now);
            return same == 3;
        },
        kLimit, 100ms);
    return last;
}

Area SettingsDialog::OnScreen(const Area& area) {
    return {m_place.x + area.x, m_place.y + area.y, area.width, area.height};
}

SettingsDialog::Pixels SettingsDialog::Take(const Area& area) const {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> image(
        xcb_get_image_reply(
            m_connection,
            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root, static_cast<std::int16_t>(area.x),
                          static_cast<std::int16_t>(area.y), static_cast<std::uint16_t>(area.width),
                          static_cast<std::uint16_t>(area.height), ~0U),
            nullptr),
        std::free);
    if (!image) throw std::runtime_error("no picture of the screen");
    Pixels pixels(static_cast<std::size_t>(area.width) * static_cast<std::size_t>(area.height));
    std::memcpy(pixels.data(), xcb_get_image_data(image.get()), pixels.size() * sizeof(std::uint32_t));
    for (std::uint32_t& pixel : pixels)
        pixel &= 0xFFFFFF;
    return pixels;
}

// Not --sync: that waits for a movement, and the pointer may be there.
void SettingsDialog::MoveAway() const {
    Xdotool({"mousemove", "1270", "1015"});
}

void SettingsDialog::Xdotool(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command = {"xdotool"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    ChildProcess::Setup setup;
    setup.environment = m_desktop.Environment();
    const auto result = ChildProcess::Run(command, 20s, setup);
    if (result.exitCode != 0) throw std::runtime_error("xdotool failed: " + result.output);
}

} // namespace system_tests
