#include "ordune/NalScanner.h"

#include <bit>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace ordune {

std::size_t FindStartCodePortably(const std::uint8_t* data, std::size_t from, std::size_t size) {
    // The 01 is far rarer than 00 in coded video, and memchr is as fast as the machine.
    std::size_t at = from + 2;
    while (at < size) {
        const void* found = std::memchr(data + at, 1, size - at);
        if (!found) return size;
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - data);
        if (data[at - 1] == 0 && data[at - 2] == 0) return at - 2;
        ++at;
    }
    return size;
}

#if defined(__x86_64__)

namespace {

// Thirty-two places at a time. Two neighbouring zero bytes are looked for first: most blocks have none.
__attribute__((target("avx2"))) std::size_t FindWithAvx2(const std::uint8_t* data, std::size_t from,
                                                         std::size_t size) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i one = _mm256_set1_epi8(1);
    std::size_t at = from;
    for (; at + 34 <= size; at += 32) {
        const auto load = [&](std::size_t place) __attribute__((target("avx2"))) {
            return _mm256_loadu_si256(static_cast<const __m256i*>(static_cast<const void*>(data + place)));
        };
        const __m256i zeros = _mm256_cmpeq_epi8(_mm256_or_si256(load(at), load(at + 1)), zero);
        if (_mm256_testz_si256(zeros, zeros)) continue;
        const __m256i codes = _mm256_and_si256(zeros, _mm256_cmpeq_epi8(load(at + 2), one));
        const auto mask = static_cast<std::uint32_t>(_mm256_movemask_epi8(codes));
        if (mask != 0) return at + static_cast<std::size_t>(std::countr_zero(mask));
    }
    return FindStartCodePortably(data, at, size);
}

} // namespace

std::size_t FindStartCode(const std::uint8_t* data, std::size_t from, std::size_t size) {
    static const bool vectors = __builtin_cpu_supports("avx2") != 0;
    return vectors ? FindWithAvx2(data, from, size) : FindStartCodePortably(data, from, size);
}

#else

std::size_t FindStartCode(const std::uint8_t* data, std::size_t from, std::size_t size) {
    return FindStartCodePortably(data, from, size);
}

#endif

} // namespace ordune
