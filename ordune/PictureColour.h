// How the numbers of a decoded picture are to be read as colours.
#pragma once

struct AVFrame;

namespace ordune {

// The weights of red and blue in brightness; that of green is what is missing to 1.
struct LumaWeights {
    double red;
    double blue;
};
inline constexpr LumaWeights kBt601{0.299, 0.114};

struct PictureColour {
    // libavutil's AVColorSpace, never "unspecified": where the file is silent, BT.709 for pictures larger
    // than those of standard television and BT.601 for the others, as television itself has it.
    int space = 0;
    LumaWeights weights = kBt601;
    // Whether brightness runs from 0 to 255 (and not from 16 to 235).
    bool full_range = false;
};

// Reads it off the frame. Any thread.
PictureColour ColourOf(const AVFrame& frame);

} // namespace ordune
