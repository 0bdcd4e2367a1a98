// The settings dialog of a running player, worked by clicks and read from the screen. Places are those inside
// the dialog.
#pragma once

#include "tests/system/PlayerRun.h"
#include "tests/system/ScreenReader.h"

#include <cstdint>
#include <string>
#include <vector>

namespace system_tests {

class SettingsDialog {
  public:
    using Pixels = std::vector<std::uint32_t>;

    SettingsDialog(const Desktop& desktop, PlayerRun& player);
    ~SettingsDialog();
    SettingsDialog(const SettingsDialog&) = delete;
    SettingsDialog& operator=(const SettingsDialog&) = delete;

    // By the last entry of the video's context menu. False when the dialog did not come.
    bool Open();
    // Chooses page 1 to 8 from the list; false when its entry was not marked.
    bool ShowPage(int page);
    void Click(int x, int y);
    // Presses OK or Cancel; false when the dialog stayed.
    bool Accept() { return Leave(340); }
    bool Cancel() { return Leave(420); }

    // A check box or radio button by its top left corner. Click waits until it is marked (or not any more).
    bool IsMarked(int x, int y);
    bool ClickMark(int x, int y, bool marked);
    // Clicks a slider at a place and waits until it looks different.
    bool ClickSlider(const Area& slider, int x);
    // Presses the page's browse button, and types a folder into the chooser.
    bool Browse(const std::string& folder);

    // What is to be seen at a place of the dialog, or of the screen, once it has stood still; the pointer is
    // taken away.
    Pixels Look(const Area& area) { return LookAtScreen(OnScreen(area)); }
    Pixels LookAtScreen(const Area& area);

  private:
    bool Leave(int x);
    Area OnScreen(const Area& area);
    Pixels Take(const Area& area) const;
    void Xdotool(const std::vector<std::string>& arguments) const;
    void MoveAway() const;

    const Desktop& m_desktop;
    PlayerRun& m_player;
    ScreenReader m_screen;
    xcb_connection_t* m_connection;
    Area m_place;
};

} // namespace system_tests
