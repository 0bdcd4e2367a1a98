// The frame reader: a decode thread, two runs through the file, and the pictures that they made.
//
// The thread asks the planner for one unit's worth of work at a time, does it with no lock held, puts what
// came out into the cache under the lock, and tells the owner. It starts with Begin and is joined by the
// destructor, which cancels what is being read and waits for one unit at most. Lock order: there is one lock,
// and nothing is called with it held but the index's queries.
#pragma once

#include "ordune/DecodeRun.h"
#include "ordune/FrameReader.h"
#include "ordune/PictureCache.h"
#include "ordune/PicturePool.h"
#include "ordune/ReaderShares.h"
#include "ordune/ReadPlanner.h"
#include "ordune/ReadRoom.h"
#include "ordune/TriedFrames.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace ordune {

// What a reader works with, alone or beside others.
struct ReaderMeans {
    std::shared_ptr<ReaderShares> shares;
    std::shared_ptr<PicturePool> pool;
};

class ThreadedFrameReader final : public FrameReader {
  public:
    // `ahead` as in FrameReaderOptions.
    ThreadedFrameReader(std::shared_ptr<const MediaFile> file, const ReaderMeans& means, FrameNumber ahead,
                        std::function<void()> progress);
    ~ThreadedFrameReader() override;
    ThreadedFrameReader(const ThreadedFrameReader&) = delete;
    ThreadedFrameReader& operator=(const ThreadedFrameReader&) = delete;

    // Starts the thread; throws std::system_error when there can be none.
    void Begin();

    void SetWant(const Want& want) override;
    void WantNothing() override;
    PicturePtr Find(FrameNumber frame) const override;
    PicturePtr FindNewest(FrameNumber first, FrameNumber last) const override;
    PicturePtr FindOldest(FrameNumber first, FrameNumber last) const override;
    State StateOf(FrameNumber frame) const override;
    bool Doubtful(FrameNumber frame) const override;
    std::size_t CacheBytes() const override;

  private:
    void Work();
    // One piece of work for the want taken over.
    void Turn();
    // Takes over the newest want and the room that there is for it; false when the reader is to end.
    bool TakeWant();
    // Nothing is wanted: gives all memory back.
    void LetGo();
    ReadRoom RoomFor(const Want& want, FrameNumber walked, std::size_t bytes) const;
    void Do(ReadAction action, const ReadState& state);
    void Advance(DecodeRun& run, const ReadAction& action, const ReadState& state);
    // Puts what came out of the run into the cache and tells the owner.
    void Publish(UnitNumber run_start);
    void GiveUp(FrameNumber frame);
    // The wanted frame cannot be had for now: memory ran out, or the file could not be read. It is tried
    // again with the next want; until that comes, the thread rests.
    void Stall();
    // After an exception, out of memory as a rule: gives back what can be made again, and stalls.
    void Recover();
    // Until the want changes; with `for_index` also for a moment in which the index may have grown.
    void Rest(bool for_index);

    // ---- immutable ----
    const std::shared_ptr<const MediaFile> m_file;
    const FrameNumber m_ahead;
    const std::function<void()> m_progress;
    const std::shared_ptr<ReaderShares> m_shares;     // thread-safe
    const std::shared_ptr<PicturePool> m_pool;        // thread-safe
    const CancelToken m_cancel = CancelToken::Make(); // thread-safe; tripped by the end

    // ---- decode thread only ----
    std::unique_ptr<DecodeRun> m_fore;
    std::unique_ptr<DecodeRun> m_back;
    ReadPlanner m_planner;
    std::set<FrameNumber> m_left_out; // while playing, of the frames from the wanted one on
    DecodeRun::Outcome m_outcome;
    Want m_current;
    ReadRoom m_room;
    std::uint64_t m_seen = 0;        // generation of m_current
    bool m_idle = false;             // m_current is not wanted any more
    std::size_t m_picture_bytes = 0; // of the last picture, or a guess before the first

    // ---- guarded by m_mutex ----
    // The cache and the tried frames are changed by the decode thread alone, which therefore reads them
    // unlocked.
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    PictureCache m_cache;
    TriedFrames m_tried;
    Want m_want;
    FrameNumber m_walked = 0;       // see FollowWalk
    std::uint64_t m_generation = 0; // of m_want; 0 before the first
    std::uint64_t m_stalled = 0;    // generation whose frame cannot be had for now; 0 for none
    bool m_wanted = false;          // false after WantNothing
    bool m_shrunk = false;          // there is less room than when the want was taken over
    bool m_stop = false;

    // This reader's part of the shares, thread-safe. It calls into the object, so it ends before what stands
    // above, and is never called with m_mutex held but for Bytes().
    const std::unique_ptr<ReaderShares::Member> m_member;

    std::thread m_thread; // owner's thread only
};

} // namespace ordune
