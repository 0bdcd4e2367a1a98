#include "ordune/SoundResampler.h"

#include "ordune/Ffmpeg.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <array>
#include <cmath>

namespace ordune {

namespace {

// What real sound has. A file that claims a rate of 1 Hz would make gigabytes of a packet.
constexpr int kLowestRate = 1000;
constexpr int kHighestRate = 768000;
constexpr int kMostChannels = 64;

} // namespace

SoundResampler::SoundResampler(int sample_rate, int channels)
    : m_sample_rate(sample_rate), m_channels(channels) {}

SoundResampler::~SoundResampler() = default;

void SoundResampler::Free::operator()(SwrContext* context) const {
    swr_free(&context);
}

SoundResampler::Format SoundResampler::FormatOf(const AVFrame& frame) {
    const bool native = frame.ch_layout.order == AV_CHANNEL_ORDER_NATIVE;
    return {frame.format, frame.sample_rate, frame.ch_layout.nb_channels,
            native ? frame.ch_layout.u.mask : 0};
}

Result<void> SoundResampler::Convert(const AVFrame& frame, std::vector<float>& out) {
    const Format format = FormatOf(frame);
    if (format.sample_rate < kLowestRate || format.sample_rate > kHighestRate || format.channels < 1 ||
        format.channels > kMostChannels)
        return Error{ErrorKind::Damaged, "Sound of an impossible kind", {}};
    if (!m_context || format != m_format) {
        Drain(out);
        if (auto opened = Open(frame); !opened) return opened;
        m_format = format;
    }
    if (const int code = Run(&frame, out); code < 0)
        return ffmpeg::MakeError(code, "Cannot convert sound", {});
    return {};
}

Result<void> SoundResampler::Open(const AVFrame& frame) {
    AVChannelLayout to{};
    av_channel_layout_default(&to, m_channels);
    AVChannelLayout from{};
    // Channels without names are taken in their usual order.
    const bool named = frame.ch_layout.order == AV_CHANNEL_ORDER_NATIVE;
    if (!named || av_channel_layout_copy(&from, &frame.ch_layout) < 0)
        av_channel_layout_default(&from, frame.ch_layout.nb_channels);
    SwrContext* context = nullptr;
    int code = swr_alloc_set_opts2(&context, &to, AV_SAMPLE_FMT_FLT, m_sample_rate, &from,
                                   static_cast<AVSampleFormat>(frame.format), frame.sample_rate, 0, nullptr);
    m_context.reset(context);
    av_channel_layout_uninit(&from);
    if (code >= 0) {
        // Five loud channels mixed to two must not exceed full level.
        av_opt_set_double(context, "rematrix_maxval", 1.0, 0);
        // One channel goes to both sides as it is; the library would take 3 dB off.
        constexpr std::array<double, 2> kToBoth = {1.0, 1.0};
        if (frame.ch_layout.nb_channels == 1 && m_channels == 2)
            code = swr_set_matrix(context, kToBoth.data(), 1);
    }
    if (code >= 0) {
        code = swr_init(context);
    }
    if (code >= 0) return {};
    m_context.reset();
    return ffmpeg::MakeError(code, "Cannot convert sound", {});
}

int SoundResampler::Run(const AVFrame* frame, std::vector<float>& out) {
    const int in_count = frame ? frame->nb_samples : 0;
    const int most = swr_get_out_samples(m_context.get(), in_count);
    if (most <= 0) return most;
    const auto channels = static_cast<std::size_t>(m_channels);
    const std::size_t before = out.size();
    out.resize(before + static_cast<std::size_t>(most) * channels);
    auto* to = static_cast<std::uint8_t*>(static_cast<void*>(out.data() + before));
    const auto** from = frame ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr;
    const int made = swr_convert(m_context.get(), &to, most, from, in_count);
    out.resize(before + static_cast<std::size_t>(std::max(made, 0)) * channels);
    for (std::size_t i = before; i < out.size(); ++i)
        out[i] = std::isfinite(out[i]) ? std::clamp(out[i], -1.0F, 1.0F) : 0.0F;
    return made;
}

std::int64_t SoundResampler::HeldBack() const {
    return m_context ? swr_get_delay(m_context.get(), m_sample_rate) : 0;
}

void SoundResampler::Drain(std::vector<float>& out) {
    if (m_context) Run(nullptr, out);
    Reset();
}

void SoundResampler::Reset() {
    m_context.reset();
}

} // namespace ordune
