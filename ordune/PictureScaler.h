// Turns a picture into pixels for a screen: scaled, rotated, in BGRA.
//
// A picture passes through up to five steps, and through as few as it can:
//   1. the shown area becomes a part of the decoded picture (pointers, no pixel is touched);
//   2. libswscale scales it to 8-bit 4:2:0 in the size wanted (before its rotation). Scaling before the
//   conversion
//      to BGRA moves less than half the bytes, and makes the conversion the quick one of equal sizes:
//      together a third less time than libswscale's own way from one to the other;
//   3. the planes are turned;
//   4. libswscale converts them to BGRA;
//   5. at half quality, every pixel is doubled.
// A 4:2:0 picture in its own size and without rotation takes step 4 alone. Where the file does not tell its
// colour matrix, ColourOf (PictureColour.h) chooses.
//
// Keeps its scaling tables and buffers between pictures of the same kind. Used by one thread at a time.
#pragma once

#include "ordune/Error.h"
#include "ordune/Picture.h"

#include <cstdint>
#include <memory>

namespace ordune {

// A part of a picture in its pixels as shown (after rotation). Empty (width or height 0) means the whole of
// it.
struct PictureArea {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const PictureArea&) const = default;
};

// The part of the area that lies in the picture: the whole picture for an empty area, nothing (size 0) for
// one that lies wholly outside.
PictureArea ClipToPicture(const PictureArea& area, const Picture& picture);

enum class ScaleQuality {
    High, // bicubic, or area averaging when shrinking much
    Fast, // bilinear
    Half, // the picture at half its size first: the quickest, and the coarsest
};

class PictureScaler {
  public:
    // The largest width and height that can be asked for: that of an X window.
    static constexpr int kLargestSide = 32767;
    // Where rows begin at multiples of this many bytes, and have room for a multiple of eight pixels, the
    // pixels are written in place; elsewhere they are copied once more.
    static constexpr int kRowAlignment = 64;

    PictureScaler();
    ~PictureScaler();
    PictureScaler(const PictureScaler&) = delete;
    PictureScaler& operator=(const PictureScaler&) = delete;

    // Writes `area` of the picture, turned as it asks, as width x height pixels of four bytes (B, G, R, 255)
    // with rows `stride` bytes apart, BT.601 or BT.709 and range as the picture says. Pixels are full range.
    // The bytes between the end of a row and the beginning of the next may be written to, those after the
    // last row's `stride` are not. An area's edges lie on whole chroma samples of the file; what lies outside
    // the picture is left out. Errors: OutOfRange (nothing of the area is in the picture, or no such size),
    // OutOfMemory, UnknownCodec (a pixel format that libswscale does not read).
    Result<void> Scale(const Picture& picture, const PictureArea& area, ScaleQuality quality,
                       std::uint8_t* pixels, int width, int height, int stride);

  private:
    struct Tables;
    std::unique_ptr<Tables> m_tables;
};

} // namespace ordune
