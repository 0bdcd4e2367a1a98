#include "tests/damage/FilePlan.h"

#include "ordune/MediaFile.h"

extern "C" {
#include <libavcodec/packet.h>
}

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace damage {

namespace {

// More than Matroska puts before a picture.
constexpr std::size_t kPacketHeader = 8;

std::vector<std::uint8_t> Content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The outermost boxes of an MP4 file; calls visit(name, range).
template <class Visit>
void ForEachBox(const std::vector<std::uint8_t>& bytes, Visit visit) {
    for (std::size_t at = 0; bytes.size() - at >= 8;) {
        std::uint64_t size = 0;
        for (std::size_t i = 0; i < 4; ++i)
            size = (size << 8) | bytes[at + i];
        if (size == 0) size = bytes.size() - at;
        if (size == 1 && bytes.size() - at >= 16) {
            for (std::size_t i = 8; i < 16; ++i)
                size = (size << 8) | bytes[at + i];
        }
        if (size < 8 || size > bytes.size() - at) return;
        visit(std::string(bytes.begin() + static_cast<std::ptrdiff_t>(at + 4),
                          bytes.begin() + static_cast<std::ptrdiff_t>(at + 8)),
              Range{at, at + static_cast<std::size_t>(size)});
        at += static_cast<std::size_t>(size);
    }
}

bool IsMp4(const std::vector<std::uint8_t>& bytes) {
    return bytes.size() >= 8 &&
           (std::memcmp(bytes.data() + 4, "ftyp", 4) == 0 || std::memcmp(bytes.data() + 4, "moov", 4) == 0 ||
            std::memcmp(bytes.data() + 4, "wide", 4) == 0);
}

Layout LayoutOf(const std::vector<std::uint8_t>& bytes, std::vector<Range>& tables) {
    if (IsMp4(bytes)) {
        Layout layout = Layout::Table;
        ForEachBox(bytes, [&](const std::string& name, Range range) {
            if (name == "moof") layout = Layout::Fragments;
            if (name == "moof" || name == "moov" || name == "sidx") tables.push_back(range);
        });
        return layout;
    }
    const bool start_code = bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == 0 && bytes[2] <= 1;
    return start_code ? Layout::RawStream : Layout::Packets;
}

} // namespace

FilePlan PlanOf(const std::string& path) {
    FilePlan plan;
    const auto file = ordune::MediaFile::Open(path);
    if (!file) return plan;
    const std::vector<std::uint8_t> bytes = Content(path);
    plan.layout = LayoutOf(bytes, plan.tables);
    const ordune::FrameIndex& index = file.Value()->Index();
    auto reader = file.Value()->MakeUnitReader();
    if (!reader) return plan;
    for (;;) {
        const auto unit = reader.Value()->Next();
        if (!unit || !unit.Value()) break;
        const AVPacket& packet = *unit.Value()->packet;
        if (packet.pos < 0 || static_cast<std::size_t>(packet.pos) >= bytes.size()) continue;
        // Where each packet has a header, that is where its position is; the header is the container's own.
        const std::size_t header = plan.layout == Layout::Packets ? kPacketHeader : 0;
        const std::size_t begin = static_cast<std::size_t>(packet.pos) + header;
        const std::size_t end = std::min(bytes.size(), static_cast<std::size_t>(packet.pos + packet.size));
        if (begin >= end) continue;
        plan.units.push_back(
            {.bytes = {begin, end}, .frame = index.FrameOf(unit.Value()->number), .key = unit.Value()->key});
    }
    plan.total = index.Total();
    // What such a container says of the whole film stands before its first and behind its last packet.
    if (plan.layout == Layout::Packets && !plan.units.empty()) {
        const auto by_place = [](const Unit& one, const Unit& other) {
            return one.bytes.begin < other.bytes.begin;
        };
        const auto [first, last] = std::minmax_element(plan.units.begin(), plan.units.end(), by_place);
        plan.tables.push_back({0, first->bytes.begin - kPacketHeader});
        if (last->bytes.end < bytes.size()) plan.tables.push_back({last->bytes.end, bytes.size()});
    }
    return plan;
}

} // namespace damage
