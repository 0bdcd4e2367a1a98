#include "tests/ordune/ScriptedMedia.h"

#include "tests/support/ClipPicture.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/md5.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace testing_ordune {

using support::CheckAv;
using support::CodecHandle;
using support::FrameHandle;
using support::PacketHandle;

// ---- Gate ----

void Gate::Allow(int units) {
    const std::lock_guard lock(m_mutex);
    m_limited = true;
    m_allowed = units;
    m_waiting = false;
    m_changed.notify_all();
}

void Gate::Open() {
    const std::lock_guard lock(m_mutex);
    m_limited = false;
    m_waiting = false;
    m_changed.notify_all();
}

bool Gate::AwaitReaderWaiting() {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(20), [this] { return m_waiting; });
}

bool Gate::Pass(UnitNumber unit, const CancelToken& cancel) {
    std::unique_lock lock(m_mutex);
    while (m_limited && m_allowed == 0) {
        m_waiting = true;
        m_changed.notify_all();
        if (cancel.Cancelled()) return false;
        // Nobody tells of a cancellation.
        m_changed.wait_for(lock, std::chrono::milliseconds(10));
    }
    if (m_limited) --m_allowed;
    m_read.push_back(unit);
    return true;
}

void Gate::Seek(UnitNumber unit) {
    const std::lock_guard lock(m_mutex);
    m_sought.push_back(unit);
}

std::vector<UnitNumber> Gate::UnitsRead() const {
    const std::lock_guard lock(m_mutex);
    return m_read;
}

std::vector<UnitNumber> Gate::Seeks() const {
    const std::lock_guard lock(m_mutex);
    return m_sought;
}

void Gate::Forget() {
    const std::lock_guard lock(m_mutex);
    m_read.clear();
    m_sought.clear();
}

// ---- Encoding ----

namespace {

std::shared_ptr<AVPacket> Share(AVPacket* packet) {
    return {packet, [](AVPacket* old) { av_packet_free(&old); }};
}

// A quarter of the pictures or more are B pictures that nothing refers to; told by the unit's own header.
bool ReferencedH264(const AVPacket& packet) {
    for (int i = 0; i + 3 < packet.size; ++i) {
        const std::uint8_t* at = packet.data + i;
        if (at[0] != 0 || at[1] != 0 || at[2] != 1) continue;
        const int type = at[3] & 31;
        if (type == 1 || type == 5) return (at[3] >> 5 & 3) != 0;
    }
    return true;
}

CodecHandle OpenEncoder(const Recipe& recipe) {
    const AVCodec* codec = avcodec_find_encoder_by_name(recipe.encoder.c_str());
    if (!codec) throw std::runtime_error("no encoder " + recipe.encoder);
    CodecHandle context(avcodec_alloc_context3(codec));
    context->width = recipe.width;
    context->height = recipe.height;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = {1, 25};
    context->gop_size = recipe.group;
    context->keyint_min = recipe.group;
    context->max_b_frames = recipe.b_pictures;
    context->thread_count = 1;
    if (recipe.encoder == "libx264") {
        av_opt_set(context->priv_data, "preset", "ultrafast", 0);
        const std::string options = std::string("scenecut=0:b-adapt=0:b-pyramid=") +
                                    (recipe.pyramid ? "normal" : "none") +
                                    ":open-gop=" + (recipe.open_groups ? "1" : "0");
        av_opt_set(context->priv_data, "x264-params", options.c_str(), 0);
    } else if (recipe.encoder == "libx265") {
        const std::string options =
            "log-level=none:scenecut=0:pools=none:frame-threads=1:keyint=" + std::to_string(recipe.group) +
            ":min-keyint=" + std::to_string(recipe.group) + ":open-gop=" + (recipe.open_groups ? "1" : "0");
        av_opt_set(context->priv_data, "preset", "ultrafast", 0);
        av_opt_set(context->priv_data, "x265-params", options.c_str(), 0);
    }
    CheckAv(avcodec_open2(context.get(), codec, nullptr), recipe.encoder);
    return context;
}

} // namespace

std::shared_ptr<ScriptedMedia> ScriptedMedia::Encode(const Recipe& recipe) {
    av_log_set_level(AV_LOG_QUIET);
    auto media = std::make_shared<ScriptedMedia>();
    const CodecHandle context = OpenEncoder(recipe);
    media->m_parameters.reset(avcodec_parameters_alloc());
    CheckAv(avcodec_parameters_from_context(media->m_parameters.get(), context.get()), "parameters");
    media->video.codec = avcodec_get_name(media->m_parameters->codec_id);
    media->video.width = recipe.width;
    media->video.height = recipe.height;

    const auto take = [&] {
        for (;;) {
            const PacketHandle packet(av_packet_alloc());
            if (avcodec_receive_packet(context.get(), packet.get()) < 0) return;
            ScriptedUnit unit;
            unit.packet = Share(av_packet_clone(packet.get()));
            unit.frame = static_cast<FrameNumber>(packet->pts);
            unit.begins_group = (packet->flags & AV_PKT_FLAG_KEY) != 0;
            unit.referenced = media->video.codec != "h264" || ReferencedH264(*packet);
            media->units.push_back(unit);
        }
    };
    support::ClipPicture picture(recipe.width, recipe.height);
    for (int n = 0; n < recipe.frames; ++n) {
        picture.Draw(recipe.first_number + n);
        const FrameHandle frame(av_frame_alloc());
        frame->format = AV_PIX_FMT_YUV420P;
        frame->width = recipe.width;
        frame->height = recipe.height;
        frame->pts = n;
        CheckAv(av_frame_get_buffer(frame.get(), 0), "frame");
        for (int plane = 0; plane < 3; ++plane) {
            av_image_copy_plane(frame->data[plane], frame->linesize[plane], picture.Plane(plane),
                                picture.PlaneWidth(plane), picture.PlaneWidth(plane),
                                picture.PlaneHeight(plane));
        }
        CheckAv(avcodec_send_frame(context.get(), frame.get()), "encode");
        take();
    }
    CheckAv(avcodec_send_frame(context.get(), nullptr), "encode");
    take();
    media->Settle();
    return media;
}

void ScriptedMedia::Append(const ScriptedMedia& other) {
    const FrameNumber before = Total();
    for (ScriptedUnit unit : other.units) {
        if (unit.frame != kNoFrame) unit.frame += before;
        units.push_back(unit);
    }
    Settle();
}

void ScriptedMedia::Spoil(UnitNumber unit) {
    AVPacket* packet = av_packet_clone(units[unit].packet.get());
    CheckAv(av_packet_make_writable(packet), "packet");
    // Zeros hold neither a header nor a start code.
    std::memset(packet->data, 0, static_cast<std::size_t>(packet->size));
    units[unit].packet = Share(packet);
}

void ScriptedMedia::Settle() {
    std::vector<std::pair<FrameNumber, UnitNumber>> shown;
    for (UnitNumber unit = 0; unit < units.size(); ++unit) {
        if (units[unit].frame != kNoFrame) shown.emplace_back(units[unit].frame, unit);
    }
    std::sort(shown.begin(), shown.end());
    m_unit_of.clear();
    for (const auto& [order, unit] : shown) {
        units[unit].frame = static_cast<FrameNumber>(m_unit_of.size());
        m_unit_of.push_back(unit);
    }
    m_groups.clear();
    for (UnitNumber unit = 0; unit < units.size(); ++unit) {
        if (units[unit].begins_group) m_groups.push_back({kNoFrame, 0, unit, 0, 0});
        Group& group = m_groups.back();
        ++group.unit_count;
        if (units[unit].frame == kNoFrame) continue;
        group.first_frame = std::min(group.first_frame, units[unit].frame);
        ++group.frame_count;
        const FrameNumber key = units[group.first_unit].frame;
        if (key != kNoFrame && units[unit].frame < key) ++group.leading_count;
    }
}

void ScriptedMedia::KnowOnly(FrameNumber frames) {
    m_known = frames;
}
void ScriptedMedia::KnowAll() {
    m_known = kNoFrame;
}

UnitNumber ScriptedMedia::KnownUnits() const {
    if (Complete()) return static_cast<UnitNumber>(units.size());
    UnitNumber known = 0;
    for (FrameNumber frame = 0; frame < Known(); ++frame)
        known = std::max(known, m_unit_of[frame] + 1);
    return known;
}

std::optional<Group> ScriptedMedia::GroupOf(FrameNumber frame) const {
    if (frame >= Known()) return std::nullopt;
    return GroupOfUnit(m_unit_of[frame]);
}

std::optional<Group> ScriptedMedia::GroupOfUnit(UnitNumber unit) const {
    for (const Group& group : m_groups) {
        if (unit >= group.first_unit && unit < group.first_unit + group.unit_count) return group;
    }
    return std::nullopt;
}

FrameNumber ScriptedMedia::FrameOf(UnitNumber unit) const {
    return unit < units.size() ? units[unit].frame : kNoFrame;
}
UnitNumber ScriptedMedia::UnitOf(FrameNumber frame) const {
    return frame < Known() ? m_unit_of[frame] : kNoUnit;
}

std::optional<KeyFrame> ScriptedMedia::KeyAtOrBefore(FrameNumber) const {
    return std::nullopt;
}
std::optional<KeyFrame> ScriptedMedia::KeyAfter(FrameNumber) const {
    return std::nullopt;
}

// ---- Reading ----

namespace {

class ScriptedReader final : public UnitReader {
  public:
    ScriptedReader(const ScriptedMedia& media, std::shared_ptr<AVPacket> packet, CancelToken cancel)
        : m_media(media), m_packet(std::move(packet)), m_cancel(std::move(cancel)) {}

    Result<void> SeekTo(UnitNumber first_of_group) override {
        m_media.TheGate().Seek(first_of_group);
        m_next = first_of_group;
        return {};
    }

    Result<std::optional<CodedUnit>> Next() override {
        if (m_next >= m_media.KnownUnits()) return Result<std::optional<CodedUnit>>(std::nullopt);
        if (const std::optional<ErrorKind> failure = m_media.failure.load())
            return Error{*failure, "scripted", m_media.Path()};
        if (!m_media.TheGate().Pass(m_next, m_cancel))
            return Error{ErrorKind::Cancelled, "scripted", m_media.Path()};
        const ScriptedUnit& unit = m_media.units[m_next];
        av_packet_unref(m_packet.get());
        CheckAv(av_packet_ref(m_packet.get(), unit.packet.get()), "packet");
        m_packet->pts = m_next;
        m_packet->dts = AV_NOPTS_VALUE;
        return std::optional<CodedUnit>(
            CodedUnit{m_packet.get(), m_next++, unit.begins_group, unit.referenced});
    }

  private:
    const ScriptedMedia& m_media;
    std::shared_ptr<AVPacket> m_packet;
    CancelToken m_cancel;
    UnitNumber m_next = 0;
};

} // namespace

Result<std::unique_ptr<UnitReader>> ScriptedMedia::MakeUnitReader(CancelToken cancel) const {
    return Result<std::unique_ptr<UnitReader>>(
        std::make_unique<ScriptedReader>(*this, Share(av_packet_alloc()), std::move(cancel)));
}

std::string SumOf(const AVFrame* frame) {
    const auto format = static_cast<AVPixelFormat>(frame->format);
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
    AVMD5* md5 = av_md5_alloc();
    av_md5_init(md5);
    for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
        const bool chroma = plane == 1 || plane == 2;
        const int rows = chroma ? AV_CEIL_RSHIFT(frame->height, description->log2_chroma_h) : frame->height;
        const int bytes = av_image_get_linesize(format, frame->width, plane);
        for (int row = 0; row < rows; ++row) {
            av_md5_update(md5, frame->data[plane] + static_cast<std::ptrdiff_t>(row) * frame->linesize[plane],
                          static_cast<std::size_t>(bytes));
        }
    }
    std::uint8_t digest[16];
    av_md5_final(md5, digest);
    av_free(md5);
    std::string text;
    for (const std::uint8_t byte : digest) {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", byte);
        text += two;
    }
    return text;
}

std::vector<std::string> ScriptedMedia::LinearSums() const {
    std::vector<std::string> sums(Total());
    const AVCodec* codec = avcodec_find_decoder(m_parameters->codec_id);
    const CodecHandle context(avcodec_alloc_context3(codec));
    CheckAv(avcodec_parameters_to_context(context.get(), m_parameters.get()), "decoder");
    context->thread_count = 1;
    context->has_b_frames = 4;
    CheckAv(avcodec_open2(context.get(), codec, nullptr), "decoder");
    const FrameHandle frame(av_frame_alloc());
    const auto take = [&] {
        while (avcodec_receive_frame(context.get(), frame.get()) >= 0) {
            const FrameNumber number = FrameOf(static_cast<UnitNumber>(frame->pts));
            if (number != kNoFrame) sums[number] = SumOf(frame.get());
        }
    };
    for (UnitNumber unit = 0; unit < units.size(); ++unit) {
        const PacketHandle packet(av_packet_clone(units[unit].packet.get()));
        packet->pts = unit;
        packet->dts = AV_NOPTS_VALUE;
        avcodec_send_packet(context.get(), packet.get());
        take();
    }
    avcodec_send_packet(context.get(), nullptr);
    take();
    return sums;
}

} // namespace testing_ordune
