#include "tests/damage/Damage.h"

#include <algorithm>

namespace damage {

namespace {

constexpr std::size_t kHeaderBytes = 64;
constexpr int kMostFlips = 32;
constexpr std::size_t kHeadBytes = 8; // a length field, a type and the begin of what follows

std::size_t Below(std::size_t limit, Random& random) {
    return limit > 0 ? static_cast<std::size_t>(random() % limit) : 0;
}

// A piece of at least one byte.
Range PieceOf(Range part, Random& random) {
    const std::size_t begin = part.begin + Below(part.Size(), random);
    return {begin, begin + 1 + Below(part.end - begin, random)};
}

// One of those units that `wanted` accepts.
template <class Wanted>
Range AnyUnit(const FilePlan& plan, Random& random, Wanted wanted) {
    std::vector<Range> ranges;
    for (std::size_t i = 0; i < plan.units.size(); ++i) {
        if (wanted(i, plan.units[i])) ranges.push_back(plan.units[i].bytes);
    }
    return ranges.empty() ? Range() : ranges[Below(ranges.size(), random)];
}

void FlipBit(std::vector<std::uint8_t>& bytes, Range part, Random& random) {
    const std::size_t at = part.begin + Below(part.Size(), random);
    bytes[at] ^= static_cast<std::uint8_t>(1U << Below(8, random));
}

auto At(std::vector<std::uint8_t>& bytes, std::size_t offset) {
    return bytes.begin() + static_cast<std::ptrdiff_t>(offset);
}

} // namespace

const char* NameOf(Place place) {
    switch (place) {
    case Place::Header:
        return "header";
    case Place::Table:
        return "table";
    case Place::FirstPicture:
        return "first picture";
    case Place::KeyPicture:
        return "key picture";
    case Place::OtherPicture:
        return "other picture";
    case Place::LastPicture:
        return "last picture";
    }
    return "";
}

const char* NameOf(Harm harm) {
    switch (harm) {
    case Harm::CutOff:
        return "cut off";
    case Harm::Remove:
        return "removed";
    case Harm::Zero:
        return "zeroed";
    case Harm::Flip:
        return "flipped";
    case Harm::FlipHead:
        return "head flip";
    case Harm::Duplicate:
        return "duplicated";
    case Harm::Reorder:
        return "reordered";
    }
    return "";
}

Range PartOf(const FilePlan& plan, std::size_t file_bytes, Place place, Random& random) {
    switch (place) {
    case Place::Header:
        return {0, std::min(kHeaderBytes, file_bytes)};
    case Place::Table:
        return plan.tables.empty() ? Range() : plan.tables[Below(plan.tables.size(), random)];
    case Place::FirstPicture:
        return plan.units.empty() ? Range() : plan.units.front().bytes;
    case Place::KeyPicture:
        return AnyUnit(plan, random, [](std::size_t i, const Unit& unit) { return i > 0 && unit.key; });
    case Place::OtherPicture:
        return AnyUnit(plan, random, [](std::size_t, const Unit& unit) { return !unit.key; });
    case Place::LastPicture:
        return plan.units.empty() ? Range() : plan.units.back().bytes;
    }
    return {};
}

Damaged Break(const std::vector<std::uint8_t>& whole, Range part, Harm harm, Random& random) {
    Damaged damaged;
    std::vector<std::uint8_t>& bytes = damaged.bytes = whole;
    Range piece = PieceOf(part, random);
    damaged.touched = piece;
    damaged.misplaced = harm != Harm::CutOff && harm != Harm::Zero;
    switch (harm) {
    case Harm::CutOff:
        bytes.resize(piece.begin);
        damaged.touched.end = whole.size();
        damaged.moved = true;
        break;
    case Harm::Remove:
        bytes.erase(At(bytes, piece.begin), At(bytes, piece.end));
        damaged.moved = true;
        break;
    case Harm::Zero:
        std::fill(At(bytes, piece.begin), At(bytes, piece.end), std::uint8_t{0});
        break;
    case Harm::Flip:
        damaged.touched = part;
        for (std::size_t flips = 1 + Below(kMostFlips, random); flips > 0; --flips)
            FlipBit(bytes, part, random);
        break;
    case Harm::FlipHead:
        damaged.touched = {part.begin, std::min(part.end, part.begin + kHeadBytes)};
        FlipBit(bytes, damaged.touched, random);
        break;
    case Harm::Duplicate: {
        const std::vector<std::uint8_t> copy(At(bytes, piece.begin), At(bytes, piece.end));
        bytes.insert(At(bytes, piece.end), copy.begin(), copy.end());
        damaged.touched = {piece.end, piece.end};
        damaged.moved = true;
        break;
    }
    case Harm::Reorder: {
        // The part changes places with what comes next, up to as long as itself; at the end of the file its
        // own halves do.
        const std::size_t end = std::min(whole.size(), part.end + part.Size());
        const std::size_t middle = part.end < end ? part.end : part.begin + part.Size() / 2;
        std::rotate(At(bytes, part.begin), At(bytes, middle), At(bytes, end));
        damaged.touched = {part.begin, end};
        break;
    }
    }
    return damaged;
}

} // namespace damage
