// Picture order count (ITU-T H.264, 8.2.1): what the pictures between two resets are sorted by for showing.
#pragma once

#include "ordune/ParameterSets.h"
#include "ordune/SliceHeader.h"

#include <cstdint>

namespace ordune {

class PictureOrder {
  public:
    struct Count {
        std::int64_t value = 0;  // of the frame, or of the field
        bool new_period = false; // everything before is shown before it: an IDR picture or a reset
    };

    // The count of the next picture (frame or field) in the order of decoding.
    Count Next(const SliceHeader& slice, const SequenceParameters& sequence);

  private:
    struct Fields {
        std::int64_t top = 0;
        std::int64_t bottom = 0;
    };
    Fields FromLsb(const SliceHeader& slice, const SequenceParameters& sequence);
    Fields FromFrameNumber(const SliceHeader& slice, const SequenceParameters& sequence) const;

    // Of the previous picture, or reference picture where the standard says so.
    std::int64_t m_order_msb = 0;
    std::int64_t m_order_lsb = 0;
    std::int64_t m_frame_offset = 0;
    std::uint32_t m_frame_number = 0;
    bool m_reset_before = false; // the previous picture reset the order
};

} // namespace ordune
