// The play thread. Each turn of the loop: do what was asked, show the picture that is due if it is there, let
// the sound follow, and sleep until something is due or something wakes it.
//
// A picture is shown in two steps. Commit makes it the current one under the lock, unless a jump, a pause or
// a stop has come in between (the epoch tells), so that what the queries say and what is shown never part.
// Present then draws it and makes the callbacks with no lock held.

#include "dravo/Player.h"
#include "ordune/Brightness.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace dravo {

using namespace std::chrono_literals;
using ordune::Direction;
using ordune::FrameNumber;
using ordune::kNoFrame;
using ordune::MediaTime;
using ordune::PicturePtr;
using std::chrono::nanoseconds;

namespace {

// How long playing rests after a failure of memory, how often it looks whether a growing index has moved on,
// and the least it sleeps while it waits for a picture (whose arrival wakes it).
constexpr std::chrono::milliseconds kAfterFailure = 100ms;
constexpr std::chrono::milliseconds kIndexPatience = 20ms;
constexpr std::chrono::milliseconds kShortestSleep = 2ms;

// How long the end of a film waits for a last picture that does not come out: a damaged one may be tried from
// hours back, and whoever waits for the end wants the next film. A play that leaves out pictures to keep up
// with the clock does not wait at all: the end is told when it comes, and the last picture follows.
constexpr std::chrono::seconds kEndPatience = 2s;
constexpr std::chrono::seconds kLastPatience = 10s; // for the last picture after the end was told
// How long a position waits for pictures that are tried from far back, where nearly none ever comes out, and
// how long it looks for one in their place. All that it passes over share these: somebody waits. A picture
// that was given up for the wait is tried again when it is asked for again.
constexpr std::chrono::milliseconds kDoubtPatience = 700ms;
constexpr std::chrono::milliseconds kSearchPatience = 1500ms;

// The coarse timer: its grid, on which several ports' pictures fall together, and how long the X server may
// go unheard between two pictures (each turn hears it anyway).
using CoarseTick = std::chrono::duration<std::int64_t, std::ratio<1, 100>>;
constexpr std::chrono::milliseconds kLongestUnheard = 100ms;

WallTime WallNow() {
    return std::chrono::steady_clock::now();
}

} // namespace

void Player::Loop() {
    pthread_setname_np(pthread_self(), "dravo-play");
    while (true) {
        RunCommands();
        {
            const std::lock_guard lock(m_mutex);
            if (m_closing) break;
        }
        Next next;
        try {
            next = Turn();
        } catch (const std::exception&) {
            // Memory or a thread that is not to be had just now: the picture stands, and playing tries again.
            next.until = WallNow() + kAfterFailure;
        }
        if (!next.again) Sleep(next);
    }
    Leave();
}

Player::Next Player::Turn() {
    m_display.HandleEvents();
    TellIndexDone();
    const Next next = Advance();
    ApplyDisplayChanges();
    FollowWithSound();
    return next;
}

// Those that are there; what comes meanwhile waits for the next turn, so that a thread that asks without
// end does not stop the pictures.
void Player::RunCommands() {
    std::vector<Command> commands;
    {
        const std::lock_guard lock(m_mutex);
        commands.swap(m_commands);
    }
    for (const Command& command : commands) {
        bool done = false;
        try {
            done = command.work();
        } catch (const std::exception&) {
            done = false; // whoever asked gets an answer all the same
        }
        if (!command.answer) continue;
        const std::lock_guard lock(m_mutex);
        *command.answer = done;
        m_changed.notify_all();
    }
}

void Player::ApplyDisplayChanges() {
    DisplayChanges changes;
    {
        const std::lock_guard lock(m_mutex);
        if (m_changes.redraw.none()) return;
        std::swap(changes, m_changes);
        const auto full = m_high_quality ? ordune::ScaleQuality::High : ordune::ScaleQuality::Fast;
        m_display.SetQuality(m_half_resolution ? ordune::ScaleQuality::Half : full);
    }
    for (unsigned long region = 0; region < PortDisplay::kRegions; ++region) {
        if (changes.colours[region]) m_display.SetColour(region, *changes.colours[region]);
    }
    try {
        for (unsigned long region = 0; region < PortDisplay::kRegions; ++region) {
            if (changes.redraw[region]) m_display.RedrawRegion(region);
        }
    } catch (const std::exception&) {
        const std::lock_guard lock(m_mutex);
        m_changes.redraw |= changes.redraw;
        throw;
    }
}

void Player::TellIndexDone() {
    if (m_index_told || !m_index_done || !m_parts.callbacks->WantsFileRef()) return;
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopped) return;
    }
    m_index_told = true;
    m_parts.callbacks->CallFileRef();
}

Player::Next Player::Advance() {
    std::unique_lock lock(m_mutex);
    if (m_state == State::Stopped) return {};
    const std::uint64_t epoch = m_epoch;
    if (m_pending) {
        const FrameNumber frame = *m_pending;
        const Direction direction = m_search.Way();
        lock.unlock();
        return ServePending(frame, direction, epoch);
    }
    if (m_state != State::Playing || m_ended) return {};
    lock.unlock();
    return PlayOn(epoch);
}

// ---- Reaching a position

Player::Next Player::ServePending(FrameNumber frame, Direction direction, std::uint64_t epoch) {
    const ordune::FrameIndex& index = m_file->Index();
    if (index.Complete() && frame >= index.Total()) {
        // The total was an estimate when the position was asked for.
        const std::lock_guard lock(m_mutex);
        if (m_epoch == epoch) {
            m_pending = index.Total() - 1;
            m_search.Begin(*m_pending, Direction::Backward, false);
        }
        return {.again = true, .until = {}};
    }
    m_hungry = true;
    m_reader->SetWant({.frame = frame, .direction = direction, .exact = true});
    if (const PicturePtr picture = m_reader->Find(frame)) {
        m_hungry = false;
        if (!SeekNearer(frame, epoch) && Commit(picture, epoch, true)) Present(picture, epoch, true);
        return {.again = true, .until = {}};
    }
    if (EndingTakesTooLong(epoch)) return End(epoch);
    const bool lost = m_reader->StateOf(frame) == ordune::FrameReader::State::Undecodable;
    if (!lost && !m_reader->Doubtful(frame)) return {.until = m_ending_until};
    const WallTime since = FirstLoss(epoch);
    const WallTime now = WallNow();
    if (!lost) {
        // The end of a film has a patience of its own.
        const WallTime until = m_ending_until.value_or(since + kDoubtPatience);
        if (now < until) return {.until = until};
    }
    m_hungry = false;
    return PassOver(epoch, now < since + kSearchPatience);
}

// When the first picture of this position turned out to be lost, or to be tried from far back.
WallTime Player::FirstLoss(std::uint64_t epoch) {
    if (std::exchange(m_first_loss_epoch, epoch) != epoch) m_first_loss = WallNow();
    return m_first_loss;
}

// The pending picture is there. True when it stands for one that is lost and there may be a nearer one, which
// is the pending one then.
bool Player::SeekNearer(FrameNumber frame, std::uint64_t epoch) {
    const bool search = m_first_loss_epoch == epoch && WallNow() < m_first_loss + kSearchPatience;
    const std::lock_guard lock(m_mutex);
    if (!search || m_epoch != epoch || !m_pending) return false;
    m_pending = m_search.Found();
    return *m_pending != frame;
}

// The pending picture cannot be had: on to its neighbour. Where there is none, or with `search` false where
// none was found so far, the position is given up, and the picture that was shown stays. A port that plays
// has come to its end with that: it has nothing to go on with.
Player::Next Player::PassOver(std::uint64_t epoch, bool search) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_epoch != epoch || !m_pending) return {.again = true, .until = {}};
        const FrameNumber next = search ? m_search.Lost(m_file->Index().Total()) : m_search.Settle();
        if (next != kNoFrame) {
            m_pending = next;
            return {.again = true, .until = {}};
        }
        m_pending.reset();
        if (m_picture) m_clock.StandAt(m_picture->Time());
        m_shown_epoch = epoch;
        m_given_up_epoch = epoch;
        m_changed.notify_all();
        if (m_state != State::Playing) return {.again = true, .until = {}};
    }
    return End(epoch);
}

// ---- Playing on

Player::Next Player::PlayOn(std::uint64_t epoch) {
    FrameNumber current = 0;
    PlayClock clock;
    SpeedLadder speed;
    {
        const std::lock_guard lock(m_mutex);
        if (m_epoch != epoch) return {.again = true, .until = {}};
        current = m_current;
        clock = m_clock;
        speed = m_speed;
    }
    const ordune::FrameIndex& index = m_file->Index();
    const MediaTime frame_time(1'000'000 * index.RateDenominator() /
                               std::max<std::int64_t>(index.RateNumerator(), 1));
    const nanoseconds interval = speed.ToWall(frame_time);
    if (m_governed_epoch != epoch) {
        m_governed_epoch = epoch;
        m_governor.Reset(interval);
    }

    const WallTime now = WallNow();
    const MediaTime media = clock.Now(now);
    if ((index.Complete() && media >= index.Duration()) || current == kNoFrame) return AtEnd(epoch);

    const FrameNumber next = current + 1;
    const WallTime next_due = clock.When(index.TimeOf(next));
    const WallTime not_before = DuePicture::NotBefore(m_last_shown, next_due, interval, now);
    const FrameNumber due = index.FrameAt(media);
    if (due <= current || now < not_before) {
        // An index that is still growing says by itself neither when the film ends nor that it goes on.
        if (next >= index.Total())
            return {.until = index.Complete() ? clock.When(index.Duration()) : now + kIndexPatience};
        WantAhead(std::max(next, due), interval);
        return {.until = not_before};
    }

    const Pick pick = DuePicture::Choose(now - next_due, interval);
    const auto group = index.GroupOf(current);
    const nanoseconds keys_apart = (group ? group->frame_count : 1) * interval;
    m_hungry = true;
    WantAhead(pick == Pick::Oldest ? next : due, interval);
    const PicturePtr picture = Choose(pick, next, due);
    if (!picture) {
        // Key pictures are far apart, and pictures that are left out never come: neither means being late.
        if (m_governor.Current() != ordune::Effort::KeysOnly)
            m_governor.Shown(now - next_due - m_leave_out.load() * interval, keys_apart, now);
        return {.until = std::max(clock.When(index.TimeOf(due + 1)), now + kShortestSleep)};
    }
    m_hungry = false;
    m_governor.Shown(now - clock.When(picture->Time()), keys_apart, now);
    if (Commit(picture, epoch, false)) Present(picture, epoch, false);
    return {.again = true, .until = {}};
}

void Player::WantAhead(FrameNumber frame, nanoseconds interval) {
    m_reader->SetWant({.frame = frame,
                       .direction = Direction::Forward,
                       .exact = false,
                       .effort = m_governor.Current(),
                       .leave_out = m_leave_out,
                       .stride = DuePicture::Stride(interval)});
}

// The picture to show of those that are there. One that is to be left out may be among them: made for a
// position, to look around there.
PicturePtr Player::Choose(Pick pick, FrameNumber first, FrameNumber last) const {
    while (first <= last) {
        const bool oldest = pick == Pick::Oldest;
        PicturePtr picture = oldest ? m_reader->FindOldest(first, last) : m_reader->FindNewest(first, last);
        if (!picture || picture->PlaceInRun() < 0 || picture->PlaceInRun() >= m_leave_out) return picture;
        if (oldest) {
            first = picture->Number() + 1;
        } else if (picture->Number() > first) {
            last = picture->Number() - 1;
        } else {
            break;
        }
    }
    return nullptr;
}

Player::Next Player::AtEnd(std::uint64_t epoch) {
    const FrameNumber last = m_file->Index().Total() - 1;
    // While playing, a picture that did not come out on the way counts as lost; asked for exactly, it is
    // tried from further back.
    m_reader->SetWant({.frame = last, .direction = Direction::Forward, .exact = true});
    const bool decodable = m_reader->StateOf(last) != ordune::FrameReader::State::Undecodable;
    {
        const std::lock_guard lock(m_mutex);
        if (m_epoch != epoch) return {.again = true, .until = {}};
        if (m_current != last && decodable && !m_ending) {
            // Whatever was left out on the way: the last picture is the one that stays. It is sought once;
            // where it is lost, one near it stays.
            SeekLocked(last, Direction::Forward, false);
            m_ending = true;
            const bool late = m_governor.Current() != ordune::Effort::Every;
            m_ending_until = WallNow() + (late ? 0s : kEndPatience);
            return {.again = true, .until = {}};
        }
    }
    return End(epoch);
}

// Whether the film was played past its last picture and that picture has been sought long enough.
bool Player::EndingTakesTooLong(std::uint64_t epoch) {
    const std::lock_guard lock(m_mutex);
    if (!m_ending || m_epoch != epoch) m_ending_until.reset();
    return m_ending_until && WallNow() >= *m_ending_until;
}

// The film has ended; the picture that was shown last stays, unless the last one is still on its way.
Player::Next Player::End(std::uint64_t epoch) {
    bool told = false;
    {
        const std::lock_guard lock(m_mutex);
        if (m_epoch != epoch) return {.again = true, .until = {}};
        told = std::exchange(m_ended, true);
        const bool sought_on = m_pending && !told && m_governor.Current() != ordune::Effort::Every;
        if (sought_on) {
            m_ending_until = WallNow() + kLastPatience;
        } else {
            m_ending_until.reset();
            m_pending.reset();
            m_ending = false;
        }
        m_clock.Pause(WallNow());
        m_shown_epoch = std::max(m_shown_epoch, epoch);
        m_changed.notify_all();
    }
    FollowWithSound();
    if (!told) m_parts.callbacks->CallFileEnd();
    return {.again = true, .until = {}};
}

// ---- Showing a picture

bool Player::Commit(const PicturePtr& picture, std::uint64_t epoch, bool arrived) {
    const WallTime now = WallNow();
    PicturePtr before; // let go of after the lock: its memory may go back to the kernel, which takes a while
    const std::lock_guard lock(m_mutex);
    if (m_epoch != epoch || m_closing || m_state == State::Stopped) return false;
    if (arrived) {
        m_pending.reset();
        if (m_ended) {
            m_ending = false;
            m_clock.StandAt(m_file->Index().Duration());
        } else if (m_state == State::Playing) {
            // The last picture of a film that was played past it has had its time.
            m_clock.RunFrom(m_ending ? m_file->Index().Duration() : picture->Time(), now);
        } else {
            m_clock.StandAt(picture->Time());
        }
        m_beginning = false;
    }
    m_current = picture->Number();
    before = std::exchange(m_picture, picture);
    m_changed.notify_all();
    return true;
}

void Player::Present(const PicturePtr& picture, std::uint64_t epoch, bool arrived) {
    m_presenting = picture;
    m_last_shown = WallNow(); // before drawing, which would come on top of every interval
    bool drawn = false;
    try {
        m_display.Show(picture, BrightnessCorrection(*picture, arrived));
        drawn = true;
    } catch (const std::exception&) {
        // It is the current picture all the same; drawing it is tried again.
    }
    {
        const std::lock_guard lock(m_mutex);
        if (!drawn) m_changes.redraw.set();
        m_shown_epoch = std::max(m_shown_epoch, epoch);
        m_changed.notify_all();
    }
    if (picture->Width() != m_told_width || picture->Height() != m_told_height) {
        m_told_width = picture->Width();
        m_told_height = picture->Height();
        m_parts.callbacks->CallEncTypeChange();
    }
    if (m_parts.callbacks->WantsDisplay()) CallDisplay(*picture);
    m_presenting.reset();
}

int Player::BrightnessCorrection(const ordune::Picture& picture, bool arrived) {
    bool on = false;
    {
        const std::lock_guard lock(m_mutex);
        on = m_deflash_on;
    }
    // Only pictures that follow each other can pump; one that was jumped to is shown as it is.
    if (!on || arrived) m_deflash.Reset();
    if (!on) return 0;
    const std::optional<double> mean = ordune::MeanBrightness(picture);
    if (!mean) return 0;
    const auto key = m_file->Index().KeyAtOrBefore(picture.Number());
    return m_deflash.Correction(*mean, key && key->frame == picture.Number());
}

void Player::CallDisplay(const ordune::Picture& picture) {
    if (!m_planar.Make(picture)) return;
    const auto stamp = std::chrono::floor<std::chrono::milliseconds>(picture.Time());
    m_parts.callbacks->CallDisplay(reinterpret_cast<char*>(m_planar.Data()),
                                   static_cast<int>(m_planar.Bytes()), m_planar.Width(), m_planar.Height(),
                                   static_cast<int>(stamp.count()));
}

// ---- Sound and sleep

void Player::FollowWithSound() {
    if (!m_sound) return;
    std::unique_lock lock(m_mutex);
    const bool heard = m_sound_wanted && m_state == State::Playing && !m_pending && !m_ended &&
                       m_speed.Heard() && !m_closing;
    const WallTime now = WallNow();
    m_sound->Follow(heard, m_clock, m_speed, m_epoch);
    if (!heard) return;
    if (const std::optional<MediaTime> sounding = m_sound->Heard(now)) m_clock.Steer(*sounding, now);
}

void Player::Sleep(const Next& next) {
    std::optional<WallTime> until = next.until;
    const bool coarse = until && m_coarse_timer;
    if (coarse) until = WallTime(std::chrono::ceil<CoarseTick>(until->time_since_epoch()));
    std::vector<int> descriptors;
    if (!coarse || *until > WallNow() + kLongestUnheard) m_display.AppendDescriptors(descriptors);
    m_wake.Wait(descriptors, until);
}

void Player::Leave() {
    m_display.Close();
    {
        const std::lock_guard lock(m_mutex);
        m_commands.clear();
        m_state = State::Stopped;
        m_picture.reset();
        m_changed.notify_all();
    }
    // Somebody may still hold this player; nobody shall hear it.
    FollowWithSound();
}

} // namespace dravo
