// Turns a picture into pixels for a screen: scaled, rotated, in BGRA.
//
// Keeps its scaling tables between pictures of the same kind. Used by one thread at a time.
#pragma once

#include "ordune/Error.h"
#include "ordune/Picture.h"

#include <cstdint>
#include <memory>

namespace ordune {

// A part of a picture in its pixels as shown (after rotation). Empty (width or height 0) means the whole of it.
struct PictureArea {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

enum class ScaleQuality {
    High, // bicubic, or area averaging when shrinking much
    Fast, // bilinear
    Half, // the picture at half its size first: the quickest, and the coarsest
};

class PictureScaler {
  public:
    PictureScaler();
    ~PictureScaler();
    PictureScaler(const PictureScaler&) = delete;
    PictureScaler& operator=(const PictureScaler&) = delete;

    // Writes `area` of the picture, turned as it asks, as width x height pixels of four bytes (B, G, R, 255) with
    // rows `stride` bytes apart, BT.601 or BT.709 and range as the picture says. Pixels are full range.
    Result<void> Scale(const Picture& picture, const PictureArea& area, ScaleQuality quality, std::uint8_t* pixels,
                       int width, int height, int stride);

  private:
    struct Tables;
    std::unique_ptr<Tables> m_tables;
};

} // namespace ordune
