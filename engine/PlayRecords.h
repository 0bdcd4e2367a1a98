// The records that the engine's interface hands through.
#pragma once

#include <cstdint>

// A rectangle of the picture, in pixels, in the playback library's own layout; right and bottom lie outside
// it.
struct tagBrekRect {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
};
static_assert(sizeof(tagBrekRect) == 16);

// Where a key frame lies. The library fills it; the engine only passes the caller's pointer on and never
// looks inside.
struct DravoFramePos;
using FRAME_POS = DravoFramePos;

// The head of a watermark record as it comes out of a stream: seventeen bytes without gaps.
#pragma pack(push, 1)
struct WATERMARK_INFO {
    std::uint32_t nFirst;
    std::uint32_t nSecond;
    unsigned char aSix[6];
    unsigned char aThree[3];
};
#pragma pack(pop)
static_assert(sizeof(WATERMARK_INFO) == 17);
