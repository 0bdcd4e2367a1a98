#include "bench/BareDecoder.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <turbojpeg.h>

namespace bench {

namespace {

// How long the work takes, in milliseconds.
template <class Work>
double Timed(Work work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

} // namespace

struct BareDecoder::Parts {
    AVFormatContext* format = nullptr;
    AVCodecContext* codec = nullptr;
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    SwsContext* scaler = nullptr;
    std::vector<std::uint8_t> pixels;
    int stream = -1;

    Parts(const std::string& path, int threads) {
        if (avformat_open_input(&format, path.c_str(), nullptr, nullptr) < 0)
            throw std::runtime_error("cannot open " + path);
        if (avformat_find_stream_info(format, nullptr) < 0) throw std::runtime_error("no streams in " + path);
        const AVCodec* decoder = nullptr;
        stream = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
        if (stream < 0) throw std::runtime_error("no video in " + path);
        for (unsigned other = 0; other < format->nb_streams; ++other)
            format->streams[other]->discard =
                static_cast<int>(other) == stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
        codec = avcodec_alloc_context3(decoder);
        avcodec_parameters_to_context(codec, format->streams[stream]->codecpar);
        codec->thread_count = threads;
        if (avcodec_open2(codec, decoder, nullptr) < 0) throw std::runtime_error("no decoder for " + path);
    }
    ~Parts() {
        sws_freeContext(scaler);
        av_frame_free(&frame);
        av_packet_free(&packet);
        avcodec_free_context(&codec);
        avformat_close_input(&format);
    }
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    AVStream* Video() const { return format->streams[stream]; }

    // Sends the next packet of the video, or the end. False when the end was sent.
    bool SendNext(std::int64_t skip_before) {
        while (av_read_frame(format, packet) >= 0) {
            if (packet->stream_index != stream) {
                av_packet_unref(packet);
                continue;
            }
            codec->skip_frame = packet->pts < skip_before ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
            avcodec_send_packet(codec, packet);
            av_packet_unref(packet);
            return true;
        }
        avcodec_send_packet(codec, nullptr);
        return false;
    }

    void Scale(int width, int height) {
        scaler = sws_getCachedContext(scaler, frame->width, frame->height,
                                      static_cast<AVPixelFormat>(frame->format), width, height,
                                      AV_PIX_FMT_BGRA, SWS_BILINEAR, nullptr, nullptr, nullptr);
        pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
        std::uint8_t* const target[1] = {pixels.data()};
        const int stride[1] = {width * 4};
        sws_scale(scaler, frame->data, frame->linesize, 0, frame->height, target, stride);
    }
};

BareDecoder::BareDecoder(const std::string& path, int threads)
    : m_parts(std::make_unique<Parts>(path, threads)) {}

BareDecoder::~BareDecoder() = default;

double BareDecoder::OpenSeconds(const std::string& path) {
    const auto begin = std::chrono::steady_clock::now();
    const Parts parts(path, 1);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double BareDecoder::FramesPerSecond() const {
    return av_q2d(m_parts->Video()->avg_frame_rate);
}

bool BareDecoder::JumpTo(double seconds) {
    Parts& parts = *m_parts;
    const AVStream* video = parts.Video();
    const std::int64_t start = video->start_time == AV_NOPTS_VALUE ? 0 : video->start_time;
    const auto target = start + std::llround(seconds / av_q2d(video->time_base));
    const auto half_frame = static_cast<std::int64_t>(0.5 / FramesPerSecond() / av_q2d(video->time_base));
    if (av_seek_frame(parts.format, parts.stream, target, AVSEEK_FLAG_BACKWARD) < 0) return false;
    avcodec_flush_buffers(parts.codec);
    bool more = true;
    while (true) {
        const int got = avcodec_receive_frame(parts.codec, parts.frame);
        if (got == 0) {
            if (parts.frame->pts + half_frame >= target) return true;
            continue;
        }
        if (got != AVERROR(EAGAIN) || !more) return false;
        more = parts.SendNext(target - half_frame);
    }
}

int BareDecoder::DecodeFromStart(int frames, int width, int height) {
    Parts& parts = *m_parts;
    av_seek_frame(parts.format, parts.stream, 0, AVSEEK_FLAG_BACKWARD);
    avcodec_flush_buffers(parts.codec);
    int decoded = 0;
    bool more = true;
    while (decoded < frames) {
        const int got = avcodec_receive_frame(parts.codec, parts.frame);
        if (got == 0) {
            ++decoded;
            if (width > 0) parts.Scale(width, height);
        } else if (got == AVERROR(EAGAIN) && more) {
            more = parts.SendNext(INT64_MIN);
        } else {
            break;
        }
    }
    return decoded;
}

int BareDecoder::PassFromStart(int frames) {
    Parts& parts = *m_parts;
    av_seek_frame(parts.format, parts.stream, 0, AVSEEK_FLAG_BACKWARD);
    avcodec_flush_buffers(parts.codec);
    int sent = 0;
    while (sent < frames && parts.SendNext(INT64_MAX)) {
        ++sent;
        while (avcodec_receive_frame(parts.codec, parts.frame) == 0) {
        }
    }
    return sent;
}

double BareDecoder::ScaleMilliseconds(int width, int height, int count) {
    if (m_parts->frame->width == 0) DecodeFromStart(1, 0, 0);
    std::vector<double> times;
    times.reserve(static_cast<std::size_t>(count));
    for (int done = 0; done < count; ++done)
        times.push_back(Timed([&] { m_parts->Scale(width, height); }));
    std::nth_element(times.begin(), times.begin() + count / 2, times.end());
    return times[static_cast<std::size_t>(count / 2)];
}

double BareDecoder::JpegMilliseconds(int quality) {
    if (m_parts->frame->width == 0) DecodeFromStart(1, 0, 0);
    const AVFrame& frame = *m_parts->frame;
    const std::unique_ptr<void, int (*)(tjhandle)> handle(tjInitCompress(), tjDestroy);
    m_parts->pixels.resize(tjBufSize(frame.width, frame.height, TJSAMP_420));
    const unsigned char* planes[3] = {frame.data[0], frame.data[1], frame.data[2]};
    unsigned char* out = m_parts->pixels.data();
    unsigned long length = m_parts->pixels.size();
    return Timed([&] {
        tjCompressFromYUVPlanes(handle.get(), planes, frame.width, frame.linesize, frame.height, TJSAMP_420,
                                &out, &length, quality, TJFLAG_NOREALLOC);
    });
}

double BareDecoder::PixelMilliseconds() {
    if (m_parts->frame->width == 0) DecodeFromStart(1, 0, 0);
    const AVFrame& frame = *m_parts->frame;
    const std::unique_ptr<void, int (*)(tjhandle)> handle(tjInitDecompress(), tjDestroy);
    m_parts->pixels.resize(static_cast<std::size_t>(frame.width) * static_cast<std::size_t>(frame.height) *
                           3);
    const unsigned char* planes[3] = {frame.data[0], frame.data[1], frame.data[2]};
    return Timed([&] {
        tjDecodeYUVPlanes(handle.get(), planes, frame.linesize, TJSAMP_420, m_parts->pixels.data(),
                          frame.width, frame.width * 3, frame.height, TJPF_BGR, TJFLAG_BOTTOMUP);
    });
}

} // namespace bench
