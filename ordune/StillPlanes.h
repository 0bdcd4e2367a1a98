// A picture as JPEG understands it: 8 bits, full-range BT.601, in three planes.
//
// Whatever the decoder gave (range, matrix, depth, layout of the colour planes) is brought to that one form,
// from which both kinds of stills are written. Buffers are kept between pictures. Used by one thread at a
// time.
#pragma once

#include "ordune/Error.h"
#include "ordune/Ffmpeg.h"
#include "ordune/PictureColour.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct SwsContext;

namespace ordune {

class StillPlanes {
  public:
    enum class Chroma {
        Halved, // 4:2:0: one colour sample for two by two pixels
        Whole,  // 4:4:4: one for each pixel
    };

    StillPlanes();
    ~StillPlanes();
    StillPlanes(const StillPlanes&) = delete;
    StillPlanes& operator=(const StillPlanes&) = delete;

    // Converts the frame and turns it by `rotation` degrees clockwise (0, 90, 180, 270). With `chroma` Halved
    // the planes are 4:2:0; with Whole they are 4:4:4 unless the frame is 4:2:0 itself and needs no more. The
    // planes are valid until the next call, and while the frame lives (they may be the frame's own).
    Result<void> Convert(const AVFrame& frame, int rotation, Chroma chroma);

    // Size as shown. 4:2:0 planes are padded to an even number of columns and rows, as TurboJPEG asks.
    int Width() const { return m_width; }
    int Height() const { return m_height; }
    Chroma Layout() const { return m_chroma; }
    const std::uint8_t* Plane(std::size_t index) const { return m_plane[index]; }
    int Stride(std::size_t index) const { return m_stride[index]; }

  private:
    // One plane of own memory.
    struct Buffer {
        std::vector<std::uint8_t> bytes;
        int stride = 0;
        void Size(int width, int height);
        std::uint8_t* Row(int row) { return bytes.data() + static_cast<std::ptrdiff_t>(row) * stride; }
    };
    struct ScalerDeleter {
        void operator()(SwsContext* scaler) const;
    };

    bool UseFrameItself(const AVFrame& frame, const PictureColour& colour, int rotation);
    Result<const AVFrame*> MadePlanar(const AVFrame& frame, PictureColour& colour);
    void SizeBuffers(bool grey);
    void ConvertPlanar(const AVFrame& frame, const PictureColour& colour);
    void Turn(int rotation);
    void HalveChroma();
    void Pad();
    void Publish();

    int m_width = 0;
    int m_height = 0;
    Chroma m_chroma = Chroma::Halved;
    std::array<Buffer, 3> m_buffer;
    std::array<Buffer, 3> m_spare;
    std::array<const std::uint8_t*, 3> m_plane{};
    std::array<int, 3> m_stride{};
    std::vector<std::int16_t> m_row; // rows of samples in work
    ffmpeg::FramePtr m_planar;
    std::unique_ptr<SwsContext, ScalerDeleter> m_scaler;
};

} // namespace ordune
