// What is to be seen on a display: windows, their places, and the frame number in a picture that is shown.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace system_tests {

struct Area {
    int x = 0; // on the root window
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const Area&) const = default;
};

// Pixels of the screen at one moment.
struct Shot {
    Area area; // on the root window
    std::vector<std::uint32_t> pixels;

    // Colour 0xRRGGBB at a place of the root window inside the area.
    std::uint32_t At(int x, int y) const {
        return pixels[static_cast<std::size_t>(y - area.y) * static_cast<std::size_t>(area.width) +
                      static_cast<std::size_t>(x - area.x)];
    }
};

class ScreenReader {
  public:
    // Throws std::runtime_error when there is no such display.
    explicit ScreenReader(const std::string& display);
    ~ScreenReader();
    ScreenReader(const ScreenReader&) = delete;
    ScreenReader& operator=(const ScreenReader&) = delete;

    // Visible windows that carry this title, in no particular order.
    std::vector<xcb_window_t> WindowsTitled(const std::string& title);

    // The popup menus that are to be seen, each followed by those above it.
    std::vector<Area> OpenMenus();
    bool IsMenuOpen() { return !OpenMenus().empty(); }

    // Where a window lies; of no size when it is gone.
    Area AreaOf(xcb_window_t window);

    // The whole screen.
    const Area& Screen() const { return m_screen; }
    // The visible windows inside a window, each followed by those inside it, the lowest first.
    std::vector<Area> AreasIn(xcb_window_t window);
    // What is to be seen there now; empty when a part of the area lies outside the screen.
    Shot Take(const Area& area);
    // Colour 0xRRGGBB of one pixel of the root window.
    std::uint32_t PixelAt(int x, int y);
    // Names of the states that a window is in by the window manager's account: "_NET_WM_STATE_ABOVE".
    std::vector<std::string> StatesOf(xcb_window_t window);
    // Whether keys go to the window or to one inside it.
    bool HasKeyboard(xcb_window_t window);
    // Whether there is such a window, be it shown or not.
    bool Exists(xcb_window_t window);
    // Whether keys go to any window of the program that made this one.
    bool HasProgramKeyboard(xcb_window_t window);

    // Whether a button of the pointer is held down, by the server's account.
    bool IsButtonDown();

    // Another program's window at that place, shown and managed as any other; `Uncover` takes it away.
    xcb_window_t Cover(const Area& area);
    void Uncover(xcb_window_t window);

    // The frame number that is shown in `window` or one of its visible children, read from the pixels of the
    // screen, for a picture of pictureWidth x pictureHeight that is centred in its window with its own aspect
    // ratio. -1 when none is to be seen.
    int NumberShown(xcb_window_t window, int pictureWidth, int pictureHeight);

    // Where NumberShown found its picture last.
    const Area& PictureArea() const { return m_picture; }

  private:
    std::vector<xcb_window_t> VisibleChildren(xcb_window_t window);
    bool IsVisible(xcb_window_t window);
    bool IsUnmanaged(xcb_window_t window);
    xcb_get_window_attributes_reply_t* Attributes(xcb_window_t window);
    std::string TitleOf(xcb_window_t window);
    void Collect(xcb_window_t window, const std::string& title, std::vector<xcb_window_t>& found);
    int NumberIn(const Area& picture);
    xcb_atom_t Atom(const std::string& name);

    xcb_connection_t* m_connection;
    xcb_window_t m_root = 0;
    Area m_screen;
    Area m_picture;
};

} // namespace system_tests
