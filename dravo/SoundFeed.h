// What one sound output and its device share: the samples, the loudness, and what is known of the position.
//
// Three parties use it, each through its own part below: the writer (the output's thread), the device thread
// (SoundDevice), and the device's callback, which neither locks, allocates nor waits. Held by shared
// pointers, since a device call that hangs may outlive the output.
//
// The sound keeps to a line: at Start the first frame is due at once, and from then on the steady clock says
// which frame is. A device plays what it pulls only after its latency, so frames up to that far ahead are
// left out at the start, and the rest is heard when it is due. While the device pulls nothing (it is missing,
// hangs, or has not begun), the writer itself takes out what would have been heard by now; when the device
// pulls again, it takes up at the frame that is due.
#pragma once

#include "dravo/PullLog.h"
#include "dravo/SampleRing.h"
#include "dravo/SoundOutput.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <span>

namespace dravo {

class SoundFeed {
  public:
    using Time = std::chrono::steady_clock::time_point;

    // The device counts as silent when it has not pulled, or its position has not moved, for this long.
    static constexpr std::chrono::milliseconds kPatience{250};

    SoundFeed();
    SoundFeed(const SoundFeed&) = delete;
    SoundFeed& operator=(const SoundFeed&) = delete;

    // ---- Writer.
    void Start(double tempo, Time now);
    void Stop();
    void SetVolume(std::uint16_t volume);
    std::size_t Writable(Time now);
    void Write(std::span<const float> samples, ordune::MediaTime time);
    std::optional<SoundPosition> Position(Time now);

    // ---- Device thread.
    // Whether sound is wanted.
    bool Active() const { return m_active.load(std::memory_order_acquire); }
    // A new stream is about to be opened; the old one's callback has ended.
    void BeginStream();
    // The device says that it has played `frames` of the stream.
    void ReportPosition(std::uint64_t frames, Time now);
    bool Failed() const { return m_failed.load(std::memory_order_acquire); }

    // ---- Callback.
    // Fills `out` with `frames` frames.
    void PullInto(float* out, std::size_t frames, Time now);
    // The device gave the stream up. Any thread of the device's.
    void Fail() { m_failed.store(true, std::memory_order_release); }

  private:
    static constexpr std::size_t kChannels = SoundOutput::kChannels;

    struct Report {
        std::uint64_t stream = 0;
        std::uint64_t frames = 0;
        Time at;
        Time moved; // when `frames` last grew
    };

    bool TryTakeReader() { return !m_reader_taken.exchange(true, std::memory_order_acquire); }
    void GiveReaderBack() { m_reader_taken.store(false, std::memory_order_release); }
    bool TakeReaderSoon();
    void CollectPulls();
    void CatchUp(Time now);
    void MeasureLatency(const Report& report);
    SampleRing::Taken TakeDue(float* out, std::size_t frames, Time now);
    void Shape(float* out, std::size_t frames, std::size_t taken);

    SampleRing m_ring;
    PullLog m_pulls;

    // Atomic.
    std::atomic<bool> m_active{false};
    std::atomic<bool> m_failed{false};
    std::atomic<float> m_volume{1.0F};
    std::atomic<std::uint64_t> m_stream{0}; // number of the stream that is open
    std::atomic<std::uint64_t> m_handed{0}; // frames given to it, silence included
    std::atomic<bool> m_reader_taken{
        false}; // who reads the ring: the callback, or the writer while it is silent
    // The line of the session that Start began: which frame the device is to pull at which time. Written
    // before m_active.
    std::atomic<Time> m_line_start{};
    std::atomic<std::uint64_t> m_line_frame{0};

    // Guarded by m_report_mutex, which nobody holds while calling anything. Not for the callback.
    std::mutex m_report_mutex;
    std::optional<Report> m_report;

    // Writer only.
    double m_tempo = 1.0;
    std::uint64_t m_session_first = 0; // first frame since Start
    std::uint64_t m_latency = 2880;    // frames from a pull to the ear; a guess until it is measured
    Time m_anchor_at; // when the frame m_anchor_frame was, or would have been, the next to be pulled
    std::uint64_t m_anchor_frame = 0;
    std::deque<Pull> m_recent; // pulls whose frames may still be heard

    // Callback only.
    Time m_line_seen; // m_line_start of the session that is being played
    Time m_last_at;   // when m_last_first was the first frame of a pull
    std::uint64_t m_last_first = 0;
    bool m_aligning = false;               // the frame that is due has not been reached
    bool m_silent = true;                  // the last frame put out was none of the ring's
    float m_loudness = 0;                  // what the last frame was multiplied with, without slopes
    std::size_t m_fade_in = 0;             // frames of the slope still to come
    std::size_t m_tail = 0;                // frames left of the way from the last sample to silence
    std::array<float, kChannels> m_last{}; // the last frame put out
    std::array<float, kChannels> m_tail_from{};
};

} // namespace dravo
