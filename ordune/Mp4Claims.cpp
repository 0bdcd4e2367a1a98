#include "ordune/Mp4Claims.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace ordune {

namespace {

constexpr std::uint64_t kAlwaysBelieved = 1 << 20;
constexpr std::uint64_t kNeverBelieved = 64'000'000; // a day at 60 pictures a second is five million
// libavformat lists sound without a codec by blocks of so many samples.
constexpr std::uint64_t kPlainSoundBlock = 1024;
constexpr int kDeepest = 8;

constexpr std::uint32_t Name(const char (&text)[5]) {
    return (std::uint32_t{static_cast<std::uint8_t>(text[0])} << 24) |
           (std::uint32_t{static_cast<std::uint8_t>(text[1])} << 16) |
           (std::uint32_t{static_cast<std::uint8_t>(text[2])} << 8) | static_cast<std::uint8_t>(text[3]);
}

class Counter {
  public:
    Counter(const FileSource& file, const std::function<bool()>& given_up)
        : m_file(file), m_given_up(given_up) {}

    // The boxes from `at` to `end`, and those inside them.
    void Walk(std::int64_t at, std::int64_t end, int depth);
    const Mp4Claims& Claims() const { return m_claims; }

  private:
    // What the boxes of the track say, in whatever order they come.
    struct Track {
        bool sound = false;
        bool one_tick_each = false;
        std::uint64_t samples = 0;
        std::uint64_t chunks = 0;
        std::uint64_t most_in_chunk = 0;
    };

    std::uint32_t Read32(std::int64_t at);
    void Look(std::uint32_t name, std::int64_t begin, std::int64_t end);
    void EndTrack();

    const FileSource& m_file;
    const std::function<bool()>& m_given_up;
    Mp4Claims m_claims;
    Track m_track;
    // The piece of the file that was read last: headers stand close to each other.
    std::array<std::uint8_t, 4096> m_bytes{};
    std::int64_t m_at = 0;
    std::int64_t m_size = 0;
};

// 0 past the end.
std::uint32_t Counter::Read32(std::int64_t at) {
    if (at < m_at || at + 4 > m_at + m_size) {
        m_at = at;
        m_size =
            m_given_up() ? 0 : std::max<std::int64_t>(m_file.ReadAt(at, m_bytes.data(), m_bytes.size()), 0);
        if (m_size < 4) return 0;
    }
    const std::uint8_t* p = m_bytes.data() + (at - m_at);
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) | p[3];
}

void Counter::Walk(std::int64_t at, std::int64_t end, int depth) {
    while (end - at >= 8) {
        std::uint64_t size = Read32(at);
        const std::uint32_t name = Read32(at + 4);
        std::int64_t header = 8;
        if (size == 1 && end - at >= 16) {
            size = (std::uint64_t{Read32(at + 8)} << 32) | Read32(at + 12);
            header = 16;
        } else if (size == 0) {
            size = static_cast<std::uint64_t>(end - at);
        }
        if (size < static_cast<std::uint64_t>(header)) return;
        // A box that reaches past the end is looked into all the same: libavformat does.
        const std::int64_t next =
            at +
            static_cast<std::int64_t>(std::min<std::uint64_t>(size, static_cast<std::uint64_t>(end - at)));
        if (depth == 0) {
            ++m_claims.boxes;
            if (name == Name("moov") || name == Name("moof")) m_claims.movie_bytes += next - at;
        }
        switch (name) {
        case Name("moov"):
        case Name("trak"):
        case Name("mdia"):
        case Name("minf"):
        case Name("stbl"):
        case Name("moof"):
        case Name("traf"):
            if (depth < kDeepest) Walk(at + header, next, depth + 1);
            if (name == Name("trak")) EndTrack();
            break;
        default:
            Look(name, at + header, next);
            break;
        }
        at = next;
    }
}

void Counter::Look(std::uint32_t name, std::int64_t begin, std::int64_t end) {
    if (end - begin < 8) return;
    switch (name) {
    case Name("hdlr"):
        m_track.sound = m_track.sound || Read32(begin + 8) == Name("soun");
        break;
    case Name("stts"):
        m_track.one_tick_each = Read32(begin + 4) == 1 && Read32(begin + 12) == 1;
        break;
    case Name("stsz"):
    case Name("stz2"):
        m_track.samples += Read32(begin + 8);
        break;
    case Name("stco"):
    case Name("co64"):
        m_track.chunks += Read32(begin + 4);
        break;
    case Name("stsc"):
        for (std::int64_t entry = begin + 8; end - entry >= 12; entry += 12)
            m_track.most_in_chunk = std::max<std::uint64_t>(m_track.most_in_chunk, Read32(entry + 4));
        break;
    case Name("trun"):
        m_claims.samples += Read32(begin + 4);
        break;
    default:
        break;
    }
}

void Counter::EndTrack() {
    if (m_track.sound && m_track.one_tick_each)
        m_claims.samples += m_track.chunks * (m_track.most_in_chunk / kPlainSoundBlock + 1);
    else
        m_claims.samples += m_track.samples;
    m_track = {};
}

} // namespace

Mp4Claims Mp4Claims::Of(const FileSource& file, const std::function<bool()>& given_up) {
    Counter counter(file, given_up);
    counter.Walk(0, file.Size(), 0);
    return counter.Claims();
}

bool Mp4Claims::TooMuchFor(std::int64_t file_bytes) const {
    if (samples <= kAlwaysBelieved) return false;
    return samples > kNeverBelieved ||
           samples > static_cast<std::uint64_t>(std::max<std::int64_t>(file_bytes, 0));
}

} // namespace ordune
