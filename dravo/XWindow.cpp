#include "dravo/XWindow.h"

#include <array>

namespace dravo {

namespace {

constexpr std::uint8_t kSentByClient = 0x80; // marks events that another program made up

} // namespace

std::unique_ptr<XWindow> XWindow::Make(XConnection& connection, xcb_window_t parent) {
    if (parent == XCB_NONE) return nullptr;
    xcb_connection_t* raw = connection.Raw();
    // Listen first and ask then, so that no change of size falls between the two.
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    const auto listening = xcb_change_window_attributes_checked(raw, parent, XCB_CW_EVENT_MASK, &events);
    const auto attributes_cookie = xcb_get_window_attributes(raw, parent);
    const auto geometry_cookie = xcb_get_geometry(raw, parent);
    const auto attributes = connection.Await<xcb_get_window_attributes_reply_t>(attributes_cookie);
    const auto geometry = connection.Await<xcb_get_geometry_reply_t>(geometry_cookie);
    if (!connection.Succeeded(listening) || !attributes || !geometry) return nullptr;
    if (attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) return nullptr;
    const auto layout = PixelLayout::Of(connection.Setup(), geometry->depth, attributes->visual);
    if (!layout) return nullptr;

    std::unique_ptr<XWindow> window(new XWindow(connection, parent, *layout));
    window->m_depth = geometry->depth;
    window->m_width = geometry->width;
    window->m_height = geometry->height;
    window->m_parent_mapped = attributes->map_state != XCB_MAP_STATE_UNMAPPED;
    if (!window->Create()) return nullptr;
    return window;
}

XWindow::XWindow(XConnection& connection, xcb_window_t parent, const PixelLayout& layout)
    : m_connection(connection), m_parent(parent), m_layout(layout) {}

bool XWindow::Create() {
    xcb_connection_t* raw = m_connection.Raw();
    m_window = xcb_generate_id(raw);
    m_gc = xcb_generate_id(raw);
    // The server itself paints what a larger window gains, black, and keeps the picture in the middle
    // meanwhile: no flicker. Values stand in the order of their bits.
    const std::uint32_t mask = XCB_CW_BACK_PIXEL | XCB_CW_BIT_GRAVITY | XCB_CW_EVENT_MASK;
    const std::array<std::uint32_t, 3> values{m_layout.Black(), XCB_GRAVITY_CENTER,
                                              XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    const auto made = xcb_create_window_checked(
        raw, XCB_COPY_FROM_PARENT, m_window, m_parent, 0, 0, static_cast<std::uint16_t>(m_width),
        static_cast<std::uint16_t>(m_height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, mask,
        values.data());
    if (!m_connection.Succeeded(made)) return false;
    const std::array<std::uint32_t, 2> pens{m_layout.Black(), 0};
    xcb_create_gc(raw, m_gc, m_window, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES, pens.data());
    m_exists = true;
    return true;
}

XWindow::~XWindow() {
    if (!m_exists) return;
    xcb_free_gc(m_connection.Raw(), m_gc);
    xcb_destroy_window(m_connection.Raw(), m_window);
    m_connection.Flush();
}

void XWindow::HandleEvent(const xcb_generic_event_t& event) {
    switch (event.response_type & ~kSentByClient) {
    case 0:
        HandleError(reinterpret_cast<const xcb_generic_error_t&>(event));
        break;
    case XCB_CONFIGURE_NOTIFY:
        // Window managers make such events up to tell a place on the screen; their sizes are right as well.
        Follow(reinterpret_cast<const xcb_configure_notify_event_t&>(event));
        break;
    case XCB_DESTROY_NOTIFY: {
        const auto& destroyed = reinterpret_cast<const xcb_destroy_notify_event_t&>(event);
        if (destroyed.window == m_window || destroyed.window == m_parent) m_exists = false;
        break;
    }
    case XCB_MAP_NOTIFY:
        if (reinterpret_cast<const xcb_map_notify_event_t&>(event).window == m_parent) m_parent_mapped = true;
        break; // what became visible is told by an exposure
    case XCB_UNMAP_NOTIFY:
        if (reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window == m_parent)
            m_parent_mapped = false;
        break;
    case XCB_EXPOSE:
        if (reinterpret_cast<const xcb_expose_event_t&>(event).window == m_window) m_damaged = true;
        break;
    default:
        break;
    }
}

// A request on a window that has just gone fails, and that may be known before the notice of its end is read.
void XWindow::HandleError(const xcb_generic_error_t& error) {
    const bool no_such_thing = error.error_code == XCB_WINDOW || error.error_code == XCB_DRAWABLE;
    if (no_such_thing && (error.resource_id == m_window || error.resource_id == m_parent)) m_exists = false;
}

void XWindow::Follow(const xcb_configure_notify_event_t& event) {
    if (event.window != m_parent || event.event != m_parent) return;
    if (event.width == m_width && event.height == m_height) return;
    m_width = event.width;
    m_height = event.height;
    m_damaged = true;
    const std::array<std::uint32_t, 2> size{event.width, event.height};
    xcb_configure_window(m_connection.Raw(), m_window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                         size.data());
}

bool XWindow::TakeDamage() {
    const bool damaged = m_damaged;
    m_damaged = false;
    return damaged;
}

void XWindow::Show() {
    if (m_shown) return;
    m_shown = true;
    xcb_map_window(m_connection.Raw(), m_window);
}

void XWindow::Blacken(const Box& around) {
    const int right = around.x + around.width;
    const int bottom = around.y + around.height;
    std::array<xcb_rectangle_t, 4> bars;
    std::uint32_t count = 0;
    const auto add = [&](int x, int y, int width, int height) {
        if (width <= 0 || height <= 0) return;
        bars[count++] = {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                         static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
    };
    add(0, 0, m_width, around.y);
    add(0, bottom, m_width, m_height - bottom);
    add(0, around.y, around.x, around.height);
    add(right, around.y, m_width - right, around.height);
    if (count > 0) xcb_poly_fill_rectangle(m_connection.Raw(), m_window, m_gc, count, bars.data());
}

} // namespace dravo
