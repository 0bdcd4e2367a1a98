// NAL units that hold no picture: told from slices whose header byte is damaged.
//
// One wrong bit makes a slice a parameter set or a message to go by its type alone. What its type says has to
// show in its bytes too.
#pragma once

#include <cstdint>
#include <span>

namespace ordune {

// Whether a NAL unit, header first, without start code or length field, is certainly a message, a parameter
// set of the stream's configuration record, a delimiter, an end mark or filler (ITU-T H.264, table 7-1, and
// H.265, table 7-1). A slice never is.
bool IsPictureless264(std::span<const std::uint8_t> nal, std::span<const std::uint8_t> configuration);
bool IsPicturelessHevc(std::span<const std::uint8_t> nal, std::span<const std::uint8_t> configuration);

} // namespace ordune
