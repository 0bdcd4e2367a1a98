// Turns decoded sound of any rate, layout and format into interleaved floats of one rate and one or two
// channels.
//
// Follows changes of the format in mid-stream. Used by one thread at a time.
#pragma once

#include "ordune/Error.h"

#include <cstdint>
#include <memory>
#include <vector>

struct AVFrame;
struct SwrContext;

namespace ordune {

class SoundResampler {
  public:
    SoundResampler(int sample_rate, int channels);
    ~SoundResampler();
    SoundResampler(const SoundResampler&) = delete;
    SoundResampler& operator=(const SoundResampler&) = delete;

    // Appends what comes out for the frame to `out`. Samples are within -1 to 1, whatever the file holds.
    // Damaged where the frame is of no kind that sound can have.
    Result<void> Convert(const AVFrame& frame, std::vector<float>& out);
    // How many output samples are held back, to come with the next frame.
    std::int64_t HeldBack() const;
    // Appends what is held back, and forgets the past: the frame converted next begins anew.
    void Drain(std::vector<float>& out);
    // Forgets the past without giving it out.
    void Reset();

  private:
    struct Free {
        void operator()(SwrContext* context) const;
    };
    struct Format {
        int sample_format = -1;
        int sample_rate = 0;
        int channels = 0;
        std::uint64_t layout = 0;
        bool operator==(const Format&) const = default;
    };

    static Format FormatOf(const AVFrame& frame);
    Result<void> Open(const AVFrame& frame);
    int Run(const AVFrame* frame, std::vector<float>& out);

    const int m_sample_rate;
    const int m_channels;
    Format m_format;
    std::unique_ptr<SwrContext, Free> m_context; // null until a frame has come
};

} // namespace ordune
