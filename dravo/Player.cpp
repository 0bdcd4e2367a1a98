#include "dravo/Player.h"

#include <algorithm>
#include <cmath>

namespace dravo {

using ordune::Direction;
using ordune::FrameNumber;
using ordune::kNoFrame;
using ordune::MediaTime;

namespace {

constexpr int kJpegQuality = 95;

// The player whose play thread this is.
thread_local const void* t_player = nullptr;

WallTime WallNow() {
    return std::chrono::steady_clock::now();
}

} // namespace

Player::Player(Parts parts) : m_parts(std::move(parts)), m_display(m_parts.make_output) {}

ordune::Result<std::shared_ptr<Player>> Player::Open(const std::string& path, Parts parts) {
    const std::shared_ptr<Player> player(new Player(std::move(parts)));
    Player* const raw = player.get();
    auto file = ordune::MediaFile::Open(path, [raw] {
        raw->m_index_done = true;
        raw->m_wake.Wake();
    });
    if (!file) return file.Failure();
    player->m_file = std::move(file.Value());
    auto reader =
        ordune::FrameReader::Make(player->m_file, player->m_parts.reader, [raw] { raw->Progressed(); });
    if (!reader) return reader.Failure();
    player->m_reader = std::move(reader.Value());
    if (player->m_file->Sound())
        player->m_sound = std::make_unique<PortSound>(player->m_file, player->m_parts.make_sound);

    long width = 0;
    long height = 0;
    player->PictureSize(width, height);
    player->m_told_width = static_cast<int>(width);
    player->m_told_height = static_cast<int>(height);
    return player;
}

void Player::Begin() {
    m_thread = std::thread([this] {
        t_player = this;
        Loop();
    });
}

Player::~Player() {
    Close();
    // Their threads call into this object: they end before any of its members does.
    m_sound.reset();
    m_reader.reset();
    m_file.reset();
}

void Player::Close() {
    {
        const std::lock_guard lock(m_mutex);
        m_closing = true;
        m_changed.notify_all();
    }
    m_wake.Wake();
    if (m_thread.joinable()) m_thread.join();
}

bool Player::OnPlayThread() const {
    return t_player == this;
}

// Inside a callback nobody waits for a play thread: the port's own would wait for itself, and two ports'
// callbacks could wait for each other.
bool Player::MustNotWait() const {
    return OnPlayThread() || PortCallbacks::InsideCallback();
}

void Player::Progressed() {
    if (m_hungry.exchange(false)) m_wake.Wake();
}

// ---- Commands for the play thread

void Player::Post(std::function<bool()> work) {
    const std::lock_guard lock(m_mutex);
    m_commands.push_back({std::move(work), nullptr});
    m_wake.Wake();
}

bool Player::Ask(std::function<bool()> work) {
    if (OnPlayThread()) return work(); // no picture is being drawn while a callback runs
    if (MustNotWait()) {
        Post(std::move(work));
        return true;
    }
    const auto answer = std::make_shared<std::optional<bool>>();
    std::unique_lock lock(m_mutex);
    m_commands.push_back({std::move(work), answer});
    m_wake.Wake();
    m_changed.wait(lock, [&] { return m_closing || answer->has_value(); });
    return answer->value_or(false);
}

// ---- Playing

// Whether a window can be drawn into, where that cannot be left to the play thread's answer: inside a
// callback of another port.
bool Player::Drawable(std::uint32_t window) const {
    return OnPlayThread() || !MustNotWait() || window == 0 || m_parts.make_output(window);
}

bool Player::Play(std::uint32_t window) {
    // A callback does not wait: while another thread stops the port, or has it play, it is refused.
    std::unique_lock calls(m_calls, std::defer_lock);
    if (!MustNotWait()) {
        calls.lock();
    } else if (!calls.try_lock() || !Drawable(window)) {
        return false;
    }
    if (!Ask([this, window] { return m_display.SetWindow(window); })) return false;
    const std::lock_guard lock(m_mutex);
    if (m_closing) return false;
    if (m_state != State::Stopped) return true;
    m_state = State::Playing;
    m_stopped = false;
    SeekLocked(0, Direction::Forward, false);
    m_beginning = true;
    return true;
}

bool Player::Pause(bool pause) {
    const std::lock_guard lock(m_mutex);
    if (m_state == State::Stopped) return false;
    if (pause == (m_state == State::Paused)) return true;
    ++m_epoch;
    if (pause) {
        m_state = State::Paused;
        m_clock.Pause(WallNow());
    } else {
        m_state = State::Playing;
        // With a position pending the clock starts when its picture is there.
        if (!m_pending && !m_ended) m_clock.Resume(WallNow());
    }
    m_wake.Wake();
    return true;
}

bool Player::Stop() {
    // Play has two steps; a stop between them would leave a port that plays and draws nowhere.
    const std::lock_guard calls(m_calls);
    {
        const std::lock_guard lock(m_mutex);
        if (m_state == State::Stopped) return false;
        m_state = State::Stopped;
        m_pending.reset();
        m_current = kNoFrame;
        m_picture.reset();
        m_speed.Reset();
        m_clock = PlayClock();
        m_ended = false;
        m_stopped = true;
        m_beginning = false;
        ++m_epoch;
        m_changed.notify_all();
    }
    // When the play thread has done this it is in no callback, and makes none before the next Play.
    return Ask([this] {
        m_display.Close();
        m_reader->WantNothing();
        FollowWithSound();
        return true;
    });
}

bool Player::ChangeSpeed(bool up) {
    const std::lock_guard lock(m_mutex);
    if (m_state == State::Stopped) return false;
    if (!(up ? m_speed.Up() : m_speed.Down())) return false;
    const WallTime now = WallNow();
    m_clock.SetSpeed(m_speed, now);
    if (m_state == State::Paused) {
        m_state = State::Playing;
        if (!m_pending && !m_ended) m_clock.Resume(now);
    }
    ++m_epoch;
    m_wake.Wake();
    return true;
}

bool Player::Step(Direction direction) {
    std::unique_lock lock(m_mutex);
    if (m_closing || m_state == State::Stopped) return false;
    const FrameNumber from = m_pending.value_or(m_current);
    if (from == kNoFrame) return false;
    const bool forward = direction == Direction::Forward;
    if (forward ? from + 1 >= m_file->Index().Total() : from == 0) return false;
    const bool played = m_state == State::Playing;
    const bool ended = m_ended;
    m_state = State::Paused;
    m_clock.Pause(WallNow());
    SeekLocked(forward ? from + 1 : from - 1, direction, true);
    if (MustNotWait()) return true;
    const std::uint64_t epoch = m_epoch;
    if (WaitForEpochLocked(lock, epoch)) return true;
    // Whoever hears that nothing was done finds the port playing as it was.
    if (played && !m_closing && m_epoch == epoch) {
        ++m_epoch;
        m_state = State::Playing;
        m_ended = ended;
        if (!m_pending && !m_ended) m_clock.Resume(WallNow());
        m_wake.Wake();
    }
    return false;
}

bool Player::WaitForEpochLocked(std::unique_lock<std::mutex>& lock, std::uint64_t epoch) {
    const auto settled = [&] { return m_closing || m_state == State::Stopped || m_shown_epoch >= epoch; };
    m_changed.wait_for(lock, kLongestWait, settled);
    return m_shown_epoch >= epoch && m_given_up_epoch != epoch;
}

void Player::Refresh() {
    const std::lock_guard lock(m_mutex);
    m_changes.redraw.set();
    m_wake.Wake();
}

bool Player::RefreshRegion(unsigned long region) {
    if (!HasRegion(region)) return false;
    return Ask([this, region] {
        m_display.RedrawRegion(region);
        return true;
    });
}

// ---- Positions

void Player::SeekLocked(FrameNumber frame, Direction direction, bool stepping) {
    m_pending = frame;
    m_search.Begin(frame, direction, !stepping);
    m_ended = false;
    m_ending = false;
    m_beginning = false;
    m_clock.StandAt(m_file->Index().TimeOf(frame));
    ++m_epoch;
    m_wake.Wake();
}

bool Player::SeekToFrame(FrameNumber frame) {
    return SeekWithin(m_file->Index().Total(), frame);
}

// The total is the caller's: while the index grows it is an estimate, and may be another a moment later.
bool Player::SeekWithin(FrameNumber total, FrameNumber frame) {
    const std::lock_guard lock(m_mutex);
    if (m_closing || m_state == State::Stopped || frame >= total) return false;
    // A paused viewer who jumps will look around, and looking back is what needs preparing.
    SeekLocked(frame, m_state == State::Paused ? Direction::Backward : Direction::Forward, false);
    return true;
}

bool Player::SeekToPosition(float position) {
    if (!(position >= 0.0F && position <= 1.0F)) return false;
    const FrameNumber total = m_file->Index().Total();
    if (total == 0) return false;
    const auto frame = static_cast<FrameNumber>(std::llround(static_cast<double>(position) * total));
    return SeekWithin(total, std::min(frame, total - 1));
}

bool Player::SeekToTime(std::chrono::milliseconds time) {
    const std::optional<FrameNumber> frame = FrameAt(time);
    return frame && SeekToFrame(*frame);
}

std::optional<FrameNumber> Player::FrameAt(std::chrono::milliseconds time) const {
    const ordune::FrameIndex& index = m_file->Index();
    // Milliseconds cannot name the end of a film exactly: the one that the end falls into still counts.
    if (time > std::chrono::ceil<std::chrono::milliseconds>(index.Duration())) return std::nullopt;
    // A millisecond means all of itself: so the milliseconds told for a frame, which are rounded down, lead
    // back to it.
    return index.FrameAt(time + std::chrono::microseconds(999));
}

FrameNumber Player::CurrentFrameLocked() const {
    // Frame 0 is where playing begins by itself, and nobody has asked for it: until its picture is there,
    // there is none.
    if (m_beginning) return m_current;
    return m_pending.value_or(m_current);
}

FrameNumber Player::CurrentFrame() const {
    const std::lock_guard lock(m_mutex);
    return CurrentFrameLocked();
}

FrameNumber Player::TotalFrames() const {
    return m_file->Index().Total();
}

float Player::Position() const {
    const FrameNumber frame = CurrentFrame();
    const FrameNumber total = m_file->Index().Total();
    if (frame == kNoFrame || total == 0) return 0.0F;
    return static_cast<float>(static_cast<double>(frame) / total);
}

MediaTime Player::PlayedTime() const {
    const FrameNumber frame = CurrentFrame();
    return frame == kNoFrame ? MediaTime(0) : m_file->Index().TimeOf(frame);
}

MediaTime Player::Duration() const {
    return m_file->Index().Duration();
}

unsigned long Player::FrameRate() const {
    const ordune::FrameIndex& index = m_file->Index();
    const std::int64_t denominator = std::max<std::int64_t>(index.RateDenominator(), 1);
    return static_cast<unsigned long>((2 * index.RateNumerator() + denominator) / (2 * denominator));
}

void Player::PictureSize(long& width, long& height) const {
    const std::lock_guard lock(m_mutex);
    if (m_picture) {
        width = m_picture->Width();
        height = m_picture->Height();
        return;
    }
    const ordune::VideoInfo& video = m_file->Video();
    const bool upright = video.rotation % 180 == 0;
    width = upright ? video.width : video.height;
    height = upright ? video.height : video.width;
}

std::optional<ordune::KeyFrame> Player::KeyFrameAt(FrameNumber frame) const {
    return m_file->Index().KeyAtOrBefore(frame);
}

std::optional<ordune::KeyFrame> Player::KeyFrameAfter(FrameNumber frame) const {
    return m_file->Index().KeyAfter(frame);
}

// ---- Sound

void Player::SetSound(bool wanted) {
    const std::lock_guard lock(m_mutex);
    m_sound_wanted = wanted;
    m_wake.Wake();
}

void Player::SetVolume(std::uint16_t volume) {
    if (m_sound) m_sound->SetVolume(volume);
}

// ---- Display

bool Player::HasRegion(unsigned long region) const {
    return region == 0 || (region < PortDisplay::kRegions && m_has_region[region]);
}

bool Player::SetRegion(unsigned long region, const ordune::PictureArea& area, std::uint32_t window,
                       bool enable) {
    if (region >= PortDisplay::kRegions) return false;
    if (region != 0 && (enable ? window == 0 || !Drawable(window) : !HasRegion(region))) return false;
    return Ask([=, this] {
        const bool done = m_display.SetRegion(region, area, window, enable);
        m_has_region[region] = m_display.HasRegion(region);
        if (region != 0 && !enable) {
            // One that ends takes the colours along that were meant for it.
            const std::lock_guard lock(m_mutex);
            m_changes.colours[region].reset();
        }
        return done;
    });
}

bool Player::SetColour(unsigned long region, const Colour& colour) {
    if (region >= PortDisplay::kRegions) return false;
    const std::lock_guard lock(m_mutex);
    m_changes.colours[region] = colour;
    m_changes.redraw.set(region);
    m_wake.Wake();
    return true;
}

void Player::SetHighQuality(bool high) {
    const std::lock_guard lock(m_mutex);
    m_high_quality = high;
    m_changes.redraw.set();
    m_wake.Wake();
}

void Player::SetHalfResolution(bool half) {
    const std::lock_guard lock(m_mutex);
    m_half_resolution = half;
    m_changes.redraw.set();
    m_wake.Wake();
}

void Player::SetDeflash(bool on) {
    const std::lock_guard lock(m_mutex);
    m_deflash_on = on;
}

void Player::SetCoarseTimer(bool coarse) {
    m_coarse_timer = coarse;
}

void Player::SetLeaveOut(int count) {
    m_leave_out = count;
    m_wake.Wake();
}

// ---- Stills

std::size_t Player::Still(StillKind kind, std::span<std::uint8_t> out) {
    ordune::PicturePtr picture;
    // Inside the display callback it is the picture being displayed, whatever has been asked for since.
    if (OnPlayThread()) picture = m_presenting;
    if (!picture) {
        std::unique_lock lock(m_mutex);
        const auto settled = [&] { return m_closing || m_state == State::Stopped || !m_pending; };
        if (!MustNotWait() && !m_changed.wait_for(lock, kLongestWait, settled)) return 0;
        picture = m_picture;
    }
    if (!picture) return 0;
    const std::lock_guard lock(m_still_mutex);
    const auto length = kind == StillKind::Bmp ? m_encoder.EncodeBmp(*picture, out)
                                               : m_encoder.EncodeJpeg(*picture, kJpegQuality, out);
    return length ? length.Value() : 0;
}

} // namespace dravo
