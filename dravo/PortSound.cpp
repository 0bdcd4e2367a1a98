#include "dravo/PortSound.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <span>

namespace dravo {

using namespace std::chrono_literals;
using ordune::MediaTime;

namespace {

constexpr std::size_t kChannels = SoundOutput::kChannels;

// Whether what failed for this reason may succeed later.
bool MayPass(ordune::ErrorKind kind) {
    switch (kind) {
    case ordune::ErrorKind::NotFound:
    case ordune::ErrorKind::NotPermitted:
    case ordune::ErrorKind::OutOfMemory:
    case ordune::ErrorKind::Io:
        return true;
    default:
        return false;
    }
}

MediaTime SpanOf(std::size_t pairs, double tempo) {
    const double microseconds = 1e6 * tempo * static_cast<double>(pairs) / SoundOutput::kSampleRate;
    return MediaTime(std::llround(microseconds));
}

} // namespace

PortSound::PortSound(std::shared_ptr<const ordune::MediaFile> file, OutputFactory factory)
    : m_file(std::move(file)), m_factory(std::move(factory)), m_feeder([this] { Feed(); }) {}

PortSound::~PortSound() {
    m_cancel.Cancel();
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
        m_wake.notify_one();
    }
    m_feeder.join();
}

void PortSound::Follow(bool heard, const PlayClock& clock, const SpeedLadder& speed, std::uint64_t epoch) {
    const std::lock_guard lock(m_mutex);
    const bool fresh = heard != m_plan.heard || epoch != m_plan.epoch;
    m_plan = Plan{heard, clock, speed, epoch};
    if (!fresh) return;
    m_plan_is_new = true;
    m_position.reset();
    m_wake.notify_one();
}

void PortSound::SetVolume(std::uint16_t volume) {
    m_volume = volume;
    const std::lock_guard lock(m_mutex);
    m_wake.notify_one();
}

std::optional<MediaTime> PortSound::Heard(WallTime now) const {
    const std::lock_guard lock(m_mutex);
    if (!m_position) return std::nullopt;
    const std::chrono::duration<double, std::micro> since = now - m_position->at;
    return m_position->heard + MediaTime(std::llround(since.count() * m_position_rate));
}

void PortSound::Feed() {
    std::unique_lock lock(m_mutex);
    while (!m_closing) {
        const Plan plan = m_plan;
        const bool fresh = std::exchange(m_plan_is_new, false);
        lock.unlock();
        try {
            Serve(plan, fresh);
        } catch (const std::exception&) {
            // Memory or a thread for the device that is not to be had.
            if (m_output) m_output->Stop();
            m_sounding = false;
            m_try_again = plan.heard;
        }
        lock.lock();
        if (m_closing || m_plan_is_new) continue;
        if (m_sounding) {
            m_wake.wait_for(lock, kFeedInterval);
        } else if (m_try_again) {
            m_wake.wait_for(lock, kTryAgainAfter, [this] { return m_closing || m_plan_is_new; });
            m_plan_is_new = true;
        } else {
            m_wake.wait(lock);
        }
    }
    lock.unlock();
    if (m_sounding) m_output->Stop();
}

void PortSound::Serve(const Plan& plan, bool fresh) {
    if (fresh) {
        if (m_sounding) m_output->Stop();
        m_sounding = false;
        if (!std::exchange(m_restarted, false)) m_patience = kStrikes;
        m_try_again = plan.heard && !Begin(plan);
    }
    if (m_output) m_output->SetVolume(m_volume);
    if (!m_sounding) return;
    Fill();
    Measure(plan);
}

// The device is opened when sound is first wanted, and a file whose sound cannot be read is simply silent.
bool PortSound::Prepare() {
    if (!m_reader) {
        auto reader =
            ordune::SoundReader::Make(*m_file, SoundOutput::kSampleRate, SoundOutput::kChannels, m_cancel);
        if (!reader) {
            m_hopeless = !MayPass(reader.Failure().kind);
            return false;
        }
        m_reader = std::move(reader.Value());
    }
    if (!m_output) m_output = m_factory();
    m_hopeless = !m_output;
    if (m_output) m_output->SetVolume(m_volume);
    return !m_hopeless;
}

bool PortSound::Begin(const Plan& plan) {
    if (m_hopeless) return true;
    if (!Prepare()) return m_hopeless;

    m_tempo = plan.speed.Rate();
    m_stretch.reset();
    if (plan.speed.Level() != 0) {
        auto stretch = ordune::TimeStretch::Make(SoundOutput::kSampleRate, SoundOutput::kChannels, m_tempo);
        if (!stretch) return false;
        m_stretch = std::move(stretch.Value());
    }
    m_samples.clear();
    m_written = 0;
    m_at_end = false;
    m_strikes = 0;
    const MediaTime from = std::max(plan.clock.Now(std::chrono::steady_clock::now()), MediaTime(0));
    if (!m_reader->SeekTo(from)) return true; // there is no sound there
    m_next_time = from;
    m_output->Start(m_tempo);
    m_sounding = true;
    return true;
}

// Reads until there is something to write. False at the end of the sound.
bool PortSound::NextSamples() {
    m_next_time += SpanOf(m_samples.size() / kChannels, m_tempo);
    m_samples.clear();
    m_written = 0;
    while (m_samples.empty() && !m_at_end) {
        auto block = m_reader->Next();
        const bool end = !block || !block.Value();
        if (end) {
            m_at_end = true;
            // What the stretcher still holds is a few milliseconds; losing it on failure is not worth more.
            if (m_stretch && !m_stretch->Drain(m_samples)) m_samples.clear();
            break;
        }
        const std::vector<float>& samples = block.Value()->samples;
        if (!m_stretch) {
            m_samples = samples;
        } else if (!m_stretch->Push(samples, m_samples)) {
            m_at_end = true;
        }
    }
    return !m_samples.empty();
}

void PortSound::Fill() {
    for (std::size_t room = m_output->Writable(); room > 0; room = m_output->Writable()) {
        if (m_written == m_samples.size() && !NextSamples()) return;
        const std::size_t pairs = std::min(room, (m_samples.size() - m_written) / kChannels);
        if (pairs == 0) return;
        m_output->Write(std::span(m_samples).subspan(m_written, pairs * kChannels),
                        m_next_time + SpanOf(m_written / kChannels, m_tempo));
        m_written += pairs * kChannels;
    }
}

void PortSound::Measure(const Plan& plan) {
    const WallTime now = std::chrono::steady_clock::now();
    const std::optional<SoundPosition> position = m_output->Position(now);
    bool steady = false;
    if (position) {
        // In wall time, since that is what an ear notices.
        const std::chrono::duration<double> wall_error =
            std::chrono::duration<double>(position->heard - plan.clock.Now(position->at)) / m_tempo;
        steady = std::abs(wall_error.count()) * 1000.0 <= static_cast<double>(kTolerance.count());
    }
    if (position && !steady && !m_at_end) {
        ++m_strikes;
    } else {
        m_strikes = 0;
    }

    const std::lock_guard lock(m_mutex);
    if (m_plan_is_new) return;
    m_position_rate = m_tempo;
    if (steady) {
        m_position = position;
    } else {
        m_position.reset();
    }
    if (m_strikes < m_patience) return;
    // A device that cannot be brought into time is left alone longer after each try.
    m_patience = std::min(2 * m_patience, kMostStrikes);
    m_strikes = 0;
    m_restarted = true;
    m_plan_is_new = true;
}

} // namespace dravo
