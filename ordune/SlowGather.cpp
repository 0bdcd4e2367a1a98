#include "ordune/SlowGather.h"

extern "C" {
#include <libavutil/cpu.h>
}

#if defined(__x86_64__)

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>

#include <immintrin.h>

namespace ordune {

namespace {

constexpr int kRounds = 2000;
constexpr int kTries = 5;
using Samples = std::array<std::int32_t, 1024>;

// Places three apart, as scaling reads them, moved on in every round.
__attribute__((target("avx2"))) __m256i Places(int round) {
    return _mm256_add_epi32(_mm256_set1_epi32(round % 512), _mm256_setr_epi32(0, 3, 6, 9, 12, 15, 18, 21));
}

__attribute__((target("avx2"))) __m256i SumByGather(const Samples& samples) {
    __m256i sum = _mm256_setzero_si256();
    for (int round = 0; round < kRounds; ++round)
        sum = _mm256_add_epi32(sum, _mm256_i32gather_epi32(samples.data(), Places(round), 4));
    return sum;
}

__attribute__((target("avx2"))) __m256i SumByLoads(const Samples& samples) {
    __m256i sum = _mm256_setzero_si256();
    alignas(32) std::array<std::int32_t, 8> places;
    for (int round = 0; round < kRounds; ++round) {
        _mm256_store_si256(static_cast<__m256i*>(static_cast<void*>(places.data())), Places(round));
        const auto at = [&](std::size_t lane) { return samples[static_cast<std::size_t>(places[lane])]; };
        sum =
            _mm256_add_epi32(sum, _mm256_setr_epi32(at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7)));
    }
    return sum;
}

// The shortest of a few tries: other programs only make it longer.
template <class Work>
std::chrono::nanoseconds ShortestTime(Work work) {
    auto shortest = std::chrono::nanoseconds::max();
    for (int tries = 0; tries < kTries; ++tries) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        shortest = std::min<std::chrono::nanoseconds>(shortest, std::chrono::steady_clock::now() - begin);
    }
    return shortest;
}

__attribute__((target("avx2"))) bool GatherIsSlow() {
    Samples samples{};
    // What is summed up is looked at, so that the compiler cannot leave the work out.
    const auto look = [](__m256i sum) __attribute__((target("avx2"))) {
        __asm__ volatile("" : : "x"(sum) : "memory");
    };
    const auto gather = ShortestTime([&]() __attribute__((target("avx2"))) { look(SumByGather(samples)); });
    const auto loads = ShortestTime([&]() __attribute__((target("avx2"))) { look(SumByLoads(samples)); });
    return gather > loads;
}

bool Avoid() {
    const int flags = av_get_cpu_flags();
    if ((flags & AV_CPU_FLAG_AVX2) == 0 || (flags & AV_CPU_FLAG_SLOW_GATHER) != 0) return false;
    if (!GatherIsSlow()) return false;
    av_force_cpu_flags(flags | AV_CPU_FLAG_SLOW_GATHER);
    return true;
}

} // namespace

void AvoidSlowGather() {
    [[maybe_unused]] static const bool avoided = Avoid();
}

} // namespace ordune

#else

namespace ordune {

void AvoidSlowGather() {}

} // namespace ordune

#endif
