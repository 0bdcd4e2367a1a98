// Where what lies in a whole file: its headers, its tables, its pictures.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace damage {

// Bytes from `begin` up to `end`.
struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;

    std::size_t Size() const { return end - begin; }
};

struct Unit {
    Range bytes;
    std::uint32_t frame = 0; // the picture that it is decoded to; all ones when that is not shown
    bool key = false;        // begins a group
};

enum class Layout {
    RawStream, // nothing but pictures
    Table,     // MP4: one table says where each picture lies and when it is shown
    Fragments, // MP4 in pieces, each with a table of its own
    Packets,   // each picture has a header of its own: Matroska and others
};

struct FilePlan {
    Layout layout = Layout::RawStream;
    std::uint32_t total = 0;
    // What tells of the whole film, in the order of the file: MP4's boxes, or what stands around the packets.
    std::vector<Range> tables;
    std::vector<Unit> units; // in the order of decoding
};

// Reads the file, which must be whole. No units where it cannot be opened.
FilePlan PlanOf(const std::string& path);

} // namespace damage
