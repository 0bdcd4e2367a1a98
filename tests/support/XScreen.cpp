#include "tests/support/XScreen.h"

#include "tests/support/WaitUntil.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace support {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
std::unique_ptr<T, Free> Own(T* reply) {
    return std::unique_ptr<T, Free>(reply);
}

constexpr std::uint32_t kColourBits = 0xFFFFFF;

} // namespace

bool AreAlike(std::uint32_t a, std::uint32_t b, int tolerance) {
    for (int shift : {0, 8, 16}) {
        const int difference = static_cast<int>((a >> shift) & 0xFF) - static_cast<int>((b >> shift) & 0xFF);
        if (std::abs(difference) > tolerance) return false;
    }
    return true;
}

XScreen::XScreen(const std::string& display) : m_connection(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(m_connection) != 0) {
        xcb_disconnect(m_connection);
        throw std::runtime_error("no display " + display);
    }
    m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
}

XScreen::~XScreen() {
    xcb_disconnect(m_connection);
}

xcb_window_t XScreen::MakeWindow(int x, int y, int width, int height, std::uint32_t background,
                                 xcb_window_t parent) {
    const xcb_window_t window = xcb_generate_id(m_connection);
    const std::array<std::uint32_t, 2> values{background,
                                              1}; // override redirect: a window manager leaves it alone
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, parent == XCB_NONE ? Root() : parent,
                      static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                      static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values.data());
    Map(window);
    return window;
}

void XScreen::Destroy(xcb_window_t window) {
    xcb_destroy_window(m_connection, window);
    Sync();
}

void XScreen::Place(xcb_window_t window, int x, int y, int width, int height) {
    const std::array<std::uint32_t, 4> values{static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                                              static_cast<std::uint32_t>(width),
                                              static_cast<std::uint32_t>(height)};
    xcb_configure_window(m_connection, window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         values.data());
    Sync();
}

void XScreen::Map(xcb_window_t window) {
    xcb_map_window(m_connection, window);
    Sync();
}

void XScreen::Unmap(xcb_window_t window) {
    xcb_unmap_window(m_connection, window);
    Sync();
}

std::vector<xcb_window_t> XScreen::ChildrenOf(xcb_window_t window) {
    const auto reply = Own(xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, window), nullptr));
    if (!reply) return {};
    const xcb_window_t* children = xcb_query_tree_children(reply.get());
    return {children, children + xcb_query_tree_children_length(reply.get())};
}

std::uint32_t XScreen::PixelAt(int x, int y) {
    const auto cookie = xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, Root(),
                                      static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 1, 1, ~0U);
    const auto reply = Own(xcb_get_image_reply(m_connection, cookie, nullptr));
    if (!reply) return 0xFF000000U;
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, xcb_get_image_data(reply.get()),
                std::min<std::size_t>(sizeof pixel,
                                      static_cast<std::size_t>(xcb_get_image_data_length(reply.get()))));
    return pixel & kColourBits;
}

bool XScreen::WaitForPixel(int x, int y, std::uint32_t colour, int tolerance,
                           std::chrono::milliseconds limit) {
    return WaitUntil([&] { return AreAlike(PixelAt(x, y), colour, tolerance); }, limit);
}

void XScreen::ListenForInput(xcb_window_t window) {
    const std::uint32_t events = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_KEY_PRESS;
    xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, &events);
    Sync();
}

bool XScreen::WaitForPress(xcb_window_t window, std::chrono::milliseconds limit) {
    return WaitUntil(
        [&] {
            while (const auto event = Own(xcb_poll_for_event(m_connection))) {
                if ((event->response_type & 0x7F) != XCB_BUTTON_PRESS) continue;
                if (reinterpret_cast<const xcb_button_press_event_t&>(*event).event == window) return true;
            }
            return false;
        },
        limit);
}

void XScreen::Sync() {
    Own(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

} // namespace support
