#include "ordune/TimeStretch.h"

#include "ordune/Ffmpeg.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/samplefmt.h>
}

#include <algorithm>
#include <cstring>
#include <string>

namespace ordune {

namespace {

constexpr double kSlowest = 0.5;
constexpr double kFastest = 4.0;
// Beyond this the filter leaves samples out instead of overlapping them, so faster tempos are made in two
// steps.
constexpr double kFastestStep = 2.0;
// Sample groups handed to the filter at once: 21 ms at 48 kHz.
constexpr std::size_t kPiece = 1024;

struct GraphFree {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};

// The steps as libavfilter's graph language has them.
std::string Steps(double tempo) {
    std::string steps;
    while (tempo > kFastestStep) {
        steps += "atempo=" + std::to_string(kFastestStep) + ",";
        tempo /= kFastestStep;
    }
    return steps + "atempo=" + std::to_string(tempo);
}

class AtempoStretch final : public TimeStretch {
  public:
    AtempoStretch(int sample_rate, int channels) : m_sample_rate(sample_rate), m_channels(channels) {}

    Result<void> Build(double tempo);
    Result<void> Push(std::span<const float> samples, std::vector<float>& out) override;
    Result<void> Drain(std::vector<float>& out) override;

  private:
    Result<void> PushPiece(std::span<const float> samples);
    Result<void> Pull(std::vector<float>& out);

    const int m_sample_rate;
    const int m_channels;
    std::unique_ptr<AVFilterGraph, GraphFree> m_graph;
    AVFilterContext* m_source = nullptr; // the graph's
    AVFilterContext* m_sink = nullptr;   // the graph's
    std::int64_t m_pushed = 0;           // sample groups so far, the time stamp of the next
    ffmpeg::FramePtr m_output;
};

Result<void> AtempoStretch::Build(double tempo) {
    m_graph.reset(avfilter_graph_alloc());
    m_output = ffmpeg::MakeFrame();
    if (!m_graph || !m_output) return Error{ErrorKind::OutOfMemory, "No memory to stretch sound", {}};
    // One thread: the work is a percent of a core, and the caller has a thread of its own for it.
    m_graph->nb_threads = 1;
    const std::string rate = std::to_string(m_sample_rate);
    const std::string source = "time_base=1/" + rate + ":sample_rate=" + rate +
                               ":sample_fmt=flt:channel_layout=" + (m_channels == 1 ? "mono" : "stereo");
    int code = avfilter_graph_create_filter(&m_source, avfilter_get_by_name("abuffer"), "in", source.c_str(),
                                            nullptr, m_graph.get());
    if (code >= 0) {
        code = avfilter_graph_create_filter(&m_sink, avfilter_get_by_name("abuffersink"), "out", nullptr,
                                            nullptr, m_graph.get());
    }
    if (code < 0) return ffmpeg::MakeError(code, "Cannot stretch sound", {});

    AVFilterInOut* open_end = avfilter_inout_alloc();
    AVFilterInOut* open_start = avfilter_inout_alloc();
    if (open_end && open_start) {
        open_end->name = av_strdup("in");
        open_end->filter_ctx = m_source;
        open_start->name = av_strdup("out");
        open_start->filter_ctx = m_sink;
        const std::string steps = Steps(tempo) + ",aformat=sample_fmts=flt";
        code = avfilter_graph_parse_ptr(m_graph.get(), steps.c_str(), &open_start, &open_end, nullptr);
        if (code >= 0) code = avfilter_graph_config(m_graph.get(), nullptr);
    } else {
        code = AVERROR(ENOMEM);
    }
    avfilter_inout_free(&open_end);
    avfilter_inout_free(&open_start);
    if (code < 0) return ffmpeg::MakeError(code, "Cannot stretch sound", {});
    return {};
}

// The filter gives out one frame for each that it took, and only when the next has come: short ones keep
// what it holds back short.
Result<void> AtempoStretch::Push(std::span<const float> samples, std::vector<float>& out) {
    const std::size_t piece = kPiece * static_cast<std::size_t>(m_channels);
    while (!samples.empty()) {
        const std::size_t count = std::min(piece, samples.size());
        if (auto pushed = PushPiece(samples.first(count)); !pushed) return pushed;
        if (auto pulled = Pull(out); !pulled) return pulled;
        samples = samples.subspan(count);
    }
    return {};
}

Result<void> AtempoStretch::PushPiece(std::span<const float> samples) {
    const auto channels = static_cast<std::size_t>(m_channels);
    const std::size_t count = samples.size() / channels;
    const ffmpeg::FramePtr frame = ffmpeg::MakeFrame();
    if (!frame) return Error{ErrorKind::OutOfMemory, "No memory to stretch sound", {}};
    frame->format = AV_SAMPLE_FMT_FLT;
    frame->sample_rate = m_sample_rate;
    frame->nb_samples = static_cast<int>(count);
    frame->pts = m_pushed;
    av_channel_layout_default(&frame->ch_layout, m_channels);
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        return Error{ErrorKind::OutOfMemory, "No memory to stretch sound", {}};
    std::memcpy(frame->data[0], samples.data(), count * channels * sizeof(float));
    m_pushed += static_cast<std::int64_t>(count);
    if (const int code = av_buffersrc_add_frame(m_source, frame.get()); code < 0)
        return ffmpeg::MakeError(code, "Cannot stretch sound", {});
    return {};
}

Result<void> AtempoStretch::Drain(std::vector<float>& out) {
    if (const int code = av_buffersrc_add_frame(m_source, nullptr); code < 0)
        return ffmpeg::MakeError(code, "Cannot stretch sound", {});
    return Pull(out);
}

Result<void> AtempoStretch::Pull(std::vector<float>& out) {
    for (;;) {
        const int code = av_buffersink_get_frame(m_sink, m_output.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return {};
        if (code < 0) return ffmpeg::MakeError(code, "Cannot stretch sound", {});
        const auto count =
            static_cast<std::size_t>(m_output->nb_samples) * static_cast<std::size_t>(m_channels);
        const auto* samples = static_cast<const float*>(static_cast<const void*>(m_output->data[0]));
        out.insert(out.end(), samples, samples + count);
        av_frame_unref(m_output.get());
    }
}

} // namespace

Result<std::unique_ptr<TimeStretch>> TimeStretch::Make(int sample_rate, int channels, double tempo) {
    // Written so that "not a number" fails too.
    const bool known_tempo = tempo >= kSlowest && tempo <= kFastest;
    if (!known_tempo || sample_rate <= 0 || channels < 1 || channels > 2)
        return Error{ErrorKind::OutOfRange, "Sound cannot be stretched like that", {}};
    auto stretch = std::make_unique<AtempoStretch>(sample_rate, channels);
    if (auto built = stretch->Build(tempo); !built) return built.Failure();
    return std::unique_ptr<TimeStretch>(std::move(stretch));
}

} // namespace ordune
