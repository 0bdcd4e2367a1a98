// A window to draw into.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <xcb/xcb.h>

namespace bench {

class BenchWindow {
  public:
    // Without an X server there is no window, and its id is 0.
    BenchWindow(int width, int height) : m_connection(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(m_connection)) return;
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
        m_window = xcb_generate_id(m_connection);
        const std::uint32_t undecorated = 1;
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, screen->root, 0, 0,
                          static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_OVERRIDE_REDIRECT,
                          &undecorated);
        xcb_map_window(m_connection, m_window);
        xcb_flush(m_connection);
        // The answer to a question comes after the window is there.
        xcb_get_input_focus_reply_t* const reply =
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr);
        std::free(reply);
    }
    ~BenchWindow() { xcb_disconnect(m_connection); }
    BenchWindow(const BenchWindow&) = delete;
    BenchWindow& operator=(const BenchWindow&) = delete;

    unsigned Id() const { return m_window; }

  private:
    xcb_connection_t* m_connection;
    std::uint32_t m_window = 0;
};

} // namespace bench
