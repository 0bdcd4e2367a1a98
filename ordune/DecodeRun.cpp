#include "ordune/DecodeRun.h"

extern "C" {
#include <libavutil/frame.h>
}

#include <algorithm>
#include <utility>

namespace ordune {

namespace {

// No codec reorders over more pictures than it may refer to.
constexpr std::size_t kGreatestDepth = 16;
// How many units from the start are looked at for their order before the decoder is opened.
constexpr UnitNumber kOrderSample = 64;

} // namespace

bool RunPosition::InFlight(FrameNumber frame) const {
    return std::any_of(in_flight->begin(), in_flight->end(),
                       [frame](const Flight& flight) { return flight.frame == frame; });
}

void DecodeRun::Outcome::Clear() {
    failure.reset();
    pictures.clear();
    lost.clear();
    left_out.clear();
    ended = false;
    starved = false;
}

DecodeRun::DecodeRun(std::shared_ptr<const MediaFile> file, std::shared_ptr<PicturePool> pool,
                     std::function<int()> threads, CancelToken cancel)
    : m_file(std::move(file)), m_pool(std::move(pool)), m_ask_threads(std::move(threads)),
      m_cancel(std::move(cancel)),
      // H.264 streams need not say how far they reorder; the other codecs always do.
      m_needs_depth(m_file->Video().codec == "h264") {}

void DecodeRun::TrackOrder(FrameNumber frame) {
    const auto place = std::find_if(m_greatest.begin(), m_greatest.end(),
                                    [frame](FrameNumber other) { return other < frame; });
    m_depth = std::max(m_depth, static_cast<int>(place - m_greatest.begin()));
    m_greatest.insert(place, frame);
    if (m_greatest.size() > kGreatestDepth) m_greatest.pop_back();
}

Result<void> DecodeRun::Open() {
    if (!m_reader) {
        auto reader = m_file->MakeUnitReader(m_cancel);
        if (!reader) return reader.Failure();
        m_reader = std::move(reader.Value());
    }
    const int threads = m_ask_threads();
    if (m_decoder && threads == m_threads && !m_decoder->SpoiltAt() &&
        (!m_needs_depth || m_decoder->ReorderDepth() >= m_depth))
        return {};
    m_decoder.reset(); // first, so that its memory can be used for the new one
    m_threads = threads;
    auto decoder = PictureDecoder::Make(m_file->VideoParameters(), {m_threads, m_needs_depth ? m_depth : 0},
                                        m_pool, m_file->Path());
    if (!decoder) return decoder.Failure();
    m_decoder = std::move(decoder.Value());
    m_dirty = false;
    m_last_open = 0;
    return {};
}

Result<void> DecodeRun::Start(UnitNumber first_of_group, FrameNumber deliver_from) {
    m_active = false;
    m_in_flight.clear();
    m_greatest.clear();
    m_unreferenced = 0;
    m_start = first_of_group;
    m_next = first_of_group;
    m_deliver_from = deliver_from;

    if (m_needs_depth) {
        for (UnitNumber unit = first_of_group; unit - first_of_group < kOrderSample; ++unit) {
            const FrameNumber frame = m_file->Index().FrameOf(unit);
            if (frame != kNoFrame) TrackOrder(frame);
        }
        m_greatest.clear();
    }
    if (m_decoder && m_dirty) m_decoder->Reset();
    m_dirty = false;
    if (auto opened = Open(); !opened) return opened;
    if (auto sought = m_reader->SeekTo(first_of_group); !sought) return sought;
    m_active = true;
    return {};
}

// The first closed group after a damaged picture, once the run has come to it.
std::optional<Group> DecodeRun::GroupBehindDamage() {
    const std::optional<UnitNumber> damaged = m_decoder->SpoiltAt();
    if (!damaged) return std::nullopt;
    const FrameIndex& index = m_file->Index();
    for (auto group = index.GroupOfUnit(std::max(*damaged, m_last_open)); group;) {
        const UnitNumber next = group->first_unit + group->unit_count;
        if (next > m_next) return std::nullopt;
        group = index.GroupOfUnit(next);
        if (!group || group->first_unit != next) return std::nullopt; // not known yet
        if (group->leading_count == 0) return group;
        m_last_open = next;
    }
    return std::nullopt;
}

// The closed group of this picture, where the decoder still owes one of a group before. Behind a key picture
// that is lost, a decoder may take what follows for earlier than what it holds back: what is owed comes out
// when it is drained, or never.
std::optional<Group> DecodeRun::GroupAheadOfItsTurn(FrameNumber number) const {
    const bool owes = std::any_of(m_in_flight.begin(), m_in_flight.end(), [number](const auto& flight) {
        return flight.full && flight.frame < number;
    });
    if (!owes) return std::nullopt;
    const std::optional<Group> group = m_file->Index().GroupOf(number);
    if (!group || group->leading_count > 0 || number == group->first_frame) return std::nullopt;
    const bool before = std::any_of(m_in_flight.begin(), m_in_flight.end(), [&](const auto& flight) {
        return flight.full && flight.frame < group->first_frame;
    });
    return before ? group : std::nullopt;
}

// Takes the group up with a decoder that knows nothing of what was before it. It is still the run that it
// was: begun where it was begun.
void DecodeRun::TakeUpAnew(const Group& group, Outcome& outcome) {
    m_decoder->Drain();
    m_dirty = true;
    Collect(outcome, group.first_frame);
    Settle(group.first_frame, outcome);
    const UnitNumber start = m_start;
    const Result<void> started = Start(group.first_unit, m_deliver_from);
    m_start = start;
    if (started) return;
    outcome.ended = true;
    if (MayPass(started.Failure().kind)) outcome.failure = started.Failure().kind;
}

void DecodeRun::Step(const Chooser& choose, Outcome& outcome) {
    const FrameIndex& index = m_file->Index();
    if (const std::optional<Group> group = GroupBehindDamage()) {
        TakeUpAnew(*group, outcome);
        if (outcome.ended) return;
    }
    // Asked before reading: a unit found by the index after the reading is not missed then.
    const bool complete = index.Complete();
    auto next = m_reader->Next();
    if (!next || !next.Value()) {
        if (next && !complete) {
            outcome.starved = true;
            return;
        }
        if (!next && MayPass(next.Failure().kind)) outcome.failure = next.Failure().kind;
        Drain(outcome);
        return;
    }
    const CodedUnit& unit = *next.Value();
    m_next = unit.number + 1;
    const FrameNumber frame = index.FrameOf(unit.number);
    const bool referenced = unit.referenced && index.Referenced(unit.number);
    const UnitUse use = choose({unit.number, frame, referenced, m_unreferenced});
    const int place_in_run = referenced ? -1 : m_unreferenced;
    m_unreferenced = referenced ? 0 : m_unreferenced + 1;
    if (use == UnitUse::LeaveOut) {
        if (frame != kNoFrame) outcome.left_out.push_back(frame);
        return;
    }

    if (m_needs_depth && frame != kNoFrame) {
        TrackOrder(frame);
        if (m_depth > m_decoder->ReorderDepth()) {
            // The order is deeper than any seen so far: begin anew with a decoder that holds back more.
            const auto started = Start(m_start, m_deliver_from);
            if (started) return;
            outcome.ended = true;
            if (MayPass(started.Failure().kind)) outcome.failure = started.Failure().kind;
            return;
        }
    }
    if (frame != kNoFrame && frame >= m_deliver_from)
        m_in_flight.push_back({frame, use == UnitUse::Full, place_in_run});
    m_dirty = true;
    m_decoder->Send(unit.packet, use == UnitUse::IfReferenced);
    if (const std::optional<Group> group = CollectInTurn(outcome)) TakeUpAnew(*group, outcome);
}

void DecodeRun::Drain(Outcome& outcome) {
    m_decoder->Drain();
    m_dirty = true;
    Collect(outcome);
    Settle(kNoFrame, outcome);
    m_active = false;
    outcome.ended = true;
}

FrameNumber DecodeRun::NumberOf(const AVFrame& frame) const {
    if (frame.pts < 0 || frame.pts >= static_cast<std::int64_t>(kNoUnit)) return kNoFrame;
    return m_file->Index().FrameOf(static_cast<UnitNumber>(frame.pts));
}

void DecodeRun::Collect(Outcome& outcome, FrameNumber end) {
    while (AVFrame* frame = m_decoder->Receive()) {
        const FrameNumber number = NumberOf(*frame);
        if (number >= end || number < m_deliver_from) continue; // kNoFrame is the greatest there is
        Deliver(frame, number, outcome);
    }
    if (m_decoder->RanOutOfMemory()) outcome.failure = ErrorKind::OutOfMemory;
}

std::optional<Group> DecodeRun::CollectInTurn(Outcome& outcome) {
    std::optional<Group> ahead;
    while (AVFrame* frame = m_decoder->Receive()) {
        const FrameNumber number = NumberOf(*frame);
        if (number == kNoFrame || number < m_deliver_from) continue;
        ahead = GroupAheadOfItsTurn(number);
        if (ahead) break;
        Deliver(frame, number, outcome);
    }
    if (m_decoder->RanOutOfMemory()) outcome.failure = ErrorKind::OutOfMemory;
    return ahead;
}

void DecodeRun::Deliver(AVFrame* frame, FrameNumber number, Outcome& outcome) {
    const VideoInfo& video = m_file->Video();
    if (frame->sample_aspect_ratio.num <= 0 || frame->sample_aspect_ratio.den <= 0)
        frame->sample_aspect_ratio = {video.sample_aspect_numerator, video.sample_aspect_denominator};
    const auto flight = std::find_if(m_in_flight.begin(), m_in_flight.end(),
                                     [number](const auto& other) { return other.frame == number; });
    const int place_in_run = flight == m_in_flight.end() ? -1 : flight->place_in_run;
    PicturePtr picture =
        Picture::FromFrame(frame, number, m_file->Index().TimeOf(number), video.rotation, place_in_run);
    if (picture) outcome.pictures.push_back(std::move(picture));
    if (flight != m_in_flight.end()) m_in_flight.erase(flight);
    Settle(number, outcome);
}

void DecodeRun::Settle(FrameNumber frame, Outcome& outcome) {
    std::erase_if(m_in_flight, [&](const RunPosition::Flight& flight) {
        if (flight.frame >= frame) return false;
        (flight.full ? outcome.lost : outcome.left_out).push_back(flight.frame);
        return true;
    });
}

void DecodeRun::Release() {
    m_active = false;
    m_in_flight.clear();
    m_decoder.reset();
    m_reader.reset();
}

RunPosition DecodeRun::Position() const {
    const int depth = m_decoder ? m_decoder->ReorderDepth() : m_depth;
    return {m_active,    m_start, m_next, m_deliver_from, static_cast<FrameNumber>(depth + m_threads),
            &m_in_flight};
}

} // namespace ordune
