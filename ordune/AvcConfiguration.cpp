#include "ordune/AvcConfiguration.h"

namespace ordune {

std::optional<AvcConfiguration> AvcConfiguration::Parse(std::span<const std::uint8_t> record) {
    if (record.size() < 7 || record[0] != 1) return std::nullopt;
    AvcConfiguration configuration;
    configuration.length_bytes = (record[4] & 3U) + 1;
    std::size_t at = 5;
    for (const unsigned mask : {31U, 255U}) {
        if (at >= record.size()) break;
        unsigned count = record[at++] & mask;
        for (; count > 0 && at + 2 <= record.size(); --count) {
            const std::size_t size = (std::size_t{record[at]} << 8) | record[at + 1];
            at += 2;
            if (size == 0 || size > record.size() - at) return configuration;
            const std::span<const std::uint8_t> set = record.subspan(at, size);
            configuration.sets.emplace_back(set.begin(), set.end());
            at += size;
        }
    }
    return configuration;
}

std::vector<std::uint8_t> AvcConfiguration::Make(const std::vector<ParameterSets::Bytes>& sets) {
    constexpr std::size_t kMostSequences = 31;
    constexpr std::size_t kMostPictures = 255;
    std::vector<std::uint8_t> sequences;
    std::vector<std::uint8_t> pictures;
    std::size_t sequence_count = 0;
    std::size_t picture_count = 0;
    const std::uint8_t* first = nullptr;
    for (const ParameterSets::Bytes& set : sets) {
        if (set->size() < 4 || set->size() > 0xffff) continue;
        const bool sequence = (set->front() & 31U) == 7;
        std::size_t& count = sequence ? sequence_count : picture_count;
        if (count >= (sequence ? kMostSequences : kMostPictures)) continue;
        if (sequence && !first) first = set->data();
        std::vector<std::uint8_t>& out = sequence ? sequences : pictures;
        out.push_back(static_cast<std::uint8_t>(set->size() >> 8));
        out.push_back(static_cast<std::uint8_t>(set->size()));
        out.insert(out.end(), set->begin(), set->end());
        ++count;
    }
    if (!first || picture_count == 0) return {};
    std::vector<std::uint8_t> record{1,        first[1], first[2],
                                     first[3], 0xff,     static_cast<std::uint8_t>(0xe0U | sequence_count)};
    record.insert(record.end(), sequences.begin(), sequences.end());
    record.push_back(static_cast<std::uint8_t>(picture_count));
    record.insert(record.end(), pictures.begin(), pictures.end());
    return record;
}

} // namespace ordune
