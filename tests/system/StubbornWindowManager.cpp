#include "tests/system/StubbornWindowManager.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <poll.h>
#include <stdexcept>

namespace system_tests {

namespace {

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
std::unique_ptr<Reply, Free> Own(Reply* reply) {
    return std::unique_ptr<Reply, Free>(reply);
}

} // namespace

StubbornWindowManager::StubbornWindowManager(const std::string& display)
    : m_connection(xcb_connect(display.c_str(), nullptr)) {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
    const auto cookie = xcb_change_window_attributes_checked(m_connection, root, XCB_CW_EVENT_MASK, &events);
    if (Own(xcb_request_check(m_connection, cookie))) {
        xcb_disconnect(m_connection);
        throw std::runtime_error("no room for a window manager on " + display);
    }
    m_thread = std::thread(&StubbornWindowManager::Run, this);
}

StubbornWindowManager::~StubbornWindowManager() {
    m_ending = true;
    m_thread.join();
    xcb_disconnect(m_connection);
}

void StubbornWindowManager::Run() {
    while (!m_ending) {
        pollfd readable = {xcb_get_file_descriptor(m_connection), POLLIN, 0};
        poll(&readable, 1, 20);
        while (const auto event = Own(xcb_poll_for_event(m_connection)))
            HandleEvent(*event);
        xcb_flush(m_connection);
    }
}

void StubbornWindowManager::HandleEvent(const xcb_generic_event_t& event) {
    switch (event.response_type & 0x7F) {
    case XCB_MAP_REQUEST:
        Show(reinterpret_cast<const xcb_map_request_event_t&>(event).window);
        break;
    case XCB_CONFIGURE_REQUEST:
        Answer(reinterpret_cast<const xcb_configure_request_event_t&>(event));
        break;
    default:
        break;
    }
}

void StubbornWindowManager::Show(xcb_window_t window) {
    xcb_map_window(m_connection, window);
    xcb_set_input_focus(m_connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
}

// A window that is not shown yet gets what it asks for. Afterwards it is told, as the rules want it, where it
// still is.
void StubbornWindowManager::Answer(const xcb_configure_request_event_t& request) {
    const auto attributes = Own(xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, request.window), nullptr));
    if (!attributes) return;
    if (attributes->map_state == XCB_MAP_STATE_UNMAPPED) {
        const std::array<std::uint32_t, 4> wish = {static_cast<std::uint32_t>(request.x),
                                                   static_cast<std::uint32_t>(request.y), request.width,
                                                   request.height};
        xcb_configure_window(m_connection, request.window,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             wish.data());
        return;
    }
    ++m_refused;
    const auto place =
        Own(xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, request.window), nullptr));
    if (!place) return;
    xcb_configure_notify_event_t news{};
    news.response_type = XCB_CONFIGURE_NOTIFY;
    news.event = request.window;
    news.window = request.window;
    news.x = place->x;
    news.y = place->y;
    news.width = place->width;
    news.height = place->height;
    xcb_send_event(m_connection, 0, request.window, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&news));
}

} // namespace system_tests
