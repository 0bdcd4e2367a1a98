// Sound samples on their way from the writer to the device, and the media time of each of them.
//
// Frames (one sample a channel) are numbered from 0 for the life of the ring; a frame keeps its number,
// whoever takes it out. One thread writes. One at a time reads; who that is, the owner decides. Neither waits
// for the other, and neither allocates but for the writer's list of times.
#pragma once

#include "ordune/Frame.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

namespace dravo {

class SampleRing {
  public:
    // Holds `frames` frames, rounded up to a power of two.
    SampleRing(std::size_t frames, std::size_t channels, int sample_rate);
    SampleRing(const SampleRing&) = delete;
    SampleRing& operator=(const SampleRing&) = delete;

    // ---- Writer.

    // How many frames can be written.
    std::size_t Free() const;
    // Writes as many whole frames as there is room for and returns their number. The first is heard at
    // `time`, and a second of frames covers `tempo` seconds of media.
    std::size_t Write(std::span<const float> samples, ordune::MediaTime time, double tempo);
    // Drops what is written and not yet read. Its room is free again when the reader has looked once.
    void Discard();
    // Number of the next frame to be written.
    std::uint64_t Written() const { return m_written.load(std::memory_order_relaxed); }
    // Media time of a frame; nothing for one that was not written, or so long ago that its time is forgotten
    // (four seconds after it was read, longer than any device holds sound back).
    std::optional<ordune::MediaTime> TimeOf(std::uint64_t frame) const;

    // ---- Reader.

    struct Taken {
        std::uint64_t first = 0; // number of the first frame taken
        std::size_t count = 0;
    };
    // Copies up to `count` frames out.
    Taken Read(float* out, std::size_t count);
    // The same without the copy.
    Taken Skip(std::size_t count);

    // ---- Anyone.

    // Number of the next frame to be read.
    std::uint64_t ReadSoFar() const { return m_read.load(std::memory_order_acquire); }

  private:
    // Frames written in one go, as far as media time is concerned.
    struct Run {
        std::uint64_t first = 0;
        std::uint64_t end = 0;
        double time_us = 0; // of the first frame
        double step_us = 0; // from frame to frame
    };

    Taken Available(std::size_t count);
    void NoteTime(std::uint64_t first, std::size_t count, ordune::MediaTime time, double tempo);

    // Immutable.
    const std::size_t m_channels;
    const std::size_t m_capacity; // frames, a power of two
    const int m_sample_rate;

    // Frames from m_read to m_written belong to the reader, the others to the writer.
    std::vector<float> m_samples;

    // Atomic: written by the writer.
    alignas(64) std::atomic<std::uint64_t> m_written{0};
    std::atomic<std::uint64_t> m_discard_to{0}; // frames before this one are not to be heard
    // Atomic: written by the reader.
    alignas(64) std::atomic<std::uint64_t> m_read{0};

    // Writer only.
    std::deque<Run> m_runs;
};

} // namespace dravo
