// The header of an H.264 slice (ITU-T H.264, 7.3.3), as far as it tells pictures apart and puts them in
// order.
#pragma once

#include "ordune/ParameterSets.h"

#include <cstdint>
#include <optional>
#include <span>

namespace ordune {

struct SliceHeader {
    enum class Kind { P, B, I };

    unsigned reference_idc = 0; // 0: no other picture refers to it
    bool idr = false;
    std::uint32_t first_macroblock = 0;
    Kind kind = Kind::P; // SP counts as P, SI as I
    unsigned picture_set = 0;
    std::uint32_t frame_number = 0;
    bool field = false;
    bool bottom = false;
    std::uint32_t idr_id = 0;
    std::uint32_t order_lsb = 0;
    std::int32_t delta_bottom = 0;
    std::int32_t delta_order[2] = {0, 0};
    unsigned redundant_count = 0;
    // Memory management operation 5: everything before is forgotten, as at an IDR picture.
    bool resets = false;
};

// `nal` begins with its header byte and may be cut off behind the slice header. Nothing where it is cut off
// before, or names a parameter set that is not there.
std::optional<SliceHeader> ParseSliceHeader(std::span<const std::uint8_t> nal, const ParameterSets& sets);

// Whether the second slice begins another picture than the first (7.4.1.2.4).
bool BeginsPicture(const SliceHeader& first, const SliceHeader& second);

} // namespace ordune
