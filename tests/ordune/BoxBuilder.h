// MP4 boxes built by hand.
#pragma once

#include <cstdint>
#include <string>

namespace ordune::test {

// Most significant byte first.
inline std::string Number(std::uint64_t value, int bytes = 4) {
    std::string text;
    for (int i = bytes - 1; i >= 0; --i)
        text.push_back(static_cast<char>(value >> (8 * i)));
    return text;
}

template <class... Values>
std::string Numbers(Values... values) {
    return (std::string() + ... + Number(static_cast<std::uint32_t>(values)));
}

inline std::string Box(const char* name, const std::string& content) {
    return Number(content.size() + 8) + name + content;
}

} // namespace ordune::test
