#include "dravo/Letterbox.h"

#include <algorithm>

namespace dravo {

namespace {

constexpr int kFieldWidth = 704;
constexpr int kFieldHeights[] = {288, 240};
// Beyond this a pixel aspect is no longer a shape but damage; it also keeps the products below within 64
// bits.
constexpr std::int64_t kLargestAspect = 1 << 15;

bool IsSingleField(int width, int height) {
    return width == kFieldWidth &&
           std::find(std::begin(kFieldHeights), std::end(kFieldHeights), height) != std::end(kFieldHeights);
}

std::int64_t Rounded(std::int64_t dividend, std::int64_t divisor) {
    return (dividend + divisor / 2) / divisor;
}

} // namespace

PixelAspect AspectOf(const ordune::Picture& picture) {
    const PixelAspect told{picture.SampleAspectNumerator(), picture.SampleAspectDenominator()};
    if (told.numerator != told.denominator || !IsSingleField(picture.CodedWidth(), picture.CodedHeight()))
        return told;
    return picture.Rotation() % 180 == 0 ? PixelAspect{1, 2} : PixelAspect{2, 1};
}

Box FitInWindow(int width, int height, PixelAspect aspect, int window_width, int window_height) {
    if (width <= 0 || height <= 0 || window_width <= 0 || window_height <= 0) return {};
    while (std::max(aspect.numerator, aspect.denominator) > kLargestAspect) {
        aspect.numerator = std::max<std::int64_t>(aspect.numerator / 2, 1);
        aspect.denominator = std::max<std::int64_t>(aspect.denominator / 2, 1);
    }
    // The picture's shape is across : down.
    const std::int64_t across = width * aspect.numerator;
    const std::int64_t down = height * aspect.denominator;
    std::int64_t box_width = window_width;
    std::int64_t box_height = window_height;
    if (across * window_height > down * window_width) {
        box_height = std::max<std::int64_t>(Rounded(down * window_width, across), 1);
    } else {
        box_width = std::max<std::int64_t>(Rounded(across * window_height, down), 1);
    }
    return {static_cast<int>((window_width - box_width) / 2),
            static_cast<int>((window_height - box_height) / 2), static_cast<int>(box_width),
            static_cast<int>(box_height)};
}

} // namespace dravo
