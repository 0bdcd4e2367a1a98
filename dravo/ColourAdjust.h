// Changes the colour of pixels on their way to the screen along four independent axes.
//
// Each axis runs from 0 to 128 and changes nothing at 64. For a pixel p = (R, G, B) with brightness Y (BT.709
// weights) the result is
//     p' = c * (Y + s * turn(p - Y, h)) + (1 - c) * 127.5 + b
// with c = contrast / 64, s = saturation / 64, b = 2 * (brightness - 64), and turn() turning the colour
// difference in the plane of Cb and Cr by h = (hue - 64) / 64 * 180 degrees. So hue and saturation keep Y,
// contrast turns about the middle grey, brightness adds, and grey stays grey. All of it is one 3 x 3 matrix
// and one number to add, worked out once for each setting, in whole numbers.
//
// Used by one thread at a time.
#pragma once

#include "dravo/VideoOutput.h"

#include <array>
#include <cstdint>

namespace dravo {

class ColourAdjust {
  public:
    static constexpr int kNeutral = 64;
    static constexpr int kLargest = 128;

    // Values outside 0 to 128 count as the nearer end. `brightness_offset` is added to every channel, in
    // steps of 1/255: finer than the brightness axis, for evening out what the film itself does.
    void Set(const Colour& colour, int brightness_offset = 0);

    // True where Apply changes nothing, and then it does not touch the pixels.
    bool IsNeutral() const { return m_colour == Colour{} && m_brightness_offset == 0; }

    // Changes height rows of width pixels (B, G, R and one byte that stays) that begin stride bytes apart.
    void Apply(std::uint8_t* pixels, int width, int height, int stride) const;

  private:
    // Fixed point with 12 bits behind the point: the largest coefficient, contrast and saturation at double
    // and hue turned by half, is below 8, so that every one fits into 16 bits.
    static constexpr int kFractionBits = 12;

    // From (B, G, R) to one channel, in the order B, G, R.
    struct Row {
        std::array<std::int16_t, 3> factors;
        std::int32_t offset;
    };

    void ApplyToRow(std::uint8_t* pixels, int width) const;
    // Does what it can in vectors and returns how many pixels that were.
    int ApplyInVectors(std::uint8_t* pixels, int width) const;

    Colour m_colour;
    int m_brightness_offset = 0;
    std::array<Row, 3> m_rows{};
};

} // namespace dravo
