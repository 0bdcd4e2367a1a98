#include "ordune/PictureUse.h"

#include "ordune/NalScanner.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>

namespace ordune {

namespace {

constexpr std::size_t kStartCode = 3;
constexpr unsigned kSequenceSet = 33; // HEVC

// Whether each picture that begins in the unit is a B picture, and there is one. Some files have two
// pictures of MPEG-4 in one unit.
bool AllAreB(std::span<const std::uint8_t> unit, unsigned picture_code, unsigned kind_at_bit, unsigned b) {
    bool any = false;
    std::size_t at = FindStartCode(unit.data(), 0, unit.size());
    while (at + kStartCode + 3 <= unit.size()) {
        const std::uint8_t* code = unit.data() + at + kStartCode;
        if (code[0] == picture_code) {
            const unsigned head = (unsigned{code[1]} << 8) | code[2];
            const unsigned bits = picture_code == 0 ? 3 : 2;
            if (((head >> (16 - kind_at_bit - bits)) & ((1U << bits) - 1)) != b) return false;
            any = true;
        }
        at = FindStartCode(unit.data(), at + kStartCode, unit.size());
    }
    return any;
}

} // namespace

PictureUse::PictureUse(const AVCodecParameters& parameters) {
    switch (parameters.codec_id) {
    case AV_CODEC_ID_H264:
        m_kind = Kind::Avc;
        break;
    case AV_CODEC_ID_HEVC:
        m_kind = Kind::Hevc;
        break;
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
        m_kind = Kind::Mpeg12;
        return;
    case AV_CODEC_ID_MPEG4:
        m_kind = Kind::Mpeg4;
        return;
    default:
        return;
    }
    if (parameters.extradata && parameters.extradata_size > 0)
        TakeConfiguration({parameters.extradata, static_cast<std::size_t>(parameters.extradata_size)});
}

// ISO/IEC 14496-15, 5.3.3.1 and 8.3.3.1, or units behind start codes.
void PictureUse::TakeConfiguration(std::span<const std::uint8_t> configuration) {
    const bool described = configuration.size() > 6 && (configuration[0] != 0 || configuration[1] != 0);
    if (!described) {
        if (m_kind == Kind::Hevc) (void)ReferencedByNal(configuration);
        return;
    }
    if (m_kind == Kind::Avc) {
        m_length_bytes = (configuration[4] & 3U) + 1;
        return;
    }
    if (configuration.size() < 23) {
        m_kind = Kind::Unknown;
        return;
    }
    m_length_bytes = (configuration[21] & 3U) + 1;
    const auto read16 = [&](std::size_t at) {
        return at + 2 <= configuration.size() ? std::size_t{configuration[at]} << 8 | configuration[at + 1]
                                              : 0U;
    };
    std::size_t at = 23;
    for (unsigned arrays = configuration[22]; arrays > 0 && at + 3 <= configuration.size(); --arrays) {
        std::size_t units = read16(at + 1);
        at += 3;
        for (; units > 0 && at + 2 <= configuration.size(); --units) {
            const std::size_t length = std::min(read16(at), configuration.size() - at - 2);
            (void)Tells(configuration.subspan(at + 2, length));
            at += 2 + length;
        }
    }
}

bool PictureUse::Referenced(std::span<const std::uint8_t> unit) {
    switch (m_kind) {
    case Kind::Avc:
    case Kind::Hevc:
        return ReferencedByNal(unit);
    case Kind::Mpeg12:
        return !AllAreB(unit, 0x00, 10, 3); // 13818-2, 6.2.3
    case Kind::Mpeg4:
        return !AllAreB(unit, 0xb6, 0, 2); // 14496-2, 6.2.5
    case Kind::Unknown:
        break;
    }
    return true;
}

bool PictureUse::ReferencedByNal(std::span<const std::uint8_t> unit) {
    int told = -1;
    if (m_length_bytes == 0) {
        std::size_t at = FindStartCode(unit.data(), 0, unit.size());
        while (told < 0 && at + kStartCode < unit.size()) {
            told = Tells(unit.subspan(at + kStartCode));
            at = FindStartCode(unit.data(), at + kStartCode, unit.size());
        }
        return told != 0;
    }
    std::size_t at = 0;
    while (told < 0 && at + m_length_bytes < unit.size()) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < m_length_bytes; ++i)
            length = (length << 8) | unit[at + i];
        at += m_length_bytes;
        told = Tells(unit.subspan(at));
        if (length > unit.size() - at) break;
        at += length;
    }
    return told != 0;
}

int PictureUse::Tells(std::span<const std::uint8_t> nal) {
    if (nal.empty()) return -1;
    if (m_kind == Kind::Avc) {
        const unsigned type = nal[0] & 31U;
        if (type != 1 && type != 5) return -1;
        return (nal[0] & 0x60U) != 0 ? 1 : 0;
    }
    if (nal.size() < 3) return -1;
    // ITU-T H.265, 7.3.1.2, 7.3.2.2 and table 7-1.
    const unsigned type = (nal[0] >> 1) & 63U;
    if (type == kSequenceSet) m_highest_layer = std::max(m_highest_layer, (nal[2] >> 1) & 7);
    if (type > 31) return -1;
    // Below 16, even types are referred to by nothing in their own temporal layer; in the highest that is
    // all.
    const int layer = (nal[1] & 7) - 1;
    const bool unused = type < 16 && type % 2 == 0 && m_highest_layer >= 0 && layer >= m_highest_layer;
    return unused ? 0 : 1;
}

} // namespace ordune
