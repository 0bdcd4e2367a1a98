// One conversion by libswscale, its tables kept for as long as the same conversion is asked for.
//
// Owns one SwsContext. Used by one thread at a time.
#pragma once

#include "ordune/Error.h"

#include <array>
#include <cstdint>
#include <memory>

struct SwsContext;

namespace ordune {

// Pixels to read or to write: libavutil's AVPixelFormat, planes and strides as libswscale takes them.
template <class Byte>
struct PixelPlanes {
    std::array<Byte*, 4> planes{};
    std::array<int, 4> strides{};
    int width = 0;
    int height = 0;
    int format = -1;
};
using ReadPlanes = PixelPlanes<const std::uint8_t>;
using WritePlanes = PixelPlanes<std::uint8_t>;

// What the numbers mean on the side that has brightness and colour differences.
struct SwsColour {
    int space = 1; // AVColorSpace
    bool full_range = true;
    bool operator==(const SwsColour&) const = default;
};

class SwsStage {
  public:
    SwsStage() = default;
    SwsStage(const SwsStage&) = delete;
    SwsStage& operator=(const SwsStage&) = delete;

    // Converts and scales `from` into `to` with libswscale's `flags`. Numbers keep their range, except that
    // RGB becomes full range on the other side.
    Result<void> Convert(const ReadPlanes& from, const SwsColour& colour, const WritePlanes& to, int flags);

  private:
    struct Free {
        void operator()(SwsContext* context) const;
    };
    struct Kind {
        int from_width, from_height, from_format;
        int to_width, to_height, to_format;
        int flags;
        SwsColour colour;
        bool operator==(const Kind&) const = default;
    };

    bool Prepare(const Kind& kind);

    std::unique_ptr<SwsContext, Free> m_context;
    Kind m_kind{};
};

} // namespace ordune
