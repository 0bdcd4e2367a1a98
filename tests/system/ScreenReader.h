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

    // Where a window lies; of no size when it is gone.
    Area AreaOf(xcb_window_t window);

    // The frame number that is shown in `window` or one of its visible children, read from the pixels of the
    // screen, for a picture of pictureWidth x pictureHeight that is centred in its window with its own aspect
    // ratio. -1 when none is to be seen.
    int NumberShown(xcb_window_t window, int pictureWidth, int pictureHeight);

    // Where NumberShown found its picture last.
    const Area& PictureArea() const { return m_picture; }

  private:
    std::vector<xcb_window_t> VisibleChildren(xcb_window_t window);
    bool IsVisible(xcb_window_t window);
    std::string TitleOf(xcb_window_t window);
    void Collect(xcb_window_t window, const std::string& title, std::vector<xcb_window_t>& found);
    int NumberIn(const Area& picture);

    xcb_connection_t* m_connection;
    xcb_window_t m_root = 0;
    Area m_screen;
    Area m_picture;
};

} // namespace system_tests
