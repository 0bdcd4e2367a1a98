#include "dravo/PixelLayout.h"

#include <bit>

namespace dravo {

namespace {

constexpr int kFullDepth = 32;

const xcb_visualtype_t* FindVisual(const xcb_setup_t& setup, xcb_visualid_t visual) {
    for (auto screen = xcb_setup_roots_iterator(&setup); screen.rem > 0; xcb_screen_next(&screen)) {
        for (auto depth = xcb_screen_allowed_depths_iterator(screen.data); depth.rem > 0;
             xcb_depth_next(&depth)) {
            for (auto type = xcb_depth_visuals_iterator(depth.data); type.rem > 0;
                 xcb_visualtype_next(&type)) {
                if (type.data->visual_id == visual) return type.data;
            }
        }
    }
    return nullptr;
}

int BitsPerPixel(const xcb_setup_t& setup, std::uint8_t depth) {
    for (auto format = xcb_setup_pixmap_formats_iterator(&setup); format.rem > 0; xcb_format_next(&format)) {
        if (format.data->depth == depth) return format.data->bits_per_pixel;
    }
    return 0;
}

} // namespace

std::optional<PixelLayout::Channel> PixelLayout::ChannelOf(std::uint32_t mask) {
    if (mask == 0) return std::nullopt;
    const Channel channel{std::countr_zero(mask), std::popcount(mask)};
    if (!std::has_single_bit((static_cast<std::uint64_t>(mask) >> channel.shift) + 1)) return std::nullopt;
    return channel;
}

std::optional<PixelLayout> PixelLayout::Make(int bits_per_pixel, int depth, bool most_significant_first,
                                             std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    if (bits_per_pixel != 16 && bits_per_pixel != 32) return std::nullopt;
    if ((red & green) != 0 || (red & blue) != 0 || (green & blue) != 0) return std::nullopt;
    const auto red_channel = ChannelOf(red);
    const auto green_channel = ChannelOf(green);
    const auto blue_channel = ChannelOf(blue);
    if (!red_channel || !green_channel || !blue_channel) return std::nullopt;

    PixelLayout layout;
    layout.m_bytes = bits_per_pixel / 8;
    layout.m_most_significant_first = most_significant_first;
    layout.m_opaque = depth == kFullDepth ? ~(red | green | blue) : 0;
    layout.m_red = *red_channel;
    layout.m_green = *green_channel;
    layout.m_blue = *blue_channel;
    layout.m_is_bgra = bits_per_pixel == 32 && !most_significant_first && red == 0xFF0000U &&
                       green == 0xFF00U && blue == 0xFFU;
    return layout;
}

std::optional<PixelLayout> PixelLayout::Of(const xcb_setup_t& setup, std::uint8_t depth,
                                           xcb_visualid_t visual) {
    const xcb_visualtype_t* type = FindVisual(setup, visual);
    if (!type) return std::nullopt;
    if (type->_class != XCB_VISUAL_CLASS_TRUE_COLOR && type->_class != XCB_VISUAL_CLASS_DIRECT_COLOR)
        return std::nullopt;
    return Make(BitsPerPixel(setup, depth), depth, setup.image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST,
                type->red_mask, type->green_mask, type->blue_mask);
}

std::uint32_t PixelLayout::Placed(std::uint8_t value, Channel channel) {
    constexpr int kBits = 8;
    const std::uint32_t wide = value;
    // Wider channels repeat the upper bits below, so that white stays white.
    const std::uint32_t scaled =
        channel.bits <= kBits ? wide >> (kBits - channel.bits)
                              : wide << (channel.bits - kBits) |
                                    (channel.bits < 2 * kBits ? wide >> (2 * kBits - channel.bits) : wide);
    return scaled << channel.shift;
}

void PixelLayout::Convert(const std::uint8_t* bgra, std::uint8_t* to, int count) const {
    for (int i = 0; i < count; ++i, bgra += 4, to += m_bytes) {
        const std::uint32_t pixel =
            m_opaque | Placed(bgra[0], m_blue) | Placed(bgra[1], m_green) | Placed(bgra[2], m_red);
        for (int byte = 0; byte < m_bytes; ++byte) {
            const int place = m_most_significant_first ? m_bytes - 1 - byte : byte;
            to[place] = static_cast<std::uint8_t>(pixel >> (8 * byte));
        }
    }
}

} // namespace dravo
