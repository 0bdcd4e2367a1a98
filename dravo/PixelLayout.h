// How an X server wants the pixels of one kind of window: bits, masks, byte order. Immutable; any thread.
#pragma once

#include <cstdint>
#include <optional>

#include <xcb/xcb.h>

namespace dravo {

class PixelLayout {
  public:
    // The masks tell the bits of each colour in a pixel of 16 or 32 bits; `depth` is how many bits count.
    // Nothing for other sizes and for masks that overlap, are empty or broken.
    static std::optional<PixelLayout> Make(int bits_per_pixel, int depth, bool most_significant_first,
                                           std::uint32_t red, std::uint32_t green, std::uint32_t blue);
    // That of windows with this depth and visual on the server; nothing where it has no direct colours.
    static std::optional<PixelLayout> Of(const xcb_setup_t& setup, std::uint8_t depth, xcb_visualid_t visual);

    int BytesPerPixel() const { return m_bytes; }
    // True when pixels of four bytes (B, G, R, 255) can be sent as they are.
    bool IsBgra() const { return m_is_bgra; }
    // A black pixel, opaque where the server mixes windows.
    std::uint32_t Black() const { return m_opaque; }

    // Turns `count` pixels of four bytes (B, G, R, any) into those of the server.
    void Convert(const std::uint8_t* bgra, std::uint8_t* to, int count) const;

  private:
    struct Channel {
        int shift;
        int bits;
    };

    static std::optional<Channel> ChannelOf(std::uint32_t mask);
    static std::uint32_t Placed(std::uint8_t value, Channel channel);

    int m_bytes = 4;
    bool m_most_significant_first = false;
    bool m_is_bgra = false;
    std::uint32_t m_opaque = 0;
    Channel m_red{};
    Channel m_green{};
    Channel m_blue{};
};

} // namespace dravo
