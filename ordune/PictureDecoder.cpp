#include "ordune/PictureDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <algorithm>

namespace ordune {

namespace {

// Up to major version 59 the library makes buffers on the caller's thread, one after the other, unless it is
// told that the callback may be called from any; later versions always take that for granted.
void AllowCallbacksFromAnyThread([[maybe_unused]] AVCodecContext* context) {
#if LIBAVCODEC_VERSION_MAJOR < 60
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    context->thread_safe_callbacks = 1;
#pragma GCC diagnostic pop
#endif
}

} // namespace

Result<std::unique_ptr<PictureDecoder>> PictureDecoder::Make(const AVCodecParameters* parameters,
                                                             const Options& options,
                                                             std::shared_ptr<PicturePool> pool,
                                                             const std::string& file) {
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec) {
        return Error{ErrorKind::UnknownCodec,
                     std::string("no decoder for ") + avcodec_get_name(parameters->codec_id), file};
    }
    std::unique_ptr<PictureDecoder> decoder(new PictureDecoder);
    decoder->m_pool = std::move(pool);
    decoder->m_frame = ffmpeg::MakeFrame();
    decoder->m_context.reset(avcodec_alloc_context3(codec));
    if (!decoder->m_frame || !decoder->m_context)
        return Error{ErrorKind::OutOfMemory, "no memory for a decoder", file};

    ffmpeg::SetErrorListener(&PictureDecoder::OnError);
    AVCodecContext* context = decoder->m_context.get();
    int code = avcodec_parameters_to_context(context, parameters);
    if (code < 0) return ffmpeg::MakeError(code, "cannot set up the decoder", file);
    context->thread_count = std::max(1, options.threads);
    context->thread_type = FF_THREAD_FRAME;
    context->has_b_frames = std::max(context->has_b_frames, options.reorder_depth);
    if ((codec->capabilities & AV_CODEC_CAP_DR1) != 0) {
        context->get_buffer2 = &PictureDecoder::GetBuffer;
        context->opaque = decoder.get();
        AllowCallbacksFromAnyThread(context);
    }
    decoder->m_reorder_depth = context->has_b_frames;
    code = avcodec_open2(context, codec, nullptr);
    if (code < 0) return ffmpeg::MakeError(code, "cannot open the decoder", file);
    return decoder;
}

int PictureDecoder::GetBuffer(AVCodecContext* context, AVFrame* frame, int flags) {
    auto* self = static_cast<PictureDecoder*>(context->opaque);
    if (self->m_pool->Fill(context, frame)) return 0;
    return avcodec_default_get_buffer2(context, frame, flags);
}

void PictureDecoder::OnError(AVCodecContext* context) {
    // Others than this class's have no such function.
    if (context->get_buffer2 == &PictureDecoder::GetBuffer)
        static_cast<PictureDecoder*>(context->opaque)->m_met_error = true;
}

// A picture's own flags do not always tell: it may have been given out before it was decoded to its end. What
// was met on one of the threads is known here at the latest when the thread takes another unit.
void PictureDecoder::NoteDamage() {
    if (!m_met_error.exchange(false) || m_spoilt_at || !m_first_sent) return;
    const auto threads = static_cast<UnitNumber>(m_context->thread_count);
    m_spoilt_at = m_last_sent - std::min(m_last_sent - *m_first_sent, threads);
}

void PictureDecoder::Send(const AVPacket* packet, bool if_referenced) {
    m_context->skip_frame = if_referenced ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
    // A refusal concerns this unit or one before it; which one shows when its picture does not come out.
    m_last_sent = static_cast<UnitNumber>(packet->pts);
    if (!m_first_sent) m_first_sent = m_last_sent;
    if (avcodec_send_packet(m_context.get(), packet) == AVERROR(ENOMEM)) m_out_of_memory = true;
}

void PictureDecoder::Drain() {
    static_cast<void>(avcodec_send_packet(m_context.get(), nullptr));
}

AVFrame* PictureDecoder::Receive() {
    // A damaged unit is reported once, and pictures made before it can still follow; the number of tries is
    // bounded in case an error repeats itself.
    for (int tries = 0; tries < 64; ++tries) {
        const int code = avcodec_receive_frame(m_context.get(), m_frame.get());
        // Until a first picture came out, errors are those of having begun where decoding cannot begin.
        m_gave_picture = m_gave_picture || code == 0;
        if (m_gave_picture) NoteDamage();
        if (code == 0) {
            const bool damaged = (m_frame->decode_error_flags & FF_DECODE_ERROR_DECODE_SLICES) != 0;
            if (damaged && !m_spoilt_at) m_spoilt_at = static_cast<UnitNumber>(m_frame->pts);
            return m_frame.get();
        }
        if (code == AVERROR(ENOMEM)) m_out_of_memory = true;
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return nullptr;
    }
    return nullptr;
}

void PictureDecoder::Reset() {
    // Pictures still in flight may be damaged, and only coming out do they say so. What its threads have
    // begun is waited for either way.
    Drain();
    while (Receive()) {
    }
    avcodec_flush_buffers(m_context.get());
    NoteDamage();
    m_gave_picture = false;
    m_first_sent.reset();
    m_out_of_memory = false;
}

} // namespace ordune
