// A second program on an X display, as a test needs one: it makes windows, moves and destroys them, listens
// for clicks, and reads back what is to be seen.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace support {

class XScreen {
  public:
    // Throws std::runtime_error when there is no such display.
    explicit XScreen(const std::string& display);
    ~XScreen();
    XScreen(const XScreen&) = delete;
    XScreen& operator=(const XScreen&) = delete;

    xcb_connection_t* Raw() const { return m_connection; }
    xcb_window_t Root() const { return m_screen->root; }

    // A window, mapped, of this background (0xRRGGBB). Returns when it is there.
    xcb_window_t MakeWindow(int x, int y, int width, int height, std::uint32_t background = 0x804020,
                            xcb_window_t parent = XCB_NONE);
    void Destroy(xcb_window_t window);
    void Place(xcb_window_t window, int x, int y, int width, int height);
    void Map(xcb_window_t window);
    void Unmap(xcb_window_t window);
    std::vector<xcb_window_t> ChildrenOf(xcb_window_t window);

    // Colour of the screen (0xRRGGBB on a server with 8 bits a colour) at a place of the root window.
    std::uint32_t PixelAt(int x, int y);
    // Waits until that pixel is within `tolerance` of `colour` in each channel. False after the limit.
    bool WaitForPixel(int x, int y, std::uint32_t colour, int tolerance = 6,
                      std::chrono::milliseconds limit = std::chrono::seconds(5));

    // Asks for button presses and keys on the window.
    void ListenForInput(xcb_window_t window);
    // Waits until a button was pressed on the window; false after the limit.
    bool WaitForPress(xcb_window_t window, std::chrono::milliseconds limit = std::chrono::seconds(5));

    // Waits until the server has done all that was asked so far.
    void Sync();

  private:
    xcb_connection_t* m_connection;
    xcb_screen_t* m_screen = nullptr;
};

// Whether two colours 0xRRGGBB differ by at most `tolerance` in each channel.
bool AreAlike(std::uint32_t a, std::uint32_t b, int tolerance);

} // namespace support
