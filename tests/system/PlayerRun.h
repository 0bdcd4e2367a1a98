/*
 * The real program, run on a desktop of its own in a fresh working folder, and worked as a person works it:
 * keys, clicks, the file chooser. What it shows is read from the screen.
 */
#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/system/Desktop.h"
#include "tests/system/ScreenReader.h"
#include "tests/system/TextReader.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace system_tests {

class PlayerRun {
  public:
    struct Setup {
        // Text of the settings file put into the working folder before the start; empty for none.
        std::string settings;
        // Called with the working folder before the start; empty for nothing.
        std::function<void(const std::filesystem::path&)> prepare;
        // User to run as.
        std::optional<uid_t> user;
        // The program's texts can be read (Texts).
        bool readsTexts = false;
        // The program's file; empty for the one that was built.
        std::string program;
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
    // Moves the pointer to a place of the main window.
    void MoveTo(int x, int y);
    // Presses a button at a place of the main window, and lets it go where the pointer is then.
    void Press(int x, int y, int button = 1);
    void Release(int button = 1);
    // Presses a button at a place of the main window, moves the pointer by (dx, dy) in several steps and lets
    // the button go.
    void Drag(int x, int y, int dx, int dy, int button = 1);
    // Moves the pointer to where nothing changes under it.
    void MoveAway();

    // Brings the minimised window back, as a click in a task bar does.
    void Restore();
    // Gives the window a size, as a window manager may that does not ask.
    void ForceSize(int width, int height);
    // Opens the video's context menu and presses keys in it.
    void ChooseInContextMenu(const std::vector<std::string>& keys);

    // Keys that are held down until they are let go.
    void HoldKey(const std::string& key);
    void LetKeyGo(const std::string& key);
    // Moves the pointer to the middle of a place of the screen.
    void PointAt(const Area& place);
    // Clicks there.
    void ClickAt(const Area& place, int button = 1);
    void DoubleClickAt(const Area& place);
    // Clicks the button of this name. Only of a program that was started with readsTexts; throws
    // std::runtime_error when it shows no such button.
    void PressButton(const std::string& button);

    // Waits for the menu that a click opens, goes down to an entry, counted from 1, and chooses it by
    // keyboard; a negative one is counted from the menu's end. Throws std::runtime_error when no menu opens
    // or it does not close.
    void ChooseInMenu(int entry);

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
    // The main window, for questions to the screen.
    xcb_window_t Window() const { return m_window; }
    ScreenReader& Screen() { return m_screen; }
    // Waits until the main window lies there.
    bool WaitForArea(const Area& area, std::chrono::milliseconds limit = std::chrono::seconds(15));
    // Place on the screen of the picture that Number read last.
    const Area& PictureArea() const { return m_screen.PictureArea(); }

    // Only of a program that was started with readsTexts.
    TextReader& Texts() { return m_texts.value(); }

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
    void ClickTimes(int times, int x, int y, int button);

    Desktop& m_desktop;
    support::TemporaryFolder m_folder;
    support::ChildProcess m_process;
    ScreenReader m_screen;
    std::optional<TextReader> m_texts;
    xcb_window_t m_window = 0;
    xcb_window_t m_chooser = 0; // shown last
    double m_startMilliseconds = 0;
    int m_pictureWidth = 640;
    int m_pictureHeight = 360;
};

} // namespace system_tests
