#include "ordune/ReadPlanner.h"

#include <algorithm>

namespace ordune {

namespace {

// A run this few units before a key picture goes on to it rather than being started there anew, which would
// throw away what is in its decoder.
constexpr UnitNumber kNearKey = 4;
// A frame that neither its own key picture nor the one before brings out is tried from this many units back:
// decoder state hardly ever lives longer. The file's start, which comes last, can take minutes in a file of
// many hours.
constexpr UnitNumber kFarUnits = 3000;
// How much is decoded in full before a frame that is jumped to: a quarter of the way keeps the jump within a
// tenth of the quickest, as every second picture of it is made at least.
constexpr UnitNumber kLeadShare = 4;
constexpr FrameNumber kLeastLead = 4;
// How much before a frame that a step back did not find made: two seconds of stepping.
constexpr FrameNumber kStepBackLead = 64;
// A pass behind the wanted frame over fewer pictures would mostly fill and empty the decoder.
constexpr FrameNumber kLeastPass = 12;
// While only key pictures are shown, so many are made in advance.
constexpr int kKeysAhead = 3;

FrameNumber Before(FrameNumber frame, FrameNumber count) {
    return frame > count ? frame - count : 0;
}

bool Have(const ReadState& state, FrameNumber frame) {
    return state.cache.Has(frame) || state.tried.Undecodable(frame);
}

// Nothing is to be done in advance for the frame: it is there, or it failed and waits until it is wanted
// itself.
bool Settled(const ReadState& state, FrameNumber frame) {
    return state.cache.Has(frame) || state.tried.Failed(frame);
}

std::optional<Group> GroupBefore(const FrameIndex& index, const Group& group) {
    if (group.first_unit == 0) return std::nullopt;
    return index.GroupOfUnit(group.first_unit - 1);
}

// The group at whose key picture decoding is begun for the frame; nothing for a frame that is not known.
std::optional<Group> StartGroup(const FrameIndex& index, FrameNumber frame, Reach reach) {
    auto group = index.GroupOf(frame);
    if (!group) return std::nullopt;
    int steps_back = frame - group->first_frame < group->leading_count ? 1 : 0;
    if (reach == Reach::KeyBefore) ++steps_back;
    if (reach >= Reach::Start) return index.GroupOfUnit(0);
    if (reach == Reach::Far) {
        const auto far = index.GroupOfUnit(group->first_unit > kFarUnits ? group->first_unit - kFarUnits : 0);
        if (far && far->first_unit < group->first_unit) return far;
        steps_back = 2;
    }
    for (; steps_back > 0; --steps_back) {
        const auto before = GroupBefore(index, *group);
        if (!before) break;
        group = before;
    }
    return group;
}

// The first frame of a run started at the group's key picture that is sure to be right.
FrameNumber DeliverFrom(const Group& group) {
    // At the file's start nothing is missing: what comes out there is what the file has.
    return group.first_unit == 0 ? group.first_frame : group.first_frame + group.leading_count;
}

UnitNumber LastUnitOf(const FrameIndex& index, const Stretch& stretch) {
    UnitNumber last = 0;
    for (FrameNumber frame = stretch.first; frame <= stretch.last; ++frame) {
        const UnitNumber unit = index.UnitOf(frame);
        if (unit != kNoUnit) last = std::max(last, unit);
    }
    return last;
}

// Whether the unit is among the first `count` of its run of pictures that no other refers to.
bool AtFrontOfUnreferenced(const FrameIndex& index, UnitNumber unit, int count) {
    if (index.Referenced(unit)) return false;
    int before = 0;
    while (unit > 0 && before < count && !index.Referenced(unit - 1)) {
        --unit;
        ++before;
    }
    return before < count;
}

bool LeftOutByWant(const ReadState& state, UnitNumber unit) {
    const Want& want = state.want;
    if (want.effort == Effort::Referenced && !state.index.Referenced(unit)) return true;
    return want.leave_out > 0 && AtFrontOfUnreferenced(state.index, unit, want.leave_out);
}

FrameNumber LastAhead(const ReadState& state) {
    const FrameNumber known = state.index.Known();
    const FrameNumber last = state.want.frame + std::min(state.ahead, kNoFrame - 1 - state.want.frame);
    return std::min(last, known - 1);
}

// How many units the run still has to take for the frame; nothing when it does not lead there, or when
// starting at `start` is shorter.
std::optional<UnitNumber> WayTo(const ReadState& state, const RunPosition& run, FrameNumber frame,
                                UnitNumber start) {
    if (!run.active || frame < run.deliver_from || run.start > start) return std::nullopt;
    if (run.InFlight(frame)) return 0;
    const UnitNumber unit = state.index.UnitOf(frame);
    if (unit < run.next || start > run.next + kNearKey) return std::nullopt;
    return unit - run.next;
}

// Decodes a key picture alone.
ReadAction MakeKey(FrameNumber key, UnitNumber unit, RunName run) {
    ReadAction action;
    action.kind = ReadAction::Kind::DecodeKey;
    action.needed = key;
    action.run = run;
    action.start = unit;
    action.deliver_from = key;
    action.stretch = {key, key};
    return action;
}

} // namespace

Reach ReadPlanner::ReachOf(const FrameIndex& index, UnitNumber start, FrameNumber frame) {
    if (start == 0) return Reach::Start;
    for (const Reach reach : {Reach::Far, Reach::KeyBefore}) {
        const auto group = StartGroup(index, frame, reach);
        if (group && start <= group->first_unit) return reach;
    }
    return Reach::OwnKey;
}

UnitUse ReadPlanner::UseOf(const ReadState& state, const ReadAction& action, FrameNumber deliver_from,
                           const UnitFacts& facts) {
    const FrameNumber frame = facts.frame;
    const UnitUse spared = facts.referenced ? UnitUse::IfReferenced : UnitUse::LeaveOut;
    if (frame == kNoFrame) return facts.referenced ? UnitUse::Full : UnitUse::LeaveOut;
    if (action.kind == ReadAction::Kind::DecodeKey) return UnitUse::Full;
    if (frame < deliver_from || frame < action.stretch.first || state.cache.Has(frame)) return spared;
    // Beyond its stretch the fore run goes on in full: what it leaves out it could not come back to.
    if (action.run == RunName::Back && frame > action.stretch.last) return spared;
    if (!state.want.exact) {
        if (state.want.effort != Effort::Every) return spared;
        if (!facts.referenced && facts.unreferenced_before < state.want.leave_out) return UnitUse::LeaveOut;
    }
    return UnitUse::Full;
}

ReadAction ReadPlanner::Next(const ReadState& state) {
    if (state.want.frame >= state.index.Known()) {
        ReadAction action;
        if (!state.index.Complete()) action.kind = ReadAction::Kind::AwaitIndex;
        return action;
    }
    if (m_pass && !state.back.active) {
        m_finished_top = m_pass->stretch.last;
        m_pass.reset();
    }
    if (state.want.exact || state.want.direction == Direction::Backward) return NextExact(state);
    m_pass.reset();
    return state.want.effort == Effort::KeysOnly ? NextKey(state) : NextPlaying(state);
}

// ---- Positions ----

ReadAction ReadPlanner::NextExact(const ReadState& state) {
    const FrameNumber wanted = state.want.frame;
    // A pass that the wanted frame has left behind, or that lies elsewhere, is of no use any more.
    if (m_pass &&
        (wanted < m_pass->stretch.first || wanted > m_pass->stretch.last + state.behind + state.ahead + 1))
        m_pass.reset();

    if (!Have(state, wanted)) {
        if (m_pass && wanted <= m_pass->stretch.last) {
            const auto group = StartGroup(state.index, wanted, state.tried.Next(wanted));
            if (group && WayTo(state, state.back, wanted, group->first_unit)) return ContinuePass(state);
        }
        ReadAction action = Fetch(state, wanted, true);
        // A step back that has outrun its pass would outrun the few pictures of a jump at once again.
        const bool step_back = state.want.direction == Direction::Backward && state.cache.Has(wanted + 1);
        if (action.start && step_back && state.behind > 0) {
            // Not into the group before, which would have to be decoded first.
            const FrameNumber lead = std::min(kStepBackLead, state.behind);
            return BeginPass(state, wanted, {std::max(Before(wanted, lead), action.deliver_from), wanted});
        }
        if (action.swap_runs) m_pass.reset();
        return action;
    }
    const bool forward = state.want.direction == Direction::Forward;
    if (forward) {
        if (auto action = NextAhead(state)) return *action;
        if (auto action = NextBehind(state)) return *action;
    } else {
        if (auto action = NextBehind(state)) return *action;
        if (auto action = NextAhead(state)) return *action;
    }
    return {};
}

std::optional<ReadAction> ReadPlanner::GoOn(const ReadState& state, FrameNumber needed,
                                            const Stretch& stretch, UnitNumber start) const {
    const auto fore = WayTo(state, state.fore, needed, start);
    const auto back = WayTo(state, state.back, needed, start);
    if (!fore && !back) return std::nullopt;
    ReadAction action;
    action.kind = ReadAction::Kind::Decode;
    action.needed = needed;
    action.swap_runs = !fore || (back && *back < *fore);
    action.stretch = stretch;
    return action;
}

ReadAction ReadPlanner::Fetch(const ReadState& state, FrameNumber needed, bool exact) const {
    ReadAction action;
    action.needed = needed;
    const Reach reach = exact ? state.tried.Next(needed) : Reach::OwnKey;
    const auto group = StartGroup(state.index, needed, reach);
    const UnitNumber unit = state.index.UnitOf(needed);
    if (!group || unit == kNoUnit || unit < group->first_unit) {
        action.kind = ReadAction::Kind::GiveUp;
        return action;
    }
    const FrameNumber wanted = state.want.frame;
    Stretch stretch{wanted, LastAhead(state)};
    if (exact && needed == wanted) {
        const UnitNumber from =
            state.fore.active && state.fore.next > group->first_unit && state.fore.next <= unit
                ? state.fore.next
                : group->first_unit;
        const UnitNumber lead =
            std::clamp<UnitNumber>((unit - from) / kLeadShare, kLeastLead, std::max(state.lead, kLeastLead));
        stretch.first = Before(wanted, std::min<FrameNumber>(lead, state.behind));
    }
    if (auto go_on = GoOn(state, needed, stretch, group->first_unit)) return *go_on;
    action.kind = ReadAction::Kind::Decode;
    action.start = group->first_unit;
    action.deliver_from = std::min(DeliverFrom(*group), needed);
    action.stretch = stretch;
    return action;
}

std::optional<ReadAction> ReadPlanner::NextAhead(const ReadState& state) {
    const FrameNumber last = LastAhead(state);
    for (FrameNumber frame = state.want.frame + 1; frame <= last; ++frame) {
        if (Settled(state, frame)) continue;
        ReadAction action = Fetch(state, frame, true);
        if (action.swap_runs) m_pass.reset();
        return action;
    }
    return std::nullopt;
}

std::optional<ReadAction> ReadPlanner::NextBehind(const ReadState& state) {
    if (m_pass) return ContinuePass(state);
    const FrameNumber goal = state.behind;
    const FrameNumber wanted = state.want.frame;
    if (goal == 0) return std::nullopt;
    FrameNumber count = 0;
    while (count < goal && count < wanted && Settled(state, wanted - 1 - count))
        ++count;
    const FrameNumber enough = std::max<FrameNumber>(1, goal * 2 / 3);
    if (count >= enough || count == wanted) return std::nullopt;
    const FrameNumber top = wanted - 1 - count;
    if (top == m_finished_top) return std::nullopt;

    Stretch stretch{Before(top + 1, std::max(goal - count, enough)), top};
    // What lies nearest comes first: whole groups, until they are worth a pass.
    if (const auto near = state.index.GroupOf(Before(top + 1, kLeastPass)))
        stretch.first = std::max(stretch.first, near->first_frame);
    // A group that the stretch reaches into for less than it costs to get there is left for the next pass.
    const auto group = state.index.GroupOf(stretch.first);
    if (!group) return std::nullopt;
    const FrameNumber next_group = group->first_frame + group->frame_count;
    if (next_group <= top && stretch.first - group->first_frame > next_group - stretch.first)
        stretch.first = next_group;
    return BeginPass(state, top, stretch);
}

ReadAction ReadPlanner::BeginPass(const ReadState& state, FrameNumber needed, Stretch stretch) {
    ReadAction action;
    action.needed = needed;
    // The needed frame's own reach counts: it may have to be begun earlier than the stretch.
    const auto first = StartGroup(state.index, stretch.first, Reach::OwnKey);
    const auto for_needed = StartGroup(state.index, needed, state.tried.Next(needed));
    if (!first || !for_needed) {
        action.kind = ReadAction::Kind::GiveUp;
        return action;
    }
    const Group& group = first->first_unit < for_needed->first_unit ? *first : *for_needed;
    m_pass = Pass{stretch, LastUnitOf(state.index, stretch)};
    action.kind = ReadAction::Kind::Decode;
    action.run = RunName::Back;
    action.start = group.first_unit;
    action.deliver_from = std::min(DeliverFrom(group), needed);
    action.stretch = stretch;
    return action;
}

ReadAction ReadPlanner::ContinuePass(const ReadState& state) const {
    ReadAction action;
    action.kind = state.back.next > m_pass->last_unit ? ReadAction::Kind::Drain : ReadAction::Kind::Decode;
    action.needed = m_pass->stretch.last;
    action.run = RunName::Back;
    action.stretch = m_pass->stretch;
    return action;
}

// ---- Playing ----

// The group after the due frame's, where its key picture is near and the run will not have come there by
// then, or has gone over to it already.
std::optional<Group> ReadPlanner::NextGroupOfLatePlay(const ReadState& state) {
    const FrameNumber due = state.want.frame;
    const UnitNumber unit = state.index.UnitOf(due);
    const auto group = state.index.GroupOf(due);
    if (state.want.stride == 0 || !state.fore.active || unit == kNoUnit || !group) return std::nullopt;
    const auto next = state.index.GroupOfUnit(group->first_unit + group->unit_count);
    if (!next || next->first_unit <= group->first_unit) return std::nullopt;
    const FrameNumber key = state.index.FrameOf(next->first_unit);
    if (key == kNoFrame || key <= due || key > LastAhead(state)) return std::nullopt;
    // Late by more than a stride it falls behind further: it would be ahead otherwise.
    const bool late = state.fore.next >= group->first_unit && unit > state.fore.next + state.want.stride;
    return late || state.fore.start == next->first_unit ? next : std::nullopt;
}

ReadAction ReadPlanner::NextPlaying(const ReadState& state) const {
    const FrameNumber last = LastAhead(state);
    FrameNumber first = state.want.frame;
    if (const auto group = NextGroupOfLatePlay(state)) {
        const FrameNumber key = state.index.FrameOf(group->first_unit);
        if (!Settled(state, key)) return MakeKey(key, group->first_unit, RunName::Back);
        if (key <= first + state.want.stride) first = key;
    }
    for (FrameNumber frame = first; frame <= last; ++frame) {
        if (Have(state, frame) || state.left_out.contains(frame) || state.tried.Failed(frame)) continue;
        const UnitNumber unit = state.index.UnitOf(frame);
        if (unit != kNoUnit && LeftOutByWant(state, unit)) continue;
        return Fetch(state, frame, false);
    }
    return {};
}

ReadAction ReadPlanner::NextKey(const ReadState& state) const {
    const FrameNumber last = LastAhead(state);
    auto group = state.index.GroupOf(state.want.frame);
    for (int keys = 0; group; ++keys) {
        const FrameNumber key = state.index.FrameOf(group->first_unit);
        if (keys >= kKeysAhead && (key == kNoFrame || key > last)) break;
        if (key != kNoFrame && !Have(state, key) && !state.left_out.contains(key) &&
            !state.tried.Failed(key)) {
            return MakeKey(key, group->first_unit, RunName::Fore);
        }
        const UnitNumber next = group->first_unit + group->unit_count;
        group = next > group->first_unit ? state.index.GroupOfUnit(next) : std::nullopt;
    }
    return {};
}

} // namespace ordune
