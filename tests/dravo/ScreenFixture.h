// What tests of the C interface with windows share: an X server of their own, and reading the screen back.
#pragma once

#include "tests/dravo/PortFixture.h"
#include "tests/support/XScreen.h"
#include "tests/support/XServer.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace dravo_tests {

// A part of the root window.
struct Place {
    int x = 0;
    int y = 0;
    int width = 320;
    int height = 180;
};

// What was to be seen there: four bytes a pixel (blue, green, red, 0).
struct Grab {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;

    bool operator==(const Grab&) const = default;

    int At(int x, int y, int channel) const {
        return pixels[static_cast<std::size_t>((y * width + x) * 4 + channel)];
    }
    int Code() const { return support::ReadBarCodeFromBgra(pixels.data(), width * 4, width, height); }
    // Mean of all three channels.
    double Brightness() const {
        double sum = 0.0;
        for (const std::uint8_t value : pixels)
            sum += value;
        return pixels.empty() ? 0.0 : sum * 4.0 / 3.0 / static_cast<double>(pixels.size());
    }
    // Mean of the distance between a pixel's strongest and weakest channel: 0 for grey.
    double Colourfulness() const {
        double sum = 0.0;
        for (std::size_t i = 0; i + 3 < pixels.size(); i += 4) {
            const auto [least, most] = std::minmax({pixels[i], pixels[i + 1], pixels[i + 2]});
            sum += most - least;
        }
        return pixels.empty() ? 0.0 : sum * 4.0 / static_cast<double>(pixels.size());
    }
    Grab Part(const Place& part) const {
        Grab cut{part.width, part.height, {}};
        for (int y = part.y; y < part.y + part.height; ++y) {
            const auto row = pixels.begin() + static_cast<std::ptrdiff_t>(y * width + part.x) * 4;
            cut.pixels.insert(cut.pixels.end(), row, row + static_cast<std::ptrdiff_t>(part.width) * 4);
        }
        return cut;
    }
};

// Mean difference of two grabs of one size, in steps of 1/255; 255 where the sizes differ.
inline double Difference(const Grab& a, const Grab& b) {
    if (a.pixels.size() != b.pixels.size() || a.pixels.empty()) return 255.0;
    double sum = 0.0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i)
        sum += std::abs(a.pixels[i] - b.pixels[i]);
    return sum * 4.0 / 3.0 / static_cast<double>(a.pixels.size());
}

class ScreenTest : public testing::Test {
  protected:
    static constexpr std::uint32_t kBackground = 0x804020;

    ScreenTest() : m_screen(m_server.Display()) { setenv("DISPLAY", m_server.Display().c_str(), 1); }

    xcb_window_t MakeWindow(const Place& place) {
        return m_screen.MakeWindow(place.x, place.y, place.width, place.height, kBackground);
    }

    Grab See(const Place& place) {
        Grab grab{place.width, place.height, {}};
        const auto cookie = xcb_get_image(
            m_screen.Raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_screen.Root(), static_cast<std::int16_t>(place.x),
            static_cast<std::int16_t>(place.y), static_cast<std::uint16_t>(place.width),
            static_cast<std::uint16_t>(place.height), ~0U);
        const std::unique_ptr<xcb_get_image_reply_t, void (*)(void*)> reply(
            xcb_get_image_reply(m_screen.Raw(), cookie, nullptr), std::free);
        if (!reply) return grab;
        const std::uint8_t* data = xcb_get_image_data(reply.get());
        grab.pixels.assign(data, data + xcb_get_image_data_length(reply.get()));
        for (std::size_t i = 3; i < grab.pixels.size(); i += 4)
            grab.pixels[i] = 0;
        return grab;
    }

    int CodeAt(const Place& place) { return See(place).Code(); }

    // Waits until picture `number` is to be seen there.
    bool Shows(const Place& place, unsigned long number, std::chrono::milliseconds limit = 10s) {
        return support::WaitUntil([&] { return CodeAt(place) == static_cast<int>(number); }, limit);
    }
    bool ShowsBackground(const Place& place) {
        return m_screen.WaitForPixel(place.x + place.width / 2, place.y + place.height / 2, kBackground) &&
               m_screen.WaitForPixel(place.x + 2, place.y + 2, kBackground);
    }
    // Waits until three later pictures than the one to be seen now have been there.
    bool Advances(const Place& place) {
        int last = -1;
        int changes = -1;
        return support::WaitUntil(
            [&] {
                const int code = CodeAt(place);
                if (code > last) {
                    last = code;
                    ++changes;
                }
                return changes >= 3;
            },
            10s);
    }
    // Plays the port into the window and halts it at a frame, which is then to be seen there.
    void PlayHalted(const OpenPort& port, xcb_window_t window, const Place& place, unsigned long frame) {
        ASSERT_TRUE(Dravo_Play(port, window));
        ASSERT_TRUE(Dravo_Pause(port, 1));
        ASSERT_TRUE(Dravo_SetCurrentFrameNum(port, frame));
        ASSERT_TRUE(Shows(place, frame));
    }

    support::XServer m_server;
    support::XScreen m_screen;
};

} // namespace dravo_tests
