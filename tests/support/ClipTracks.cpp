#include "tests/support/ClipTracks.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <cmath>
#include <cstring>
#include <numbers>

namespace support {

namespace {

// The quickest settings of each encoder, silent ones too.
std::map<std::string, std::string> BaseOptions(const ClipOptions& options) {
    const std::string pyramid = options.bPyramid ? "1" : "0";
    const std::string open = options.openGop ? "1" : "0";
    const std::string& codec = options.codec;
    if (codec == "libx264") {
        return {{"preset", "ultrafast"},
                {"x264-params", "b-pyramid=" + std::string(options.bPyramid ? "normal" : "none") +
                                    ":open-gop=" + open + ":scenecut=0"}};
    }
    if (codec == "libx265") {
        return {
            {"preset", "ultrafast"},
            {"x265-params", "log-level=none:scenecut=0:b-adapt=0:b-pyramid=" + pyramid + ":open-gop=" + open +
                                ":pools=none:frame-threads=1:keyint=" + std::to_string(options.keyInterval) +
                                ":min-keyint=" + std::to_string(options.keyInterval) +
                                ":bframes=" + std::to_string(options.bFrames)}};
    }
    if (codec == "libvpx-vp9") return {{"deadline", "realtime"}, {"cpu-used", "8"}, {"b", "800k"}};
    if (codec == "libaom-av1") return {{"cpu-used", "8"}, {"usage", "realtime"}, {"b", "800k"}};
    if (codec == "libsvtav1") return {{"preset", "12"}};
    if (codec == "mpeg4") return {{"sc_threshold", "1000000000"}};
    return {};
}

void OpenEncoder(AVCodecContext& context, const AVCodec& codec,
                 const std::map<std::string, std::string>& base,
                 const std::map<std::string, std::string>& more) {
    std::map<std::string, std::string> all = base;
    for (const auto& [name, value] : more) {
        const bool appends = name.ends_with("-params") && all.contains(name);
        all[name] = appends ? all[name] + ":" + value : value;
    }
    AVDictionary* dictionary = nullptr;
    for (const auto& [name, value] : all)
        av_dict_set(&dictionary, name.c_str(), value.c_str(), 0);
    context.log_level_offset = AV_LOG_DEBUG - AV_LOG_INFO; // encoders tell much about themselves
    const int code = avcodec_open2(&context, &codec, &dictionary);
    const AVDictionaryEntry* unused = av_dict_get(dictionary, "", nullptr, AV_DICT_IGNORE_SUFFIX);
    const std::string unknown = unused != nullptr ? unused->key : "";
    av_dict_free(&dictionary);
    CheckAv(code, std::string("opening encoder ") + codec.name);
    if (!unknown.empty()) throw std::runtime_error(std::string(codec.name) + " knows no option " + unknown);
}

void MarkFields(AVFrame& frame, ClipScan scan) {
    if (scan == ClipScan::Progressive) return;
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 7, 100)
    frame.flags |= AV_FRAME_FLAG_INTERLACED;
    if (scan == ClipScan::TopFieldFirst) frame.flags |= AV_FRAME_FLAG_TOP_FIELD_FIRST;
#else
    frame.interlaced_frame = 1;
    frame.top_field_first = scan == ClipScan::TopFieldFirst ? 1 : 0;
#endif
}

void DrainEncoder(AVCodecContext& encoder, AVPacket& packet, const PacketSink& sink) {
    for (;;) {
        const int code = avcodec_receive_packet(&encoder, &packet);
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return;
        CheckAv(code, "encoding");
        sink(packet);
        av_packet_unref(&packet);
    }
}

} // namespace

AVRational ClipTimeBase(const ClipOptions& options) {
    if (!options.durations.empty()) return {1, 1000};
    return {options.rateDenominator, options.rateNumerator};
}

PictureTrack::PictureTrack(const ClipOptions& options, int width, int height, bool globalHeader)
    : m_rotation(options.rotation), m_scan(options.scan), m_picture(width, height), m_frame(av_frame_alloc()),
      m_packet(av_packet_alloc()) {
    const AVCodec* codec = avcodec_find_encoder_by_name(options.codec.c_str());
    if (codec == nullptr) throw std::runtime_error("no encoder " + options.codec);
    const AVPixelFormat format = av_get_pix_fmt(options.pixelFormat.c_str());
    if (format == AV_PIX_FMT_NONE) throw std::runtime_error("no pixel format " + options.pixelFormat);

    const bool swaps = m_rotation == 90 || m_rotation == 270;
    m_encoder.reset(avcodec_alloc_context3(codec));
    m_encoder->width = swaps ? height : width;
    m_encoder->height = swaps ? width : height;
    m_encoder->pix_fmt = format;
    m_encoder->time_base = ClipTimeBase(options);
    if (options.durations.empty()) m_encoder->framerate = av_inv_q(m_encoder->time_base);
    m_encoder->gop_size = options.keyInterval;
    m_encoder->keyint_min = options.keyInterval;
    m_encoder->max_b_frames = options.bFrames;
    m_encoder->sample_aspect_ratio = {options.sampleAspectNumerator, options.sampleAspectDenominator};
    m_encoder->thread_count = 1;
    if (m_scan != ClipScan::Progressive)
        m_encoder->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
    if (globalHeader) m_encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    auto base = BaseOptions(options);
    if (!options.profile.empty()) base["profile"] = options.profile;
    if (options.codec == "mpeg4") {
        m_encoder->flags |= AV_CODEC_FLAG_QSCALE;
        m_encoder->global_quality = 3 * FF_QP2LAMBDA;
    }
    OpenEncoder(*m_encoder, *codec, base, options.codecOptions);

    m_frame->width = m_encoder->width;
    m_frame->height = m_encoder->height;
    m_frame->format = format;
    CheckAv(av_frame_get_buffer(m_frame.get(), 0), "allocating a picture");
    if (format != AV_PIX_FMT_YUV420P) {
        m_converter.reset(sws_getContext(m_frame->width, m_frame->height, AV_PIX_FMT_YUV420P, m_frame->width,
                                         m_frame->height, format, SWS_POINT, nullptr, nullptr, nullptr));
        if (!m_converter) throw std::runtime_error("cannot convert to " + options.pixelFormat);
    }
}

void PictureTrack::Encode(int number, std::int64_t time, std::int64_t duration, const PacketSink& sink) {
    m_picture.Draw(number);
    const ClipPicture stored = m_rotation == 0 ? m_picture : m_picture.Turned(m_rotation);
    CheckAv(av_frame_make_writable(m_frame.get()), "making a picture writable");
    const std::uint8_t* planes[4] = {stored.Plane(0), stored.Plane(1), stored.Plane(2), nullptr};
    const int strides[4] = {stored.PlaneWidth(0), stored.PlaneWidth(1), stored.PlaneWidth(2), 0};
    if (m_converter) {
        sws_scale(m_converter.get(), planes, strides, 0, stored.Height(), m_frame->data, m_frame->linesize);
    } else {
        av_image_copy(m_frame->data, m_frame->linesize, planes, strides, AV_PIX_FMT_YUV420P, stored.Width(),
                      stored.Height());
    }
    m_frame->pts = time;
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(58, 2, 100)
    m_frame->duration = duration;
#else
    m_frame->pkt_duration = duration;
#endif
    if (m_encoder->flags & AV_CODEC_FLAG_QSCALE) m_frame->quality = m_encoder->global_quality;
    MarkFields(*m_frame, m_scan);
    CheckAv(avcodec_send_frame(m_encoder.get(), m_frame.get()), "encoding a picture");
    Drain([&](AVPacket& packet) {
        if (packet.duration == 0) packet.duration = duration;
        sink(packet);
    });
}

void PictureTrack::Finish(const PacketSink& sink) {
    CheckAv(avcodec_send_frame(m_encoder.get(), nullptr), "ending the pictures");
    Drain(sink);
}

void PictureTrack::Drain(const PacketSink& sink) {
    DrainEncoder(*m_encoder, *m_packet, sink);
}

SoundTrack::SoundTrack(int toneHertz, bool globalHeader)
    : m_toneHertz(toneHertz), m_frame(av_frame_alloc()), m_packet(av_packet_alloc()) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (codec == nullptr) throw std::runtime_error("no AAC encoder");
    m_encoder.reset(avcodec_alloc_context3(codec));
    m_encoder->sample_rate = 48000;
    m_encoder->sample_fmt = AV_SAMPLE_FMT_FLTP;
    m_encoder->time_base = {1, 48000};
    m_encoder->bit_rate = 128000;
    av_channel_layout_default(&m_encoder->ch_layout, 2);
    if (globalHeader) m_encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    OpenEncoder(*m_encoder, *codec, {}, {});

    m_frame->nb_samples = m_encoder->frame_size;
    m_frame->format = AV_SAMPLE_FMT_FLTP;
    m_frame->sample_rate = m_encoder->sample_rate;
    CheckAv(av_channel_layout_copy(&m_frame->ch_layout, &m_encoder->ch_layout), "setting the channels");
    CheckAv(av_frame_get_buffer(m_frame.get(), 0), "allocating samples");
}

void SoundTrack::EncodeUntil(double seconds, const PacketSink& sink) {
    while (static_cast<double>(m_position) < seconds * m_encoder->sample_rate) {
        CheckAv(av_frame_make_writable(m_frame.get()), "making samples writable");
        Fill();
        m_frame->pts = m_position;
        m_position += m_frame->nb_samples;
        CheckAv(avcodec_send_frame(m_encoder.get(), m_frame.get()), "encoding sound");
        Drain(sink);
    }
}

void SoundTrack::Finish(const PacketSink& sink) {
    CheckAv(avcodec_send_frame(m_encoder.get(), nullptr), "ending the sound");
    Drain(sink);
}

void SoundTrack::Drain(const PacketSink& sink) {
    DrainEncoder(*m_encoder, *m_packet, sink);
}

void SoundTrack::Fill() {
    const int rate = m_encoder->sample_rate;
    const int beepSamples = rate / 20;
    const auto sine = [rate](int hertz, std::int64_t position) {
        return static_cast<float>(
            std::sin(2.0 * std::numbers::pi * hertz * static_cast<double>(position % rate) / rate));
    };
    float* left = static_cast<float*>(static_cast<void*>(m_frame->data[0]));
    float* right = static_cast<float*>(static_cast<void*>(m_frame->data[1]));
    for (int i = 0; i < m_frame->nb_samples; ++i) {
        const std::int64_t position = m_position + i;
        float level = position % rate < beepSamples ? 0.7F * sine(1000, position) : 0.0F;
        if (m_toneHertz > 0) level += 0.1F * sine(m_toneHertz, position);
        left[i] = level;
        right[i] = level;
    }
}

} // namespace support
