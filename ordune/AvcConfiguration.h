// The configuration record of H.264 in MP4 and its like (ISO/IEC 14496-15, 5.3.3.1): parameter sets, and how
// many bytes the length field ahead of each NAL unit has.
#pragma once

#include "ordune/ParameterSets.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ordune {

struct AvcConfiguration {
    std::size_t length_bytes = 4;
    // NAL units, header byte included; sequences first.
    std::vector<std::vector<std::uint8_t>> sets;

    // Nothing for what is no such record. A record that breaks off gives what is whole of it.
    static std::optional<AvcConfiguration> Parse(std::span<const std::uint8_t> record);
    // The record of these sets, with length fields of four bytes; empty without both kinds of set.
    static std::vector<std::uint8_t> Make(const std::vector<ParameterSets::Bytes>& sets);
};

} // namespace ordune
