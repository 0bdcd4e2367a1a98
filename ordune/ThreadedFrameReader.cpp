#include "ordune/ThreadedFrameReader.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <pthread.h>

namespace ordune {

namespace {

using namespace std::chrono_literals;

// How often a growing index is looked at again.
constexpr auto kIndexPause = 20ms;
// So many pictures a reader keeps whatever the others have: with fewer, a picture that comes out beside the
// wanted one would be lost, and be decoded again a moment later.
constexpr std::size_t kLeastPictures = 4;

std::size_t GuessPictureBytes(const VideoInfo& video) {
    const auto pixels = static_cast<std::size_t>(std::max(video.width, 16)) *
                        static_cast<std::size_t>(std::max(video.height, 16));
    return pixels * 3 / 2 + 8192;
}

bool SameWant(const Want& a, const Want& b) {
    return a.frame == b.frame && a.direction == b.direction && a.exact == b.exact && a.effort == b.effort &&
           a.leave_out == b.leave_out && a.stride == b.stride;
}

} // namespace

ThreadedFrameReader::ThreadedFrameReader(std::shared_ptr<const MediaFile> file, const ReaderMeans& means,
                                         FrameNumber ahead, std::function<void()> progress)
    : m_file(std::move(file)), m_ahead(ahead), m_progress(std::move(progress)), m_shares(means.shares),
      m_pool(means.pool), m_fore(std::make_unique<DecodeRun>(
                              m_file, m_pool, [this] { return m_member->Threads(); }, m_cancel)),
      m_back(std::make_unique<DecodeRun>(
          m_file, m_pool, [this] { return m_member->Threads(); }, m_cancel)),
      m_picture_bytes(GuessPictureBytes(m_file->Video())), m_cache(0), m_member(m_shares->Join([this] {
          const std::lock_guard lock(m_mutex);
          m_shrunk = true;
          m_changed.notify_all();
      })) {
    m_member->SetLeast(kLeastPictures * m_picture_bytes);
}

ThreadedFrameReader::~ThreadedFrameReader() {
    // First: a read on the way ends with it, so that the thread comes to see the rest.
    m_cancel.Cancel();
    {
        const std::lock_guard lock(m_mutex);
        m_stop = true;
        m_changed.notify_all();
    }
    if (m_thread.joinable()) m_thread.join();
    m_member->Rest();
    LetGo();
}

void ThreadedFrameReader::Begin() {
    m_thread = std::thread([this] { Work(); });
    pthread_setname_np(m_thread.native_handle(), "ordune-decode");
}

// ---- Any thread ----

void ThreadedFrameReader::SetWant(const Want& want) {
    m_member->Use();
    const std::lock_guard lock(m_mutex);
    if (m_wanted && SameWant(want, m_want)) return;
    m_walked = m_wanted ? FollowWalk(m_walked, m_want, want) : 0;
    m_want = want;
    m_wanted = true;
    ++m_generation;
    m_changed.notify_all();
}

void ThreadedFrameReader::WantNothing() {
    m_member->Rest();
    const std::lock_guard lock(m_mutex);
    if (!m_wanted) return;
    m_wanted = false;
    ++m_generation;
    m_changed.notify_all();
}

PicturePtr ThreadedFrameReader::Find(FrameNumber frame) const {
    const std::lock_guard lock(m_mutex);
    return m_cache.Find(frame);
}

PicturePtr ThreadedFrameReader::FindNewest(FrameNumber first, FrameNumber last) const {
    const std::lock_guard lock(m_mutex);
    return m_cache.FindNewest(first, last);
}

PicturePtr ThreadedFrameReader::FindOldest(FrameNumber first, FrameNumber last) const {
    const std::lock_guard lock(m_mutex);
    return m_cache.FindOldest(first, last);
}

FrameReader::State ThreadedFrameReader::StateOf(FrameNumber frame) const {
    const FrameIndex& index = m_file->Index();
    if (index.Complete() && frame >= index.Total()) return State::Undecodable;
    const std::lock_guard lock(m_mutex);
    if (m_cache.Has(frame)) return State::Ready;
    if (m_tried.Undecodable(frame)) return State::Undecodable;
    if (m_stalled == m_generation && frame == m_want.frame) return State::Undecodable;
    // Playing does not go back for a picture that did not come out.
    if (!m_want.exact && m_tried.Failed(frame)) return State::Undecodable;
    return State::Pending;
}

bool ThreadedFrameReader::Doubtful(FrameNumber frame) const {
    const std::lock_guard lock(m_mutex);
    return !m_cache.Has(frame) && m_tried.Next(frame) >= Reach::Far;
}

std::size_t ThreadedFrameReader::CacheBytes() const {
    const std::lock_guard lock(m_mutex);
    return m_cache.Bytes();
}

// ---- The decode thread ----

ReadRoom ThreadedFrameReader::RoomFor(const Want& want, FrameNumber walked, std::size_t bytes) const {
    const auto fits = static_cast<FrameNumber>(
        std::min<std::size_t>(bytes / m_picture_bytes, std::numeric_limits<std::int32_t>::max()));
    return ReadRoom::Divide(want, walked, {fits, m_picture_bytes, m_ahead, m_fore->Position().held_back});
}

bool ThreadedFrameReader::TakeWant() {
    std::vector<PicturePtr> dropped; // let go of after the lock
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stop || m_generation != 0; });
    if (m_stop) return false;
    m_current = m_want;
    m_idle = !m_wanted;
    m_seen = m_generation;
    m_shrunk = false;
    const std::size_t bytes = m_member->Bytes();
    m_room = RoomFor(m_current, m_walked, bytes);
    const FrameNumber frame = m_current.frame;
    m_cache.SetFocus(frame, frame > m_room.behind ? frame - m_room.behind : 0,
                     frame + std::min(m_room.kept, kNoFrame - 1 - frame));
    m_cache.SetBudget(bytes, dropped);
    return true;
}

void ThreadedFrameReader::LetGo() {
    m_outcome.Clear();
    m_left_out.clear();
    m_planner = ReadPlanner();
    m_fore->Release();
    m_back->Release();
    std::vector<PicturePtr> dropped; // let go of after the lock
    {
        const std::lock_guard lock(m_mutex);
        m_cache.Clear(dropped);
    }
    dropped.clear();
    if (!m_shares->IsInUse()) m_pool->Trim();
}

void ThreadedFrameReader::Work() {
    for (;;) {
        bool more = false;
        bool failed = false;
        try {
            more = TakeWant();
            if (more) Turn();
        } catch (...) {
            failed = true;
        }
        if (failed)
            Recover();
        else if (!more)
            return;
    }
}

void ThreadedFrameReader::Turn() {
    if (m_idle) {
        LetGo();
        Rest(false);
        return;
    }
    if (m_current.exact)
        m_left_out.clear();
    else
        m_left_out.erase(m_left_out.begin(), m_left_out.lower_bound(m_current.frame));
    const ReadState state{m_file->Index(),    m_cache,   m_tried,      m_left_out,    m_fore->Position(),
                          m_back->Position(), m_current, m_room.ahead, m_room.behind, m_room.lead};
    const ReadAction action = m_planner.Next(state);
    switch (action.kind) {
    case ReadAction::Kind::Rest:
        Rest(false);
        break;
    case ReadAction::Kind::AwaitIndex:
        Rest(true);
        break;
    case ReadAction::Kind::GiveUp:
        GiveUp(action.needed);
        break;
    case ReadAction::Kind::Decode:
    case ReadAction::Kind::DecodeKey:
    case ReadAction::Kind::Drain:
        Do(action, state);
        break;
    }
}

void ThreadedFrameReader::Do(ReadAction action, const ReadState& state) {
    if (action.swap_runs) std::swap(m_fore, m_back);
    // While playing nothing is made behind the due frame; its decoder's memory is better given back.
    if (!m_current.exact) m_back->Release();
    DecodeRun& run = action.run == RunName::Fore ? *m_fore : *m_back;
    m_outcome.Clear();
    if (action.start) {
        const auto started = run.Start(*action.start, action.deliver_from);
        if (!started) {
            if (MayPass(started.Failure().kind))
                Stall();
            else
                GiveUp(action.needed);
            return;
        }
    }
    Advance(run, action, state);
    const RunPosition after = run.Position();
    const bool starved = m_outcome.starved;
    const bool failed = m_outcome.failure.has_value();
    const bool never_reached = m_outcome.ended && action.kind == ReadAction::Kind::Decode &&
                               state.index.UnitOf(action.needed) >= after.next;
    Publish(after.start);
    if (failed) {
        // The decoder too: it may be what memory lacks for, or lack a picture itself.
        run.Release();
        Stall();
        return;
    }
    // The file ends before the unit that the index has of it.
    if (never_reached) GiveUp(action.needed);
    if (!starved) return;
    // At the end of what the index knows, the decoder holds back what it would give for one unit more.
    if (after.InFlight(action.needed)) {
        run.Drain(m_outcome);
        Publish(after.start);
    } else {
        Rest(true);
    }
}

void ThreadedFrameReader::Advance(DecodeRun& run, const ReadAction& action, const ReadState& state) {
    if (action.kind == ReadAction::Kind::Drain) {
        run.Drain(m_outcome);
        return;
    }
    const FrameNumber deliver_from = run.Position().deliver_from;
    run.Step([&](const UnitFacts& facts) { return ReadPlanner::UseOf(state, action, deliver_from, facts); },
             m_outcome);
    if (action.kind == ReadAction::Kind::DecodeKey && !m_outcome.ended && !m_outcome.starved)
        run.Drain(m_outcome);
}

void ThreadedFrameReader::Publish(UnitNumber run_start) {
    if (!m_current.exact) m_left_out.insert(m_outcome.left_out.begin(), m_outcome.left_out.end());
    if (m_outcome.pictures.empty() && m_outcome.lost.empty() && !m_outcome.ended) return;

    if (!m_outcome.pictures.empty()) {
        m_picture_bytes = std::max<std::size_t>(m_outcome.pictures.back()->Bytes(), 1);
        m_member->SetLeast(kLeastPictures * m_picture_bytes);
    }
    std::vector<PicturePtr> dropped; // let go of after the lock
    {
        const std::lock_guard lock(m_mutex);
        for (const PicturePtr& picture : m_outcome.pictures) {
            m_tried.Succeed(picture->Number());
            m_cache.Add(picture, dropped);
        }
        if (!m_current.exact) m_cache.DropBehind(dropped);
        for (const FrameNumber frame : m_outcome.lost) {
            if (!m_outcome.failure && !m_cache.Has(frame))
                m_tried.Fail(frame, ReadPlanner::ReachOf(m_file->Index(), run_start, frame));
        }
    }
    m_outcome.Clear();
    dropped.clear();
    if (m_progress) m_progress();
}

void ThreadedFrameReader::GiveUp(FrameNumber frame) {
    {
        const std::lock_guard lock(m_mutex);
        m_tried.Fail(frame, Reach::Start);
    }
    if (m_progress) m_progress();
}

void ThreadedFrameReader::Stall() {
    {
        const std::lock_guard lock(m_mutex);
        m_stalled = m_seen;
    }
    if (m_progress) m_progress();
    Rest(false);
}

void ThreadedFrameReader::Recover() {
    // Nothing in here asks for memory.
    m_outcome.Clear();
    m_left_out.clear();
    m_planner = ReadPlanner();
    m_fore->Release();
    m_back->Release();
    m_pool->Trim();
    try {
        Stall();
    } catch (...) {
        // What `progress` throws; it has been told.
        Rest(false);
    }
}

void ThreadedFrameReader::Rest(bool for_index) {
    std::unique_lock lock(m_mutex);
    const auto changed = [this] { return m_stop || m_shrunk || m_generation != m_seen; };
    if (for_index)
        m_changed.wait_for(lock, kIndexPause, changed);
    else
        m_changed.wait(lock, changed);
}

} // namespace ordune
