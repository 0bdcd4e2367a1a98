#include "dravo/SampleRing.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace dravo {

namespace {

// Times that meet this closely continue each other.
constexpr double kSameTimeUs = 500;
constexpr int kRememberedSeconds = 4;

} // namespace

SampleRing::SampleRing(std::size_t frames, std::size_t channels, int sample_rate)
    : m_channels(channels), m_capacity(std::bit_ceil(frames)), m_sample_rate(sample_rate),
      m_samples(m_capacity * channels) {}

std::size_t SampleRing::Free() const {
    return m_capacity - static_cast<std::size_t>(Written() - m_read.load(std::memory_order_acquire));
}

std::size_t SampleRing::Write(std::span<const float> samples, ordune::MediaTime time, double tempo) {
    const std::size_t count = std::min(samples.size() / m_channels, Free());
    if (count == 0) return 0;
    const std::uint64_t first = Written();
    const auto start = static_cast<std::size_t>(first & (m_capacity - 1));
    const std::size_t before_wrap = std::min(count, m_capacity - start);
    const auto bytes = [this](std::size_t frames) { return frames * m_channels * sizeof(float); };
    std::memcpy(m_samples.data() + start * m_channels, samples.data(), bytes(before_wrap));
    std::memcpy(m_samples.data(), samples.data() + before_wrap * m_channels, bytes(count - before_wrap));
    NoteTime(first, count, time, tempo);
    m_written.store(first + count, std::memory_order_release);
    return count;
}

void SampleRing::Discard() {
    m_discard_to.store(Written(), std::memory_order_release);
}

void SampleRing::NoteTime(std::uint64_t first, std::size_t count, ordune::MediaTime time, double tempo) {
    const double step_us = 1e6 * tempo / m_sample_rate;
    const auto time_us = static_cast<double>(time.count());
    const std::uint64_t forgotten_frames =
        static_cast<std::uint64_t>(kRememberedSeconds) * static_cast<std::uint64_t>(m_sample_rate);
    while (!m_runs.empty() && m_runs.front().end + forgotten_frames < ReadSoFar())
        m_runs.pop_front();
    if (!m_runs.empty()) {
        Run& last = m_runs.back();
        const double follows = last.time_us + static_cast<double>(last.end - last.first) * last.step_us;
        if (last.end == first && last.step_us == step_us && std::abs(follows - time_us) < kSameTimeUs) {
            last.end += count;
            return;
        }
    }
    m_runs.push_back({first, first + count, time_us, step_us});
}

std::optional<ordune::MediaTime> SampleRing::TimeOf(std::uint64_t frame) const {
    // The newest run that begins at or before the frame.
    const auto after =
        std::upper_bound(m_runs.begin(), m_runs.end(), frame,
                         [](std::uint64_t wanted, const Run& run) { return wanted < run.first; });
    if (after == m_runs.begin()) return std::nullopt;
    const Run& run = *std::prev(after);
    if (frame > run.end) return std::nullopt;
    return ordune::MediaTime(
        std::llround(run.time_us + static_cast<double>(frame - run.first) * run.step_us));
}

// What can be taken now, after skipping what was discarded.
SampleRing::Taken SampleRing::Available(std::size_t count) {
    // The discard mark is read first: what it names was written before it was set.
    const std::uint64_t discard_to = m_discard_to.load(std::memory_order_acquire);
    const std::uint64_t first = std::max(m_read.load(std::memory_order_relaxed), discard_to);
    const std::uint64_t written = m_written.load(std::memory_order_acquire);
    return {first, std::min(count, static_cast<std::size_t>(written - first))};
}

SampleRing::Taken SampleRing::Read(float* out, std::size_t count) {
    const Taken taken = Available(count);
    const auto start = static_cast<std::size_t>(taken.first & (m_capacity - 1));
    const std::size_t before_wrap = std::min(taken.count, m_capacity - start);
    const auto bytes = [this](std::size_t frames) { return frames * m_channels * sizeof(float); };
    std::memcpy(out, m_samples.data() + start * m_channels, bytes(before_wrap));
    std::memcpy(out + before_wrap * m_channels, m_samples.data(), bytes(taken.count - before_wrap));
    m_read.store(taken.first + taken.count, std::memory_order_release);
    return taken;
}

SampleRing::Taken SampleRing::Skip(std::size_t count) {
    const Taken taken = Available(count);
    m_read.store(taken.first + taken.count, std::memory_order_release);
    return taken;
}

} // namespace dravo
