// One decoded picture. Immutable, shared and reference counted: threads pass it on without copying a pixel.
#pragma once

#include "ordune/Frame.h"

#include <cstddef>
#include <cstdint>
#include <memory>

struct AVFrame;

namespace ordune {

class Picture;
using PicturePtr = std::shared_ptr<const Picture>;

class Picture {
  public:
    // Takes a new reference to the frame's buffers. `rotation` is in degrees clockwise, a multiple of 90, and
    // not yet applied to the pixels; `place_in_run` as PlaceInRun() tells it. Returns null when out of
    // memory.
    static PicturePtr FromFrame(const AVFrame* frame, FrameNumber number, MediaTime time, int rotation,
                                int place_in_run = -1);

    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    ~Picture();

    FrameNumber Number() const { return m_number; }
    MediaTime Time() const { return m_time; }
    int Rotation() const { return m_rotation; }
    // Its place, from 0 on, among the pictures next to each other in the file that no other refers to; -1 for
    // one that others refer to, or where that cannot be told.
    int PlaceInRun() const { return m_place_in_run; }

    // Size as decoded, and size as shown, which is the former turned by the rotation.
    int CodedWidth() const;
    int CodedHeight() const;
    int Width() const;
    int Height() const;
    // Shape of a pixel as shown (turned with the picture), width / height; 1/1 where the file does not say.
    int SampleAspectNumerator() const;
    int SampleAspectDenominator() const;

    // Memory that it holds, for budgets.
    std::size_t Bytes() const { return m_bytes; }

    // The pixels, for the libraries that work on them. Never written to.
    const AVFrame* Frame() const { return m_frame; }

  private:
    Picture() = default;

    AVFrame* m_frame = nullptr;
    FrameNumber m_number = kNoFrame;
    MediaTime m_time{0};
    int m_rotation = 0;
    int m_place_in_run = -1;
    std::size_t m_bytes = 0;
};

} // namespace ordune
