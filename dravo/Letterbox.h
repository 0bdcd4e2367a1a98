// Where in a window a picture goes: with its own aspect ratio, as large as fits, centred. Pure arithmetic,
// any thread.
#pragma once

#include "ordune/Picture.h"

#include <cstdint>

namespace dravo {

// A rectangle in pixels of a window; with a width or height of 0 there is nothing to see.
struct Box {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool IsEmpty() const { return width <= 0 || height <= 0; }
    bool operator==(const Box&) const = default;
};

// Shape of one pixel as shown: width / height.
struct PixelAspect {
    std::int64_t numerator = 1;
    std::int64_t denominator = 1;
    bool operator==(const PixelAspect&) const = default;
};

// The picture's own pixel aspect; where the file tells none, square, except that 704 x 288 and 704 x 240 are
// the single fields that recorders store and are shown as twice their height. Follows the picture's rotation.
PixelAspect AspectOf(const ordune::Picture& picture);

// The largest box of the shape of width x height such pixels in a window of that size, centred; odd pixels
// left over go to the right and the bottom. At least one pixel each way; empty when the window or the picture
// is.
Box FitInWindow(int width, int height, PixelAspect aspect, int window_width, int window_height);

} // namespace dravo
