#include "tests/system/ScreenReader.h"

#include "tests/support/BarCode.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
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

// A menu lies on the screen without a window manager's help, as tips and dragged things do, which say what
// they are.
std::vector<Area> ScreenReader::OpenMenus() {
    const xcb_atom_t kind = Atom("_NET_WM_WINDOW_TYPE");
    const xcb_atom_t plain = Atom("_NET_WM_WINDOW_TYPE_NORMAL");
    const auto isMenu = [&](xcb_window_t window) {
        const ReplyHandle<xcb_get_property_reply_t> property(xcb_get_property_reply(
            m_connection, xcb_get_property(m_connection, 0, window, kind, XCB_ATOM_ATOM, 0, 8), nullptr));
        if (!property || !IsUnmanaged(window)) return false;
        const auto* first = static_cast<const xcb_atom_t*>(xcb_get_property_value(property.get()));
        const auto* last =
            first + static_cast<std::size_t>(xcb_get_property_value_length(property.get())) / sizeof(*first);
        return std::find(first, last, plain) != last;
    };
    std::vector<Area> menus;
    for (const xcb_window_t window : VisibleChildren(m_root)) {
        if (isMenu(window)) menus.push_back(AreaOf(window));
    }
    return menus;
}

xcb_atom_t ScreenReader::Atom(const std::string& name) {
    const ReplyHandle<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

Area ScreenReader::AreaOf(xcb_window_t window) {
    const ReplyHandle<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
    const ReplyHandle<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
        m_connection, xcb_translate_coordinates(m_connection, window, m_root, 0, 0), nullptr));
    if (!geometry || !place) return {};
    return {place->dst_x, place->dst_y, geometry->width, geometry->height};
}

std::vector<Area> ScreenReader::AreasIn(xcb_window_t window) {
    std::vector<Area> areas;
    for (const xcb_window_t child : VisibleChildren(window)) {
        areas.push_back(AreaOf(child));
        const std::vector<Area> inner = AreasIn(child);
        areas.insert(areas.end(), inner.begin(), inner.end());
    }
    return areas;
}

Shot ScreenReader::Take(const Area& area) {
    const ReplyHandle<xcb_get_image_reply_t> image(xcb_get_image_reply(
        m_connection,
        xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, static_cast<std::int16_t>(area.x),
                      static_cast<std::int16_t>(area.y), static_cast<std::uint16_t>(area.width),
                      static_cast<std::uint16_t>(area.height), ~0U),
        nullptr));
    if (!image) return {};
    Shot shot;
    shot.area = area;
    shot.pixels.resize(static_cast<std::size_t>(area.width) * static_cast<std::size_t>(area.height));
    std::memcpy(shot.pixels.data(), xcb_get_image_data(image.get()),
                shot.pixels.size() * sizeof shot.pixels[0]);
    for (std::uint32_t& pixel : shot.pixels)
        pixel &= 0xFFFFFFU;
    return shot;
}

std::uint32_t ScreenReader::PixelAt(int x, int y) {
    const Shot shot = Take({x, y, 1, 1});
    return shot.pixels.empty() ? 0xFF000000U : shot.pixels.front();
}

std::vector<std::string> ScreenReader::StatesOf(xcb_window_t window) {
    const ReplyHandle<xcb_intern_atom_reply_t> state(
        xcb_intern_atom_reply(m_connection, xcb_intern_atom(m_connection, 0, 13, "_NET_WM_STATE"), nullptr));
    if (!state) return {};
    const ReplyHandle<xcb_get_property_reply_t> property(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, window, state->atom, XCB_ATOM_ATOM, 0, 64), nullptr));
    std::vector<std::string> names;
    if (!property) return names;
    const auto* atoms = static_cast<const xcb_atom_t*>(xcb_get_property_value(property.get()));
    for (std::uint32_t i = 0; i < property->value_len; ++i) {
        const ReplyHandle<xcb_get_atom_name_reply_t> name(
            xcb_get_atom_name_reply(m_connection, xcb_get_atom_name(m_connection, atoms[i]), nullptr));
        if (!name) continue;
        names.emplace_back(xcb_get_atom_name_name(name.get()),
                           static_cast<std::size_t>(xcb_get_atom_name_name_length(name.get())));
    }
    return names;
}

bool ScreenReader::HasKeyboard(xcb_window_t window) {
    const ReplyHandle<xcb_get_input_focus_reply_t> focus(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    xcb_window_t inner = focus ? focus->focus : XCB_NONE;
    while (inner > XCB_INPUT_FOCUS_POINTER_ROOT && inner != window && inner != m_root) {
        const ReplyHandle<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, inner), nullptr));
        inner = tree ? tree->parent : XCB_NONE;
    }
    return inner == window;
}

bool ScreenReader::Exists(xcb_window_t window) {
    const ReplyHandle<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
    return attributes != nullptr;
}

bool ScreenReader::HasProgramKeyboard(xcb_window_t window) {
    const ReplyHandle<xcb_get_input_focus_reply_t> focus(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    // The server gives every program numbers of its own above those that the program counts with.
    const std::uint32_t own = ~xcb_get_setup(m_connection)->resource_id_mask;
    return focus && (focus->focus & own) == (window & own);
}

bool ScreenReader::IsButtonDown() {
    const ReplyHandle<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(m_connection, xcb_query_pointer(m_connection, m_root), nullptr));
    return pointer && (pointer->mask & XCB_KEY_BUT_MASK_BUTTON_1) != 0;
}

xcb_window_t ScreenReader::Cover(const Area& area) {
    constexpr std::uint32_t kOwnPlace = 1U | 4U; // the user's and the program's wish for a place: it is kept
    const xcb_window_t window = xcb_generate_id(m_connection);
    const std::uint32_t background = 0x804020;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_root, static_cast<std::int16_t>(area.x),
                      static_cast<std::int16_t>(area.y), static_cast<std::uint16_t>(area.width),
                      static_cast<std::uint16_t>(area.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL, &background);
    const std::array<std::uint32_t, 18> hints{kOwnPlace};
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, hints.size(), hints.data());
    xcb_map_window(m_connection, window);
    xcb_flush(m_connection);
    return window;
}

void ScreenReader::Uncover(xcb_window_t window) {
    xcb_destroy_window(m_connection, window);
    xcb_flush(m_connection);
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
    const ReplyHandle<xcb_get_window_attributes_reply_t> attributes(Attributes(window));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

bool ScreenReader::IsUnmanaged(xcb_window_t window) {
    const ReplyHandle<xcb_get_window_attributes_reply_t> attributes(Attributes(window));
    return attributes && attributes->override_redirect != 0;
}

// The caller frees it.
xcb_get_window_attributes_reply_t* ScreenReader::Attributes(xcb_window_t window) {
    return xcb_get_window_attributes_reply(m_connection, xcb_get_window_attributes(m_connection, window),
                                           nullptr);
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
