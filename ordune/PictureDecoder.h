// Coded units in, decoded pictures out, with nothing guessed: a unit's number goes in as its time stamp and
// comes back on the picture made from it.
//
// Used by one thread. Decodes with several threads, one picture each, so a picture comes out a few units
// after its own; draining gives the last ones. A unit that cannot be decoded simply gives no picture.
#pragma once

#include "ordune/Error.h"
#include "ordune/Ffmpeg.h"
#include "ordune/Frame.h"
#include "ordune/PicturePool.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace ordune {

class PictureDecoder {
  public:
    struct Options {
        int threads = 1;
        // How many pictures that are decoded before another one are shown after it, at most. The decoder
        // holds back at least so many; a value too small makes it drop pictures.
        int reorder_depth = 0;
    };

    static Result<std::unique_ptr<PictureDecoder>> Make(const AVCodecParameters* parameters,
                                                        const Options& options,
                                                        std::shared_ptr<PicturePool> pool,
                                                        const std::string& file);
    PictureDecoder(const PictureDecoder&) = delete;
    PictureDecoder& operator=(const PictureDecoder&) = delete;

    // Hands over one unit; the packet's pts is its number. With `if_referenced` a picture that no other
    // refers to is left undecoded, as far as the codec can tell. Take all pictures before sending the next
    // unit.
    void Send(const AVPacket* packet, bool if_referenced);
    // No more units: what is held back comes out. Only Reset makes it ready for further units.
    void Drain();
    // The next picture in order of presentation, valid until the next call; null when another unit is needed.
    // frame->pts is the number of its unit.
    AVFrame* Receive();
    // Forgets everything that was sent, but for damage. The next unit must be a key picture.
    void Reset();

    // Whether memory ran out while a unit was decoded, since the last Reset: its picture does not come out
    // then, nor do those that refer to it come out right.
    bool RanOutOfMemory() const { return m_out_of_memory; }

    // Where the decoder first gave something up as damaged: the unit, or one of the few before it that were
    // decoded at the same time. libavcodec's H.264 (5.1 at least) is then no longer what a new one is:
    // pictures of later groups come out wrong, also after Reset.
    std::optional<UnitNumber> SpoiltAt() const { return m_spoilt_at; }

    int ReorderDepth() const { return m_reorder_depth; }

  private:
    PictureDecoder() = default;
    static int GetBuffer(AVCodecContext* context, AVFrame* frame, int flags);
    static void OnError(AVCodecContext* context);
    void NoteDamage();

    // The context's threads use the pool, so it must outlive the context.
    std::shared_ptr<PicturePool> m_pool;
    ffmpeg::FramePtr m_frame;
    ffmpeg::CodecContextPtr m_context;
    int m_reorder_depth = 0;
    std::atomic<bool> m_met_error{false};   // set on the decoder's threads
    std::optional<UnitNumber> m_first_sent; // since the last Reset
    UnitNumber m_last_sent = 0;
    bool m_gave_picture = false; // since the last Reset
    std::optional<UnitNumber> m_spoilt_at;
    bool m_out_of_memory = false;
};

} // namespace ordune
