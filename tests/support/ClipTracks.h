// The two kinds of track that a test clip is muxed from. Used by ClipMaker alone.
#pragma once

#include "tests/support/AvHandles.h"
#include "tests/support/ClipMaker.h"
#include "tests/support/ClipPicture.h"

#include <cstdint>
#include <functional>

namespace support {

// Hands a packet on to the container, which may keep or change it.
using PacketSink = std::function<void(AVPacket&)>;

// Encodes pictures of one size. Presentation times are in units of TimeBase().
class PictureTrack {
  public:
    // `width` and `height` as in ClipOptions: as they are to be seen.
    PictureTrack(const ClipOptions& options, int width, int height, bool globalHeader);

    const AVCodecContext& Encoder() const { return *m_encoder; }

    void Encode(int number, std::int64_t time, std::int64_t duration, const PacketSink& sink);
    // Gives out what the encoder still holds.
    void Finish(const PacketSink& sink);

  private:
    void Drain(const PacketSink& sink);

    int m_rotation;
    ClipScan m_scan;
    ClipPicture m_picture;
    CodecHandle m_encoder;
    FrameHandle m_frame;
    PacketHandle m_packet;
    SwsHandle m_converter; // null where the pixel format is the drawn one
};

// Encodes beeps. Times are in samples.
class SoundTrack {
  public:
    SoundTrack(int toneHertz, bool globalHeader);

    const AVCodecContext& Encoder() const { return *m_encoder; }

    // Encodes sound up to `seconds` of the film.
    void EncodeUntil(double seconds, const PacketSink& sink);
    void Finish(const PacketSink& sink);

  private:
    void Fill();
    void Drain(const PacketSink& sink);

    int m_toneHertz;
    std::int64_t m_position = 0;
    CodecHandle m_encoder;
    FrameHandle m_frame;
    PacketHandle m_packet;
};

// Unit of the presentation times of a clip's pictures.
AVRational ClipTimeBase(const ClipOptions& options);

} // namespace support
