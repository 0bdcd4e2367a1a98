#include "dravo/SoundFeed.h"

#include <algorithm>
#include <cmath>
#include <thread>

namespace dravo {

namespace {

// A third of a second: enough for a writer that looks every 40 ms, on a busy machine too.
constexpr std::size_t kRingFrames = 16384;
// Where sound begins, breaks off or jumps, 5 ms of slope keep it from clicking.
constexpr std::size_t kSlopeFrames = 240;
// A change of loudness from nothing to full takes 10 ms.
constexpr float kLoudnessStep = 1.0F / 480;
// A pull that comes this much too late, 100 ms, has left the device without sound: what it missed is left
// out.
constexpr std::uint64_t kBehindFrames = SoundOutput::kSampleRate / 10;
// How much of the past is remembered for positions; devices hold back less.
constexpr std::uint64_t kRecentFrames = 4 * SoundOutput::kSampleRate;

std::uint64_t FramesIn(std::chrono::steady_clock::duration span) {
    const std::chrono::duration<double> seconds = span;
    return seconds.count() <= 0 ? 0 : static_cast<std::uint64_t>(seconds.count() * SoundOutput::kSampleRate);
}

} // namespace

SoundFeed::SoundFeed() : m_ring(kRingFrames, kChannels, SoundOutput::kSampleRate) {}

void SoundFeed::Start(double tempo, Time now) {
    Stop();
    m_tempo = tempo;
    m_session_first = m_ring.Written();
    m_anchor_at = now;
    m_anchor_frame = m_session_first + m_latency;
    m_line_frame.store(m_anchor_frame, std::memory_order_relaxed);
    m_line_start.store(now, std::memory_order_release);
    m_active.store(true, std::memory_order_release);
}

void SoundFeed::Stop() {
    m_active.store(false, std::memory_order_release);
    m_ring.Discard();
    // Makes the room free at once, also when the device never looks.
    if (TakeReaderSoon()) {
        m_ring.Skip(0);
        GiveReaderBack();
    }
}

void SoundFeed::SetVolume(std::uint16_t volume) {
    m_volume.store(static_cast<float>(volume) / 65535.0F, std::memory_order_relaxed);
}

std::size_t SoundFeed::Writable(Time now) {
    if (!Active()) return 0;
    CollectPulls();
    CatchUp(now);
    return m_ring.Free();
}

void SoundFeed::Write(std::span<const float> samples, ordune::MediaTime time) {
    if (Active()) m_ring.Write(samples, time, m_tempo);
}

// The callback has the reader for microseconds at a time; on a machine so busy that it was interrupted in
// between, the writer goes without.
bool SoundFeed::TakeReaderSoon() {
    for (int tries = 0; tries < 100; ++tries) {
        if (TryTakeReader()) return true;
        std::this_thread::yield();
    }
    return false;
}

void SoundFeed::CollectPulls() {
    Pull pull;
    while (m_pulls.Take(pull)) {
        // Pulls before Start may still be in the log; they say nothing about what is heard since.
        if (pull.first < m_session_first) continue;
        m_anchor_at = pull.at;
        m_anchor_frame = pull.first;
        if (pull.count > 0) m_recent.push_back(pull);
    }
    while (!m_recent.empty() && m_recent.front().first + kRecentFrames < m_ring.ReadSoFar())
        m_recent.pop_front();
}

void SoundFeed::CatchUp(Time now) {
    if (now - m_anchor_at < kPatience) return;
    const std::uint64_t due = m_anchor_frame + FramesIn(now - m_anchor_at);
    const std::uint64_t read = m_ring.ReadSoFar();
    if (due <= read || !TryTakeReader()) return;
    m_ring.Skip(static_cast<std::size_t>(std::min<std::uint64_t>(due - read, kRingFrames)));
    GiveReaderBack();
}

std::optional<SoundPosition> SoundFeed::Position(Time now) {
    if (!Active()) return std::nullopt;
    CollectPulls();
    std::optional<Report> report;
    {
        const std::lock_guard lock(m_report_mutex);
        report = m_report;
    }
    if (!report || now - report->moved >= kPatience) return std::nullopt;
    MeasureLatency(*report);
    for (auto pull = m_recent.rbegin(); pull != m_recent.rend(); ++pull) {
        if (pull->stream != report->stream || pull->stream_first > report->frames) continue;
        const std::uint64_t into = report->frames - pull->stream_first;
        // Past the end of the pull the device plays silence that was put there for want of samples.
        if (into > pull->count || pull->first < m_session_first) return std::nullopt;
        const auto heard = m_ring.TimeOf(pull->first + into);
        if (!heard) return std::nullopt;
        return SoundPosition{*heard, report->at};
    }
    return std::nullopt;
}

void SoundFeed::BeginStream() {
    m_failed.store(false, std::memory_order_release);
    m_handed.store(0, std::memory_order_relaxed);
    m_stream.fetch_add(1, std::memory_order_release);
    m_loudness = m_volume.load(std::memory_order_relaxed);
    m_last = {};
    m_tail = 0;
    m_silent = true;
    const std::lock_guard lock(m_report_mutex);
    m_report.reset();
}

void SoundFeed::ReportPosition(std::uint64_t frames, Time now) {
    const std::uint64_t stream = m_stream.load(std::memory_order_relaxed);
    const std::uint64_t handed = m_handed.load(std::memory_order_acquire);
    const std::lock_guard lock(m_report_mutex);
    // A server may count time while it takes no samples. What it says counts again when it is behind what it
    // got.
    if (frames > handed) {
        m_report.reset();
        return;
    }
    const bool moved = m_report && m_report->stream == stream && frames > m_report->frames;
    // The first word about a stream is not yet a movement.
    const Time moved_at = moved ? now : m_report ? m_report->moved : now - kPatience;
    m_report = Report{stream, frames, now, moved_at};
}

// How long after its pull a frame is heard: what the device had before it, at that moment, not yet played.
void SoundFeed::MeasureLatency(const Report& report) {
    for (auto pull = m_recent.rbegin(); pull != m_recent.rend(); ++pull) {
        if (pull->stream != report.stream || pull->at > report.at) continue;
        const std::uint64_t waiting = pull->stream_first + FramesIn(report.at - pull->at);
        if (waiting < report.frames) return;
        m_latency = std::min<std::uint64_t>(waiting - report.frames, SoundOutput::kSampleRate);
        return;
    }
}

void SoundFeed::PullInto(float* out, std::size_t frames, Time now) {
    const std::uint64_t stream_first = m_handed.load(std::memory_order_relaxed);
    SampleRing::Taken taken;
    const bool active = Active();
    if (TryTakeReader()) {
        taken = active ? TakeDue(out, frames, now) : m_ring.Skip(0);
        GiveReaderBack();
        if (active && !m_aligning)
            m_pulls.Put(
                {m_stream.load(std::memory_order_relaxed), stream_first, taken.first, taken.count, now});
    }
    Shape(out, frames, taken.count);
    m_handed.store(stream_first + frames, std::memory_order_release);
}

// Reads what is due; nothing while that has not been written.
SampleRing::Taken SoundFeed::TakeDue(float* out, std::size_t frames, Time now) {
    const Time line_start = m_line_start.load(std::memory_order_acquire);
    if (line_start != m_line_seen) {
        m_line_seen = line_start;
        m_last_at = line_start;
        m_last_first = m_line_frame.load(std::memory_order_relaxed);
        m_aligning = true;
    }
    const std::uint64_t due = m_last_first + FramesIn(now - m_last_at);
    const std::uint64_t next = m_ring.Skip(0).first;
    if (due > next + kBehindFrames) m_aligning = true;
    if (m_aligning) {
        if (next < due) m_ring.Skip(static_cast<std::size_t>(due - next));
        if (m_ring.ReadSoFar() < due) return {};
        m_aligning = false;
        m_silent = true;
    }
    const SampleRing::Taken taken = m_ring.Read(out, frames);
    m_last_at = now;
    m_last_first = taken.first;
    return taken;
}

// Applies loudness and slopes to the frames taken and fills the rest with silence.
void SoundFeed::Shape(float* out, std::size_t frames, std::size_t taken) {
    const float wanted = m_volume.load(std::memory_order_relaxed);
    const auto begin_slope = [this] {
        m_tail_from = m_last;
        m_tail = kSlopeFrames;
    };
    if (taken > 0 && m_silent) {
        begin_slope();
        m_fade_in = kSlopeFrames;
        m_silent = false;
    }
    for (std::size_t i = 0; i < frames; ++i) {
        if (i == taken && !m_silent) {
            begin_slope();
            m_silent = true;
        }
        m_loudness += std::clamp(wanted - m_loudness, -kLoudnessStep, kLoudnessStep);
        float gain = i < taken ? m_loudness : 0;
        if (m_fade_in > 0 && i < taken) gain *= 1 - static_cast<float>(m_fade_in--) / kSlopeFrames;
        const float tail = m_tail > 0 ? static_cast<float>(m_tail--) / kSlopeFrames : 0;
        for (std::size_t channel = 0; channel < kChannels; ++channel) {
            float& sample = out[i * kChannels + channel];
            sample = (i < taken ? sample * gain : 0) + m_tail_from[channel] * tail;
            m_last[channel] = sample;
        }
    }
}

} // namespace dravo
