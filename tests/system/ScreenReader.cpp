#include "tests/system/ScreenReader.h"

#include "tests/support/BarCode.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace system_tests {

namespace {

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply>
using ReplyHandle = std::unique_ptr<Reply, Free>;

// The largest area of the picture's shape, centred in `window`.
Area Fit(const Area& window, int pictureWidth, int pictureHeight) {
    Area fit = window;
    const std::int64_t wide = static_cast<std::int64_t>(window.width) * pictureHeight;
    const std::int64_t high = static_cast<std::int64_t>(window.height) * pictureWidth;
    if (wide > high) {
        fit.width = static_cast<int>(high / pictureHeight);
    } else {
        fit.height = static_cast<int>(wide / pictureWidth);
    }
    fit.x += (window.width - fit.width) / 2;
    fit.y += (window.height - fit.height) / 2;
    return fit;
}

} // namespace

ScreenReader::ScreenReader(const std::string& display) : m_connection(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(m_connection) != 0) {
        xcb_disconnect(m_connection);
        throw std::runtime_error("no display " + display);
    }
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    m_root = screen->root;
    m_screen = {0, 0, screen->width_in_pixels, screen->height_in_pixels};
}

ScreenReader::~ScreenReader() {
    xcb_disconnect(m_connection);
}

std::vector<xcb_window_t> ScreenReader::WindowsTitled(const std::string& title) {
    std::vector<xcb_window_t> found;
    Collect(m_root, title, found);
    return found;
}

// A window that has the title is not searched further: its children carry none of their own.
void ScreenReader::Collect(xcb_window_t window, const std::string& title, std::vector<xcb_window_t>& found) {
    for (const xcb_window_t child : VisibleChildren(window)) {
        if (TitleOf(child) == title) {
            found.push_back(child);
        } else {
            Collect(child, title, found);
        }
    }
}

Area ScreenReader::AreaOf(xcb_window_t window) {
    const ReplyHandle<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
    const ReplyHandle<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
        m_connection, xcb_translate_coordinates(m_connection, window, m_root, 0, 0), nullptr));
    if (!geometry || !place) return {};
    return {place->dst_x, place->dst_y, geometry->width, geometry->height};
}

int ScreenReader::NumberShown(xcb_window_t window, int pictureWidth, int pictureHeight) {
    for (const xcb_window_t child : VisibleChildren(window)) {
        const Area area = AreaOf(child);
        if (area.width < 48 || area.height < 32) continue;
        const Area picture = Fit(area, pictureWidth, pictureHeight);
        const int number = NumberIn(picture);
        if (number >= 0) {
            m_picture = picture;
            return number;
        }
        const int inChild = NumberShown(child, pictureWidth, pictureHeight);
        if (inChild >= 0) return inChild;
    }
    return -1;
}

std::vector<xcb_window_t> ScreenReader::VisibleChildren(xcb_window_t window) {
    const ReplyHandle<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, window), nullptr));
    std::vector<xcb_window_t> visible;
    if (!tree) return visible;
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    std::copy_if(children, children + xcb_query_tree_children_length(tree.get()), std::back_inserter(visible),
                 [this](xcb_window_t child) { return IsVisible(child); });
    return visible;
}

bool ScreenReader::IsVisible(xcb_window_t window) {
    const ReplyHandle<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

std::string ScreenReader::TitleOf(xcb_window_t window) {
    const ReplyHandle<xcb_get_property_reply_t> title(xcb_get_property_reply(
        m_connection,
        xcb_get_property(m_connection, 0, window, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, 0, 256),
        nullptr));
    if (!title) return {};
    return {static_cast<const char*>(xcb_get_property_value(title.get())),
            static_cast<std::size_t>(xcb_get_property_value_length(title.get()))};
}

// Reads the screen itself, so that what covers the picture covers its code.
int ScreenReader::NumberIn(const Area& picture) {
    const int rows = support::BarCodeRows(picture.height);
    const bool isOnScreen = picture.x >= 0 && picture.y >= 0 && picture.x + picture.width <= m_screen.width &&
                            picture.y + rows <= m_screen.height;
    if (!isOnScreen || picture.width < 48 || rows > picture.height) return -1;
    const ReplyHandle<xcb_get_image_reply_t> image(xcb_get_image_reply(
        m_connection,
        xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, static_cast<std::int16_t>(picture.x),
                      static_cast<std::int16_t>(picture.y), static_cast<std::uint16_t>(picture.width),
                      static_cast<std::uint16_t>(rows), ~0U),
        nullptr));
    if (!image) return -1;
    // Something else on the screen may look like a code in one row by chance, but not in three.
    const std::ptrdiff_t stride = static_cast<std::ptrdiff_t>(picture.width) * 4;
    const std::uint8_t* pixels = xcb_get_image_data(image.get());
    const auto readAround = [&](int offset) {
        return support::ReadBarCodeFromBgra(pixels + offset * stride, stride, picture.width, picture.height);
    };
    const int number = readAround(0);
    return readAround(-rows / 4) == number && readAround(rows / 4) == number ? number : -1;
}

} // namespace system_tests
