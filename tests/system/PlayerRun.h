/*
 * The real program, run on a desktop of its own in a fresh working folder, and worked as a person works it:
 * keys, clicks, the file chooser. What it shows is read from the screen.
 */
#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Desktop.h"
#include "tests/system/ScreenReader.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace system_tests {

class PlayerRun {
  public:
    struct Setup {
        // Text of the settings file put into the working folder before the start; empty for none.
        std::string settings;
        // User to run as.
        std::optional<uid_t> user;
    };

    // Starts the program and waits for its window. Throws std::runtime_error when none appears.
    PlayerRun(Desktop& desktop, const Setup& setup);
    explicit PlayerRun(Desktop& desktop) : PlayerRun(desktop, Setup()) {}

    // From the start of the process to its window on the screen.
    double StartMilliseconds() const { return m_startMilliseconds; }

    // Keys by their X names: "space", "ctrl+Right".
    void Key(const std::string& keys);
    // Clicks at a place of the main window.
    void Click(int x, int y, int button = 1);
    // Double click at the same.
    void DoubleClick(int x, int y);

    // Opens files through the program's own chooser: shows it, types the names, presses Return. Returns when
    // the chooser is gone; false when it did not come or did not go.
    bool Open(const std::string& path);
    // The same for the first file that the chooser lists in the folder it opens in, by a double click.
    bool OpenFirstListed();
    // Shows the chooser without typing; false when it did not come.
    bool ShowChooser();
    bool WaitForChooserToGo();
    void Type(const std::string& text);

    // The shape of the pictures that are looked for on the screen.
    void SetPictureSize(int width, int height);

    // The frame number on the screen; -1 for none.
    int Number();
    // Wait for a number on the screen: exactly this one, or at least this one.
    bool WaitForNumber(int number, std::chrono::milliseconds limit = std::chrono::seconds(15));
    bool WaitForAtLeast(int number, std::chrono::milliseconds limit = std::chrono::seconds(15));
    // Waits until one number has stood for half a second, and gives it; -1 when none did.
    int StandingNumber(std::chrono::milliseconds limit = std::chrono::seconds(15));

    // Waits for a window of this title; false when none came.
    bool WaitForWindow(const std::string& title, std::chrono::milliseconds limit = std::chrono::seconds(15));
    bool WaitForNoWindow(const std::string& title,
                         std::chrono::milliseconds limit = std::chrono::seconds(15));

    // The main window's place on the screen.
    Area MainArea();
    // Place on the screen of the picture that Number read last.
    const Area& PictureArea() const { return m_screen.PictureArea(); }

    // Files in the working folder whose names begin with "picture-", sorted by name.
    std::vector<std::filesystem::path> Captures() const;
    bool WaitForCaptures(std::size_t count, std::chrono::milliseconds limit = std::chrono::seconds(15));

    const std::filesystem::path& Folder() const { return m_folder.Path(); }
    support::ChildProcess& Process() { return m_process; }

    // Ends the program by its window's close request and gives its exit code; nothing when it did not end.
    std::optional<int> Close();

    // Leaves a picture of the screen beside the test's other results, for a person to look at.
    void Screenshot(const std::string& name);

  private:
    void Xdotool(const std::vector<std::string>& arguments);

    Desktop& m_desktop;
    support::TemporaryFolder m_folder;
    support::ChildProcess m_process;
    ScreenReader m_screen;
    xcb_window_t m_window = 0;
    double m_startMilliseconds = 0;
    int m_pictureWidth = 640;
    int m_pictureHeight = 360;
};

} // namespace system_tests
