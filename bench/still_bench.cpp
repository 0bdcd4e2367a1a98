// What a still costs, beside the bare compressor on planes that need no conversion.
#include "ordune/StillEncoder.h"

#include <benchmark/benchmark.h>

extern "C" {
#include <libavutil/frame.h>
}

#include <turbojpeg.h>

#include <memory>
#include <random>
#include <vector>

namespace {

using namespace ordune;

constexpr int kQuality = 95;

struct FrameDeleter {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};

// A picture with large shapes, edges and some noise: about as many JPEG bytes as a recording gives.
std::unique_ptr<AVFrame, FrameDeleter> MakeFrame(int width, int height, AVColorSpace space,
                                                 AVColorRange range) {
    std::unique_ptr<AVFrame, FrameDeleter> frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = width;
    frame->height = height;
    frame->colorspace = space;
    frame->color_range = range;
    if (av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
    std::mt19937 random(1);
    for (int i = 0; i < 3; ++i) {
        const int rows = i ? height / 2 : height;
        const int columns = i ? width / 2 : width;
        for (int y = 0; y < rows; ++y) {
            for (int x = 0; x < columns; ++x) {
                const unsigned noise = random() % 5;
                const int shape = (x / 40 + y / 24) % 5 * 30 + (x * 40 / columns);
                frame->data[i][y * frame->linesize[i] + x] = static_cast<std::uint8_t>(32 + shape + noise);
            }
        }
    }
    return frame;
}

PicturePtr MakePicture(AVColorSpace space, AVColorRange range, int rotation = 0) {
    const auto frame = MakeFrame(1920, 1080, space, range);
    return Picture::FromFrame(frame.get(), 0, MediaTime{0}, rotation);
}

std::vector<std::uint8_t> MakeBuffer() {
    return std::vector<std::uint8_t>(1920 * 1080 * 5);
}

void Jpeg(benchmark::State& state, AVColorSpace space, AVColorRange range, int rotation) {
    const PicturePtr picture = MakePicture(space, range, rotation);
    auto buffer = MakeBuffer();
    StillEncoder encoder;
    for (auto _ : state)
        benchmark::DoNotOptimize(encoder.EncodeJpeg(*picture, kQuality, buffer));
    state.counters["bytes"] = static_cast<double>(encoder.EncodeJpeg(*picture, kQuality, buffer).Value());
}

void Bmp(benchmark::State& state, AVColorSpace space, AVColorRange range, int rotation) {
    const PicturePtr picture = MakePicture(space, range, rotation);
    auto buffer = MakeBuffer();
    StillEncoder encoder;
    for (auto _ : state)
        benchmark::DoNotOptimize(encoder.EncodeBmp(*picture, buffer));
}

void BareJpeg(benchmark::State& state) {
    const auto frame = MakeFrame(1920, 1080, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_JPEG);
    auto buffer = MakeBuffer();
    tjhandle handle = tjInitCompress();
    const unsigned char* planes[3] = {frame->data[0], frame->data[1], frame->data[2]};
    unsigned char* out = buffer.data();
    unsigned long length = buffer.size();
    for (auto _ : state) {
        tjCompressFromYUVPlanes(handle, planes, 1920, frame->linesize, 1080, TJSAMP_420, &out, &length,
                                kQuality, TJFLAG_NOREALLOC);
    }
    tjDestroy(handle);
}

void BarePixels(benchmark::State& state) {
    const auto frame = MakeFrame(1920, 1080, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_JPEG);
    auto buffer = MakeBuffer();
    tjhandle handle = tjInitDecompress();
    const unsigned char* planes[3] = {frame->data[0], frame->data[1], frame->data[2]};
    for (auto _ : state) {
        tjDecodeYUVPlanes(handle, planes, frame->linesize, TJSAMP_420, buffer.data(), 1920, 1920 * 3, 1080,
                          TJPF_BGR, TJFLAG_BOTTOMUP);
    }
    tjDestroy(handle);
}

BENCHMARK(BareJpeg)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Jpeg, bt709_limited, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Jpeg, bt601_limited, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, 0)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Jpeg, bt601_full, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_JPEG, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Jpeg, bt709_turned, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 90)->Unit(benchmark::kMillisecond);
BENCHMARK(BarePixels)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Bmp, bt709_limited, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Bmp, bt601_limited, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, 0)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Bmp, bt601_full, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_JPEG, 0)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Bmp, bt709_turned, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 90)->Unit(benchmark::kMillisecond);

} // namespace
