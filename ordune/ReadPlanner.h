// Decides what a frame reader decodes next. Pure: it looks at what is wanted, what is there and where the two
// runs are, and names the next piece of work; it decodes nothing itself and knows no thread.
//
// The steps, asked again after every unit, so that the newest want counts at once:
// 1. The wanted frame is missing: the run that reaches it with the fewest units goes on to it; where none is
// near,
//    a run begins at the key picture of its group. On the way, what no other picture refers to is left out,
//    but for the last stretch before the wanted one, so that the first steps back find theirs made.
// 2. The wanted frame is there: the frames ahead of it are completed (by the fore run, which stays parked
// there).
// 3. Then those behind it, by passes of the back run: a pass costs about as much for one picture as for all
// of the
//    group, so it covers as much of the group as memory allows, and groups before that only where this one is
//    short. The next stretch is begun when a third of what memory holds is used. Going backward, 3 comes
//    before 2.
// 4. Playing, only the frames ahead count, and of those what the effort allows. A run that is behind the
// group of
//    the due frame begins anew at that group's key picture. Where it can be seen to be late for the next
//    group, that key picture is made beforehand, by the back run, and the run goes over to the group shortly
//    before its time: it takes a while until pictures come out of it again, and the key picture is shown
//    meanwhile.
#pragma once

#include "ordune/DecodeRun.h"
#include "ordune/Frame.h"
#include "ordune/FrameReader.h"
#include "ordune/PictureCache.h"
#include "ordune/TriedFrames.h"

#include <optional>
#include <set>

namespace ordune {

enum class RunName { Fore, Back };

// Frames [first, last] are decoded in full; of the others only what is needed for them.
struct Stretch {
    FrameNumber first = 0;
    FrameNumber last = 0;
};

// What is known when the next piece of work is chosen. References are valid during the call only.
struct ReadState {
    const FrameIndex& index;
    const PictureCache& cache;
    const TriedFrames& tried;
    const std::set<FrameNumber>& left_out; // passed by while playing
    RunPosition fore;
    RunPosition back;
    Want want;
    FrameNumber ahead = 0;  // how many frames after the wanted one are to be kept ready
    FrameNumber behind = 0; // how many before it memory has room for
    FrameNumber lead = 0;   // how many before it are made on the way to it at most
};

struct ReadAction {
    enum class Kind {
        Rest,       // nothing to do until the want changes
        AwaitIndex, // the wanted frame is not known yet
        GiveUp,     // `needed` can never be decoded
        Decode,     // let `run` take its next unit
        DecodeKey,  // start at `start`, decode that unit alone
        Drain,      // the run has taken all that its stretch needs: get it out
    };
    Kind kind = Kind::Rest;
    FrameNumber needed = kNoFrame; // the frame it is done for
    RunName run = RunName::Fore;
    bool swap_runs = false;          // first, the two runs exchange their names
    std::optional<UnitNumber> start; // begin the run anew here
    FrameNumber deliver_from = 0;    // with `start`
    Stretch stretch;
};

class ReadPlanner {
  public:
    ReadAction Next(const ReadState& state);

    // What a run does with the unit that it has come to, when working for the action.
    static UnitUse UseOf(const ReadState& state, const ReadAction& action, FrameNumber deliver_from,
                         const UnitFacts& facts);
    // From how far back a frame that a run started at `start` did not give has been tried.
    static Reach ReachOf(const FrameIndex& index, UnitNumber start, FrameNumber frame);

  private:
    // A stretch behind the wanted frame that the back run is decoding.
    struct Pass {
        Stretch stretch;
        UnitNumber last_unit = 0; // the last one that the stretch needs
    };

    ReadAction NextExact(const ReadState& state);
    ReadAction NextPlaying(const ReadState& state) const;
    static std::optional<Group> NextGroupOfLatePlay(const ReadState& state);
    ReadAction NextKey(const ReadState& state) const;
    ReadAction Fetch(const ReadState& state, FrameNumber needed, bool exact) const;
    std::optional<ReadAction> GoOn(const ReadState& state, FrameNumber needed, const Stretch& stretch,
                                   UnitNumber start) const;
    std::optional<ReadAction> NextAhead(const ReadState& state);
    std::optional<ReadAction> NextBehind(const ReadState& state);
    ReadAction BeginPass(const ReadState& state, FrameNumber needed, Stretch stretch);
    ReadAction ContinuePass(const ReadState& state) const;

    std::optional<Pass> m_pass;
    // The last frame of the pass that ended last: what it did not give is not tried again in advance.
    FrameNumber m_finished_top = kNoFrame;
};

} // namespace ordune
