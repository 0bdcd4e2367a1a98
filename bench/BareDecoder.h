// The same work as the engine's, done by libavformat, libavcodec and libswscale alone: the limits that the
// engine's figures are put beside. Knows nothing of the engine.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace bench {

class BareDecoder {
  public:
    // Throws std::runtime_error where the file cannot be opened.
    BareDecoder(const std::string& path, int threads);
    ~BareDecoder();
    BareDecoder(const BareDecoder&) = delete;
    BareDecoder& operator=(const BareDecoder&) = delete;

    // Seconds to open the file and make it ready to decode, done anew each time.
    static double OpenSeconds(const std::string& path);

    // Decodes the frame shown at `seconds`, coming from the key picture before it and leaving out pictures
    // that no other refers to before the target. Returns whether it came out.
    bool JumpTo(double seconds);
    // Decodes `frames` pictures from the start, scaling each to width x height BGRA when width is not 0.
    // Returns how many came out.
    int DecodeFromStart(int frames, int width, int height);

    // The same, leaving out pictures that no other refers to, up to about `frames` pictures of the film.
    // Returns how many were decoded or left out.
    int PassFromStart(int frames);

    // These work on the picture decoded last, or the first one.
    // Milliseconds that scaling it to BGRA takes, the middle one of `count` tries.
    double ScaleMilliseconds(int width, int height, int count);
    // Milliseconds that compressing its planes to a JPEG takes, with nothing converted.
    double JpegMilliseconds(int quality);
    // Milliseconds that turning its planes to pixels of three bytes takes.
    double PixelMilliseconds();

    double FramesPerSecond() const;

  private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

} // namespace bench
