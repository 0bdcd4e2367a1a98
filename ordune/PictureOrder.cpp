#include "ordune/PictureOrder.h"

#include <algorithm>

namespace ordune {

// 8.2.1.1
PictureOrder::Fields PictureOrder::FromLsb(const SliceHeader& slice, const SequenceParameters& sequence) {
    if (slice.idr) m_order_msb = m_order_lsb = 0;
    const std::int64_t range = std::int64_t{1} << sequence.order_lsb_bits;
    const auto lsb = static_cast<std::int64_t>(slice.order_lsb);
    std::int64_t msb = m_order_msb;
    if (lsb < m_order_lsb && m_order_lsb - lsb >= range / 2) {
        msb += range;
    } else if (lsb > m_order_lsb && lsb - m_order_lsb > range / 2) {
        msb -= range;
    }
    Fields fields{msb + lsb, msb + lsb};
    if (!slice.field) fields.bottom += slice.delta_bottom;
    if (slice.reference_idc != 0) {
        m_order_msb = msb;
        m_order_lsb = lsb;
        if (slice.resets) {
            m_order_msb = 0;
            m_order_lsb = slice.bottom
                              ? 0
                              : fields.top - (slice.field ? fields.top : std::min(fields.top, fields.bottom));
        }
    }
    return fields;
}

// 8.2.1.2 and 8.2.1.3. m_frame_offset is up to date.
PictureOrder::Fields PictureOrder::FromFrameNumber(const SliceHeader& slice,
                                                   const SequenceParameters& sequence) const {
    const std::int64_t absolute = m_frame_offset + slice.frame_number;
    if (sequence.order_type == 2) {
        const std::int64_t value = slice.idr ? 0 : 2 * absolute - (slice.reference_idc == 0 ? 1 : 0);
        return {value, value};
    }
    const auto cycle = static_cast<std::int64_t>(sequence.offsets_in_cycle.size());
    std::int64_t number = cycle != 0 ? absolute : 0;
    if (slice.reference_idc == 0 && number > 0) --number;
    std::int64_t expected = 0;
    if (number > 0) {
        std::int64_t whole = 0;
        for (const std::int32_t offset : sequence.offsets_in_cycle)
            whole += offset;
        // Counts have 32 bits (8.2.1). A hostile stream's factors are cut to them, so that their product
        // fits.
        expected =
            std::int64_t{static_cast<std::int32_t>((number - 1) / cycle)} * static_cast<std::int32_t>(whole);
        for (std::int64_t i = 0; i <= (number - 1) % cycle; ++i) {
            expected += sequence.offsets_in_cycle[static_cast<std::size_t>(i)];
        }
    }
    if (slice.reference_idc == 0) expected += sequence.offset_for_non_reference;
    Fields fields;
    if (!slice.field) {
        fields.top = expected + slice.delta_order[0];
        fields.bottom = fields.top + sequence.offset_for_top_to_bottom + slice.delta_order[1];
    } else {
        fields.top = fields.bottom =
            expected + slice.delta_order[0] + (slice.bottom ? sequence.offset_for_top_to_bottom : 0);
    }
    return fields;
}

PictureOrder::Count PictureOrder::Next(const SliceHeader& slice, const SequenceParameters& sequence) {
    if (slice.idr) {
        m_frame_offset = 0;
    } else {
        if (m_reset_before) {
            m_frame_offset = 0;
            m_frame_number = 0;
        }
        if (m_frame_number > slice.frame_number)
            m_frame_offset += std::int64_t{1} << sequence.frame_number_bits;
    }
    const Fields fields =
        sequence.order_type == 0 ? FromLsb(slice, sequence) : FromFrameNumber(slice, sequence);
    m_frame_number = slice.frame_number;
    m_reset_before = slice.resets;
    Count count;
    count.value =
        slice.field ? (slice.bottom ? fields.bottom : fields.top) : std::min(fields.top, fields.bottom);
    count.new_period = slice.idr || slice.resets;
    // After a reset the picture counts as the first of what follows.
    if (slice.resets) count.value = 0;
    return count;
}

} // namespace ordune
