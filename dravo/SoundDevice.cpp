#include "dravo/SoundDevice.h"

#include <algorithm>
#include <array>
#include <pthread.h>

namespace dravo {

using namespace std::chrono_literals;

namespace {

// What the device may hold back: short enough to follow seeks, long enough for a busy machine.
constexpr std::uint32_t kLatencyFrames = SoundOutput::kSampleRate * 80 / 1000;
// How often the position is asked for while something sounds.
constexpr auto kPollInterval = 30ms;
// A stream that nobody feeds is halted after this long; until then a seek or a pause costs no new start.
constexpr auto kIdleBeforeHalt = 3s;
constexpr auto kNothingToDo = 1h;
// How long the end of an output waits for the device thread. Beside a server that answers this takes 5 ms;
// for one that hangs, a window waits that is being closed.
constexpr auto kDetachPatience = 100ms;
constexpr std::array<std::chrono::seconds, 3> kRetryAfter = {1s, 2s, 5s};

} // namespace

SoundDevice& SoundDevice::Instance() {
    static auto* device = new SoundDevice;
    return *device;
}

void SoundDevice::Attach(std::shared_ptr<SoundFeed> feed) {
    const std::lock_guard lock(m_mutex);
    StartLocked(); // first: where no thread can be had, no feed stays behind
    m_feeds.push_back(std::move(feed));
    m_woken = true;
    m_wake.notify_one();
}

void SoundDevice::StartLocked() {
    // An Ended thread has let go of the mutex for good, so that joining it takes no time.
    if (m_state == Thread::Ended) {
        m_thread.join();
        m_state = Thread::None;
    }
    if (m_state == Thread::None) m_thread = std::thread([this] { Run(); });
    m_state = Thread::Running;
}

void SoundDevice::Detach(const std::shared_ptr<SoundFeed>& feed) {
    std::unique_lock lock(m_mutex);
    std::erase(m_feeds, feed);
    m_woken = true;
    if (m_feeds.empty() && m_state == Thread::Running) m_state = Thread::Ending;
    m_wake.notify_one();
    m_changed.wait_for(lock, kDetachPatience, [this] { return m_state != Thread::Ending; });
    if (m_state != Thread::Ended) return;
    m_thread.join();
    m_state = Thread::None;
}

void SoundDevice::Wake() {
    const std::lock_guard lock(m_mutex);
    m_woken = true;
    m_wake.notify_one();
}

void SoundDevice::Run() {
    pthread_setname_np(pthread_self(), "dravo-sound");
    std::unique_lock lock(m_mutex);
    while (m_state != Thread::Ending) {
        m_woken = false;
        const auto feeds = m_feeds;
        lock.unlock();
        Match(feeds);
        const Time next = Serve(std::chrono::steady_clock::now());
        lock.lock();
        m_wake.wait_until(lock, next, [this] { return m_woken || m_state == Thread::Ending; });
        if (m_state != Thread::Ending) continue;
        lock.unlock();
        CloseAll();
        m_lines.clear();
        lock.lock();
    }
    m_state = Thread::Ended;
    m_changed.notify_all();
}

// Gives each feed a line and ends the lines of feeds that are gone.
void SoundDevice::Match(const std::vector<std::shared_ptr<SoundFeed>>& feeds) {
    const auto gone = [&](Line& line) {
        if (std::find(feeds.begin(), feeds.end(), line.feed) != feeds.end()) return false;
        CloseStream(line);
        return true;
    };
    std::erase_if(m_lines, gone);
    for (const auto& feed : feeds) {
        const auto has_it = [&](const Line& line) { return line.feed == feed; };
        if (std::none_of(m_lines.begin(), m_lines.end(), has_it))
            m_lines.push_back({feed, nullptr, false, {}});
    }
}

// Does what there is to do and returns when there will be more.
SoundDevice::Time SoundDevice::Serve(Time now) {
    Time next = now + kNothingToDo;
    const auto failed = [](const Line& line) { return line.stream && line.feed->Failed(); };
    if (std::any_of(m_lines.begin(), m_lines.end(), failed)) {
        // A stream that breaks is mostly the server's end, which the connection does not survive either.
        CloseAll();
        TryLater(now);
    }
    for (Line& line : m_lines) {
        ServeLine(line, now);
        const bool active = line.feed->Active();
        if (line.stream && active) next = std::min(next, now + kPollInterval);
        if (line.stream && !active && line.running) next = std::min(next, line.last_active + kIdleBeforeHalt);
        if (!line.stream && active) next = std::min(next, std::max(m_next_try, now));
    }
    return next;
}

void SoundDevice::ServeLine(Line& line, Time now) {
    const bool active = line.feed->Active();
    if (active) line.last_active = now;
    if (!line.stream) {
        if (!active || now < m_next_try) return;
        if (!OpenContext() || !OpenStream(line)) {
            CloseAll();
            TryLater(std::chrono::steady_clock::now());
            return;
        }
        m_failures = 0;
    }
    if (active && !line.running) {
        line.running = cubeb_stream_start(line.stream) == CUBEB_OK;
        if (!line.running) line.feed->Fail();
    } else if (!active && line.running && now - line.last_active >= kIdleBeforeHalt) {
        cubeb_stream_stop(line.stream);
        line.running = false;
    }
    if (!active || !line.running) return;
    std::uint64_t frames = 0;
    if (cubeb_stream_get_position(line.stream, &frames) == CUBEB_OK)
        line.feed->ReportPosition(frames, std::chrono::steady_clock::now());
}

bool SoundDevice::OpenContext() {
    if (m_context) return true;
    if (cubeb_init(&m_context, "Talvio", nullptr) == CUBEB_OK) return true;
    m_context = nullptr;
    return false;
}

bool SoundDevice::OpenStream(Line& line) {
    cubeb_stream_params format{};
    format.format = CUBEB_SAMPLE_FLOAT32NE;
    format.rate = SoundOutput::kSampleRate;
    format.channels = SoundOutput::kChannels;
    format.layout = CUBEB_LAYOUT_STEREO;
    format.prefs = CUBEB_STREAM_PREF_NONE;
    line.feed->BeginStream();
    line.running = false;
    if (cubeb_stream_init(m_context, &line.stream, "Talvio", nullptr, nullptr, nullptr, &format,
                          kLatencyFrames, OnPull, OnState, line.feed.get()) == CUBEB_OK)
        return true;
    line.stream = nullptr;
    return false;
}

void SoundDevice::CloseStream(Line& line) {
    if (!line.stream) return;
    if (line.running) cubeb_stream_stop(line.stream);
    cubeb_stream_destroy(line.stream);
    line.stream = nullptr;
    line.running = false;
}

void SoundDevice::CloseAll() {
    for (Line& line : m_lines)
        CloseStream(line);
    if (m_context) cubeb_destroy(m_context);
    m_context = nullptr;
}

void SoundDevice::TryLater(Time now) {
    const auto step = std::min<std::size_t>(static_cast<std::size_t>(m_failures), kRetryAfter.size() - 1);
    m_next_try = now + kRetryAfter[step];
    ++m_failures;
}

long SoundDevice::OnPull(cubeb_stream*, void* feed, const void*, void* out, long frames) {
    static_cast<SoundFeed*>(feed)->PullInto(static_cast<float*>(out), static_cast<std::size_t>(frames),
                                            std::chrono::steady_clock::now());
    return frames;
}

void SoundDevice::OnState(cubeb_stream*, void* feed, cubeb_state state) {
    if (state == CUBEB_STATE_ERROR) static_cast<SoundFeed*>(feed)->Fail();
}

} // namespace dravo
