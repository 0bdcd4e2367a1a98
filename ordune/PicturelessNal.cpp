#include "ordune/PicturelessNal.h"

#include "ordune/BitReader.h"

#include <algorithm>
#include <cstddef>

namespace ordune {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t kStop = 0x80; // the stop bit and the zeros that fill its byte
// A delimiter is a byte behind the header, an end mark none; zeros may follow.
constexpr std::size_t kMostMarkBytes = 4;
constexpr std::size_t kMostPrefixBytes = 16;

bool IsMark(Bytes nal) {
    return nal.size() <= kMostMarkBytes;
}

bool IsFiller(Bytes payload) {
    if (payload.empty() || payload.back() != kStop) return false;
    return std::all_of(payload.begin(), payload.end() - 1, [](std::uint8_t byte) { return byte == 0xff; });
}

// A number of supplemental information: bytes of 255 that are added to the first other one.
std::uint32_t SummedBytes(BitReader& bits) {
    std::uint32_t sum = 0;
    for (std::uint32_t byte = 255; byte == 255 && !bits.Overrun();) {
        byte = bits.Bits(8);
        sum += byte;
    }
    return sum;
}

// Messages, each of a type and a size, that fill it to its end (ITU-T H.264, 7.3.2.3).
bool IsMessages(Bytes payload) {
    BitReader bits(payload);
    while (bits.BitsLeft() > 8) {
        (void)SummedBytes(bits);
        const std::uint32_t bytes = SummedBytes(bits);
        if (bytes > payload.size()) return false;
        bits.Skip(8 * bytes);
        if (bits.Overrun()) return false;
    }
    return bits.Bits(8) == kStop && !bits.Overrun();
}

// As recorders repeat them.
bool IsOfConfiguration(Bytes nal, Bytes configuration) {
    return std::search(configuration.begin(), configuration.end(), nal.begin(), nal.end()) !=
           configuration.end();
}

} // namespace

bool IsPictureless264(Bytes nal, Bytes configuration) {
    if (nal.empty() || (nal[0] & 0x80U) != 0) return false;
    switch (nal[0] & 31U) {
    case 6:
        return IsMessages(nal.subspan(1));
    case 7:
    case 8:
    case 13:
        return IsOfConfiguration(nal, configuration);
    case 9:
    case 10:
    case 11:
        return IsMark(nal);
    case 12:
        return IsFiller(nal.subspan(1));
    case 14:
        return nal.size() <= kMostPrefixBytes;
    default:
        return false;
    }
}

bool IsPicturelessHevc(Bytes nal, Bytes configuration) {
    if (nal.size() < 2 || (nal[0] & 0x80U) != 0) return false;
    switch ((nal[0] >> 1) & 63U) {
    case 32:
    case 33:
    case 34:
        return IsOfConfiguration(nal, configuration);
    case 35:
    case 36:
    case 37:
        return IsMark(nal);
    case 38:
        return IsFiller(nal.subspan(2));
    case 39:
    case 40:
        return IsMessages(nal.subspan(2));
    default:
        return false;
    }
}

} // namespace ordune
