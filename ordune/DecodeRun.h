// One way through the file: units are read in order from a key picture on and sent to a decoder of its own.
//
// Used by one thread. It tells which pictures came out and, as certainly, which will not: a decoder gives
// pictures in order of presentation, so once one has come out, those before it that were sent never will.
// Where damage breaks that order, the decoder is drained, so that pictures before the damage come out all the
// same.
#pragma once

#include "ordune/MediaFile.h"
#include "ordune/Picture.h"
#include "ordune/PictureDecoder.h"
#include "ordune/PicturePool.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace ordune {

// What is done with a unit that a run comes to.
enum class UnitUse {
    Full,         // decoded
    IfReferenced, // decoded only if other pictures refer to it, as the decoder sees
    LeaveOut,     // not decoded at all
};

// What a run knows of the unit that it has come to.
struct UnitFacts {
    UnitNumber unit = kNoUnit;
    FrameNumber frame = kNoFrame; // kNoFrame: not shown
    bool referenced = true;       // other pictures refer to it, or that cannot be told
    int unreferenced_before = 0;  // how many units directly before it are not referenced
};

// Where a run is.
struct RunPosition {
    // A unit that was sent and whose picture has not come out yet.
    struct Flight {
        FrameNumber frame = kNoFrame;
        bool full = false;     // sent as UnitUse::Full
        int place_in_run = -1; // as Picture::PlaceInRun
    };

    bool active = false;          // started and not yet at its end
    UnitNumber start = kNoUnit;   // where it was started
    UnitNumber next = kNoUnit;    // the unit that comes next
    FrameNumber deliver_from = 0; // pictures before this one may be wrong and are not given out
    FrameNumber held_back = 0;    // about how many units after its own a picture comes out
    const std::vector<Flight>* in_flight = nullptr; // never null; valid as long as the run

    bool InFlight(FrameNumber frame) const;
};

// Whether what failed so may succeed another time.
inline bool MayPass(ErrorKind kind) {
    return kind == ErrorKind::Io || kind == ErrorKind::OutOfMemory || kind == ErrorKind::Cancelled;
}

class DecodeRun {
  public:
    using Chooser = std::function<UnitUse(const UnitFacts& facts)>;

    struct Outcome {
        // Why the run ended where its file does not: memory ran out, the file could not be read, or it was
        // cancelled. What was in flight then may come out another time.
        std::optional<ErrorKind> failure;
        std::vector<PicturePtr> pictures;
        std::vector<FrameNumber> lost;     // decoded in full, but no picture came out
        std::vector<FrameNumber> left_out; // passed without being decoded
        bool ended = false;                // nothing more comes from this run
        bool starved = false;              // at the end of what a growing index knows: try again later

        void Clear();
    };

    // `threads` is asked at each start on how many threads to decode.
    DecodeRun(std::shared_ptr<const MediaFile> file, std::shared_ptr<PicturePool> pool,
              std::function<int()> threads, CancelToken cancel);

    // Begins anew at the first unit of a group; pictures before `deliver_from` will not be given out. What
    // was in flight is forgotten.
    Result<void> Start(UnitNumber first_of_group, FrameNumber deliver_from);
    // Takes the next unit; at the end of the file it drains.
    void Step(const Chooser& choose, Outcome& outcome);
    // Gets out all that is in flight, and ends.
    void Drain(Outcome& outcome);
    // Gives back the decoder and its memory.
    void Release();

    RunPosition Position() const;

  private:
    Result<void> Open();
    std::optional<Group> GroupBehindDamage();
    std::optional<Group> GroupAheadOfItsTurn(FrameNumber number) const;
    void TakeUpAnew(const Group& group, Outcome& outcome);
    // Of a decoder's picture; kNoFrame where it has none.
    FrameNumber NumberOf(const AVFrame& frame) const;
    // Takes what has come out, but for frames from `end` on.
    void Collect(Outcome& outcome, FrameNumber end = kNoFrame);
    // The same up to a picture that comes ahead of its turn, whose group it gives.
    std::optional<Group> CollectInTurn(Outcome& outcome);
    void Deliver(AVFrame* frame, FrameNumber number, Outcome& outcome);
    // Those in flight whose frame is before `frame` are lost.
    void Settle(FrameNumber frame, Outcome& outcome);
    void TrackOrder(FrameNumber frame);

    const std::shared_ptr<const MediaFile> m_file;
    const std::shared_ptr<PicturePool> m_pool;
    const std::function<int()> m_ask_threads;
    const CancelToken m_cancel; // of reading
    const bool m_needs_depth;   // whether the decoder has to be told how far pictures are reordered

    std::unique_ptr<UnitReader> m_reader;
    std::unique_ptr<PictureDecoder> m_decoder;
    int m_threads = 1;          // of the decoder
    bool m_dirty = false;       // the decoder has been sent something since it was reset
    UnitNumber m_last_open = 0; // the last open group that was passed since the decoder met damage
    bool m_active = false;
    UnitNumber m_start = kNoUnit;
    UnitNumber m_next = kNoUnit;
    FrameNumber m_deliver_from = 0;
    std::vector<RunPosition::Flight> m_in_flight;
    // The greatest frame numbers passed, in falling order, and how far pictures were seen to be reordered.
    std::vector<FrameNumber> m_greatest;
    int m_depth = 0;
    int m_unreferenced = 0; // units in a row that are not referenced
};

} // namespace ordune
