// The boxes of an MP4 file (ISO/IEC 14496-12, 4.2) in memory, and numbers as they stand in it: most
// significant byte first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace ordune::mp4 {

// A name as a number: Name("moov").
constexpr std::uint32_t Name(const char (&text)[5]) {
    return (std::uint32_t{static_cast<std::uint8_t>(text[0])} << 24) |
           (std::uint32_t{static_cast<std::uint8_t>(text[1])} << 16) |
           (std::uint32_t{static_cast<std::uint8_t>(text[2])} << 8) | static_cast<std::uint8_t>(text[3]);
}

inline std::uint32_t Read32(const std::uint8_t* p) {
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) | p[3];
}

inline std::uint64_t Read64(const std::uint8_t* p) {
    return (std::uint64_t{Read32(p)} << 32) | Read32(p + 4);
}

// What stands ahead of a box's content.
struct BoxHead {
    std::uint32_t name = 0;
    std::int64_t header_bytes = 8;
    std::int64_t size_bytes = 0; // header included; at most `room`
    bool cut = false;            // it claims more than there is room for
};

// Reads the head from up to 16 bytes at hand, `room` being what is left for the box, at least 8. Nothing
// where it is none.
inline std::optional<BoxHead> ReadHead(std::span<const std::uint8_t> bytes, std::int64_t room) {
    if (bytes.size() < 8 || room < 8) return std::nullopt;
    BoxHead head;
    head.name = Read32(bytes.data() + 4);
    std::uint64_t size = Read32(bytes.data());
    if (size == 1) {
        if (bytes.size() < 16) return std::nullopt;
        size = Read64(bytes.data() + 8);
        head.header_bytes = 16;
    } else if (size == 0) {
        size = static_cast<std::uint64_t>(room);
    }
    if (size < static_cast<std::uint64_t>(head.header_bytes)) return std::nullopt;
    head.cut = size > static_cast<std::uint64_t>(room);
    head.size_bytes = head.cut ? room : static_cast<std::int64_t>(size);
    return head;
}

// A box whose content is in memory; valid as long as the memory.
class Box {
  public:
    Box(std::uint32_t name, std::span<const std::uint8_t> whole, std::size_t header_bytes)
        : m_name(name), m_whole(whole), m_header(header_bytes) {}

    std::uint32_t Name() const { return m_name; }
    // With its head.
    std::span<const std::uint8_t> Whole() const { return m_whole; }
    std::span<const std::uint8_t> Content() const { return m_whole.subspan(m_header); }
    const std::uint8_t* Data() const { return m_whole.data() + m_header; }
    std::size_t Size() const { return m_whole.size() - m_header; }

    // Calls visit(box) for each box in the content, `skip` bytes into it, until it returns false. False when
    // it did, or at a box that is broken.
    template <class Visit>
    bool ForEach(Visit visit, std::size_t skip = 0) const {
        std::span<const std::uint8_t> rest = Content();
        if (skip > rest.size()) return false;
        rest = rest.subspan(skip);
        for (unsigned n = 0; n < kMostInside && rest.size() >= 8; ++n) {
            const std::optional<BoxHead> head = ReadHead(rest, static_cast<std::int64_t>(rest.size()));
            if (!head || head->cut) return false;
            const auto size = static_cast<std::size_t>(head->size_bytes);
            if (!visit(Box(head->name, rest.first(size), static_cast<std::size_t>(head->header_bytes))))
                return false;
            rest = rest.subspan(size);
        }
        return true;
    }

    // The first box of this name inside.
    std::optional<Box> Find(std::uint32_t name) const {
        std::optional<Box> found;
        (void)ForEach([&](const Box& box) {
            if (box.Name() != name) return true;
            found.emplace(box);
            return false;
        });
        return found;
    }

  private:
    static constexpr unsigned kMostInside = 4096;

    std::uint32_t m_name;
    std::span<const std::uint8_t> m_whole;
    std::size_t m_header;
};

} // namespace ordune::mp4
