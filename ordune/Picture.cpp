#include "ordune/Picture.h"

extern "C" {
#include <libavutil/frame.h>
}

#include <new>

namespace ordune {

PicturePtr Picture::FromFrame(const AVFrame* frame, FrameNumber number, MediaTime time, int rotation,
                              int place_in_run) {
    std::shared_ptr<Picture> picture(new (std::nothrow) Picture);
    if (!picture) return nullptr;
    picture->m_frame = av_frame_clone(frame);
    if (!picture->m_frame) return nullptr;
    picture->m_number = number;
    picture->m_time = time;
    picture->m_rotation = ((rotation % 360) + 360) % 360;
    picture->m_place_in_run = place_in_run;
    for (const AVBufferRef* buffer : picture->m_frame->buf) {
        if (buffer) picture->m_bytes += buffer->size;
    }
    return picture;
}

Picture::~Picture() {
    av_frame_free(&m_frame);
}

int Picture::CodedWidth() const {
    return m_frame->width;
}
int Picture::CodedHeight() const {
    return m_frame->height;
}

int Picture::Width() const {
    return m_rotation % 180 == 0 ? m_frame->width : m_frame->height;
}
int Picture::Height() const {
    return m_rotation % 180 == 0 ? m_frame->height : m_frame->width;
}

int Picture::SampleAspectNumerator() const {
    const AVRational aspect = m_frame->sample_aspect_ratio;
    if (aspect.num <= 0 || aspect.den <= 0) return 1;
    return m_rotation % 180 == 0 ? aspect.num : aspect.den;
}

int Picture::SampleAspectDenominator() const {
    const AVRational aspect = m_frame->sample_aspect_ratio;
    if (aspect.num <= 0 || aspect.den <= 0) return 1;
    return m_rotation % 180 == 0 ? aspect.den : aspect.num;
}

} // namespace ordune
